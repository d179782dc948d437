import { element, iconButton } from "./dom.js";
import { CLOSE } from "./icons.js";
import { Toolbar } from "./toolbar.js";

const KEYS = [
    ["Space", "Play, pause"],
    ["← →", "Key before, next key"],
    ["Home End", "Start, end"],
    ["↑ ↓", "Other animations"],
    ["[ ]", "Slower, faster"],
    ["L", "Loop, once, all in turn"],
    ["F", "Frame the model"],
    ["V", "Textures the other way up"],
    ["P", "Panel"],
    ["D", "Light, dark"],
    ["Esc", "Unpick the node"],
    ["?", "This help"],
];

// Keys and gestures, and the licence of what the page is built on.
export class Help {
    #dialog;

    constructor() {
        const rows = (list) =>
            list.map(([keys, text]) =>
                element(
                    "div",
                    {},
                    element("dt", {}, keys.split(" ").map((key) => element("kbd", {}, key))),
                    element("dd", {}, text),
                ),
            );
        this.#dialog = element(
            "dialog",
            { className: "help", "aria-label": "Help" },
            element("header", {}, element("h2", {}, "Keys and gestures"), iconButton(CLOSE, "Close", () => this.#dialog.close())),
            element("dl", {}, rows(KEYS), rows(Toolbar.help())),
            element(
                "p",
                {},
                "Drag to turn, wheel or pinch to zoom, right button or two fingers to move. A click on the model picks the node that the surface follows there; with the skeleton on, a joint.",
            ),
            element(
                "details",
                {},
                element("summary", {}, "Licence of three.js, which draws this page"),
                element("pre", {}, document.getElementById("licence").textContent),
            ),
        );
        this.#dialog.addEventListener("click", (event) => event.target === this.#dialog && this.#dialog.close());
        document.body.append(this.#dialog);
    }

    open() {
        this.#dialog.showModal();
    }
}
