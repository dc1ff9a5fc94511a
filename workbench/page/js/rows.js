// A list of any length: only the rows in view are elements. Keys go through it one by one, a page, or to its ends.

import { make } from "./dom.js";

/** Height of a row, in the page's own letters, so that it grows with them. */
const kRowRem = 1.75;
/** Rows that are kept ready above and below the view. */
const kSpare = 4;

/**
 * How rows are shown and chosen. `render` fills a row; `pick` is told of the row that was clicked or gone to, with the
 * event that has the modifiers.
 * @typedef {{role: string, render: (index: number, row: HTMLElement) => void,
 *            pick: (index: number, event: MouseEvent | KeyboardEvent) => void}} RowsOptions
 */

export class Rows {
    #container;
    #options;
    #sizer = make("div", { class: "sizer", role: "presentation" });
    #count = 0;
    /** The row that the keys are at; -1 before there is one. */
    at = -1;
    #asked = false;
    /** The row before which a line is shown; -1 for none. */
    #gap = -1;

    /**
     * @param {HTMLElement} container scrolls; elements that it has already stay above the rows
     * @param {RowsOptions} options
     */
    constructor(container, options) {
        this.#container = container;
        this.#options = options;
        container.append(this.#sizer);
        container.addEventListener("scroll", () => this.refresh());
        container.addEventListener("keydown", (event) => this.#key(event));
        this.#sizer.addEventListener("click", (event) => this.#click(event));
        new ResizeObserver(() => this.refresh()).observe(container);
    }

    /** @param {number} count */
    setCount(count) {
        this.#count = count;
        this.at = Math.min(this.at, count - 1);
        this.refresh();
    }

    /** Shows the rows anew, in the next frame. */
    refresh() {
        if (!this.#asked) {
            this.#asked = true;
            requestAnimationFrame(() => this.#show());
        }
    }

    /** @param {number} index */
    reveal(index) {
        const height = this.#rowHeight();
        const head = this.#sizer.offsetTop;
        const top = index * height;
        const { scrollTop, clientHeight } = this.#container;
        if (top < scrollTop) {
            this.#container.scrollTop = top;
        } else if (top + height + head > scrollTop + clientHeight) {
            this.#container.scrollTop = top + height + head - clientHeight;
        }
    }

    #rowHeight() {
        return kRowRem * Number.parseFloat(getComputedStyle(document.documentElement).fontSize);
    }

    #show() {
        this.#asked = false;
        const height = this.#rowHeight();
        const { scrollTop, clientHeight } = this.#container;
        const first = Math.max(0, Math.floor(scrollTop / height) - kSpare);
        const last = Math.min(this.#count, Math.ceil((scrollTop + clientHeight) / height) + kSpare);
        this.#sizer.style.height = `${this.#count * height}px`;
        const rows = [];
        for (let index = first; index < last; index += 1) {
            const row = make("div", { class: "item", role: this.#options.role, id: this.#idOf(index) });
            row.dataset.index = String(index);
            row.style.top = `${index * height}px`;
            row.style.height = `${height}px`;
            this.#options.render(index, row);
            rows.push(row);
        }
        if (this.#gap >= 0) {
            const line = make("div", { class: "gap" });
            line.style.top = `${this.#gap * height}px`;
            rows.push(line);
        }
        this.#sizer.replaceChildren(...rows);
        if (this.at >= first && this.at < last) {
            this.#container.setAttribute("aria-activedescendant", this.#idOf(this.at));
        } else {
            this.#container.removeAttribute("aria-activedescendant");
        }
    }

    /** @param {number} index */
    #idOf(index) {
        return `${this.#container.id}-${index}`;
    }

    /**
     * The row that something on the page belongs to; -1 for none.
     * @param {EventTarget | null} target
     */
    rowAt(target) {
        const row = target instanceof Element && target.closest(".item");
        return row instanceof HTMLElement ? Number(row.dataset.index) : -1;
    }

    /**
     * Before which row the gap lies that is nearest to a place on the screen; after the last one it is their number.
     * @param {number} clientY
     */
    gapAt(clientY) {
        const gap = Math.round((clientY - this.#sizer.getBoundingClientRect().top) / this.#rowHeight());
        return Math.min(Math.max(gap, 0), this.#count);
    }

    /**
     * Shows a line before a row; none for -1.
     * @param {number} before
     */
    showGap(before) {
        this.#gap = before;
        this.refresh();
    }

    /** @param {MouseEvent} event */
    #click(event) {
        const row = this.rowAt(event.target);
        if (row >= 0) {
            this.at = row;
            this.#options.pick(row, event);
            this.refresh();
        }
    }

    /** @param {KeyboardEvent} event */
    #key(event) {
        const page = Math.max(1, Math.floor(this.#container.clientHeight / this.#rowHeight()) - 1);
        /** @type {Record<string, number>} */
        const steps = { ArrowUp: -1, ArrowDown: 1, PageUp: -page, PageDown: page, Home: -Infinity, End: Infinity };
        const step = steps[event.key];
        const isPlain = !event.ctrlKey && !event.altKey && event.target === this.#container;
        if (step === undefined || !isPlain || this.#count === 0) {
            return;
        }
        event.preventDefault();
        this.at = Math.min(Math.max(this.at + step, 0), this.#count - 1);
        this.#options.pick(this.at, event);
        this.reveal(this.at);
        this.refresh();
    }
}
