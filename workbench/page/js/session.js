// Keeps the page and the server alike: loads the set, sends edits one after the other, and follows what others do.

import { ApiError, get, getBytes, post } from "./api.js";
import { tell, tellError } from "./dom.js";
import { fromBytes } from "./figures.js";
import { changed, on, primary, select, state } from "./state.js";

/** @typedef {import("../../types").Changes} Changes */
/** @typedef {import("../../types").Edit} Edit */

/** Nodes are shown of so many selected figures at most. */
const kMostDetails = 20;
/** How long to wait for a server that does not answer, in milliseconds. */
const kRetry = 1500;

/**
 * Edits and undos wait for one another here.
 * @type {Promise<unknown>}
 */
let queue = Promise.resolve();

/**
 * Runs one piece of work with the server after the others.
 * @template T
 * @param {() => Promise<T>} work
 * @returns {Promise<T>}
 */
function inTurn(work) {
    const result = queue.then(work);
    queue = result.catch(() => undefined);
    return result;
}

/** Asks for everything anew. */
export async function load() {
    const [server, bytes] = await Promise.all([get("state"), getBytes("outlines")]);
    state.server = server;
    const { revision, figures } = fromBytes(
        bytes,
        state.server.classes.map((one) => one.class),
    );
    state.server.revision = revision;
    state.figures.replaceAll(figures);
    afterChange();
    changed("history");
}

/** The set is another one: what is gone is no longer selected. */
function afterChange() {
    changed("figures");
    select(state.selected);
    void loadDetails();
}

/** @param {Changes} changes */
function apply(changes) {
    if (changes.revision < state.server.revision) {
        return;
    }
    state.server.revision = changes.revision;
    state.figures.apply(changes);
    for (const figure of changes.figures) {
        const known = state.details.get(figure.name);
        if (known) {
            state.details.set(figure.name, { ...known, ...figure });
        }
    }
    changes.warnings?.forEach((warning) => tell(warning));
    afterChange();
}

/** Counts requests for details, so that an answer that comes late is known as such. */
let asked = 0;

/** Asks for the nodes of the selected figures and the parameters of the last of them. */
export async function loadDetails() {
    const mine = (asked += 1);
    const names = state.selected.slice(-kMostDetails);
    const last = primary();
    try {
        const [others, detail] = await Promise.all([
            names.length > 1 ? get("figures", { name: names.slice(0, -1) }) : { figures: [] },
            last === undefined ? null : get("figure", { name: last }),
        ]);
        if (mine === asked) {
            const all = detail ? [...others.figures, detail] : others.figures;
            state.details = new Map(all.map((/** @type {import("../../types").FigureData} */ one) => [one.name, one]));
            changed("details");
        }
    } catch (error) {
        // A figure that is gone meanwhile: the change that took it away asks again.
        if (!(error instanceof ApiError && error.status === 404)) {
            tellError(error);
        }
    }
}

/** Fetches what changed since the page's revision. */
async function catchUp() {
    apply(await get("figures", { since: state.server.revision }));
}

/**
 * Sends edits as one change. An edit of a figure that others changed meanwhile is refused: then the page shows what
 * they made of it. Throws ApiError.
 * @param {Edit[]} edits
 * @returns {Promise<Changes>}
 */
export function edit(edits) {
    return inTurn(async () => {
        try {
            const changes = await post("edit", { revision: state.server.revision, edits });
            apply(changes);
            return changes;
        } catch (error) {
            if (error instanceof ApiError && error.status === 409) {
                await catchUp();
            }
            throw error;
        }
    });
}

/**
 * Does work that changes the set, selects the figures that it adds, and tells of an error instead of throwing it.
 * @param {() => Promise<Changes>} work
 */
async function selectingNew(work) {
    const known = new Set(state.figures.list.map((figure) => figure.name));
    try {
        const added = (await work()).figures.map((figure) => figure.name).filter((name) => !known.has(name));
        if (added.length > 0) {
            select(added);
        }
    } catch (error) {
        tellError(error);
    }
}

/** @param {Edit[]} edits */
export function tryEdit(edits) {
    return selectingNew(() => edit(edits));
}

/**
 * Applies what a request other than an edit answers, in its turn.
 * @param {() => Promise<Changes>} request
 */
export function tryRequest(request) {
    return selectingNew(() =>
        inTurn(async () => {
            const changes = await request();
            apply(changes);
            return changes;
        }),
    );
}

/**
 * What edits would make of the figures; nothing is changed.
 * @param {Edit[]} edits
 * @param {object} [measure] what to measure of them, as the server takes it
 * @returns {Promise<Changes>}
 */
export function preview(edits, measure) {
    return post("preview", { revision: state.server.revision, edits, measure });
}

/** @param {"undo" | "redo"} step */
export async function stepHistory(step) {
    try {
        await inTurn(async () => apply(await post(step, { revision: state.server.revision })));
    } catch (error) {
        tellError(error);
    }
}

/** @typedef {{image: number, page: number, rows: number, height: number}} Progress */

/**
 * Follows the server's events.
 * @param {{progress: (progress: Progress) => void, connected: (is: boolean) => void}} listeners
 */
export function follow(listeners) {
    const source = new EventSource("/api/events");
    source.addEventListener("open", () => listeners.connected(true));
    source.addEventListener("change", (event) => {
        const { revision, canUndo, canRedo } = JSON.parse(event.data);
        Object.assign(state.server, { canUndo, canRedo });
        changed("history");
        // Behind the page's own edit, whose answer may have brought the change already.
        void inTurn(async () => {
            if (revision < state.server.revision) {
                await load();
            } else if (revision > state.server.revision) {
                await catchUp();
            }
        }).catch(tellError);
    });
    source.addEventListener("image", (event) => listeners.progress(JSON.parse(event.data)));
    source.addEventListener("trouble", (event) => tell(JSON.parse(event.data).error, "error"));
    source.addEventListener("error", () => {
        listeners.connected(false);
        if (source.readyState === EventSource.CLOSED) {
            void followAgain(listeners);
        }
    });
}

/**
 * The browser does not try again after an answer that is no stream: the server is ending, or is another one by now, with
 * another token.
 * @param {Parameters<typeof follow>[0]} listeners
 */
async function followAgain(listeners) {
    try {
        await get("state");
        follow(listeners);
    } catch (error) {
        if (error instanceof ApiError && error.status === 403) {
            tell("The server was started anew: open the address that it printed.", "error");
        } else {
            setTimeout(() => void followAgain(listeners), kRetry);
        }
    }
}

on("selection", () => void loadDetails());
