import { App } from "./app.js";
import { Model } from "./model.js";

function start() {
    const data = document.getElementById("data");
    const { files, textures } = JSON.parse(data.textContent);
    data.remove();
    const app = new App(
        files.map((file) => new Model(file)),
        textures,
    );
    // For scripts that look at the page from outside.
    window.zoltView = app;
}

try {
    start();
} catch (error) {
    const message = document.getElementById("message");
    message.hidden = false;
    message.textContent = /webgl/i.test(String(error))
        ? "This page draws with WebGL, which this browser doesn't offer here."
        : `The page can't be shown: ${error}`;
    throw error;
}
