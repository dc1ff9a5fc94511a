// The way to the server. Every answer that is not a success becomes an ApiError with the server's words.

export class ApiError extends Error {
    /**
     * @param {number} status 0 when there was no answer
     * @param {string} message
     */
    constructor(status, message) {
        super(message);
        this.status = status;
    }
}

/** @typedef {Record<string, string | number | boolean | string[] | undefined>} Query */

/**
 * @param {string} path
 * @param {Query} [query] entries that are undefined are left out, lists come several times
 */
export function url(path, query = {}) {
    const text = new URLSearchParams();
    for (const [name, value] of Object.entries(query)) {
        for (const one of Array.isArray(value) ? value : [value]) {
            if (one !== undefined) {
                text.append(name, typeof one === "boolean" ? String(Number(one)) : String(one));
            }
        }
    }
    const end = text.toString();
    return `/api/${path}${end && "?"}${end}`;
}

/** @param {Response} response */
async function failure(response) {
    const text = await response.text();
    try {
        return new ApiError(response.status, JSON.parse(text).error);
    } catch {
        return new ApiError(response.status, text || response.statusText);
    }
}

/**
 * @template T
 * @param {string} where
 * @param {(response: Response) => Promise<T>} read
 * @param {RequestInit} [init]
 * @returns {Promise<T>}
 */
async function ask(where, read, init) {
    try {
        const response = await fetch(where, init);
        if (!response.ok) {
            throw await failure(response);
        }
        return await read(response);
    } catch (error) {
        throw error instanceof ApiError ? error : new ApiError(0, "The server does not answer; it may have ended.");
    }
}

/**
 * @param {Response} response
 * @returns {Promise<any>}
 */
const asJson = (response) => response.json();

/**
 * @param {string} path
 * @param {Query} [query]
 */
export function get(path, query) {
    return ask(url(path, query), asJson);
}

/**
 * @param {string} path
 * @param {Query} [query]
 */
export function getBytes(path, query) {
    return ask(url(path, query), (response) => response.arrayBuffer());
}

/**
 * @param {string} path
 * @param {object} body
 */
export function post(path, body) {
    const headers = { "Content-Type": "application/json" };
    return ask(url(path), asJson, { method: "POST", headers, body: JSON.stringify(body) });
}

/**
 * @param {string} path
 * @param {Query} query
 * @param {Blob} file
 */
export function postFile(path, query, file) {
    const headers = { "Content-Type": "application/octet-stream" };
    return ask(url(path, query), asJson, { method: "POST", headers, body: file });
}

/** Runs one task at a time; of those that come meanwhile the last one waits and all others are dropped. */
export class Latest {
    /** @type {(() => Promise<void>) | null} */
    #next = null;
    #busy = false;

    /** @param {() => Promise<void>} task */
    async push(task) {
        this.#next = task;
        if (this.#busy) {
            return;
        }
        this.#busy = true;
        try {
            while (this.#next) {
                const now = this.#next;
                this.#next = null;
                await now();
            }
        } finally {
            this.#busy = false;
        }
    }

    /** Drops what waits; what runs goes on. */
    drop() {
        this.#next = null;
    }
}
