// All figures on one canvas, below what is being worked on.

import { ViewCanvas } from "./canvas.js";
import { cssColor, kRim, pixelColor } from "./colors.js";
import { countLines, FastPen, isInView, smoothPen, trace } from "./paint.js";
import { on, state } from "./state.js";

/** @typedef {import("./figures.js").Figure} Figure */
/** @typedef {import("../../types").View} View */

/** Up to so many lines are drawn smooth, with a rim; more of them in the fast way. */
const kSmoothLines = 2500;
const kMostNames = 300;

/**
 * Figures that are drawn by somebody else: those being dragged.
 * @type {Set<string>}
 */
const elsewhere = new Set();

const fast = new FastPen();

/** @param {View} view */
function visible(view) {
    return state.figures.list.filter(
        (figure) => isInView(figure, view) && !state.hidden.has(figure.name) && !elsewhere.has(figure.name),
    );
}

/**
 * @param {Figure[]} figures
 * @param {View} view
 */
function areFew(figures, view) {
    let lines = 0;
    return figures.every((figure) => (lines += countLines(figure, view)) <= kSmoothLines);
}

/**
 * @param {Figure[]} figures
 * @param {CanvasRenderingContext2D} context
 * @param {View} view
 */
function paintSmooth(figures, context, view) {
    const pen = smoothPen(context, kRim);
    for (const figure of figures) {
        pen.use(cssColor(figure.class), 1.5);
        trace(figure, view, pen);
    }
}

/**
 * @param {Figure[]} figures
 * @param {CanvasRenderingContext2D} context
 * @param {View} view
 * @param {number} ratio
 */
function paintFast(figures, context, view, ratio) {
    const { scale, left, top, width, height } = view;
    const device = {
        scale: scale * ratio,
        left: left * ratio,
        top: top * ratio,
        width: Math.round(width * ratio),
        height: Math.round(height * ratio),
    };
    fast.begin(device.width, device.height);
    for (const figure of figures) {
        fast.use(pixelColor(figure.class));
        trace(figure, device, fast);
    }
    fast.putOn(context);
}

/**
 * @param {Figure[]} figures
 * @param {CanvasRenderingContext2D} context
 * @param {View} view
 */
function paintNames(figures, context, view) {
    context.font = "600 12px system-ui, sans-serif";
    context.textAlign = "center";
    context.lineWidth = 3;
    context.strokeStyle = kRim;
    for (const figure of figures) {
        const x = view.left + ((figure.left + figure.right) / 2) * view.scale;
        const y = view.top + figure.bottom * view.scale + 15;
        context.strokeText(figure.name, x, y);
        context.fillStyle = cssColor(figure.class);
        context.fillText(figure.name, x, y);
    }
}

const canvas = new ViewCanvas("figures", (context, view, ratio) => {
    const figures = visible(view);
    if (areFew(figures, view)) {
        paintSmooth(figures, context, view);
    } else {
        paintFast(figures, context, view, ratio);
    }
    if (state.showNames && figures.length <= kMostNames) {
        paintNames(figures, context, view);
    }
});

/**
 * Leaves figures out, or takes them in again when nobody else draws them.
 * @param {string[]} names
 */
export function drawnElsewhere(names) {
    elsewhere.clear();
    names.forEach((name) => elsewhere.add(name));
    canvas.ask();
}

on(["figures", "hidden", "names"], () => canvas.ask());
