// Which image is shown and how: the list, pages, channels, and what is black and white.

import { get, Latest } from "./api.js";
import { byId, make, show, tell, tellError } from "./dom.js";
import { changed, imageQuery, on, setPixelSize, state, unitQuery } from "./state.js";
import { fitImage } from "./viewport.js";

/** Percentages of the values that are left out at either end. */
const kPercentiles = [0, 0.1, 0.5, 1, 2, 5];

/** Asks for what is known of the image; one that cannot be read says why in its place. */
async function loadInfo() {
    const broken = byId("broken", HTMLElement);
    try {
        state.info = await get("image", { ...imageQuery(), ...unitQuery() });
        broken.hidden = true;
    } catch (error) {
        state.info = null;
        broken.textContent = error instanceof Error ? error.message : String(error);
        broken.hidden = false;
    }
    showControls();
}

/** Shows another image or page, from its place in the list. */
export async function showImage(image = state.image, page = 1) {
    const isOther = image !== state.image || !state.info;
    Object.assign(state, { image, page, channel: undefined, range: undefined });
    await loadInfo();
    state.info?.warnings.forEach((warning) => tell(warning));
    if (isOther) {
        fitImage();
    }
    changed("image");
}

const checking = new Latest();

/** A part of the image did not come: it may have turned out to be broken further down. */
function check() {
    void checking.push(async () => {
        if (state.info) {
            await loadInfo();
            if (!state.info) {
                changed("image");
            }
        }
    });
}

/** @param {number} by */
function stepImage(by) {
    const count = state.server.images.length;
    if (count > 1) {
        void showImage((state.image + by + count) % count);
    }
}

export function showImages() {
    const options = state.server.images.map(({ index, name }) =>
        make("option", { value: index, title: name }, name.replace(/^.*\//, "")),
    );
    byId("image", HTMLSelectElement).replaceChildren(...options);
    for (const id of ["image-before", "image-after"]) {
        byId(id, HTMLButtonElement).disabled = options.length < 2;
    }
}

/**
 * @param {string} label
 * @param {HTMLElement} control
 * @param {...HTMLElement} more
 */
function line(label, control, ...more) {
    return make(
        "div",
        { class: "property" },
        make("span", { class: "label" }, label),
        make("span", { class: "control wide" }, control, ...more),
    );
}

/** @param {number} pages */
function pageControl(pages) {
    const field = make("input", {
        type: "number",
        min: 1,
        max: pages,
        step: 1,
        value: state.page,
        "aria-label": `Page of ${pages}`,
    });
    field.addEventListener("change", () => {
        const page = Math.min(Math.max(Math.round(Number(field.value)) || 1, 1), pages);
        void showImage(state.image, page);
    });
    return line("Page", field, make("span", { class: "unit" }, `of ${pages}`));
}

/** @param {string[]} channels */
function channelControl(channels) {
    const options = ["all", ...channels].map((name, i) => make("option", { value: i - 1 }, name));
    const choice = make("select", { "aria-label": "Channel" }, ...options);
    choice.value = String(state.channel ?? -1);
    choice.addEventListener("change", () => {
        const at = Number(choice.value);
        state.channel = at < 0 ? undefined : at;
        state.range = undefined;
        showControls();
        changed("image");
    });
    return line("Channel", choice);
}

/** @param {{low: number, high: number}} range */
function setRange(range) {
    state.range = range;
    showControls();
    changed("image");
}

/** @param {number} percent */
async function rangeByPercentile(percent) {
    try {
        setRange(await get("range", { ...imageQuery(), percent }));
    } catch (error) {
        tellError(error);
    }
}

/**
 * @param {"low" | "high"} end
 * @param {{low: number | null, high: number | null}} range null while a large image is read
 */
function rangeField(end, range) {
    const label = end === "low" ? "Black from" : "White from";
    const field = make("input", { type: "number", step: "any", value: show(range[end], 3), "aria-label": label });
    field.addEventListener("change", () =>
        setRange({ low: range.low ?? 0, high: range.high ?? 0, [end]: Number(field.value) }),
    );
    return field;
}

/** @param {import("../../types").ImageData_} info */
function contrastControls(info) {
    const range = state.range ?? { low: info.low, high: info.high };
    const options = kPercentiles.map((percent) => make("option", { value: percent }, `${percent} %`));
    const choice = make(
        "select",
        { "aria-label": "Contrast by percentile" },
        make("option", { value: "" }, "by percentile"),
        ...options,
    );
    choice.addEventListener("change", () => choice.value && rangeByPercentile(Number(choice.value)));
    const reset = make("button", { type: "button", class: "text-button", title: "The image's own range" }, "Reset");
    reset.addEventListener("click", () => {
        state.range = undefined;
        showControls();
        changed("image");
    });
    return [line("Contrast", choice, reset), line("Range", rangeField("low", range), rangeField("high", range))];
}

/**
 * The size of a pixel as people write it.
 * @param {import("../../types").PixelSize} size
 */
function pixelSizeText({ x, y, unit }) {
    const lengths = x === y ? show(x, 6) : `${show(x, 6)}x${show(y, 6)}`;
    return unit === "px" ? unit : lengths + unit;
}

/** @param {import("../../types").PixelSize} size */
function pixelSizeControl(size) {
    const title = "0.65um, 0.65x0.70um where rows differ from columns, or px; empty for what the image says";
    const field = make("input", { type: "text", value: pixelSizeText(size), title, "aria-label": "Pixel size" });
    field.addEventListener("change", async () => {
        const problem = field.closest(".property")?.querySelector(".problem");
        const pixelSize = field.value.trim();
        try {
            state.info = await get("image", { ...imageQuery(), pixelSize: pixelSize || undefined });
            setPixelSize(pixelSize);
            showControls();
        } catch (error) {
            problem?.replaceChildren(error instanceof Error ? error.message : String(error));
            field.setAttribute("aria-invalid", "true");
        }
    });
    const row = line("Pixel size", field);
    row.append(make("span", { class: "problem", role: "alert" }));
    return row;
}

function showControls() {
    byId("image", HTMLSelectElement).value = String(state.image);
    const { info } = state;
    byId("status-image", HTMLElement).textContent = info
        ? `${info.width} x ${info.height}, ${info.channels.join("+")}, ${info.depth}`
        : "";
    byId("display", HTMLElement).replaceChildren(
        ...(info && info.pages > 1 ? [pageControl(info.pages)] : []),
        ...(info && info.channels.length > 1 ? [channelControl(info.channels)] : []),
        ...(info ? [...contrastControls(info), pixelSizeControl(info.pixelSize)] : [make("p", { class: "empty" }, "This image cannot be shown.")]),
    );
}

byId("image", HTMLSelectElement).addEventListener("change", (event) => {
    void showImage(Number(/** @type {HTMLSelectElement} */ (event.target).value));
});
byId("image-before", HTMLElement).addEventListener("click", () => stepImage(-1));
byId("image-after", HTMLElement).addEventListener("click", () => stepImage(1));
on("trouble", check);
on("history", () => byId("image", HTMLSelectElement).value !== String(state.image) && showControls());
