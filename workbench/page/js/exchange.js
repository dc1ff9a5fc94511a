// Files in and out: figures in other formats, and the image with the figures drawn over it.

import { postFile, url } from "./api.js";
import { byId, icon, make } from "./dom.js";
import { tryRequest } from "./session.js";
import { state } from "./state.js";

/**
 * @param {string} where
 * @param {string} title
 * @param {string} what
 */
function choice(where, title, what) {
    const link = make(
        "a",
        { href: where, download: "", class: "choice" },
        icon("export"),
        make("b", {}, title),
        make("span", {}, what),
    );
    link.addEventListener("click", () => byId("export-dialog", HTMLDialogElement).close());
    return link;
}

function showExport() {
    const at = { image: state.image, page: state.page };
    const formats = state.server.formats.filter((format) => format.writes);
    byId("export-choices", HTMLElement).replaceChildren(
        choice(url("overlay.png", at), "Overlay as PNG", "the image with the figures drawn over it"),
        choice(url("overlay.svg", at), "Overlay as SVG", "the same with exact outlines"),
        ...formats.map(({ name, ending, what }) => choice(url("export", { as: name }), `${name} (${ending})`, what)),
    );
    byId("export-dialog", HTMLDialogElement).showModal();
}

const file = byId("import-file", HTMLInputElement);
file.addEventListener("change", () => {
    const chosen = file.files?.[0];
    file.value = "";
    if (chosen) {
        void tryRequest(() => postFile("import", { file: chosen.name }, chosen));
    }
});
byId("import", HTMLElement).addEventListener("click", () => file.click());
byId("export", HTMLElement).addEventListener("click", showExport);
