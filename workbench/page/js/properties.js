// The properties of the figure selected last: its name, its parameters as the module presents them, and the points of
// profiles and polygons. An edit that is refused says so at its field.

import { ApiError } from "./api.js";
import { byId, iconButton, make, show, tellError } from "./dom.js";
import { edit } from "./session.js";
import { classLabel, classOf, on, primary, select, setHidden, state } from "./state.js";

/** @typedef {import("../../types").Parameter} Parameter */
/** @typedef {import("../../types").Edit} Edit */

const kDigits = 6;
/** The module keeps the shear within 1.5 radians either way. */
const kShearRange = 85.9;
/** Of a profile with more points than this none is listed. */
const kMostPoints = 500;

/** Which figure the fields are of. */
let shownName = "";

/**
 * Sends what was typed into a field; what the server says against it stands below the field.
 * @param {HTMLElement} field
 * @param {Edit} change
 */
async function commit(field, change) {
    const problem = field.closest(".property")?.querySelector(".problem");
    try {
        await edit([change]);
        problem?.replaceChildren();
        field.removeAttribute("aria-invalid");
    } catch (error) {
        if (error instanceof ApiError && error.status === 409) {
            // The fields show what others made of the figure already.
            tellError(error);
            return;
        }
        problem?.replaceChildren(error instanceof Error ? error.message : String(error));
        field.setAttribute("aria-invalid", "true");
    }
}

/**
 * A text field for a number: Enter and leaving it send it, Escape takes it back, arrows step by 1 and with Shift by 10.
 * @param {string} label
 * @param {number | string | null} value
 * @param {(field: HTMLInputElement, text: string) => void} send
 */
function numberField(label, value, send) {
    const text = typeof value === "number" ? show(value, kDigits) : String(value ?? "");
    const attributes = { type: "text", inputmode: "decimal", autocomplete: "off", "aria-label": label, value: text };
    const field = make("input", attributes);
    field.disabled = state.server.readOnly;
    const flush = () => {
        if (field.value !== field.defaultValue) {
            field.defaultValue = field.value;
            send(field, field.value.trim());
        }
    };
    field.addEventListener("change", flush);
    field.addEventListener("keydown", (event) => {
        const step = { ArrowUp: 1, ArrowDown: -1 }[event.key];
        if (step !== undefined && Number.isFinite(Number(field.value))) {
            event.preventDefault();
            field.value = show(Number(field.value) + step * (event.shiftKey ? 10 : 1), kDigits);
            flush();
        } else if (event.key === "Enter") {
            flush();
        } else if (event.key === "Escape") {
            field.value = field.defaultValue;
        }
    });
    return field;
}

/**
 * @param {string} name of the figure
 * @param {Parameter} parameter
 * @returns {HTMLElement[]}
 */
function controlsOf(name, { name: key, value, kind }) {
    /**
     * @param {number | string} to
     * @returns {Edit}
     */
    const set = (to) => ({ op: "set", name, parameters: { [key]: to } });
    switch (kind) {
        case "shown":
            return [make("output", { "aria-label": key }, show(value, kDigits))];
        case "action": {
            const button = make("button", { type: "button", class: "text-button" }, key);
            button.disabled = state.server.readOnly;
            button.addEventListener("click", () => commit(button, set(1)));
            return [button];
        }
        case "lock": {
            const box = make("input", { type: "checkbox", "aria-label": key });
            box.checked = value !== 0;
            box.disabled = state.server.readOnly;
            box.addEventListener("change", () => commit(box, set(Number(box.checked))));
            return [box];
        }
        case "shear": {
            const field = numberField(key, value, (one, text) => void commit(one, set(text)));
            const range = {
                type: "range",
                min: -kShearRange,
                max: kShearRange,
                step: 0.1,
                "aria-label": `${key}, slider`,
            };
            const slider = make("input", range);
            slider.value = String(value ?? 0);
            slider.disabled = state.server.readOnly;
            slider.addEventListener("input", () => (field.value = slider.value));
            slider.addEventListener("change", () => commit(slider, set(slider.value)));
            return [field, slider];
        }
        default:
            return [numberField(key, value, (field, text) => void commit(field, set(text)))];
    }
}

/** @param {Parameter["unit"]} unit */
function unitSign(unit) {
    return unit === "degrees" ? "°" : unit;
}

