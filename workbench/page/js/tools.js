// How a figure of each class is drawn: what it is when the mouse goes down, and which of its nodes then follow the
// mouse. The module makes the figure of it.

import { classLabel, classOf, state } from "./state.js";

/** @typedef {import("../../types").Edit} Edit */
/** @typedef {import("../../types").XY} XY */
/** @typedef {{ctrl: boolean, shift: boolean}} Keys */

/**
 * `way` is how the mouse draws it: a drag, clicks for points, or a file to be chosen. A drag begins with `start` at the
 * point where the mouse went down; then each node goes to the given part of the way from there to the mouse.
 * @typedef {{icon: string, key: string, way: "drag" | "points" | "file", hint: string,
 *            start?: Record<string, number>, nodes?: [node: string, part: number][]}} Tool
 */

const kFlags = "Ctrl keeps the centre, Shift makes it square.";

/** @type {Record<string, Tool>} */
export const kTools = {
    ROIRectangle: {
        icon: "rectangle",
        key: "r",
        way: "drag",
        hint: `Drag from corner to corner. ${kFlags}`,
        start: { Width: 0, Height: 0 },
        nodes: [["4", 1]],
    },
    ROIParallelogram: {
        icon: "parallelogram",
        key: "g",
        way: "drag",
        hint: `Drag from corner to corner; node 11 sets the shear. ${kFlags}`,
        start: { Width: 0, Height: 0, Shear: 20 },
        nodes: [["4", 1]],
    },
    ROIEllipse: {
        icon: "ellipse",
        key: "e",
        way: "drag",
        hint: "Drag from the centre outward. Shift makes it a circle.",
        start: { RadiusX: 0, RadiusY: 0 },
        nodes: [
            ["3", 1],
            ["2", 1],
        ],
    },
    ROIDonut: {
        icon: "donut",
        key: "d",
        way: "drag",
        hint: "Drag from the centre outward; nodes 2 and 3 then set the inner ring. Shift makes circles.",
        start: { RadiusX1: 0, RadiusY1: 0, RadiusX2: 0, RadiusY2: 0 },
        nodes: [
            ["3", 0.5],
            ["2", 0.5],
            ["5", 1],
            ["4", 1],
        ],
    },
    ROIArcDonut: {
        icon: "arc-donut",
        key: "a",
        way: "drag",
        hint: "Drag from the centre to where the outer ring begins; nodes 6 and 7 then set the limits.",
        start: { Radius1X: 0, Radius1Y: 0, Radius2X: 0, Radius2Y: 0, DeltaAngle: 120 },
        nodes: [
            ["2", 0.5],
            ["3", 1],
            ["6", 0.75],
        ],
    },
    ROIProfile: {
        icon: "profile",
        key: "p",
        way: "points",
        hint: "Click point after point; a double click or Enter ends. Backspace takes the last one back.",
    },
    ROIShape: {
        icon: "polygon",
        key: "s",
        way: "points",
        hint: "Click corner after corner; a double click or Enter ends. Backspace takes the last one back.",
    },
    ROIMask: {
        icon: "mask",
        key: "m",
        way: "file",
        hint: "Click where the middle of the mask is to lie, then choose its file: what is above 0 is inside.",
    },
};

/**
 * Whether a node follows from others and cannot be dragged: the corners of a profile's outline.
 * @param {string} type
 * @param {string} node
 */
export function isFixed(type, node) {
    return type === "ROIProfile" && /^[23]:/.test(node);
}

/**
 * A name for the next figure of a class.
 * @param {string} type
 */
export function nextName(type) {
    return state.figures.freeName(classLabel(type));
}

/**
 * The modifiers that a class knows; the module refuses others.
 * @param {string} type
 * @param {Keys} keys
 * @returns {Keys}
 */
export function knownKeys(type, keys) {
    const known = classOf(type);
    return { ctrl: keys.ctrl && !!known?.center, shift: keys.shift && !!known?.square };
}

/**
 * The edits that draw a figure from where the mouse went down to where it is.
 * @param {string} type
 * @param {string} name
 * @param {XY} from
 * @param {XY} to
 * @param {Keys} keys
 * @returns {Edit[]}
 */
export function drawn(type, name, from, to, keys) {
    const { start, nodes } = kTools[type];
    const parameters = { CenterX: from.x, CenterY: from.y, ...start };
    const flags = knownKeys(type, keys);
    return [
        { op: "add", class: type, name, parameters },
        ...(nodes ?? []).map(([node, part]) => {
            const at = { x: from.x + (to.x - from.x) * part, y: from.y + (to.y - from.y) * part };
            return /** @type {Edit} */ ({ op: "drag", name, node, ...at, ...flags });
        }),
    ];
}

/**
 * @param {string} type
 * @param {string} name
 * @param {XY[]} points
 * @returns {Edit[]}
 */
export function drawnThrough(type, name, points) {
    return [{ op: "add", class: type, name, points: points.map(({ x, y }) => [x, y]) }];
}
