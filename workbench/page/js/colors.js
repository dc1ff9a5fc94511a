// The colours of figures: those of `roi draw`, which go by the places in the set.

import { state } from "./state.js";

/** @param {number} place of a figure in the set */
function colorAt(place) {
    const { colours } = state.server;
    return colours[place % colours.length] ?? [230, 230, 230];
}

/**
 * @param {number} place of a figure in the set
 * @param {number} [alpha]
 */
export function cssColor(place, alpha = 1) {
    return `rgb(${colorAt(place).join(" ")} / ${alpha})`;
}

/**
 * The same as a pixel of a picture: alpha, blue, green, red.
 * @param {number} place
 */
export function pixelColor(place) {
    const [red, green, blue] = colorAt(place);
    return ((255 << 24) | (blue << 16) | (green << 8) | red) >>> 0;
}

/** Around lines, so that they are seen on any ground. */
export const kRim = "rgb(16 20 24 / 0.65)";
