// The colours of the classes: those that `roi draw` has, one for each class.

/** @type {Record<string, [red: number, green: number, blue: number]>} */
const kColors = {
    ROIEllipse: [255, 205, 60],
    ROIDonut: [70, 200, 255],
    ROIArcDonut: [255, 110, 150],
    ROIRectangle: [120, 230, 110],
    ROIParallelogram: [255, 140, 70],
    ROIProfile: [200, 140, 255],
    ROIShape: [60, 225, 210],
    ROIMask: [250, 190, 180],
};

/** @param {string} type */
function colorOf(type) {
    return kColors[type] ?? [230, 230, 230];
}

/**
 * @param {string} type name of a class
 * @param {number} [alpha]
 */
export function cssColor(type, alpha = 1) {
    return `rgb(${colorOf(type).join(" ")} / ${alpha})`;
}

/**
 * The same as a pixel of a picture: alpha, blue, green, red.
 * @param {string} type
 */
export function pixelColor(type) {
    const [red, green, blue] = colorOf(type);
    return ((255 << 24) | (blue << 16) | (green << 8) | red) >>> 0;
}

/** Around lines, so that they are seen on any ground. */
export const kRim = "rgb(16 20 24 / 0.65)";
