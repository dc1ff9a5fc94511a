// A drag: the figures as the module would make them are shown while the mouse moves, and become so when it ends.

import { ApiError, Latest } from "./api.js";
import { tellError } from "./dom.js";
import { beginDraft, endDraft, showDraft } from "./overlay.js";
import { preview, tryEdit } from "./session.js";
import { changed, state } from "./state.js";

/** @typedef {import("../../types").Edit} Edit */

/** What is measured while figures are dragged: as in the table of measurements. */
function measure() {
    return { image: state.image, page: state.page, columns: state.columns.join(","), exact: state.exact, pixelSize: state.pixelSize };
}

export class Draft {
    #latest = new Latest();
    #ended = false;
    /** @type {Edit[]} */
    #edits = [];

    /** @param {string[]} names of the figures of the set that the draft stands for */
    constructor(names) {
        beginDraft(names);
    }

    /**
     * Shows what edits of the figures as they are in the set make of them.
     * @param {Edit[]} edits
     */
    show(edits) {
        this.#edits = edits;
        void this.#latest.push(async () => {
            try {
                const { figures, measured } = await preview(edits, state.info ? measure() : undefined);
                if (!this.#ended) {
                    showDraft(figures);
                    state.live = measured ?? null;
                    changed("live");
                }
            } catch (error) {
                // What the module refuses at one place it may take at the next: the last good outline stays.
                if (!(error instanceof ApiError && error.status === 400)) {
                    this.giveUp();
                    tellError(error);
                }
            }
        });
    }

    /** Makes the last edits shown; without any nothing happens. */
    async keep() {
        if (this.#ended) {
            return;
        }
        this.#end();
        if (this.#edits.length > 0) {
            await tryEdit(this.#edits);
        }
        endDraft();
    }

    /** Leaves the set as it is. */
    giveUp() {
        if (!this.#ended) {
            this.#end();
            endDraft();
        }
    }

    #end() {
        this.#ended = true;
        this.#latest.drop();
        state.live = null;
        changed("live");
    }
}
