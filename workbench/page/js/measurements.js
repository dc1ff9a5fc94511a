// The table of measurements: what `roi measure` gives, of all figures, kept up with edits and drags.

import { get } from "./api.js";
import { byId, download, make, show, tellError } from "./dom.js";
import { Rows } from "./rows.js";
import { changed, on, primary, select, state, toggleSelected, unitQuery } from "./state.js";

/** @typedef {import("../../types").Cell} Cell */
/** @typedef {import("../../types").Measured} Measured */

/** Sets up to this size are measured as a whole; of larger ones the selected figures, until somebody asks for all. */
const kMostAtOnce = 2000;
const kMostSelected = 200;
/** How long the figures have to rest before they are measured, in milliseconds. */
const kRest = 120;
const kColumnsKey = "roi-columns";

const kNameColumn = "name";
/** Of no use at first: the page shows one image at a time, and says which. */
const kImageColumn = "image";

/** @type {Measured} */
let measured = { columns: [], rows: [] };
/** @type {{column: number, down: boolean}} */
let sorting = { column: -1, down: false };
/** Whether all figures of a large set are to be measured. */
let wantsAll = false;
/** Counts requests, so that an answer that comes late is known as such. */
let asked = 0;
let timer = 0;

const table = byId("measurements", HTMLElement);
const head = make("div", { class: "head-row", role: "row" });
table.append(head);
const rows = new Rows(table, { role: "row", render, pick });

function nameColumn() {
    return measured.columns.indexOf(kNameColumn);
}

/**
 * @param {number} index
 */
function nameAt(index) {
    return String(measured.rows[index][nameColumn()] ?? "");
}

/**
 * The cells of a figure's row: those of a drag while it lasts.
 * @param {number} index
 */
function cellsAt(index) {
    const cells = measured.rows[index];
    const live = state.live;
    const at = live?.columns.indexOf(kNameColumn) ?? -1;
    const same = live?.columns.length === measured.columns.length;
    return (same && live?.rows.find((row) => row[at] === cells[nameColumn()])) || cells;
}

/**
 * @param {number} index
 * @param {HTMLElement} row
 */
function render(index, row) {
    const cells = cellsAt(index);
    row.setAttribute("aria-selected", String(state.selected.includes(nameAt(index))));
    row.setAttribute("aria-rowindex", String(index + 2));
    row.append(
        ...cells.map((cell) =>
            make("span", { role: "gridcell", class: typeof cell === "string" ? "text" : "number" }, show(cell)),
        ),
    );
}

/**
 * @param {number} index
 * @param {MouseEvent | KeyboardEvent} event
 */
function pick(index, event) {
    if (event.ctrlKey || event.metaKey) {
        toggleSelected(nameAt(index));
    } else {
        select([nameAt(index)]);
    }
}

// ---------------------------------------------------------------------------------------------------
// Measuring

/** The names to measure, or undefined for all. */
function wanted() {
    const isSmall = state.figures.list.length <= kMostAtOnce;
    return isSmall || wantsAll ? undefined : state.selected.slice(-kMostSelected);
}

async function measureNow() {
    const mine = (asked += 1);
    const names = wanted();
    showNote(names);
    if (!state.info || state.columns.length === 0) {
        measured = { columns: state.columns, rows: [] };
        showTable();
        return;
    }
    try {
        /** @type {Measured} */
        const answer =
            names?.length === 0
                ? { columns: state.columns, rows: [] }
                : await get("measure", {
                      image: state.image,
                      page: state.page,
                      columns: state.columns.join(","),
                      exact: state.exact,
                      name: names,
                      ...unitQuery(),
                  });
        if (mine === asked) {
            measured = answer;
            showTable();
        }
    } catch (error) {
        if (mine === asked) {
            tellError(error);
        }
    }
}

function measureSoon() {
    clearTimeout(timer);
    timer = setTimeout(() => void measureNow(), kRest);
}

/** @param {string[] | undefined} names */
function showNote(names) {
    const note = byId("measurements-note", HTMLElement);
    if (!names) {
        note.replaceChildren();
        return;
    }
    const all = make("button", { type: "button", class: "text-button" }, `Measure all ${state.figures.list.length}`);
    all.addEventListener("click", () => {
        wantsAll = true;
        measureSoon();
    });
    note.replaceChildren("of the selected figures ", all);
}

// ---------------------------------------------------------------------------------------------------
// The table

/**
 * @param {Cell} a
 * @param {Cell} b
 */
function compare(a, b) {
    if (a === null || b === null) {
        return Number(a === null) - Number(b === null);
    }
    return typeof a === "number" && typeof b === "number"
        ? a - b
        : String(a).localeCompare(String(b), undefined, { numeric: true });
}

