import { element } from "./dom.js";
import { formatCount, formatLength } from "./format.js";

const MOST_ROWS = 600; // a longer list is searched, not scrolled

// The node tree of a file, and what there is to say of the node that is picked.
export class NodeList {
    #host;
    #place = element("span");
    #pick;
    #view = null;
    #list = element("ul", { className: "list tree", role: "tree", "aria-label": "Nodes" });
    #details = element("div", { className: "details" });
    #search = element("input", { type: "search", placeholder: "Search nodes", "aria-label": "Search nodes" });
    #picked = -1;

    constructor(host, pick) {
        this.#host = host;
        this.#pick = pick;
        this.#search.addEventListener("input", () => this.#fill());
        host.append(this.#search, this.#details, this.#list);
    }

    show(view, picked) {
        if (view !== this.#view) {
            this.#view = view;
            this.#fill();
        }
        if (picked !== this.#picked) {
            this.#picked = picked;
            this.#mark();
        }
        this.#showDetails();
    }

    #fill() {
        const { model } = this.#view;
        const wanted = this.#search.value.toLowerCase();
        const depths = [];
        const found = [];
        for (const [i, { name, parent }] of model.nodes.entries()) {
            depths[i] = parent < 0 ? 0 : depths[parent] + 1;
            if (name.toLowerCase().includes(wanted)) {
                found.push(i);
            }
        }
        this.#list.replaceChildren(
            ...found.slice(0, MOST_ROWS).map((i) =>
                element(
                    "li",
                    {
                        role: "treeitem",
                        tabIndex: 0,
                        "aria-level": String(depths[i] + 1),
                        style: `--depth: ${wanted ? 0 : Math.min(depths[i], 14)}`,
                        data: { node: String(i) },
                        onclick: () => this.#pick(i === this.#picked ? -1 : i),
                        onkeydown: (event) => event.key === "Enter" && this.#pick(i),
                    },
                    element("span", { className: "name" }, model.nodes[i].name || "(no name)"),
                ),
            ),
        );
        if (found.length > MOST_ROWS) {
            this.#list.append(element("li", { className: "note" }, `${formatCount(found.length - MOST_ROWS)} more: search`));
        }
        this.#mark();
    }

    #mark() {
        for (const row of this.#list.children) {
            const on = Number(row.dataset.node) === this.#picked;
            row.setAttribute("aria-selected", String(on));
            if (on && !this.#host.hidden) {
                row.scrollIntoView({ block: "nearest" });
            }
        }
    }

    #showDetails() {
        const { model, figure } = this.#view;
        const i = this.#picked;
        this.#details.hidden = i < 0 || i >= model.nodes.length;
        if (this.#details.hidden) {
            return;
        }
        const { name, parent, flags } = model.nodes[i];
        const notes = [flags & 1 ? "may be removed" : "", flags & 2 ? "fixed in its parent" : ""].filter(Boolean);
        const weighted = figure.countWeighted(i);
        const rows = [
            ["Node", `${i}, ${name || "no name"}`],
            ["Parent", parent < 0 ? "none" : `${parent}, ${model.nodes[parent].name}`],
            ["Place", this.#place],
            ["Vertices", `${formatCount(weighted)} with a weight`],
            ["Flags", notes.join(", ") || "none"],
        ];
        this.showPlace();
        this.#details.replaceChildren(...rows.flatMap(([key, value]) => [element("dt", {}, key), element("dd", {}, value)]));
    }

    // The pose has changed.
    showPlace() {
        if (this.#picked >= 0) {
            this.#place.textContent = this.#view.nodePlace(this.#picked).toArray().map(formatLength).join("  ");
        }
    }
}
