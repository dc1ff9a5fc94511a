// The tools at the left, the buttons at the top, and what the page says of itself there.

import { byId, icon, make } from "./dom.js";
import { showBindings } from "./keyboard.js";
import { stepHistory } from "./session.js";
import { classLabel, classOf, on, state, useTool } from "./state.js";
import { kTools } from "./tools.js";
import { fitImage, map } from "./viewport.js";

/**
 * @param {string} tool
 * @param {string} label
 * @param {string} key
 * @param {string} drawing
 */
function toolButton(tool, label, key, drawing) {
    const title = `${label} (${key.toUpperCase()})`;
    const button = make(
        "button",
        { type: "button", class: "tool-button", "aria-label": label, title, onclick: () => useTool(tool) },
        icon(drawing),
    );
    button.dataset.tool = tool;
    return button;
}

export function showTools() {
    const known = Object.entries(kTools).filter(([type]) => classOf(type));
    byId("tools", HTMLElement).replaceChildren(
        toolButton("select", "Select and edit", "v", "select"),
        ...known.map(([type, { key, icon: drawing }]) => toolButton(type, `Draw: ${classLabel(type)}`, key, drawing)),
    );
    showTool();
}

function showTool() {
    for (const button of byId("tools", HTMLElement).querySelectorAll("button")) {
        button.setAttribute("aria-pressed", String(button.dataset.tool === state.tool));
        button.disabled = state.server.readOnly && button.dataset.tool !== "select";
    }
    byId("stage", HTMLElement).classList.toggle("drawing", state.tool !== "select");
    byId("hint", HTMLElement).textContent = kTools[state.tool]?.hint ?? "";
}

function showHistory() {
    const { set, readOnly, canUndo, canRedo } = state.server;
    const name = set.replace(/^.*\//, "");
    byId("set-name", HTMLElement).textContent = name;
    byId("set-name", HTMLElement).title = set;
    document.title = name ? `${name} - roi` : "roi";
    byId("undo", HTMLButtonElement).disabled = readOnly || !canUndo;
    byId("redo", HTMLButtonElement).disabled = readOnly || !canRedo;
    byId("import", HTMLButtonElement).disabled = readOnly;
}

/** @param {boolean} isThere whether the server answers */
export function showConnection(isThere) {
    const badge = byId("set-state", HTMLElement);
    badge.textContent = isThere ? (state.server.readOnly ? "read only" : "saved") : "not connected";
    badge.classList.toggle("bad", !isThere);
}

function showZoom() {
    const percent = 2 ** map.getZoom() * 100;
    byId("zoom", HTMLElement).textContent = `${percent < 10 ? percent.toFixed(1) : Math.round(percent)} %`;
}

/**
 * Up and down go through the tools, as in every toolbar.
 * @param {KeyboardEvent} event
 */
function stepTool(event) {
    const buttons = [...byId("tools", HTMLElement).querySelectorAll("button")].filter((button) => !button.disabled);
    const at = buttons.findIndex((button) => button === document.activeElement);
    const by = { ArrowUp: -1, ArrowDown: 1 }[event.key];
    if (at >= 0 && by !== undefined) {
        event.preventDefault();
        buttons[(at + by + buttons.length) % buttons.length].focus();
    }
}

/** @type {[id: string, run: () => void][]} */
const kButtons = [
    ["undo", () => void stepHistory("undo")],
    ["redo", () => void stepHistory("redo")],
    ["zoom-in", () => map.zoomIn(1)],
    ["zoom-out", () => map.zoomOut(1)],
    ["zoom-fit", fitImage],
    ["zoom-one", () => map.setZoom(0)],
    ["show-help", () => byId("help", HTMLDialogElement).showModal()],
];
kButtons.forEach(([id, run]) => byId(id, HTMLElement).addEventListener("click", run));
byId("tools", HTMLElement).addEventListener("keydown", stepTool);
map.on("zoomend", showZoom);
showBindings();
on("tool", showTool);
on("history", showHistory);
// Which state of the set the page shows, for those who drive it by script: from the frame on in which its rows are.
on("figures", () =>
    requestAnimationFrame(() => (document.documentElement.dataset.revision = String(state.server.revision))),
);