function sortRows() {
    const { column, down } = sorting;
    if (column >= 0 && column < measured.columns.length) {
        const sign = down ? -1 : 1;
        measured.rows.sort((a, b) => sign * compare(a[column], b[column]));
    }
}

/** @param {number} column */
function sortBy(column) {
    sorting = { column, down: sorting.column === column && !sorting.down };
    showTable();
}

/** @param {number} column */
function widthOf(column) {
    const some = measured.rows.slice(0, 50).map((row) => show(row[column]).length);
    return Math.min(28, Math.max(measured.columns[column].length + 2, ...some) + 2);
}

function showTable() {
    sortRows();
    const meanings = new Map(state.server.columns.map((column) => [column.name, column.meaning]));
    head.replaceChildren(
        ...measured.columns.map((name, column) => {
            const isSorted = sorting.column === column;
            const order = sorting.down ? "descending" : "ascending";
            const sign = isSorted ? (sorting.down ? " ▾" : " ▴") : "";
            const button = make(
                "button",
                { type: "button", title: meanings.get(name) ?? "", onclick: () => sortBy(column) },
                name + sign,
            );
            const type = typeof measured.rows[0]?.[column] === "number" ? "number" : "text";
            return make("span", { role: "columnheader", class: type, "aria-sort": isSorted ? order : "none" }, button);
        }),
    );
    const widths = measured.columns.map((_, column) => widthOf(column));
    table.style.setProperty("--columns", widths.map((width) => `${width}ch`).join(" "));
    table.style.setProperty("--width", `${widths.reduce((sum, width) => sum + width, 2)}ch`);
    table.setAttribute("aria-rowcount", String(measured.rows.length + 1));
    rows.setCount(measured.rows.length);
    revealSelected();
}

function revealSelected() {
    const name = primary();
    const at = name === undefined ? -1 : measured.rows.findIndex((_, index) => nameAt(index) === name);
    if (at >= 0) {
        rows.at = at;
        rows.reveal(at);
    }
    rows.refresh();
}

/** @param {Cell} cell */
function csvCell(cell) {
    const text = cell === null ? "" : String(cell);
    return /[",\n]/.test(text) ? `"${text.replaceAll('"', '""')}"` : text;
}

function saveCsv() {
    const lines = [measured.columns, ...measured.rows].map((row) => row.map(csvCell).join(","));
    download(`${state.server.set.replace(/^.*\/|\.\w+$/g, "")}.csv`, `${lines.join("\n")}\n`, "text/csv");
}

// ---------------------------------------------------------------------------------------------------
// Columns

function shownAtFirst() {
    return state.server.columns
        .filter(({ name, shown }) => shown && name !== kImageColumn)
        .map((column) => column.name);
}

/** @param {string[]} names */
function chooseColumns(names) {
    state.columns = state.server.columns.map((column) => column.name).filter((name) => names.includes(name));
    localStorage.setItem(kColumnsKey, state.columns.join(","));
    changed("columns");
}

function showChoices() {
    const boxes = state.server.columns.map(({ name, meaning }) => {
        const box = make("input", { type: "checkbox", value: name });
        box.checked = state.columns.includes(name);
        // The name says which figure a row is of.
        box.disabled = name === kNameColumn;
        box.addEventListener("change", () =>
            chooseColumns(box.checked ? [...state.columns, name] : state.columns.filter((one) => one !== name)),
        );
        return make("label", { class: "check" }, box, make("b", {}, name), make("span", {}, meaning));
    });
    byId("columns-choices", HTMLElement).replaceChildren(...boxes);
}

/** Takes the columns that were chosen here last, as far as the server knows them. */
export function restoreColumns() {
    const kept = localStorage.getItem(kColumnsKey)?.split(",");
    chooseColumns(kept ? [kNameColumn, ...kept] : shownAtFirst());
}

byId("columns-button", HTMLElement).addEventListener("click", () => {
    showChoices();
    byId("columns-dialog", HTMLDialogElement).showModal();
});
byId("columns-default", HTMLElement).addEventListener("click", () => {
    chooseColumns(shownAtFirst());
    showChoices();
});
byId("csv", HTMLElement).addEventListener("click", saveCsv);
byId("exact", HTMLInputElement).addEventListener("change", (event) => {
    state.exact = /** @type {HTMLInputElement} */ (event.target).checked;
    changed("columns");
});
on(["figures", "image", "columns"], measureSoon);
on("selection", () => {
    revealSelected();
    if (wanted()) {
        measureSoon();
    }
});
on("live", () => rows.refresh());
