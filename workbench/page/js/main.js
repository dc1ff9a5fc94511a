// Puts the page together and starts it.

import "./layer.js";
import "./overlay.js";
import "./pointer.js";
import "./list.js";
import "./properties.js";
import "./plots.js";
import "./exchange.js";
import { byId, tellError } from "./dom.js";
import { showImage, showImages } from "./display.js";
import { restoreHidden } from "./state.js";
import { restoreColumns } from "./measurements.js";
import { follow, load } from "./session.js";
import { showConnection, showTools } from "./toolbar.js";
import { map, showProgress } from "./viewport.js";

/** @param {import("./session.js").Progress} progress */
function tellProgress(progress) {
    const note = byId("progress", HTMLElement);
    note.hidden = progress.rows >= progress.height;
    note.textContent = `Reading the image: ${progress.rows} of ${progress.height} rows`;
    showProgress(progress);
}

async function start() {
    map.setView([0, 0], 0);
    // The image does not wait for the figures.
    const image = showImage();
    await load();
    restoreHidden();
    showImages();
    showTools();
    restoreColumns();
    await image;
    showConnection(true);
    follow({ progress: tellProgress, connected: showConnection });
}

start().catch(tellError);
