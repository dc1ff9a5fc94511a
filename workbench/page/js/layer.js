// All figures on one canvas, below what is being worked on.

import { ViewCanvas } from "./canvas.js";
import { cssColor, kRim, pixelColor } from "./colors.js";
import { countLines, FastPen, smoothPen, trace } from "./paint.js";
import { markOnce } from "./dom.js";
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
/** Whether the fast pen's last picture shows the figures as they are. */
let isFresh = false;

/**
 * The figures in a part of a view.
 * @param {View} view
 * @param {import("./paint.js").Part} part
 */
function visible({ scale, left, top }, part) {
    const found = state.figures.near(
        (part.left - left) / scale,
        (part.top - top) / scale,
        (part.right - left) / scale,
        (part.bottom - top) / scale,
    );
    return state.hidden.size + elsewhere.size === 0
        ? found
        : found.filter(({ name }) => !state.hidden.has(name) && !elsewhere.has(name));
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
        pen.use(cssColor(figure.index), 1.5);
        trace(figure, view, pen);
    }
}

/**
 * @param {CanvasRenderingContext2D} context
 * @param {View} view
 * @param {number} ratio
 */
function paintFast(context, view, ratio) {
    // On whole pixels, so that a picture that moved can be kept.
    const device = {
        scale: view.scale * ratio,
        left: Math.round(view.left * ratio),
        top: Math.round(view.top * ratio),
        width: Math.round(view.width * ratio),
        height: Math.round(view.height * ratio),
    };
    for (const part of fast.begin(device, isFresh)) {
        fast.stayIn(part);
        for (const figure of visible(device, part)) {
            fast.use(pixelColor(figure.index));
            trace(figure, device, fast);
        }
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
        context.fillStyle = cssColor(figure.index);
        context.fillText(figure.name, x, y);
    }
}

const canvas = new ViewCanvas("figures", (context, view, ratio) => {
    const figures = visible(view, { left: 0, top: 0, right: view.width, bottom: view.height });
    const few = areFew(figures, view);
    if (few) {
        paintSmooth(figures, context, view);
    } else {
        paintFast(context, view, ratio);
    }
    isFresh = !few;
    if (figures.length > 0) {
        markOnce("figures shown");
    }
    if (state.showNames && figures.length <= kMostNames) {
        paintNames(figures, context, view);
    }
});

function askAnew() {
    isFresh = false;
    canvas.ask();
}

/**
 * Leaves figures out, or takes them in again when nobody else draws them.
 * @param {string[]} names
 */
export function drawnElsewhere(names) {
    elsewhere.clear();
    names.forEach((name) => elsewhere.add(name));
    askAnew();
}

on(["figures", "hidden", "names"], askAnew);
