// Everything by keys: the list below is what the help shows, and what is done.

import { byId, make, tellError } from "./dom.js";
import { nudge, place } from "./gestures.js";
import { chooseMask, endPoints, giveUp, isPointing, takeBackPoint } from "./pointer.js";
import { stepHistory, tryEdit } from "./session.js";
import { changed, primary, select, selectedInOrder, setHidden, state, useTool } from "./state.js";
import { kTools } from "./tools.js";
import { fitImage, map, middle, showBox } from "./viewport.js";

const kStep = 1;
const kLargeStep = 10;
/** Copies lie so many pixels beside what they are copied from. */
const kCopyOffset = 12;
/** A figure placed by the keyboard takes this part of the view. */
const kPlacedPart = 0.15;

/**
 * A key, without case, and what it does; `inView` when it does so only while the focus is on the image.
 * @typedef {{key: string, ctrl?: boolean, shift?: boolean, does: string, run: (event: KeyboardEvent) => void,
 *            inView?: boolean}} Binding
 */

/** @param {number} by */
function stepNode(by) {
    const nodes = state.details.get(primary() ?? "")?.nodes ?? [];
    if (nodes.length > 0) {
        const at = nodes.findIndex((node) => node.node === state.node);
        const next = at < 0 && by < 0 ? nodes.length - 1 : (at + by + nodes.length) % nodes.length;
        state.node = nodes[next].node;
        const { node, meaning } = nodes[next];
        byId("announcer", HTMLElement).textContent = `Node ${node}, ${meaning}`;
        changed("details");
    }
}

/** @param {number} by */
function stepFigure(by) {
    const figures = state.figures.list;
    if (figures.length > 0) {
        const at = figures.findIndex((figure) => figure.name === primary());
        select([figures[at < 0 ? 0 : (at + by + figures.length) % figures.length].name]);
    }
}

export function deleteSelected() {
    const name = primary();
    const figure = state.details.get(name ?? "");
    const point = /^1:(\d+)$/.exec(state.node)?.[1];
    if (name !== undefined && point !== undefined && figure?.points) {
        state.node = "";
        void tryEdit([{ op: "point", name, action: "remove", index: Number(point) }]);
    } else if (state.selected.length > 0) {
        void tryEdit([{ op: "delete", names: state.selected }]);
    }
}

export function duplicateSelected() {
    if (state.selected.length > 0) {
        void tryEdit([{ op: "duplicate", names: state.selected, dx: kCopyOffset, dy: kCopyOffset }]);
    }
}

export function hideSelected() {
    setHidden(
        state.selected,
        state.selected.some((name) => !state.hidden.has(name)),
    );
}

/**
 * Puts the selected figures in front of all others, or behind them.
 * @param {boolean} front
 */
export function orderSelected(front) {
    if (state.selected.length > 0) {
        const to = front ? state.figures.list.length - state.selected.length : 0;
        void tryEdit([{ op: "order", names: selectedInOrder(), to }]);
    }
}

export function showSelected() {
    const figure = state.figures.get(primary() ?? "");
    if (figure) {
        const margin = Math.max(figure.right - figure.left, figure.bottom - figure.top, 4) / 4;
        showBox([figure.left - margin, figure.top - margin, figure.right + margin, figure.bottom + margin], 5);
    }
}

function escape() {
    if (giveUp()) {
        return;
    }
    if (state.tool !== "select") {
        useTool("select");
    } else if (state.node) {
        state.node = "";
        changed("details");
    } else {
        select([]);
    }
}

/** Enter ends a profile or polygon; with a tool that waits, it places a figure in the middle of the view. */
function enter() {
    const tool = kTools[state.tool];
    if (isPointing()) {
        endPoints();
        useTool("select");
        return;
    }
    if (!tool) {
        return;
    }
    const at = middle();
    if (tool.way === "file") {
        chooseMask(at);
        return;
    }
    const size = map.getSize();
    const reach = Math.max(1, Math.round((Math.min(size.x, size.y) * kPlacedPart) / 2 ** map.getZoom()));
    const type = state.tool;
    useTool("select");
    void place(type, at, reach);
}

/**
 * @param {number} x
 * @param {number} y
 * @returns {(event: KeyboardEvent) => void}
 */
function arrow(x, y) {
    return (event) => {
        const step = event.shiftKey ? kLargeStep : kStep;
        if (state.selected.length === 0 || state.server.readOnly) {
            map.panBy([x * step * 8, y * step * 8], { animate: false });
            return;
        }
        nudge(x * step, y * step, { ctrl: event.ctrlKey, shift: false }).catch(tellError);
    };
}

