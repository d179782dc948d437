import * as THREE from "three";
import { Grid } from "./grid.js";
import { formatLength } from "./format.js";

const FONT = "500 11px system-ui, sans-serif";

// Names and figures over the canvas. A label that would cover another is left out; those that come first have the say.
export class Labels {
    #canvas = document.createElement("canvas");
    #context = this.#canvas.getContext("2d");
    #host;
    #taken = [];
    #marks = []; // what is to be drawn, each a list of numbers and texts
    #drawn = ""; // what stands on the canvas

    constructor(host) {
        this.#host = host;
        this.#canvas.className = "labels";
        host.append(this.#canvas);
    }

    // what: { names, sockets, bounds, grid }, each on or off; picked: the node that is picked, by view. Only what has
    // changed is drawn anew, since a page pays for a canvas that changes even where nobody could tell.
    draw(stage, what, picked, theme) {
        const { clientWidth: width, clientHeight: height } = this.#host;
        const ratio = Math.min(window.devicePixelRatio, 2);
        this.#marks = [];
        this.#context.font = FONT;
        for (const [i, view] of stage.views.entries()) {
            this.#taken = [];
            const { x, y, width: wide, height: tall } = view.rectangle;
            this.#marks.push(["clip", x, y, wide, tall]);
            this.#addView(view, stage.camera, what, picked[i], theme);
            if (i > 0) {
                this.#marks.push(["box", x, y, x > 0 ? 1 : wide, x > 0 ? tall : 1, 0, theme.line]);
            }
        }
        const drawing = JSON.stringify([width, height, ratio, this.#marks]);
        if (drawing !== this.#drawn) {
            this.#drawn = drawing;
            this.#drawMarks(width, height, ratio);
        }
    }

    #drawMarks(width, height, ratio) {
        const context = this.#context;
        this.#canvas.hidden = this.#marks.every(([kind]) => kind === "clip");
        const [wide, tall] = [Math.round(width * ratio), Math.round(height * ratio)];
        if (this.#canvas.width !== wide || this.#canvas.height !== tall) {
            this.#canvas.width = wide;
            this.#canvas.height = tall;
        }
        context.setTransform(ratio, 0, 0, ratio, 0, 0);
        context.clearRect(0, 0, width, height);
        context.font = FONT;
        context.textBaseline = "middle";
        context.save();
        for (const [kind, x, y, ...more] of this.#marks) {
            context.fillStyle = more.at(-1);
            context.beginPath();
            if (kind === "clip") {
                context.restore();
                context.save();
                context.rect(x, y, more[0], more[1]);
                context.clip();
            } else if (kind === "dot") {
                context.arc(x, y, 2.5, 0, 2 * Math.PI);
                context.fill();
            } else if (kind === "box") {
                context.roundRect(x, y, more[0], more[1], more[2]);
                context.fill();
            } else {
                context.fillText(more[0], x, y);
            }
        }
        context.restore();
    }

    #addView(view, camera, what, picked, theme) {
        const { figure, model } = view;
        const put = (place, text, style) => place && this.#put(place, text, style);
        if (picked >= 0) {
            const place = view.toScreen(view.nodePlace(picked), camera);
            put(place, model.nodes[picked].name, { ink: "#1b1300", paper: theme.accent2, dot: theme.accent2 });
        }
        if (what.sockets) {
            for (const { name, position } of figure.sockets.places(figure.matrices)) {
                position.z = -position.z;
                put(view.toScreen(position, camera), name, { ink: theme.paper, paper: theme.socket });
            }
        }
        if (what.names) {
            for (let i = 0; i < model.nodes.length; ++i) {
                const style = { ink: theme.ink, paper: theme.label, dot: theme.accent };
                put(view.toScreen(view.nodePlace(i), camera), model.nodes[i].name, style);
            }
        }
        if (what.bounds) {
            const [minX, minY, minZ, maxX, maxY, maxZ] = figure.box;
            const sizes = [maxX - minX, maxY - minY, maxZ - minZ].map(formatLength).join(" × ");
            const top = new THREE.Vector3((minX + maxX) / 2, maxY, -(minZ + maxZ) / 2);
            const place = view.toScreen(top, camera);
            put(place && { x: place.x, y: place.y - 12 }, sizes, { ink: theme.ink, paper: theme.label });
        }
        if (what.grid) {
            this.#addUnits(view, camera, theme);
        }
    }

    // Lengths along both axes of the floor.
    #addUnits(view, camera, theme) {
        const { step } = view.grid;
        const figure = outline(view, camera);
        for (const [axis, letter] of [["x", "x"], ["z", "z"]]) {
            for (const i of [-10, -5, 5, 10]) {
                const point = new THREE.Vector3();
                point[axis] = i * step;
                const place = view.toScreen(point, camera);
                if (place && i < Grid.HALF && !figure.holds(place)) {
                    const text = `${i === 10 ? `${letter} ` : ""}${formatLength(i * step)}`;
                    const [x, y, width] = [place.x + 4, place.y + 8, this.#context.measureText(text).width];
                    if (this.#take({ left: x, top: y - 8, right: x + width, bottom: y + 8 })) {
                        this.#marks.push(["text", x, y, text, theme.faint]);
                    }
                }
            }
        }
    }

    // Whether the place of a label is free, which it isn't any longer then.
    #take(box) {
        const overlaps = (other) =>
            box.left < other.right && box.right > other.left && box.top < other.bottom && box.bottom > other.top;
        const free = !this.#taken.some(overlaps);
        if (free) {
            this.#taken.push(box);
        }
        return free;
    }

    #put({ x, y }, text, { ink, paper, dot }) {
        const PAD = 5;
        const width = this.#context.measureText(text).width + 2 * PAD;
        const box = { left: x + 7, top: y - 8, right: x + 7 + width, bottom: y + 8 };
        if (dot) {
            this.#marks.push(["dot", x, y, dot]);
        }
        if (text === "" || !this.#take(box)) {
            return;
        }
        this.#marks.push(["box", box.left, box.top, width, 16, 4, paper]);
        this.#marks.push(["text", box.left + PAD, y + 0.5, text, ink]);
    }
}

// The rectangle on the screen that a figure's box fills.
function outline(view, camera) {
    const box = view.figure.box;
    const places = [];
    for (let corner = 0; corner < 8; ++corner) {
        const at = (axis) => box[corner & (1 << axis) ? 3 + axis : axis];
        const place = view.toScreen(new THREE.Vector3(at(0), at(1), -at(2)), camera);
        if (place) {
            places.push(place);
        }
    }
    const xs = places.map(({ x }) => x);
    const ys = places.map(({ y }) => y);
    return {
        holds: ({ x, y }) =>
            x + 24 > Math.min(...xs) && x < Math.max(...xs) && y + 14 > Math.min(...ys) && y < Math.max(...ys),
    };
}
