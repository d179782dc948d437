import { element } from "./dom.js";
import { formatTime } from "./format.js";

const SEARCH_FROM = 10; // so many animations ask for a search

// The animations of all files, and the bind pose.
export class AnimationList {
    #player;
    #rows = new Map();
    #list = element("ul", { className: "list", role: "listbox", "aria-label": "Animations" });

    constructor(host, player) {
        this.#player = player;
        if (player.entries.length >= SEARCH_FROM) {
            const search = element("input", { type: "search", placeholder: "Search animations", "aria-label": "Search animations" });
            search.addEventListener("input", () => this.#filter(search.value));
            host.append(search);
        }
        host.append(this.#list);
        for (const [index, entry] of player.entries.entries()) {
            const counts = `${entry.times.length} ${entry.times.length === 1 ? "key" : "keys"}`;
            this.#add(index, entry.name || "(no name)", [formatTime(entry.duration), counts, entry.note]);
        }
        this.#add(-1, "Bind pose", ["as the mesh was modelled"]);
    }

    #add(index, name, notes) {
        const row = element(
            "li",
            { role: "option", tabIndex: 0, data: { anim: String(index) } },
            element("span", { className: "name" }, name),
            element("small", {}, notes.filter(Boolean).join(" · ")),
        );
        const choose = () => {
            this.#player.select(index);
            if (index >= 0 && !this.#player.playing && this.#player.duration > 0) {
                this.#player.toggle();
            }
        };
        row.addEventListener("click", choose);
        row.addEventListener("keydown", (event) => {
            if (event.key === "Enter") {
                choose();
            }
        });
        this.#rows.set(index, row);
        this.#list.append(row);
    }

    #filter(text) {
        for (const row of this.#rows.values()) {
            row.hidden = !row.textContent.toLowerCase().includes(text.toLowerCase());
        }
    }

    refresh() {
        for (const [index, row] of this.#rows) {
            row.setAttribute("aria-selected", String(index === this.#player.current));
        }
    }
}
