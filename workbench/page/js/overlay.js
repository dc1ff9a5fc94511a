// What is being worked on, above all figures: the selection with its nodes, a drag's new outline, the figure below the
// mouse, the frame of a selection and the mark of a plot.

import { ViewCanvas } from "./canvas.js";
import { cssColor, kRim } from "./colors.js";
import { fromJson, withoutAxis } from "./figures.js";
import { drawnElsewhere } from "./layer.js";
import { smoothPen, trace } from "./paint.js";
import { on, primary, state } from "./state.js";
import { isFixed } from "./tools.js";

/** @typedef {import("./figures.js").Figure} Figure */
/** @typedef {import("../../types").FigureData} FigureData */
/** @typedef {import("../../types").NodeData} NodeData */
/** @typedef {import("../../types").View} View */
/** @typedef {import("../../types").XY} XY */

/**
 * Half the side of a node in CSS pixels: of one that can be dragged, of one that follows from others, of the chosen
 * one.
 */
const kNodeSize = 4;
const kFixedSize = 2;
const kChosenSize = 6;
const kLetters = 11;
/** Of more selected figures only the last ones stand out, and of more nodes only the first have their numbers. */
const kMostSelected = 500;
const kMostNumbers = 200;
const kAccent = "#ffffff";

/**
 * What a drag shows in place of the figures as they are in the set.
 * @type {FigureData[]}
 */
let draft = [];
let hovered = "";
/**
 * The frame that is drawn for selecting.
 * @type {[from: XY, to: XY] | null}
 */
let frame = null;

/**
 * The outline of a figure, filled a little.
 * @param {CanvasRenderingContext2D} context
 * @param {View} view
 * @param {Figure} figure
 */
function paintOutline(context, view, figure) {
    context.fillStyle = cssColor(figure.index, 0.14);
    const pen = smoothPen(context, kRim);
    pen.use(cssColor(figure.index), 2.5);
    trace(figure, view, pen);
    context.beginPath();
    trace(withoutAxis(figure), view, { ...pen, end: () => context.fill("nonzero") });
}

/**
 * @param {CanvasRenderingContext2D} context
 * @param {View} view
 * @param {FigureData} figure
 * @param {NodeData[]} nodes
 * @param {string} chosen the node that the arrow keys move
 */
function paintNodes(context, view, { class: type, index }, nodes, chosen) {
    context.lineWidth = 1.5;
    // The first of those that lie upon one another is the one that the mouse takes.
    for (const { node, x, y } of [...nodes].reverse()) {
        const [atX, atY] = [view.left + x * view.scale, view.top + y * view.scale];
        const size = isFixed(type, node) ? kFixedSize : node === chosen ? kChosenSize : kNodeSize;
        context.fillStyle = node === chosen ? cssColor(index) : kAccent;
        context.strokeStyle = node === chosen ? kAccent : "rgb(16 20 24)";
        context.beginPath();
        context.rect(atX - size, atY - size, 2 * size, 2 * size);
        context.fill();
        context.stroke();
    }
}

/**
 * Writes the numbers of nodes beside them, each where it covers none before it.
 * @param {CanvasRenderingContext2D} context
 * @param {View} view
 * @param {NodeData[]} nodes
 */
function paintNumbers(context, view, nodes) {
    context.font = `600 ${kLetters}px system-ui, sans-serif`;
    context.textAlign = "left";
    context.lineWidth = 3;
    context.strokeStyle = kRim;
    context.fillStyle = kAccent;
    /** @type {{x: number, y: number, width: number}[]} */
    const written = [];
    for (const { node, x, y } of nodes) {
        const width = context.measureText(node).width;
        const at = { x: view.left + x * view.scale + kNodeSize + 3, y: view.top + y * view.scale - kNodeSize, width };
        const isFree = written.every(
            (other) =>
                Math.abs(other.y - at.y) > kLetters || other.x > at.x + width + 2 || at.x > other.x + other.width + 2,
        );
        if (isFree) {
            written.push(at);
            context.strokeText(node, at.x, at.y);
            context.fillText(node, at.x, at.y);
        }
    }
}

/**
 * @param {CanvasRenderingContext2D} context
 * @param {View} view
 */
function paintFrame(context, view) {
    if (!frame) {
        return;
    }
    const [from, to] = frame;
    const box = /** @type {const} */ ([
        view.left + from.x * view.scale,
        view.top + from.y * view.scale,
        (to.x - from.x) * view.scale,
        (to.y - from.y) * view.scale,
    ]);
    context.fillStyle = "rgb(90 170 255 / 0.15)";
    context.fillRect(...box);
    context.setLineDash([5, 4]);
    context.lineWidth = 1;
    context.strokeStyle = kAccent;
    context.strokeRect(...box);
    context.setLineDash([]);
}

/**
 * @param {CanvasRenderingContext2D} context
 * @param {View} view
 */
function paintMark(context, view) {
    if (!state.mark) {
        return;
    }
    const x = view.left + state.mark.x * view.scale;
    const y = view.top + state.mark.y * view.scale;
    for (const [color, width] of /** @type {[string, number][]} */ ([
        ["rgb(16 20 24)", 4],
        ["#ff4d4d", 2],
    ])) {
        context.strokeStyle = color;
        context.lineWidth = width;
        context.beginPath();
        context.arc(x, y, 7, 0, 2 * Math.PI);
        context.moveTo(x - 12, y);
        context.lineTo(x + 12, y);
        context.moveTo(x, y - 12);
        context.lineTo(x, y + 12);
        context.stroke();
    }
}

const canvas = new ViewCanvas("overlay", (context, view) => {
    const drafted = new Set(draft.map((figure) => figure.name));
    const shown = [hovered, ...state.selected.slice(-kMostSelected)].filter((name) => !drafted.has(name));
    for (const name of shown) {
        const figure = state.figures.get(name);
        if (figure && !state.hidden.has(name)) {
            paintOutline(context, view, figure);
        }
    }
    draft.forEach((figure) => paintOutline(context, view, fromJson(figure)));
    for (const figure of draft.length > 0 ? draft : shownDetails()) {
        const nodes = figure.nodes ?? [];
        paintNodes(context, view, figure, nodes, figure.name === primary() ? state.node : "");
        paintNumbers(context, view, nodes.slice(0, kMostNumbers));
    }
    paintFrame(context, view);
    paintMark(context, view);
});

function shownDetails() {
    return [...state.details.values()].filter(({ name }) => state.selected.includes(name) && !state.hidden.has(name));
}

/**
 * Shows figures as a drag makes them, in place of those in the set; an empty list shows the set again.
 * @param {FigureData[]} figures
 */
export function showDraft(figures) {
    draft = figures;
    canvas.ask();
}

/**
 * Says which figures a drag is going to show.
 * @param {string[]} names
 */
export function beginDraft(names) {
    drawnElsewhere(names);
}

export function endDraft() {
    drawnElsewhere([]);
    showDraft([]);
}

/** @param {string} name of the figure below the mouse, or empty */
export function showHovered(name) {
    if (name !== hovered) {
        hovered = name;
        canvas.ask();
    }
}

/** @param {[from: XY, to: XY] | null} corners */
export function showFrame(corners) {
    frame = corners;
    canvas.ask();
}

on(["figures", "selection", "details", "hidden", "mark"], () => canvas.ask());
