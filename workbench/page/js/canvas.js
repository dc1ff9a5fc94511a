// A canvas over the view that is painted anew, once a frame at most, when the view moved or somebody asks for it.

import { currentView, map } from "./viewport.js";

/** @typedef {import("../../types").View} View */

export class ViewCanvas {
    #element = document.createElement("canvas");
    #asked = false;
    #paint;

    /**
     * @param {string} name its class
     * @param {(context: CanvasRenderingContext2D, view: View, ratio: number) => void} paint draws on a clear canvas, in
     *     CSS pixels of which each has `ratio` of the canvas's
     */
    constructor(name, paint) {
        this.#paint = paint;
        this.#element.className = `${name} leaflet-zoom-animated`;
        this.#element.setAttribute("aria-hidden", "true");
        map.getPane("overlayPane").append(this.#element);
        map.on("move zoom viewreset resize moveend", () => this.ask());
        map.on("zoomanim", (event) => this.#follow(event));
    }

    /** Asks for painting in the next frame. */
    ask() {
        if (!this.#asked) {
            this.#asked = true;
            requestAnimationFrame(() => this.#paintNow());
        }
    }

    #paintNow() {
        this.#asked = false;
        const context = this.#element.getContext("2d");
        if (!context) {
            return;
        }
        const view = currentView();
        const ratio = window.devicePixelRatio;
        const [width, height] = [Math.round(view.width * ratio), Math.round(view.height * ratio)];
        if (this.#element.width !== width || this.#element.height !== height) {
            this.#element.width = width;
            this.#element.height = height;
            this.#element.style.width = `${view.width}px`;
            this.#element.style.height = `${view.height}px`;
        }
        L.DomUtil.setPosition(this.#element, map.containerPointToLayerPoint([0, 0]));
        context.setTransform(ratio, 0, 0, ratio, 0, 0);
        context.clearRect(0, 0, view.width, view.height);
        this.#paint(context, view, ratio);
    }

    /**
     * While the map glides to another zoom, the picture is scaled with it; then it is painted.
     * @param {{zoom: number, center: object}} to
     */
    #follow({ zoom, center }) {
        const corner = map.containerPointToLatLng([0, 0]);
        const offset = map._latLngToNewLayerPoint(corner, zoom, center);
        L.DomUtil.setTransform(this.#element, offset, map.getZoomScale(zoom));
    }
}
