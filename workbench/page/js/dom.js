// Small helps for making elements and telling people things.

/**
 * The element of the page with that id.
 * @template {HTMLElement} T
 * @param {string} id
 * @param {new () => T} type
 * @returns {T}
 */
export function byId(id, type) {
    const element = document.getElementById(id);
    if (!(element instanceof type)) {
        throw new Error(`the page has no ${type.name} "${id}"`);
    }
    return element;
}

/**
 * A new element with attributes, listeners (`onclick`) and children. An attribute that is false is left out.
 * @template {keyof HTMLElementTagNameMap} K
 * @param {K} tag
 * @param {Record<string, string | number | boolean | ((event: any) => void)>} [attributes]
 * @param {...(Node | string)} children
 * @returns {HTMLElementTagNameMap[K]}
 */
export function make(tag, attributes = {}, ...children) {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes)) {
        if (typeof value === "function") {
            element.addEventListener(name.slice(2), value);
        } else if (value !== false) {
            element.setAttribute(name, value === true ? "" : String(value));
        }
    }
    element.append(...children);
    return element;
}

const kSvg = "http://www.w3.org/2000/svg";

/**
 * One of the drawings of icons.svg.
 * @param {string} name
 */
export function icon(name) {
    const svg = document.createElementNS(kSvg, "svg");
    svg.setAttribute("class", "icon");
    svg.setAttribute("aria-hidden", "true");
    const use = document.createElementNS(kSvg, "use");
    use.setAttribute("href", `/static/icons.svg#${name}`);
    svg.append(use);
    return svg;
}

/**
 * A button that shows an icon, with its name for screen readers and as a tip.
 * @param {string} name
 * @param {string} label
 * @param {(event: MouseEvent) => void} onclick
 */
export function iconButton(name, label, onclick) {
    return make(
        "button",
        { type: "button", class: "tool-button", "aria-label": label, title: label, onclick },
        icon(name),
    );
}

const kToastSeconds = 7;

/**
 * Tells people of something, on the screen and to screen readers; what stands there already is not said twice.
 * @param {string} text
 * @param {"info" | "error"} kind
 */
export function tell(text, kind = "info") {
    const toasts = byId("toasts", HTMLElement);
    if ([...toasts.children].some((one) => one.textContent === text)) {
        return;
    }
    const toast = make(
        "div",
        { class: `toast ${kind}`, role: kind === "error" ? "alert" : "status" },
        make("span", {}, text),
    );
    const close = iconButton("close", "Dismiss", () => toast.remove());
    toast.append(close);
    toasts.append(toast);
    if (kind === "info") {
        setTimeout(() => toast.remove(), kToastSeconds * 1000);
    }
}

/** @param {unknown} error */
export function tellError(error) {
    tell(error instanceof Error ? error.message : String(error), "error");
}

/**
 * Hands a file to the browser's downloads.
 * @param {string} name
 * @param {string} text
 * @param {string} type
 */
export function download(name, text, type) {
    const url = URL.createObjectURL(new Blob([text], { type }));
    make("a", { href: url, download: name }).click();
    setTimeout(() => URL.revokeObjectURL(url), 0);
}

/**
 * A number as people read it: at most `digits` behind the point, none that say nothing.
 * @param {import("../../types").Cell | undefined} value
 * @param {number} [digits]
 */
export function show(value, digits = 4) {
    if (value === null || value === undefined) {
        return "";
    }
    if (typeof value === "string" || Number.isInteger(value)) {
        return String(value);
    }
    return Math.abs(value) < 10 ** -digits ? value.toExponential(2) : String(Number(value.toFixed(digits)));
}

/**
 * Notes in the browser's timeline when something was shown first, at the end of this frame.
 * @param {string} name
 */
export function markOnce(name) {
    if (performance.getEntriesByName(name).length === 0) {
        requestAnimationFrame(() => performance.mark(name));
    }
}
