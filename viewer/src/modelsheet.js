import { element } from "./dom.js";
import { formatBytes, formatCount, formatLength } from "./format.js";

// What a file holds, and switches for its pieces, levels of detail and weight sets.
export class ModelSheet {
    #host;
    #actions;
    #view = null;
    #set = -1;
    #size = element("span");

    // actions: setLod(lod), setHidden(piece, hidden), showSet(set or -1)
    constructor(host, actions) {
        this.#host = host;
        this.#actions = actions;
    }

    show(view) {
        if (view !== this.#view) {
            this.#view = view;
            this.#set = -1;
            this.refresh();
        }
    }

    // The pose has changed.
    showPose() {
        const [minX, minY, minZ, maxX, maxY, maxZ] = this.#view.figure.box;
        this.#size.textContent = [maxX - minX, maxY - minY, maxZ - minZ].map(formatLength).join(" × ");
    }

    refresh() {
        const { info } = this.#view.model;
        this.#host.replaceChildren(
            this.#statistics(),
            ...(info.lods > 1 ? [this.#lods()] : []),
            this.#pieces(),
            ...section("Sockets", info.sockets, ({ name, node }) => [name, `on ${info.nodes[node]?.name ?? node}`]),
            ...this.#weightSets(),
            ...section("Child models", info.childModels.slice(1), (child, i) => [child.name, this.#childNote(i + 1)]),
            ...(info.command ? [heading("Command string"), element("pre", {}, info.command)] : []),
        );
        this.showPose();
    }

    #statistics() {
        const { model, figure } = this.#view;
        const { info } = model;
        const counts = model.counts(figure.lod);
        const stray = model.pieces.reduce((sum, piece) => sum + unweighted(piece.meshes[0]), 0);
        const rows = [
            ["File", `${formatBytes(info.bytes)}, version ${info.version}`],
            ["Triangles", formatCount(counts.tris)],
            ["Vertices", formatCount(counts.verts)],
            ["Weights", formatCount(counts.weights)],
            ["Nodes", formatCount(info.nodes.length)],
            ["Animations", formatCount(info.anims.length)],
            ["Keys", formatCount(info.anims.reduce((sum, anim) => sum + anim.keys, 0))],
            ["Size now", this.#size],
        ];
        if (stray > 0) {
            rows.push(["No weights", `${formatCount(stray)} vertices`]);
        }
        return element(
            "dl",
            { className: "details" },
            rows.flatMap(([key, value]) => [element("dt", {}, key), element("dd", {}, value)]),
        );
    }

    #lods() {
        const { model, figure } = this.#view;
        const buttons = Array.from({ length: model.info.lods }, (_, lod) => {
            const value = lod === 0 ? "finest" : formatLength(model.info.lodDistances[lod - 1]);
            return element(
                "button",
                {
                    type: "button",
                    "aria-pressed": String(figure.lod === lod),
                    data: { lod: String(lod) },
                    onclick: () => {
                        this.#actions.setLod(lod);
                        this.refresh();
                    },
                },
                element("b", {}, `LOD ${lod}`),
                element("small", {}, `${formatCount(model.counts(lod).tris)} tris · ${value}`),
            );
        });
        return element("div", { className: "choice" }, buttons);
    }

    #pieces() {
        const { model, figure } = this.#view;
        const rows = model.pieces.map((piece, index) => {
            const box = element("input", { type: "checkbox", checked: !figure.hidden.has(index) });
            box.addEventListener("change", () => this.#actions.setHidden(index, !box.checked));
            return element(
                "label",
                { className: "row" },
                box,
                element("span", { className: "name" }, piece.name || "(no name)"),
                element("small", {}, `texture ${piece.texture} · ${formatCount(piece.lods[figure.lod]?.tris ?? 0)} tris`),
            );
        });
        return element("div", {}, heading("Pieces"), rows.length ? rows : element("p", {}, "None: a skeleton alone."));
    }

    #weightSets() {
        const { weightSets } = this.#view.model.info;
        if (weightSets.length === 0) {
            return [];
        }
        const rows = weightSets.map(({ name, values }, index) =>
            element(
                "button",
                {
                    type: "button",
                    className: "row",
                    "aria-pressed": String(this.#set === index),
                    onclick: () => {
                        this.#set = this.#set === index ? -1 : index;
                        this.#actions.showSet(this.#set);
                        this.refresh();
                    },
                },
                element("span", { className: "name" }, name),
                element("small", {}, `${values.filter((value) => value !== 0).length} nodes`),
            ),
        );
        return [heading("Weight sets"), ...rows];
    }

    // The set that is shown no longer is.
    clearSet() {
        if (this.#set >= 0) {
            this.#set = -1;
            this.refresh();
        }
    }

    #childNote(link) {
        const { model } = this.#view;
        const anims = model.anims.filter((anim) => anim.link === link);
        if (anims.length === 0) {
            return model.file.missing?.includes(link) ? "not in its folder" : "no animations";
        }
        return anims[0].fits ? `${anims.length} animations` : "another node tree";
    }
}

function heading(text) {
    return element("h3", {}, text);
}

function section(title, items, texts) {
    if (items.length === 0) {
        return [];
    }
    const rows = items.map((item, i) => {
        const [name, note] = texts(item, i);
        return element("div", { className: "row" }, element("span", { className: "name" }, name), element("small", {}, note));
    });
    return [heading(title), ...rows];
}

function unweighted(mesh) {
    let count = 0;
    for (let i = 0; mesh && i + 1 < mesh.first.length; ++i) {
        count += mesh.first[i] === mesh.first[i + 1] ? 1 : 0;
    }
    return count;
}