/**
 * @param {string} name
 * @param {Parameter} parameter
 */
function rowOf(name, parameter) {
    const { kind } = parameter;
    const label = kind === "action" ? "" : parameter.name;
    return make(
        "div",
        { class: `property ${kind}` },
        make("span", { class: "label", title: label }, label),
        make("span", { class: "control" }, ...controlsOf(name, parameter)),
        make("span", { class: "unit" }, unitSign(parameter.unit)),
        make("span", { class: "problem", role: "alert" }),
    );
}

/** @param {string} name */
function nameRow(name) {
    const field = make("input", {
        type: "text",
        id: "figure-name",
        "aria-label": "Name",
        autocomplete: "off",
        value: name,
    });
    field.disabled = state.server.readOnly;
    field.addEventListener("change", async () => {
        const to = field.value;
        await commit(field, { op: "rename", name, to });
        if (state.figures.get(to)) {
            if (state.hidden.has(name)) {
                setHidden([to], true);
            }
            select([...state.selected, to]);
        }
    });
    field.addEventListener("keydown", (event) => {
        if (event.key === "Escape") {
            field.value = name;
        }
    });
    return make(
        "div",
        { class: "property" },
        make("span", { class: "label" }, "Name"),
        make("span", { class: "control wide" }, field),
        make("span", { class: "problem", role: "alert" }),
    );
}

/**
 * @param {string} name
 * @param {import("../../types").Point[]} points
 */
function pointRows(name, points) {
    return points.map(([x, y], index) => {
        /**
         * @param {"x" | "y"} axis
         * @param {number} value
         */
        const coordinate = (axis, value) =>
            numberField(`Point ${index}, ${axis}`, value, (field, text) => {
                const to = { x, y, [axis]: Number(text) };
                void commit(field, { op: "point", name, action: "move", index, ...to });
            });
        const remove = iconButton("trash", `Remove point ${index}`, () =>
            commit(remove, { op: "point", name, action: "remove", index }),
        );
        remove.disabled = state.server.readOnly;
        return make(
            "div",
            { class: "property point" },
            make("span", { class: "label" }, String(index)),
            make("span", { class: "control" }, coordinate("x", x), coordinate("y", y)),
            remove,
            make("span", { class: "problem", role: "alert" }),
        );
    });
}

/** Which field has the focus, and what is being typed there: both outlast fields that are made anew. */
function typing() {
    const field = document.activeElement;
    if (!field || !byId("properties", HTMLElement).contains(field)) {
        return null;
    }
    const isDirty = field instanceof HTMLInputElement && field.value !== field.defaultValue;
    return { label: field.getAttribute("aria-label"), text: isDirty ? field.value : null };
}

/** @param {{label: string | null, text: string | null} | null} before */
function goOnTyping(before) {
    for (const field of byId("properties", HTMLElement).querySelectorAll("input, button")) {
        if (before?.label && field.getAttribute("aria-label") === before.label && field instanceof HTMLElement) {
            field.focus();
            if (field instanceof HTMLInputElement && before.text !== null) {
                field.value = before.text;
            }
        }
    }
}

function showProperties() {
    const body = byId("properties", HTMLElement);
    const name = primary();
    const detail = state.details.get(name ?? "");
    const others = state.selected.length - 1;
    byId("properties-class", HTMLElement).textContent = detail
        ? `${classLabel(detail.class)}${others > 0 ? ` and ${others} more` : ""}`
        : "";
    if (name === undefined) {
        shownName = "";
        body.replaceChildren(make("p", { class: "empty" }, "Select a figure, or draw one with a tool from the left."));
        return;
    }
    if (!detail?.parameters) {
        return;
    }
    const before = name === shownName ? typing() : null;
    shownName = name;
    const points = detail.points && detail.points.length <= kMostPoints ? detail.points : [];
    body.replaceChildren(
        nameRow(name),
        ...detail.parameters.map((parameter) => rowOf(name, parameter)),
        ...(points.length > 0 ? [make("h3", {}, "Points"), ...pointRows(name, points)] : []),
        ...(detail.mask ? [make("p", { class: "empty" }, `A bitmap of ${detail.mask.join(" x ")} pixels.`)] : []),
        make("p", { class: "what" }, classOf(detail.class)?.what ?? ""),
    );
    goOnTyping(before);
}

on(["selection", "details"], showProperties);
