// The mouse on the image: which gesture it begins, what lies below it, and what the status line says of it.

import { get, Latest, postFile } from "./api.js";
import { byId, show, tellError } from "./dom.js";
import { drawDrag, frameSelect, moveDrag, nodeDrag, pan, PointsDraft } from "./gestures.js";
import { showHovered } from "./overlay.js";
import { tryRequest } from "./session.js";
import { changed, imageQuery, on, select, state, toggleSelected, useTool } from "./state.js";
import { isFixed, kTools } from "./tools.js";
import { imagePoint, map, pixelSize, screenPoint } from "./viewport.js";

/** @typedef {import("../../types").XY} XY */
/** @typedef {import("./gestures.js").Gesture} Gesture */
/** @typedef {import("./gestures.js").Place} Place */

/** So many CSS pixels off, a node and an outline are still meant, and a press is still a click. */
const kNodeReach = 9;
const kOutlineReach = 5;
const kClickReach = 3;

const stage = byId("stage", HTMLElement);

/** @type {Gesture | null} */
let gesture = null;
/** @type {PointsDraft | null} */
let points = null;
/** @type {Place} */
let last = { at: { x: 0, y: 0 }, screen: { x: 0, y: 0 }, keys: { ctrl: false, shift: false } };
let spaceHeld = false;

/**
 * Where the mouse is. The point of the image is as fine as the screen shows it: whole pixels, tenths when a pixel is
 * seen
 * large, hundredths when it is seen very large.
 * @param {MouseEvent} event
 * @returns {Place}
 */
function placeOf(event) {
    const { x, y } = imagePoint(event);
    const digits = Math.max(0, Math.ceil(Math.log10(pixelSize())));
    const at = { x: Number(x.toFixed(digits)), y: Number(y.toFixed(digits)) };
    return { at, screen: { x: event.clientX, y: event.clientY }, keys: keysOf(event) };
}

/**
 * A place of the image in pixels and in their unit.
 * @param {XY} at
 */
function placeText({ x, y }) {
    const size = state.info?.pixelSize;
    const inUnit = size && size.unit !== "px" ? ` (${show(x * size.x, 3)}, ${show(y * size.y, 3)} ${size.unit})` : "";
    return `${x}, ${y}${inUnit}`;
}

/** @param {MouseEvent | KeyboardEvent} event */
function keysOf(event) {
    return { ctrl: event.ctrlKey || event.metaKey, shift: event.shiftKey };
}

// ---------------------------------------------------------------------------------------------------
// What lies below the mouse

/**
 * The node below the mouse, of the figures whose nodes are shown; the nearest one.
 * @param {MouseEvent} event
 */
function nodeBelow(event) {
    const box = map.getContainer().getBoundingClientRect();
    const [x, y] = [event.clientX - box.left, event.clientY - box.top];
    let best = { distance: kNodeReach, name: "", node: "" };
    for (const { name, class: type, nodes } of state.details.values()) {
        for (const node of (nodes ?? []).filter((one) => !isFixed(type, one.node))) {
            const at = screenPoint(node);
            const distance = Math.hypot(at.x - x, at.y - y);
            if (distance < best.distance) {
                best = { distance, name, node: node.node };
            }
        }
    }
    return best.name ? best : null;
}

/**
 * The topmost figure whose outline holds a point or passes near it; empty when there is none. Only figures whose box is
 * near are worth asking for.
 * @param {XY} at
 */
async function figureBelow({ x, y }) {
    const tolerance = kOutlineReach / pixelSize();
    const near = state.figures.near(x - tolerance, y - tolerance, x + tolerance, y + tolerance);
    if (near.every((figure) => state.hidden.has(figure.name))) {
        return "";
    }
    /** @type {{names: string[]}} */
    const { names } = await get("hit", { x, y, tolerance });
    return names.find((name) => !state.hidden.has(name)) ?? "";
}

// ---------------------------------------------------------------------------------------------------
// Gestures

/** The left button went down with the tool for selecting, not on a node: a click, or the begin of a drag. */
class Press {
    /** @param {Place} place */
    constructor(place) {
        this.from = place;
        this.below = figureBelow(place.at);
        this.below.catch(tellError);
        this.decided = false;
    }

    /** @param {Place} place */
    move({ screen }) {
        const { from } = this;
        const far = Math.hypot(screen.x - from.screen.x, screen.y - from.screen.y) > kClickReach;
        if (this.decided || !far) {
            return;
        }
        this.decided = true;
        void this.below.then((name) => {
            if (gesture === this) {
                gesture = this.drag(name);
                gesture.move(last);
            }
        });
    }

    /** @param {string} name */
    drag(name) {
        const { at, screen, keys } = this.from;
        if (keys.shift) {
            return frameSelect(at);
        }
        if (!name || state.server.readOnly) {
            return pan(screen);
        }
        if (!state.selected.includes(name)) {
            select([name]);
        }
        return moveDrag([...state.selected], at);
    }

