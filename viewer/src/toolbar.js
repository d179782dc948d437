import { iconButton } from "./dom.js";
import * as ICONS from "./icons.js";

const SWITCHES = [
    ["wireframe", ICONS.WIRE, "Wireframe", "W"],
    ["skeleton", ICONS.BONE, "Skeleton", "S"],
    ["names", ICONS.NAMES, "Node names", "T"],
    ["weights", ICONS.WEIGHTS, "Weights of the picked node", "C"],
    ["sockets", ICONS.SOCKETS, "Sockets", "X"],
    ["bounds", ICONS.BOUNDS, "Bounds", "B"],
    ["grid", ICONS.GRID, "Floor", "G"],
    ["shadow", ICONS.SHADOW, "Shadow", "H"],
    ["texture", ICONS.TEXTURE, "Textures", "M"],
];

// What is shown, a switch for each.
export class Toolbar {
    #buttons = new Map();

    constructor(host, toggle, lacks) {
        for (const [name, path, label, key] of SWITCHES.filter(([name]) => !lacks.has(name))) {
            const button = iconButton(path, label, () => toggle(name), key);
            button.dataset.switch = name;
            this.#buttons.set(name, button);
            host.append(button);
        }
    }

    static keys() {
        return new Map(SWITCHES.map(([name, , , key]) => [key.toLowerCase(), name]));
    }

    static help() {
        return SWITCHES.map(([, , label, key]) => [key, label]);
    }

    show(what) {
        for (const [name, button] of this.#buttons) {
            button.setAttribute("aria-pressed", String(what[name]));
        }
    }
}
