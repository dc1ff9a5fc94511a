// The figures as they are drawn: names, classes and outlines in the order of the set. Outlines come as they are;
// nothing is computed of them but the boxes that tell what is in view.

/** @typedef {import("../../types").FigureData} FigureData */

/**
 * Polylines in one array, as the server sends them: ring r has the points from firstPoint[r] to firstPoint[r + 1].
 * @typedef {{points: Float32Array, firstPoint: Uint32Array, open: Uint8Array}} Geometry
 */

/**
 * A figure with its place in the set and its polylines, which are the rings `first` to `last` of a geometry, and the box around them.
 * @typedef {{name: string, class: string, index: number, geometry: Geometry, first: number, last: number,
 *            left: number, top: number, right: number, bottom: number}} Figure
 */

/**
 * @param {string} name
 * @param {string} type
 * @param {number} index
 * @param {Geometry} geometry
 * @param {number} first
 * @param {number} last
 * @returns {Figure}
 */
function figureOf(name, type, index, geometry, first, last) {
    const { points, firstPoint } = geometry;
    let left = Infinity;
    let top = Infinity;
    let right = -Infinity;
    let bottom = -Infinity;
    for (let i = firstPoint[first] * 2, end = firstPoint[last] * 2; i < end; i += 2) {
        const x = points[i];
        const y = points[i + 1];
        if (x < left) left = x;
        if (x > right) right = x;
        if (y < top) top = y;
        if (y > bottom) bottom = y;
    }
    return { name, class: type, index, geometry, first, last, left, top, right, bottom };
}

/**
 * A figure of JSON as one that can be drawn.
 * @param {FigureData} data
 */
export function fromJson(data) {
    const rings = data.axis ? [...data.outline, data.axis] : data.outline;
    const firstPoint = new Uint32Array(rings.length + 1);
    rings.forEach((ring, r) => (firstPoint[r + 1] = firstPoint[r] + ring.length));
    const open = new Uint8Array(rings.length);
    open.fill(1, data.outline.length);
    return figureOf(
        data.name,
        data.class,
        data.index,
        { points: Float32Array.from(rings.flat(2)), firstPoint, open },
        0,
        rings.length,
    );
}

/**
 * A figure's closed rings, which its axis follows.
 * @param {Figure} figure
 * @returns {Figure}
 */
export function withoutAxis(figure) {
    const hasAxis = figure.last > figure.first && figure.geometry.open[figure.last - 1] === 1;
    return hasAxis ? { ...figure, last: figure.last - 1 } : figure;
}

const kMagic = 0x314f4952;

/**
 * All figures out of the binary answer.
 * @param {ArrayBuffer} bytes
 * @param {string[]} classes names of the classes, in the order of the state
 */
export function fromBytes(bytes, classes) {
    const [magic, revision, figureCount, ringCount, pointCount, nameBytes] = new Uint32Array(bytes, 0, 6);
    if (magic !== kMagic) {
        throw new Error("The server sent outlines that this page does not know; reload it.");
    }
    let at = 24;
    /**
     * @template T
     * @param {new (bytes: ArrayBuffer, at: number, count: number) => T} type
     * @param {number} count
     * @param {number} size
     */
    const take = (type, count, size) => {
        const array = new type(bytes, at, count);
        at += count * size;
        return array;
    };
    const firstRing = take(Uint32Array, figureCount + 1, 4);
    const firstPoint = take(Uint32Array, ringCount + 1, 4);
    const points = take(Float32Array, pointCount * 2, 4);
    const types = take(Uint8Array, figureCount, 1);
    const open = take(Uint8Array, ringCount, 1);
    /** @type {string[]} */
    const names = JSON.parse(new TextDecoder().decode(take(Uint8Array, nameBytes, 1)));
    const geometry = { points, firstPoint, open };
    const figures = names.map((name, i) =>
        figureOf(name, classes[types[i]], i, geometry, firstRing[i], firstRing[i + 1]),
    );
    return { revision, figures };
}

/** The figures of the set, in its order: later ones lie above earlier ones. */
export class Figures {
    /** @type {Figure[]} */
    list = [];
    /** @type {Map<string, Figure>} */
    #byName = new Map();
    /** The boxes of the figures in the list, side by side, which is what makes looking for them fast. */
    #boxes = new Float32Array(0);

    /** @param {Figure[]} figures */
    replaceAll(figures) {
        this.list = figures;
        this.#byName = new Map(figures.map((figure) => [figure.name, figure]));
        this.#number();
    }

    /** Notes the places and the boxes of all. */
    #number() {
        const boxes = new Float32Array(this.list.length * 4);
        this.list.forEach((figure, i) => {
            figure.index = i;
            boxes[i * 4] = figure.left;
            boxes[i * 4 + 1] = figure.top;
            boxes[i * 4 + 2] = figure.right;
            boxes[i * 4 + 3] = figure.bottom;
        });
        this.#boxes = boxes;
    }

    /**
     * The figures whose boxes meet a box of the image, in the order of the set.
     * @param {number} left
     * @param {number} top
     * @param {number} right
     * @param {number} bottom
     */
    near(left, top, right, bottom) {
        const boxes = this.#boxes;
        const found = [];
        for (let i = 0, at = 0; at < boxes.length; i += 1, at += 4) {
            if (boxes[at] <= right && boxes[at + 1] <= bottom && boxes[at + 2] >= left && boxes[at + 3] >= top) {
                found.push(this.list[i]);
            }
        }
        return found;
    }

    /** @param {string} name */
    get(name) {
        return this.#byName.get(name);
    }

    /** @param {import("../../types").Changes} changes */
    apply(changes) {
        const removed = new Set(changes.removed);
        if (removed.size > 0) {
            this.list = this.list.filter((figure) => !removed.has(figure.name));
            removed.forEach((name) => this.#byName.delete(name));
        }
        for (const data of changes.figures) {
            this.#put(fromJson(data));
        }
        if (changes.order) {
            const place = new Map(changes.order.map((name, i) => [name, i]));
            this.list.sort((a, b) => (place.get(a.name) ?? 0) - (place.get(b.name) ?? 0));
        }
        this.#number();
    }

    /** @param {Figure} figure */
    #put(figure) {
        const old = this.#byName.get(figure.name);
        if (old) {
            // The same object, so that places in the list stay as they are.
            Object.assign(old, figure);
            return;
        }
        this.list.push(figure);
        this.#byName.set(figure.name, figure);
    }

    /**
     * A name that no figure has.
     * @param {string} stem
     */
    freeName(stem) {
        let number = 1;
        while (this.#byName.has(`${stem} ${number}`)) {
            number += 1;
        }
        return `${stem} ${number}`;
    }
}
