// The two plots of the selected figure: the histogram of its pixels, and a profile's values along its line, tied to the
// image in both ways.

import { get } from "./api.js";
import { byId, show, tellError } from "./dom.js";
import { cssColor } from "./colors.js";
import { changed, imageQuery, on, primary, state, unitQuery } from "./state.js";
import { imagePoint, map, pixelSize } from "./viewport.js";

/** @typedef {import("../../types").Histogram} Histogram */
/** @typedef {import("../../types").ProfileCurve} ProfileCurve */

const kRest = 120;
/** So many CSS pixels beside a profile, the mouse still points at it. */
const kReach = 25;

/** @type {"histogram" | "profile"} */
let kind = "histogram";
/** @type {any} */
let chart = null;
/**
 * The profile that is plotted; null while there is none.
 * @type {ProfileCurve | null}
 */
let curve = null;
let asked = 0;
let timer = 0;

/** @type {Promise<void> | undefined} */
let library;

/** Loads the library when the first plot is wanted. */
function loadLibrary() {
    library ??= new Promise((resolve, reject) => {
        const script = document.createElement("script");
        script.src = "/lib/chart.js/chart.min.js";
        script.addEventListener("load", () => resolve());
        script.addEventListener("error", () => reject(new Error("The library for plots cannot be loaded.")));
        document.head.append(script);
    });
    return library;
}

/** @param {string} name of a colour in style.css */
function color(name) {
    return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
}

/**
 * @param {string} x
 * @param {string} y
 */
function axes(x, y) {
    /** @param {string} text */
    const axis = (text) => ({
        type: "linear",
        title: { display: true, text, color: color("--dim") },
        ticks: { color: color("--dim"), maxTicksLimit: 6 },
        grid: { color: color("--line") },
        offset: false,
    });
    return { x: axis(x), y: axis(y) };
}

/**
 * @param {object} data
 * @param {object} options
 */
function draw(data, options) {
    chart?.destroy();
    const base = {
        animation: false,
        maintainAspectRatio: false,
        interaction: { mode: "nearest", axis: "x", intersect: false },
    };
    chart = new Chart(byId("plot", HTMLCanvasElement), {
        data,
        options: { ...base, ...options, plugins: { legend: { display: false }, tooltip: { displayColors: false } } },
    });
}

/** @param {Histogram} histogram */
function drawHistogram({ edges, counts }) {
    const points = counts.map((count, i) => ({ x: (edges[i] + edges[i + 1]) / 2, y: count }));
    const set = {
        type: "bar",
        data: points,
        backgroundColor: typeColor(0.75),
        barPercentage: 1,
        categoryPercentage: 1,
    };
    const scales = axes("value", "pixels");
    draw(
        { datasets: [set] },
        { scales: { x: { ...scales.x, min: edges[0], max: edges.at(-1) }, y: { ...scales.y, beginAtZero: true } } },
    );
}

/** @param {ProfileCurve} profile */
function drawProfile(profile) {
    const line = profile.length.map((x, i) => ({ x, y: profile.mean[i] }));
    const set = {
        type: "line",
        data: line,
        borderColor: typeColor(1),
        borderWidth: 1.5,
        pointRadius: 0,
        pointHoverRadius: 5,
    };
    const options = {
        scales: axes(`distance (${profile.unit})`, "mean"),
        /**
         * @param {unknown} _
         * @param {{index: number}[]} active
         */
        onHover: (_, active) => mark(active[0]?.index),
    };
    draw({ datasets: [set] }, options);
}

/** @param {number} alpha */
function typeColor(alpha) {
    return cssColor(state.figures.get(primary() ?? "")?.index ?? 0, alpha);
}

/**
 * Marks on the image where a sample of the profile lies.
 * @param {number | undefined} index
 */
function mark(index) {
    state.mark = curve && index !== undefined ? { x: curve.x[index], y: curve.y[index] } : null;
    changed("mark");
}

/**
 * Points out on the plot the sample that lies nearest to the mouse on the image.
 * @param {PointerEvent} event
 */
