import * as THREE from "three";
import { Grid } from "./grid.js";
import { formatLength } from "./format.js";

const FONT = "500 11px system-ui, sans-serif";

// Names and figures over the canvas. A label that would cover another is left out; those that come first have the say.
export class Labels {
    #canvas = document.createElement("canvas");
    #host;
    #taken = [];

    constructor(host) {
        this.#host = host;
        this.#canvas.className = "labels";
        host.append(this.#canvas);
    }

    // what: { names, sockets, bounds, grid }, each on or off; picked: the node that is picked, by view.
    draw(stage, what, picked, theme) {
        const { clientWidth: width, clientHeight: height } = this.#host;
        const ratio = Math.min(window.devicePixelRatio, 2);
        this.#canvas.width = Math.round(width * ratio);
        this.#canvas.height = Math.round(height * ratio);
        const context = this.#canvas.getContext("2d");
        context.setTransform(ratio, 0, 0, ratio, 0, 0);
        context.font = FONT;
        context.textBaseline = "middle";
        for (const [i, view] of stage.views.entries()) {
            this.#taken = [];
            const { rectangle } = view;
            context.save();
            context.beginPath();
            context.rect(rectangle.x, rectangle.y, rectangle.width, rectangle.height);
            context.clip();
            this.#drawView(context, view, stage.camera, what, picked[i], theme);
            context.restore();
            if (i > 0) {
                context.fillStyle = theme.line;
                if (rectangle.x > 0) {
                    context.fillRect(rectangle.x, rectangle.y, 1, rectangle.height);
                } else {
                    context.fillRect(rectangle.x, rectangle.y, rectangle.width, 1);
                }
            }
        }
    }

    #drawView(context, view, camera, what, picked, theme) {
        const { figure, model } = view;
        const put = (place, text, style) => place && this.#put(context, place, text, style);
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
            this.#drawUnits(context, view, camera, theme);
        }
    }

    // Lengths along both axes of the floor.
    #drawUnits(context, view, camera, theme) {
        const { step } = view.grid;
        context.fillStyle = theme.faint;
        const figure = outline(view, camera);
        for (const [axis, letter] of [["x", "x"], ["z", "z"]]) {
            for (const i of [-10, -5, 5, 10]) {
                const point = new THREE.Vector3();
                point[axis] = i * step;
                const place = view.toScreen(point, camera);
                if (place && i < Grid.HALF && !figure.holds(place)) {
                    const text = `${i === 10 ? `${letter} ` : ""}${formatLength(i * step)}`;
                    context.fillText(text, place.x + 4, place.y + 8);
                }
            }
        }
    }

    #put(context, { x, y }, text, { ink, paper, dot }) {
        const PAD = 5;
        const width = context.measureText(text).width + 2 * PAD;
        const box = { left: x + 7, top: y - 8, right: x + 7 + width, bottom: y + 8 };
        if (dot) {
            context.fillStyle = dot;
            context.beginPath();
            context.arc(x, y, 2.5, 0, 2 * Math.PI);
            context.fill();
        }
        const overlaps = (other) =>
            box.left < other.right && box.right > other.left && box.top < other.bottom && box.bottom > other.top;
        if (text === "" || this.#taken.some(overlaps)) {
            return;
        }
        this.#taken.push(box);
        context.fillStyle = paper;
        context.beginPath();
        context.roundRect(box.left, box.top, width, 16, 4);
        context.fill();
        context.fillStyle = ink;
        context.fillText(text, box.left + PAD, y + 0.5);
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
