// What the mouse does between going down and coming up, as objects: each is told of its moves, its end, and of being
// given up.

import { Draft } from "./drag.js";
import { showFrame } from "./overlay.js";
import { edit, tryEdit } from "./session.js";
import { classOf, select, state } from "./state.js";
import { drawn, drawnThrough, knownKeys, nextName } from "./tools.js";
import { map } from "./viewport.js";

/** @typedef {import("../../types").XY} XY */
/** @typedef {import("./tools.js").Keys} Keys */
/** @typedef {{at: XY, screen: XY, keys: Keys}} Place where the mouse is on the image and on the screen */

/** @typedef {{move: (place: Place) => void, end: () => void, giveUp: () => void}} Gesture */

/**
 * Drags a node.
 * @param {string} name
 * @param {string} node
 * @returns {Gesture}
 */
export function nodeDrag(name, node) {
    const draft = new Draft([name]);
    const type = state.figures.get(name)?.class ?? "";
    return {
        move: ({ at, keys }) => draft.show([{ op: "drag", name, node, ...at, ...knownKeys(type, keys) }]),
        end: () => void draft.keep(),
        giveUp: () => draft.giveUp(),
    };
}

/**
 * Moves figures.
 * @param {string[]} names
 * @param {XY} from
 * @returns {Gesture}
 */
export function moveDrag(names, from) {
    const draft = new Draft(names);
    return {
        move: ({ at }) => draft.show([{ op: "move", names, dx: at.x - from.x, dy: at.y - from.y }]),
        end: () => void draft.keep(),
        giveUp: () => draft.giveUp(),
    };
}

/**
 * Draws a new figure.
 * @param {string} type
 * @param {XY} from
 * @returns {Gesture}
 */
export function drawDrag(type, from) {
    const draft = new Draft([]);
    const name = nextName(type);
    return {
        move: ({ at, keys }) => draft.show(drawn(type, name, from, at, keys)),
        end: () => void draft.keep(),
        giveUp: () => draft.giveUp(),
    };
}

/**
 * Moves the view.
 * @param {XY} screen
 * @returns {Gesture}
 */
export function pan(screen) {
    let last = screen;
    return {
        move({ screen }) {
            map.panBy([last.x - screen.x, last.y - screen.y], { animate: false });
            last = screen;
        },
        end() {},
        giveUp() {},
    };
}

/**
 * Selects what lies wholly in a frame, in addition to what is selected.
 * @param {XY} from
 * @returns {Gesture}
 */
export function frameSelect(from) {
    let to = from;
    return {
        move({ at }) {
            to = at;
            showFrame([from, to]);
        },
        end() {
            showFrame(null);
            const [left, right] = [Math.min(from.x, to.x), Math.max(from.x, to.x)];
            const [top, bottom] = [Math.min(from.y, to.y), Math.max(from.y, to.y)];
            const inside = state.figures.list.filter(
                (one) => one.left >= left && one.right <= right && one.top >= top && one.bottom <= bottom,
            );
            const names = inside.map((one) => one.name).filter((name) => !state.hidden.has(name));
            select([...new Set([...state.selected, ...names])]);
        },
        giveUp: () => showFrame(null),
    };
}

/** Draws a profile or a polygon click by click; goes on between clicks. */
export class PointsDraft {
    #draft = new Draft([]);
    /** @type {XY[]} */
    #points = [];

    /** @param {string} type */
    constructor(type) {
        this.type = type;
        this.name = nextName(type);
    }

    /**
     * Adds a point; the second press of a double click adds none.
     * @param {XY} at
     */
    add(at) {
        const last = this.#points.at(-1);
        if (last?.x !== at.x || last.y !== at.y) {
            this.#points.push(at);
        }
        this.show(at);
    }

    /**
     * Shows the figure as it would be with a point more.
     * @param {XY} at
     */
    show(at) {
        const points = [...this.#points, at];
        if (points.length > 1) {
            this.#draft.show(drawnThrough(this.type, this.name, points));
        }
    }

    takeBack() {
        const last = this.#points.pop();
        if (last) {
            this.show(last);
        }
    }

    /** Makes the figure of the points clicked; of a single one there is none. */
    keep() {
        if (this.#points.length < 2) {
            this.giveUp();
            return;
        }
        this.#draft.show(drawnThrough(this.type, this.name, this.#points));
        void this.#draft.keep();
    }

    giveUp() {
        this.#draft.giveUp();
    }
}

/**
 * Places a figure without the mouse: as if it were drawn from a point over a distance.
 * @param {string} type
 * @param {XY} at
 * @param {number} reach
 */
export async function place(type, at, reach) {
    const name = nextName(type);
    if (classOf(type)?.contents === "nothing") {
        const to = { x: at.x + reach, y: at.y + Math.round(reach * 0.6) };
        await tryEdit(drawn(type, name, at, to, { ctrl: false, shift: false }));
        return;
    }
    const corners = [
        { x: at.x - reach, y: at.y + reach },
        { x: at.x, y: at.y - reach },
        { x: at.x + reach, y: at.y + Math.round(reach / 2) },
    ];
    await tryEdit(drawnThrough(type, name, corners));
}

/** What the arrow keys asked for and was not sent yet. */
let [waitingX, waitingY] = [0, 0];
let sending = false;

/**
 * Moves the selected figures, or the chosen node, by that much. Steps that come while one is sent go together.
 * @param {number} dx
 * @param {number} dy
 * @param {Keys} keys
 */
export async function nudge(dx, dy, keys) {
    waitingX += dx;
    waitingY += dy;
    if (sending) {
        return;
    }
    sending = true;
    try {
        while (waitingX !== 0 || waitingY !== 0) {
            const step = [waitingX, waitingY];
            [waitingX, waitingY] = [0, 0];
            await edit(nudgeEdits(step[0], step[1], keys));
        }
    } finally {
        [waitingX, waitingY] = [0, 0];
        sending = false;
    }
}

/**
 * @param {number} dx
 * @param {number} dy
 * @param {Keys} keys
 * @returns {import("../../types").Edit[]}
 */
function nudgeEdits(dx, dy, keys) {
    const name = state.selected.at(-1) ?? "";
    const figure = state.details.get(name);
    const node = figure?.nodes?.find((one) => one.node === state.node);
    if (!figure || !node) {
        return [{ op: "move", names: state.selected, dx, dy }];
    }
    const flags = knownKeys(figure.class, keys);
    return [{ op: "drag", name, node: node.node, x: node.x + dx, y: node.y + dy, ...flags }];
}