function pointOut(event) {
    if (!curve || !chart || kind !== "profile") {
        return;
    }
    const at = imagePoint(event);
    let nearest = -1;
    let least = kReach / pixelSize();
    curve.x.forEach((x, i) => {
        const distance = Math.hypot(x - at.x, (curve?.y[i] ?? 0) - at.y);
        if (distance < least) {
            least = distance;
            nearest = i;
        }
    });
    const active = nearest < 0 ? [] : [{ datasetIndex: 0, index: nearest }];
    chart.setActiveElements(active);
    chart.tooltip.setActiveElements(active, { x: 0, y: 0 });
    chart.update("none");
    mark(nearest < 0 ? undefined : nearest);
}

/** @param {string} text what stands in place of a plot */
function showNote(text) {
    byId("plot-note", HTMLElement).textContent = text;
}

/** @param {string} name */
async function plot(name) {
    const mine = (asked += 1);
    const [answer] = await Promise.all([get(kind, { name, ...imageQuery(), ...unitQuery() }), loadLibrary()]);
    if (mine !== asked) {
        return;
    }
    curve = kind === "profile" ? answer : null;
    if (kind === "profile") {
        drawProfile(answer);
    } else {
        drawHistogram(answer);
    }
    byId("plot", HTMLElement).setAttribute("aria-label", describe(name, answer));
    showNote(name);
}

/**
 * What the plot shows, in words.
 * @param {string} name
 * @param {any} answer
 */
function describe(name, answer) {
    const values = (kind === "profile" ? answer.mean : answer.counts).filter(
        (/** @type {unknown} */ one) => one !== null,
    );
    const [low, high] = values.reduce(
        (/** @type {number[]} */ [a, b], /** @type {number} */ one) => [Math.min(a, one), Math.max(b, one)],
        [Infinity, -Infinity],
    );
    return kind === "profile"
        ? `Values along ${name}: ${values.length} samples from ${show(low)} to ${show(high)}`
        : `Histogram of ${name}: ${values.length} classes, the largest with ${show(high)} pixels`;
}

function clear() {
    asked += 1;
    chart?.destroy();
    chart = null;
    curve = null;
    if (state.mark) {
        mark(undefined);
    }
}

function plotNow() {
    const name = primary();
    const isProfile = state.figures.get(name ?? "")?.class === "ROIProfile";
    byId("plot-profile", HTMLButtonElement).disabled = !isProfile;
    if (kind === "profile" && !isProfile) {
        choose("histogram");
        return;
    }
    if (name === undefined || !state.info) {
        clear();
        showNote(state.info ? "Select a figure." : "");
        return;
    }
    plot(name).catch((error) => {
        clear();
        showNote("");
        tellError(error);
    });
}

function plotSoon() {
    clearTimeout(timer);
    timer = setTimeout(plotNow, kRest);
}

/** @param {"histogram" | "profile"} wanted */
function choose(wanted) {
    clear();
    kind = wanted;
    for (const one of ["histogram", "profile"]) {
        byId(`plot-${one}`, HTMLElement).setAttribute("aria-selected", String(one === kind));
    }
    plotNow();
}

/**
 * Left and right go through the samples of a profile.
 * @param {KeyboardEvent} event
 */
function step(event) {
    const by = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
    if (by === undefined || !curve || !chart) {
        return;
    }
    event.preventDefault();
    const now = chart.getActiveElements()[0]?.index ?? 0;
    const index = Math.min(Math.max(now + by, 0), curve.x.length - 1);
    chart.setActiveElements([{ datasetIndex: 0, index }]);
    chart.update("none");
    mark(index);
    byId("announcer", HTMLElement).textContent = `${show(curve.length[index], 1)} ${curve.unit}: ${show(curve.mean[index])}`;
}

byId("plot-histogram", HTMLElement).addEventListener("click", () => choose("histogram"));
byId("plot-profile", HTMLElement).addEventListener("click", () => choose("profile"));
byId("plot", HTMLElement).addEventListener("keydown", step);
byId("plot", HTMLElement).addEventListener("pointerleave", () => mark(undefined));
map.getContainer().addEventListener("pointermove", pointOut);
document.addEventListener("themechange", plotSoon);
on(["selection", "figures", "image", "columns"], plotSoon);
choose("histogram");
