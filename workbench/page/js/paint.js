// Draws outlines, so many that only what can be told apart is drawn: what is out of view not at all, what is smaller
// than a few pixels as a dot or a box, and curves with as many points as their size on the screen deserves.

/** @typedef {import("./figures.js").Figure} Figure */
/** @typedef {import("../../types").View} View */

/** @typedef {{move: (x: number, y: number) => void, line: (x: number, y: number) => void, end: () => void}} Pen */

/** Below so many pixels a figure is a dot, and a box. */
const kDot = 2;
const kBox = 5;
/** A ring is drawn with no fewer points, and with as many as the square of its size by the other number. */
const kLeastPoints = 8;
const kPixelsSquared = 16;

/**
 * How many points of a ring are passed over for each that is drawn.
 * @param {number} points
 * @param {number} size of the figure on the screen
 */
function strideFor(points, size) {
    return Math.max(1, Math.floor(points / Math.max(kLeastPoints, (size * size) / kPixelsSquared)));
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
 * After how many steps a walk comes into the range from `low` to `high`.
 * @param {number} from
 * @param {number} step
 * @param {number} low
 * @param {number} high
 */
function enters(from, step, low, high) {
    if (step === 0) {
        return from >= low && from < high ? 0 : Infinity;
    }
    return ((step > 0 ? low : high) - from) / step;
}

/**
 * After how many steps it goes out of it.
 * @param {number} from
 * @param {number} step
 * @param {number} low
 * @param {number} high
 */
function leaves(from, step, low, high) {
    return step === 0 ? Infinity : ((step > 0 ? high : low) - from) / step;
}

/** @typedef {{left: number, top: number, right: number, bottom: number}} Part of a picture, in its pixels */

/**
 * Lines of one pixel set by hand: where a canvas takes a while for a hundred outlines, this draws ten thousand. A
 * picture that only moved keeps what stays in view.
 */
export class FastPen {
    #image = new ImageData(1, 1);
    #pixels = new Uint32Array(1);
    /** @type {View} */
    #view = { scale: 0, left: 0, top: 0, width: 0, height: 0 };
    /** @type {Part} */
    #part = { left: 0, top: 0, right: 0, bottom: 0 };
    #color = 0;
    #x = 0;
    #y = 0;

    /**
     * Begins a picture and gives the parts of it that are empty: all of it, or what came into view.
     * @param {View} view in whole pixels
     * @param {boolean} isSame whether the figures are those of the last picture
     * @returns {Part[]}
     */
    begin(view, isSame) {
        const before = this.#view;
        const { width, height } = view;
        this.#view = view;
        if (width !== before.width || height !== before.height) {
            this.#image = new ImageData(width, height);
            this.#pixels = new Uint32Array(this.#image.data.buffer);
        } else if (isSame && view.scale === before.scale) {
            const [dx, dy] = [view.left - before.left, view.top - before.top];
            if (Math.abs(dx) < width && Math.abs(dy) < height) {
                return this.#shift(dx, dy);
            }
        }
        this.#pixels.fill(0);
        return [{ left: 0, top: 0, right: width, bottom: height }];
    }

    /**
     * @param {number} dx
     * @param {number} dy
     * @returns {Part[]} what nothing was moved to, cleared
     */
    #shift(dx, dy) {
        const { width, height } = this.#view;
        const by = dy * width + dx;
        this.#pixels.copyWithin(Math.max(0, by), Math.max(0, -by), this.#pixels.length - Math.max(0, by));
        /** @param {number} from @param {number} size */
        const entered = (from, size) => (from >= 0 ? [0, from] : [size + from, size]);
        const [left, right] = entered(dx, width);
        const [top, bottom] = entered(dy, height);
        const parts = [
            { left, top: 0, right, bottom: height },
            { left: 0, top, right: width, bottom },
        ].filter((part) => part.left < part.right && part.top < part.bottom);
        for (const part of parts) {
            for (let row = part.top; row < part.bottom; row += 1) {
                this.#pixels.fill(0, row * width + part.left, row * width + part.right);
            }
        }
        return parts;
    }

    /**
     * Draws within a part only from now on.
     * @param {Part} part
     */
    stayIn(part) {
        this.#part = part;
    }

    /** @param {CanvasRenderingContext2D} context */
    putOn(context) {
        context.putImageData(this.#image, 0, 0);
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
        const { left, top, right, bottom } = this.#part;
        const { width } = this.#view;
        const fromX = this.#x;
        const fromY = this.#y;
        this.#x = x;
        this.#y = y;
        const steps = Math.ceil(Math.max(Math.abs(x - fromX), Math.abs(y - fromY)));
        const stepX = (x - fromX) / steps;
        const stepY = (y - fromY) / steps;
        const begin = Math.max(0, enters(fromX, stepX, left, right), enters(fromY, stepY, top, bottom));
        const end = Math.min(steps, leaves(fromX, stepX, left, right), leaves(fromY, stepY, top, bottom));
        for (let i = Math.ceil(begin); i < end; i += 1) {
            this.#pixels[((fromY + i * stepY) | 0) * width + ((fromX + i * stepX) | 0)] = this.#color;
        }
    }

    end() {}
}
