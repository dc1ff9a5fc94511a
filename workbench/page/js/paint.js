// Draws outlines, so many that only what can be told apart is drawn: what is out of view not at all, what is smaller than
// a few pixels as a dot or a box, and curves with as many points as their size on the screen deserves.

/** @typedef {import("./figures.js").Figure} Figure */
/** @typedef {import("../../types").View} View */

/** @typedef {{move: (x: number, y: number) => void, line: (x: number, y: number) => void, end: () => void}} Pen */

/** Below so many pixels a figure is a dot, and a box. */
const kDot = 2;
const kBox = 5;
/** For each pixel of a figure's size, so many points of a ring are drawn, and never fewer than the least. */
const kPointsPerPixel = 2;
const kLeastPoints = 8;

/**
 * @param {Figure} figure
 * @param {View} view
 */
export function isInView(figure, view) {
    return (
        view.left + figure.right * view.scale >= 0 &&
        view.left + figure.left * view.scale <= view.width &&
        view.top + figure.bottom * view.scale >= 0 &&
        view.top + figure.top * view.scale <= view.height
    );
}

/**
 * How many points of a ring are passed over for each that is drawn.
 * @param {number} points
 * @param {number} size of the figure on the screen
 */
function strideFor(points, size) {
    return Math.max(1, Math.floor(points / Math.max(kLeastPoints, size * kPointsPerPixel)));
}

/**
 * @param {Figure} figure
 * @param {View} view
 */
function sizeOf(figure, view) {
    return Math.max(figure.right - figure.left, figure.bottom - figure.top) * view.scale;
}

/**
 * How many lines `trace` draws of a figure.
 * @param {Figure} figure
 * @param {View} view
 */
export function countLines(figure, view) {
    const size = sizeOf(figure, view);
    if (size < kBox) {
        return 4;
    }
    const { firstPoint } = figure.geometry;
    let lines = 0;
    for (let ring = figure.first; ring < figure.last; ring += 1) {
        const points = firstPoint[ring + 1] - firstPoint[ring];
        lines += Math.ceil(points / strideFor(points, size));
    }
    return lines;
}

/**
 * Moves a pen along a figure's outline.
 * @param {Figure} figure
 * @param {View} view
 * @param {Pen} pen
 */
export function trace(figure, view, pen) {
    const { scale, left, top } = view;
    const size = sizeOf(figure, view);
    if (size < kBox) {
        const x = left + figure.left * scale;
        const y = top + figure.top * scale;
        const right = size < kDot ? x + 1 : left + figure.right * scale;
        const bottom = size < kDot ? y : top + figure.bottom * scale;
        pen.move(x, y);
        pen.line(right, y);
        pen.line(right, bottom);
        pen.line(x, bottom);
        pen.line(x, y);
        pen.end();
        return;
    }
    const { points, firstPoint, open } = figure.geometry;
    for (let ring = figure.first; ring < figure.last; ring += 1) {
        const begin = firstPoint[ring] * 2;
        const end = firstPoint[ring + 1] * 2;
        const step = 2 * strideFor((end - begin) / 2, size);
        pen.move(left + points[begin] * scale, top + points[begin + 1] * scale);
        for (let i = begin + step; i < end; i += step) {
            pen.line(left + points[i] * scale, top + points[i + 1] * scale);
        }
        if (open[ring]) {
            pen.line(left + points[end - 2] * scale, top + points[end - 1] * scale);
        } else {
            pen.line(left + points[begin] * scale, top + points[begin + 1] * scale);
        }
    }
    pen.end();
}

/**
 * A pen that strokes with the canvas: smooth lines over a darker rim.
 * @param {CanvasRenderingContext2D} context
 * @param {string} rim
 */
export function smoothPen(context, rim) {
    let color = "";
    let width = 1.5;
    return {
        /**
         * @param {string} name
         * @param {number} thick
         */
        use(name, thick) {
            color = name;
            width = thick;
            context.beginPath();
        },
        /**
         * @param {number} x
         * @param {number} y
         */
        move: (x, y) => context.moveTo(x, y),
        /**
         * @param {number} x
         * @param {number} y
         */
        line: (x, y) => context.lineTo(x, y),
        end() {
            context.lineJoin = "round";
            context.strokeStyle = rim;
            context.lineWidth = width + 2;
            context.stroke();
            context.strokeStyle = color;
            context.lineWidth = width;
            context.stroke();
        },
    };
}

/**
 * After how many steps a walk comes into the range from 0 to `size`.
 * @param {number} from @param {number} step @param {number} size
 */
function enters(from, step, size) {
    if (step === 0) {
        return from >= 0 && from < size ? 0 : Infinity;
    }
    return ((step > 0 ? 0 : size) - from) / step;
}

/**
 * After how many steps it goes out of it.
 * @param {number} from @param {number} step @param {number} size
 */
function leaves(from, step, size) {
    return step === 0 ? Infinity : ((step > 0 ? size : 0) - from) / step;
}

/** Lines of one pixel set by hand: where a canvas takes milliseconds for a hundred outlines, this takes them for ten thousand. */
export class FastPen {
    /** @type {ImageData | null} */
    #image = null;
    #pixels = new Uint32Array(0);
    #width = 0;
    #height = 0;
    #color = 0;
    #x = 0;
    #y = 0;

    /**
     * Begins a picture of that many pixels.
     * @param {number} width
     * @param {number} height
     */
    begin(width, height) {
        if (!this.#image || this.#width !== width || this.#height !== height) {
            this.#image = new ImageData(width, height);
            this.#pixels = new Uint32Array(this.#image.data.buffer);
            this.#width = width;
            this.#height = height;
        }
        this.#pixels.fill(0);
    }

    /** @param {CanvasRenderingContext2D} context */
    putOn(context) {
        if (this.#image) {
            context.putImageData(this.#image, 0, 0);
        }
    }

    /** @param {number} color alpha, blue, green and red, as the bytes of a picture lie */
    use(color) {
        this.#color = color;
    }

    /**
     * @param {number} x
     * @param {number} y
     */
    move(x, y) {
        this.#x = x;
        this.#y = y;
    }

    /**
     * @param {number} x
     * @param {number} y
     */
    line(x, y) {
        const fromX = this.#x;
        const fromY = this.#y;
        this.#x = x;
        this.#y = y;
        const steps = Math.ceil(Math.max(Math.abs(x - fromX), Math.abs(y - fromY)));
        const stepX = (x - fromX) / steps;
        const stepY = (y - fromY) / steps;
        const begin = Math.max(0, enters(fromX, stepX, this.#width), enters(fromY, stepY, this.#height));
        const end = Math.min(steps, leaves(fromX, stepX, this.#width), leaves(fromY, stepY, this.#height));
        for (let i = Math.ceil(begin); i < end; i += 1) {
            this.#pixels[((fromY + i * stepY) | 0) * this.#width + ((fromX + i * stepX) | 0)] = this.#color;
        }
    }

    end() {}
}
