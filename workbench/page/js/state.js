// What the page knows, in one place, and who wants to hear of changes. Modules change it by the functions here and in
// session.js, and draw what they show of it when its topic is told.

import { Figures } from "./figures.js";

/**
 * What listeners can wait for: `figures` when the set changed, `selection` when other figures are selected, `details`
 * when what is known of the selected ones changed, `hidden` when figures are hidden or shown, `image` when another
 * image, page, channel or range is shown, `tool`, `history` when what can be taken back changed, `live` when a drag
 * gave new values, `mark` when a place is marked, `names` when names are shown or not, `columns` when
 * something else is measured, `trouble` when a part of the image did not come.
 * @typedef {"figures" | "selection" | "details" | "hidden" | "image" | "tool" | "history" | "live" | "mark" | "names" |
 *           "columns" | "trouble"} Topic
 */

/** @type {Map<Topic, (() => void)[]>} */
const listeners = new Map();

/**
 * @param {Topic | Topic[]} topics
 * @param {() => void} listener
 */
export function on(topics, listener) {
    for (const topic of Array.isArray(topics) ? topics : [topics]) {
        listeners.set(topic, [...(listeners.get(topic) ?? []), listener]);
    }
}

/** @param {Topic} topic */
export function changed(topic) {
    listeners.get(topic)?.forEach((listener) => listener());
}

const kPixelSizeKey = "roi-pixel-size";

export const state = {
    /** @type {import("../../types").ServerState} */
    server: {
        revision: 0,
        readOnly: true,
        set: "",
        canUndo: false,
        canRedo: false,
        colours: [],
        images: [],
        classes: [],
        columns: [],
        formats: [],
    },
    figures: new Figures(),
    /**
     * Names of the selected figures; the last one is that whose properties are shown.
     * @type {string[]}
     */
    selected: [],
    /**
     * What the server knows of the selected figures; `parameters` of the last one only.
     * @type {Map<string, import("../../types").FigureData & Partial<import("../../types").Detail>>}
     */
    details: new Map(),
    /**
     * Names of the figures that are not drawn.
     * @type {Set<string>}
     */
    hidden: new Set(),
    /** The node that the arrow keys move, as the server calls it; empty when they move figures. */
    node: "",
    /** The size of a pixel as it was given here, as in 0.65um; empty for what the server takes it to be. */
    pixelSize: sessionStorage.getItem(kPixelSizeKey) ?? "",
    /** "select" or the name of a class. */
    tool: "select",
    image: 0,
    page: 1,
    /**
     * The channel alone, or undefined for all.
     * @type {number | undefined}
     */
    channel: undefined,
    /**
     * What is shown black and white; undefined for the image's own range.
     * @type {{low: number, high: number} | undefined}
     */
    range: undefined,
    /**
     * What the server knows of the image that is shown; null while it is not there.
     * @type {import("../../types").ImageData_ | null}
     */
    info: null,
    /**
     * What is measured of the figure that is being dragged.
     * @type {import("../../types").Measured | null}
     */
    live: null,
    /**
     * A place on the image that a plot points to.
     * @type {import("../../types").XY | null}
     */
    mark: null,
    showNames: false,
    /**
     * Names of the measured columns.
     * @type {string[]}
     */
    columns: [],
    /** Whether pixels count with the part of them that lies inside. */
    exact: false,
};

/** The figure whose properties are shown, by name; undefined without a selection. */
export function primary() {
    return state.selected.at(-1);
}

/** @param {string[]} names */
export function select(names) {
    const there = names.filter((name) => state.figures.get(name));
    if (there.length === state.selected.length && there.every((name, i) => name === state.selected[i])) {
        return;
    }
    state.selected = there;
    state.node = "";
    state.live = null;
    changed("selection");
}

/** @param {string} name */
export function toggleSelected(name) {
    const others = state.selected.filter((one) => one !== name);
    select(others.length < state.selected.length ? others : [...others, name]);
}

/** @param {string} tool */
export function useTool(tool) {
    state.tool = state.server.readOnly ? "select" : tool;
    changed("tool");
}

function hiddenKey() {
    return `roi-hidden ${state.server.set}`;
}

/**
 * @param {string[]} names
 * @param {boolean} hide
 */
export function setHidden(names, hide) {
    names.forEach((name) => (hide ? state.hidden.add(name) : state.hidden.delete(name)));
    localStorage.setItem(hiddenKey(), JSON.stringify([...state.hidden]));
    changed("hidden");
}

/** Hides what was hidden of this set when it was shown here last. */
export function restoreHidden() {
    state.hidden = new Set(JSON.parse(localStorage.getItem(hiddenKey()) ?? "[]"));
    changed("hidden");
}

/** The selected figures in the order of the set. */
export function selectedInOrder() {
    const place = (/** @type {string} */ name) => state.figures.get(name)?.index ?? 0;
    return [...state.selected].sort((a, b) => place(a) - place(b));
}

/** @param {string} name of a class, as the module registers it */
export function classOf(name) {
    return state.server.classes.find((one) => one.class === name);
}

/**
 * A class as people call it: "arc donut" for ROIArcDonut.
 * @param {string} name
 */
export function classLabel(name) {
    return name
        .replace(/^ROI/, "")
        .replace(/(?<=[a-z])(?=[A-Z])/g, " ")
        .toLowerCase();
}

/** What an image is asked for: its number, page and channel. */
export function imageQuery() {
    return { image: state.image, page: state.page, channel: state.channel };
}

/** @param {string} text as the server takes it, or empty */
export function setPixelSize(text) {
    state.pixelSize = text;
    sessionStorage.setItem(kPixelSizeKey, text);
    changed("columns");
}

/** What lengths and areas are asked for in. */
export function unitQuery() {
    return { pixelSize: state.pixelSize || undefined };
}