    end() {
        const { ctrl, shift } = this.from.keys;
        void this.below.then((name) => {
            if (!name) {
                select([]);
            } else if (ctrl || shift) {
                toggleSelected(name);
            } else {
                select([name]);
            }
        });
    }

    giveUp() {}
}

/**
 * @param {PointerEvent} event
 * @returns {Gesture | null}
 */
function begin(event) {
    const place = placeOf(event);
    const tool = kTools[state.tool];
    if (tool?.way === "drag") {
        return drawDrag(state.tool, place.at);
    }
    if (tool?.way === "points") {
        points ??= new PointsDraft(state.tool);
        points.add(place.at);
        return null;
    }
    if (tool?.way === "file") {
        chooseMask(place.at);
        return null;
    }
    const node = state.server.readOnly ? null : nodeBelow(event);
    if (!node) {
        return new Press(place);
    }
    select([...state.selected.filter((name) => name !== node.name), node.name]);
    state.node = node.node;
    changed("details");
    return nodeDrag(node.name, node.node);
}

/**
 * Asks for the file of a mask whose middle is to lie at a point.
 * @param {XY} at
 */
export function chooseMask({ x, y }) {
    const input = byId("mask-file", HTMLInputElement);
    input.onchange = () => {
        const file = input.files?.[0];
        input.value = "";
        if (file) {
            void tryRequest(() => postFile("mask", { x, y }, file));
            useTool("select");
        }
    };
    input.click();
}

/** Makes the profile or polygon of the points that were clicked. */
export function endPoints() {
    points?.keep();
    points = null;
}

/** Takes the last point back. */
export function takeBackPoint() {
    points?.takeBack();
}

/** Whether a profile or polygon is being drawn. */
export function isPointing() {
    return points !== null;
}

/** Gives up what the mouse is doing; tells whether there was anything. */
export function giveUp() {
    const busy = gesture ?? points;
    busy?.giveUp();
    gesture = null;
    points = null;
    return busy !== null;
}

/** @param {PointerEvent} event */
function isOurs(event) {
    return event.button === 0 && event.pointerType !== "touch" && !spaceHeld && event.target !== null;
}

/** Whether the button that went down last is ours: then Leaflet is not told of the mouse event that follows. */
let claimed = false;

stage.addEventListener(
    "pointerdown",
    (event) => {
        claimed = isOurs(event);
        if (!claimed) {
            return;
        }
        event.stopPropagation();
        map.stop();
        map.getContainer().focus({ preventScroll: true });
        stage.setPointerCapture(event.pointerId);
        last = placeOf(event);
        gesture = begin(event);
    },
    true,
);
stage.addEventListener("mousedown", (event) => claimed && event.stopPropagation(), true);
stage.addEventListener("pointermove", (event) => {
    last = placeOf(event);
    gesture?.move(last);
    if (!gesture) {
        points?.show(last.at);
    }
    byId("status-place", HTMLElement).textContent = placeText(last.at);
    if (!gesture) {
        showValue(last.at);
        hover(event);
    }
});
stage.addEventListener("pointerup", () => {
    const ended = gesture;
    gesture = null;
    ended?.end();
    if (ended && kTools[state.tool]) {
        useTool("select");
    }
});
stage.addEventListener("pointercancel", giveUp);
stage.addEventListener("dblclick", () => {
    if (points) {
        endPoints();
        useTool("select");
    }
});
stage.addEventListener("pointerleave", () => {
    showHovered("");
    byId("status-value", HTMLElement).textContent = "";
});
for (const type of /** @type {const} */ (["keydown", "keyup"])) {
    window.addEventListener(type, (event) => {
        if (event.key === " ") {
            spaceHeld = type === "keydown";
        }
        if (gesture && (event.key === "Control" || event.key === "Shift" || event.key === "Meta")) {
            last = { ...last, keys: keysOf(event) };
            gesture.move(last);
        }
    });
}
on("tool", giveUp);

// ---------------------------------------------------------------------------------------------------
// Hovering

const hovering = new Latest();
const reading = new Latest();

/** @param {PointerEvent} event */
function hover(event) {
    const selecting = state.tool === "select";
    const node = selecting && nodeBelow(event);
    stage.classList.toggle("over-node", !!node);
    if (!selecting || node) {
        showHovered("");
        stage.classList.remove("over-figure");
        return;
    }
    const { at } = last;
    void hovering.push(async () => {
        const name = await figureBelow(at).catch(() => "");
        showHovered(name);
        stage.classList.toggle("over-figure", name !== "");
    });
}

/** @param {XY} at */
function showValue(at) {
    void reading.push(async () => {
        const { image, page } = imageQuery();
        const { values } = await get("value", { image, page, x: Math.round(at.x), y: Math.round(at.y) }).catch(() => ({
            values: null,
        }));
        const channels = state.info?.channels ?? [];
        byId("status-value", HTMLElement).textContent = values
            ? values
                  .map((/** @type {number} */ value, /** @type {number} */ i) =>
                      `${channels[i] ?? ""} ${show(value)}`.trim(),
                  )
                  .join("  ")
            : "";
    });
}
