// The view of the image on Leaflet: zooming, panning, and the way between screen and image. Points of the map are
// [y, x] of the image; the map's own pixel 0 is the image's left and top border, at -0.5.

import { changed, imageQuery, on, state } from "./state.js";
import { url } from "./api.js";
import { byId, markOnce } from "./dom.js";

/** @typedef {import("../../types").XY} XY */

const kDeepestZoom = 6;
/** How much of the view a fitted image fills, at most, on every side. */
const kFitPadding = 12;

const crs = L.extend({}, L.CRS.Simple, { transformation: new L.Transformation(1, 0.5, 1, 0.5) });

export const map = L.map(byId("view", HTMLElement), {
    crs,
    minZoom: -12,
    maxZoom: kDeepestZoom,
    zoomSnap: 0.25,
    wheelPxPerZoomLevel: 90,
    wheelDebounceTime: 20,
    attributionControl: false,
    zoomControl: false,
    boxZoom: false,
    doubleClickZoom: false,
    keyboard: false,
});

/**
 * The point of the image below the mouse.
 * @param {MouseEvent} event
 * @returns {XY}
 */
export function imagePoint(event) {
    const { lat, lng } = map.mouseEventToLatLng(event);
    return { x: lng, y: lat };
}

/**
 * Where a point of the image lies in the view, in CSS pixels.
 * @param {XY} at
 * @returns {XY}
 */
export function screenPoint(at) {
    return map.latLngToContainerPoint([at.y, at.x]);
}

/** How the view shows the image now. */
export function currentView() {
    const size = map.getSize();
    const origin = screenPoint({ x: 0, y: 0 });
    return { scale: pixelSize(), left: origin.x, top: origin.y, width: size.x, height: size.y };
}

/** How many CSS pixels a pixel of the image takes. */
export function pixelSize() {
    return 2 ** map.getZoom();
}

/** The point of the image in the middle of the view. */
export function middle() {
    const { lat, lng } = map.getCenter();
    return { x: Math.round(lng), y: Math.round(lat) };
}

/** Shows the whole image. */
export function fitImage() {
    if (state.info) {
        const { width, height } = state.info;
        showBox([-0.5, -0.5, width - 0.5, height - 0.5], kDeepestZoom);
    }
}

/**
 * Shows a box of the image, no larger than `zoom` lets it be.
 * @param {[left: number, top: number, right: number, bottom: number]} box
 * @param {number} zoom
 */
export function showBox([left, top, right, bottom], zoom) {
    const bounds = /** @type {[[number, number], [number, number]]} */ ([
        [top, left],
        [bottom, right],
    ]);
    map.fitBounds(bounds, { padding: [kFitPadding, kFitPadding], maxZoom: zoom, animate: false });
}

/** The tiles of the image that is shown. */
class Tiles extends L.GridLayer {
    /**
     * @param {import("../../types").ImageData_} info
     * @param {number} rows how many rows of the image were there when it was asked for
     */
    constructor(info, rows) {
        super({
            tileSize: 256,
            minNativeZoom: 1 - info.levels,
            maxNativeZoom: 0,
            minZoom: -12,
            maxZoom: kDeepestZoom,
            updateWhenZooming: false,
            keepBuffer: 1,
            bounds: [
                [-0.5, -0.5],
                [info.height - 0.5, info.width - 0.5],
            ],
            noWrap: true,
        });
        this.rows = rows;
    }

    /**
     * @param {{x: number, y: number, z: number}} at
     * @param {(error: unknown, tile: HTMLElement) => void} done
     */
    createTile(at, done) {
        const tile = document.createElement("img");
        tile.alt = "";
        tile.addEventListener("load", () => {
            done(null, tile);
            markOnce("image shown");
        });
        tile.addEventListener("error", () => {
            done(new Error("no tile"), tile);
            changed("trouble");
        });
        tile.src = tileUrl(at, this.rows);
        return tile;
    }
}

/**
 * @param {{x: number, y: number, z: number}} at
 * @param {number} rows
 */
function tileUrl(at, rows) {
    const { image, page, channel } = imageQuery();
    // The browser keeps tiles: those of another visit, of a large image's first rows too, are other tiles.
    const visit = Math.round(performance.timeOrigin);
    return url(`tile/${image}/${page}/${-at.z}/${at.x}/${at.y}.png`, { channel, ...state.range, visit, rows });
}

/** @type {Tiles | null} */
let tiles = null;

/** @param {number} rows */
function showTiles(rows) {
    const before = tiles;
    tiles = state.info && new Tiles(state.info, rows).addTo(map);
    before?.remove();
}

/** Tells where the map's steps from smooth to square pixels lie. */
function showPixels() {
    map.getContainer().classList.toggle("squares", map.getZoom() > 0);
}

/**
 * More rows of a large image are there.
 * @param {{image: number, page: number, rows: number}} progress
 */
export function showProgress({ image, page, rows }) {
    if (image === state.image && page === state.page && rows > (tiles?.rows ?? 0)) {
        showTiles(rows);
    }
}

on("image", () => showTiles(state.info?.rows ?? 0));
map.on("zoomend", showPixels);
new ResizeObserver(() => map.invalidateSize({ animate: false })).observe(map.getContainer());
