// The list of figures: selecting, hiding, and what is done with those selected.

import { byId, icon, iconButton, make } from "./dom.js";
import { cssColor } from "./colors.js";
import { deleteSelected, duplicateSelected, hideSelected, orderSelected, showSelected } from "./keyboard.js";
import { makeSortable } from "./reorder.js";
import { Rows } from "./rows.js";
import { tryEdit } from "./session.js";
import {
    changed,
    classLabel,
    on,
    primary,
    select,
    selectedInOrder,
    setHidden,
    state,
    toggleSelected,
} from "./state.js";
import { kTools } from "./tools.js";

/**
 * Names of the figures that the filter lets through.
 * @type {string[]}
 */
let names = [];
/** Where a selection with Shift begins. */
let anchor = 0;

const list = byId("figure-list", HTMLElement);
const rows = new Rows(list, { role: "option", render, pick });

/**
 * @param {number} index
 * @param {HTMLElement} row
 */
function render(index, row) {
    const name = names[index];
    const { class: type, index: place } = state.figures.get(name) ?? { class: "", index: 0 };
    const isHidden = state.hidden.has(name);
    row.setAttribute("aria-selected", String(state.selected.includes(name)));
    row.setAttribute("aria-setsize", String(names.length));
    row.setAttribute("aria-posinset", String(index + 1));
    row.classList.toggle("hidden-figure", isHidden);
    const shape = icon(kTools[type]?.icon ?? "polygon");
    shape.style.color = cssColor(place);
    const eye = iconButton(isHidden ? "eye-off" : "eye", `${isHidden ? "Show" : "Hide"} ${name}`, (event) => {
        event.stopPropagation();
        setHidden([name], !isHidden);
    });
    eye.tabIndex = -1;
    row.append(shape, make("span", { class: "name" }, name), make("span", { class: "kind" }, classLabel(type)), eye);
}

/**
 * @param {number} index
 * @param {MouseEvent | KeyboardEvent} event
 */
function pick(index, event) {
    if (event.shiftKey) {
        const [from, to] = [Math.min(anchor, index), Math.max(anchor, index)];
        select(names.slice(from, to + 1));
        return;
    }
    anchor = index;
    if (event.ctrlKey || event.metaKey) {
        toggleSelected(names[index]);
    } else {
        select([names[index]]);
    }
}

function showList() {
    const wanted = byId("filter", HTMLInputElement).value.trim().toLowerCase();
    const all = state.figures.list;
    const some = wanted
        ? all.filter(
              ({ name, class: type }) => name.toLowerCase().includes(wanted) || classLabel(type).includes(wanted),
          )
        : all;
    names = some.map((figure) => figure.name);
    rows.setCount(names.length);
    byId("figure-count", HTMLElement).textContent = wanted ? `${names.length} of ${all.length}` : String(all.length);
}

function showSelection() {
    const at = names.indexOf(primary() ?? "");
    if (at >= 0) {
        rows.at = at;
        rows.reveal(at);
    }
    rows.refresh();
    for (const button of byId("figure-actions", HTMLElement).querySelectorAll("button")) {
        button.disabled = state.selected.length === 0 || (state.server.readOnly && button.dataset.edits === "yes");
    }
}

/**
 * Alt and an arrow move a figure one place up or down in the order.
 * @param {KeyboardEvent} event
 */
function moveInOrder(event) {
    const step = { ArrowUp: -1, ArrowDown: 1 }[event.key];
    const name = primary();
    if (!event.altKey || step === undefined || name === undefined) {
        return;
    }
    event.preventDefault();
    const to = state.figures.list.findIndex((figure) => figure.name === name) + step;
    if (to >= 0 && to < state.figures.list.length) {
        void tryEdit([{ op: "order", names: [name], to }]);
    }
}

/**
 * Puts a row, or all selected ones when it is one of them, before another one.
 * @param {number} from
 * @param {number} before
 */
function drop(from, before) {
    const moved = state.selected.includes(names[from]) ? selectedInOrder() : [names[from]];
    const others = names.slice(before).find((name) => !moved.includes(name));
    const rest = state.figures.list.filter(({ name }) => !moved.includes(name));
    const to = others === undefined ? rest.length : rest.findIndex(({ name }) => name === others);
    if (moved.some((name, i) => state.figures.list[to + i].name !== name)) {
        void tryEdit([{ op: "order", names: moved, to }]);
    }
}

/** @type {[icon: string, label: string, edits: boolean, run: () => void][]} */
const kActions = [
    ["target", "Show large (F)", false, showSelected],
    ["eye", "Hide or show (H)", false, hideSelected],
    ["copy", "Duplicate (Ctrl+D)", true, duplicateSelected],
    ["front", "In front (Ctrl+PageUp)", true, () => orderSelected(true)],
    ["back", "Behind (Ctrl+PageDown)", true, () => orderSelected(false)],
    ["trash", "Delete (Del)", true, deleteSelected],
];

byId("figure-actions", HTMLElement).append(
    ...kActions.map(([name, label, edits, run]) => {
        const button = iconButton(name, label, run);
        button.dataset.edits = edits ? "yes" : "no";
        return button;
    }),
);
byId("filter", HTMLInputElement).addEventListener("input", showList);
byId("show-names", HTMLInputElement).addEventListener("change", (event) => {
    state.showNames = /** @type {HTMLInputElement} */ (event.target).checked;
    changed("names");
});
list.addEventListener("keydown", moveInOrder);
makeSortable(list, rows, { canDrag: () => !state.server.readOnly, drop });
list.addEventListener("dblclick", showSelected);
on("figures", () => {
    showList();
    showSelection();
});
on("selection", showSelection);
on("hidden", () => rows.refresh());
