import { AnimationList } from "./animationlist.js";
import { element, iconButton } from "./dom.js";
import { CLOSE } from "./icons.js";
import { ModelSheet } from "./modelsheet.js";
import { NodeList } from "./nodelist.js";

const TABS = [
    ["animations", "Animations"],
    ["nodes", "Nodes"],
    ["model", "Model"],
];

// The panel beside the stage: on a phone a sheet that comes up over it.
export class Panel {
    #tabs = new Map();
    #files = null;
    #animations;
    #nodes;
    #sheet;

    // actions: those of the sheet, pick(node), chooseFile(index), close()
    constructor(host, player, models, actions) {
        const bar = element("div", { className: "tabs", role: "tablist" });
        host.append(bar);
        if (models.length > 1) {
            this.#files = element("div", { className: "files" });
            for (const [index, model] of models.entries()) {
                const button = element("button", { type: "button", onclick: () => actions.chooseFile(index) }, model.file.name);
                this.#files.append(button);
            }
            host.append(this.#files);
        }
        const bodies = TABS.map(([name, label]) => {
            const body = element("div", { className: "body", role: "tabpanel", "aria-label": label });
            const button = element(
                "button",
                { type: "button", role: "tab", data: { tab: name }, onclick: () => this.open(name) },
                label,
            );
            this.#tabs.set(name, { body, button });
            bar.append(button);
            host.append(body);
            return body;
        });
        const close = iconButton(CLOSE, "Close", actions.close);
        close.classList.add("close");
        bar.append(close);
        this.#animations = new AnimationList(bodies[0], player);
        this.#nodes = new NodeList(bodies[1], actions.pick);
        this.#sheet = new ModelSheet(bodies[2], actions);
        this.open("animations");
    }

    open(name) {
        for (const [tab, { body, button }] of this.#tabs) {
            body.hidden = tab !== name;
            button.setAttribute("aria-selected", String(tab === name));
        }
        if (this.#files) {
            this.#files.hidden = name === "animations";
        }
    }

    // The file at an index, with the node that is picked in it.
    show(view, index, picked) {
        for (const [i, button] of [...(this.#files?.children ?? [])].entries()) {
            button.setAttribute("aria-pressed", String(i === index));
        }
        this.#nodes.show(view, picked);
        this.#sheet.show(view);
    }

    refreshAnimations() {
        this.#animations.refresh();
    }

    refreshSheet() {
        this.#sheet.refresh();
    }

    clearSet() {
        this.#sheet.clearSet();
    }

    // The pose has changed.
    showPose() {
        if (!this.#tabs.get("nodes").body.hidden) {
            this.#nodes.showPlace();
        }
        if (!this.#tabs.get("model").body.hidden) {
            this.#sheet.showPose();
        }
    }
}