/** @type {Binding[]} */
const kBindings = [
    { key: "v", does: "select, move and edit", run: () => useTool("select") },
    ...Object.entries(kTools).map(([type, { key }]) => ({
        key,
        does: `draw: ${type.replace(/^ROI/, "")}`,
        run: () => useTool(type),
    })),
    {
        key: "Enter",
        does: "place the chosen figure in the middle of the view; end a profile or polygon",
        run: enter,
        inView: true,
    },
    { key: "Backspace", does: "take the last point of a profile or polygon back", run: takeBackPoint, inView: true },
    { key: "Escape", does: "give up a drag; back to selecting; select nothing", run: escape },
    {
        key: "ArrowLeft",
        does: "move the figures or the chosen node by 1 pixel, with Shift by 10, with Ctrl keep the centre; or move the view",
        run: arrow(-1, 0),
        inView: true,
    },
    { key: "ArrowRight", does: "", run: arrow(1, 0), inView: true },
    { key: "ArrowUp", does: "", run: arrow(0, -1), inView: true },
    { key: "ArrowDown", does: "", run: arrow(0, 1), inView: true },
    { key: "n", does: "choose the next node; the arrow keys then move it", run: () => stepNode(1) },
    { key: "n", shift: true, does: "choose the node before", run: () => stepNode(-1) },
    { key: "PageDown", does: "select the next figure", run: () => stepFigure(1), inView: true },
    { key: "PageUp", does: "select the figure before", run: () => stepFigure(-1), inView: true },
    {
        key: "a",
        ctrl: true,
        does: "select all figures",
        run: () => select(state.figures.list.map((figure) => figure.name)),
    },
    { key: "z", ctrl: true, does: "undo", run: () => void stepHistory("undo") },
    { key: "z", ctrl: true, shift: true, does: "redo", run: () => void stepHistory("redo") },
    { key: "y", ctrl: true, does: "redo", run: () => void stepHistory("redo") },
    { key: "d", ctrl: true, does: "duplicate the selected figures", run: duplicateSelected },
    {
        key: "Delete",
        does: "delete the selected figures, or the chosen point of a profile or polygon",
        run: deleteSelected,
    },
    { key: "F2", does: "rename the figure", run: () => byId("figure-name", HTMLInputElement).select() },
    { key: "h", does: "hide the selected figures, or show them again", run: hideSelected },
    {
        key: "PageUp",
        ctrl: true,
        does: "put the selected figures in front",
        run: () => orderSelected(true),
        inView: true,
    },
    { key: "PageDown", ctrl: true, does: "put them behind", run: () => orderSelected(false), inView: true },
    { key: "f", does: "show the selected figure large", run: showSelected },
    { key: "+", does: "zoom in", run: () => map.zoomIn(1) },
    { key: "-", does: "zoom out", run: () => map.zoomOut(1) },
    { key: "0", does: "show the whole image", run: fitImage },
    { key: "1", does: "show the image one to one", run: () => map.setZoom(0) },
    { key: "l", does: "show or hide the names", run: () => byId("show-names", HTMLInputElement).click() },
    { key: "?", does: "show this help", run: () => byId("help", HTMLDialogElement).showModal() },
];

/** @param {KeyboardEvent} event */
function bindingOf(event) {
    const ctrl = event.ctrlKey || event.metaKey;
    const isArrow = event.key.startsWith("Arrow");
    const isLetter = /^[a-z]$/i.test(event.key);
    return kBindings.find(
        (one) =>
            one.key === (isLetter ? event.key.toLowerCase() : event.key) &&
            (isArrow || !!one.ctrl === ctrl) &&
            (!isLetter || !!one.shift === event.shiftKey),
    );
}

/**
 * Keys that fields and lists take for themselves.
 * @param {EventTarget | null} target
 */
function isTyping(target) {
    return (
        target instanceof HTMLElement && target.closest("input:not([type=checkbox]), select, textarea, dialog") !== null
    );
}

window.addEventListener("keydown", (event) => {
    const binding = bindingOf(event);
    const inView = map.getContainer().contains(document.activeElement);
    if (!binding || isTyping(event.target) || (binding.inView && !inView)) {
        return;
    }
    event.preventDefault();
    binding.run(event);
});

/** Fills the help. */
export function showBindings() {
    const rows = kBindings
        .filter((one) => one.does)
        .map((one) => {
            const name = one.key.startsWith("Arrow")
                ? "Arrows"
                : one.key.length === 1
                  ? one.key.toUpperCase()
                  : one.key;
            const keys = [one.ctrl && "Ctrl", one.shift && "Shift", name].filter(Boolean);
            const shown = keys.flatMap((key, i) => [...(i > 0 ? [" + "] : []), make("kbd", {}, String(key))]);
            return make("tr", {}, make("th", { scope: "row" }, ...shown), make("td", {}, one.does));
        });
    byId("keys", HTMLElement).replaceChildren(...rows);
}
