// Dragging rows of a list to another place between the others.

/** A press that moves no farther is a click, in CSS pixels. */
const kClickReach = 4;
/** Near its ends the list scrolls, by so many pixels with every move. */
const kEdge = 18;

/**
 * @typedef {{canDrag: () => boolean, drop: (from: number, before: number) => void}} Reordering what is asked before a
 *     drag, and told of the row and of that before which it was dropped
 */

/**
 * @param {HTMLElement} list
 * @param {import("./rows.js").Rows} rows
 * @param {Reordering} reordering
 */
export function makeSortable(list, rows, { canDrag, drop }) {
    /** @type {{row: number, y: number, before: number} | null} */
    let drag = null;

    const end = () => {
        drag = null;
        rows.showGap(-1);
        list.classList.remove("sorting");
    };
    list.addEventListener("pointerdown", (event) => {
        const row = rows.rowAt(event.target);
        if (event.button === 0 && row >= 0 && canDrag()) {
            drag = { row, y: event.clientY, before: -1 };
        }
    });
    list.addEventListener("pointermove", (event) => {
        if (!drag || (drag.before < 0 && Math.abs(event.clientY - drag.y) < kClickReach)) {
            return;
        }
        if (drag.before < 0) {
            list.setPointerCapture(event.pointerId);
            list.classList.add("sorting");
        }
        const { top, bottom } = list.getBoundingClientRect();
        list.scrollTop += event.clientY < top + kEdge ? -kEdge : event.clientY > bottom - kEdge ? kEdge : 0;
        drag.before = rows.gapAt(event.clientY);
        rows.showGap(drag.before);
    });
    list.addEventListener("pointerup", () => {
        if (drag && drag.before >= 0) {
            drop(drag.row, drag.before);
        }
        end();
    });
    list.addEventListener("pointercancel", end);
    window.addEventListener(
        "keydown",
        (event) => {
            if (event.key === "Escape" && drag && drag.before >= 0) {
                event.stopPropagation();
                end();
            }
        },
        true,
    );
}
