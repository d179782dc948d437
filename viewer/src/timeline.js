import { element } from "./dom.js";
import { formatTime } from "./format.js";

const MOST_TICKS = 400;

// A bar over the length of the animation with a tick for each key and a flag where a key has a command; it is scrubbed
// by pointer and by keyboard.
export class Timeline {
    #player;
    #ticks = element("div", { className: "ticks" });
    #done = element("div", { className: "done" });
    #knob = element("div", { className: "knob" });
    #shown = null;

    constructor(player) {
        this.#player = player;
        this.element = element(
            "div",
            {
                className: "timeline",
                role: "slider",
                tabIndex: 0,
                "aria-label": "Time in the animation",
                "aria-valuemin": "0",
            },
            element("div", { className: "track" }, this.#done),
            this.#ticks,
            this.#knob,
        );
        this.element.addEventListener("pointerdown", (event) => {
            this.element.setPointerCapture(event.pointerId);
            this.#scrub(event);
        });
        this.element.addEventListener("pointermove", (event) => {
            if (this.element.hasPointerCapture(event.pointerId)) {
                this.#scrub(event);
            }
        });
    }

    #scrub(event) {
        const { left, width } = this.element.getBoundingClientRect();
        this.#player.seek(((event.clientX - left) / width) * this.#player.duration);
    }

    refresh() {
        const { entry, duration } = this.#player;
        if (entry === this.#shown) {
            return;
        }
        this.#shown = entry;
        this.element.setAttribute("aria-valuemax", String(duration));
        this.element.classList.toggle("empty", duration === 0);
        const times = entry && duration > 0 && entry.times.length <= MOST_TICKS ? entry.times : [];
        const flags = entry && duration > 0 ? entry.commands : [];
        const at = (time) => `left: ${(100 * time) / duration}%`;
        this.#ticks.replaceChildren(
            ...times.map((time) => element("i", { style: at(time) })),
            ...flags.map(({ time, text }) =>
                element("b", { style: at(time), title: `${formatTime(time)}: ${text}` }),
            ),
        );
    }

    showTime() {
        const { time, duration } = this.#player;
        const part = duration > 0 ? (100 * time) / duration : 0;
        this.#done.style.width = `${part}%`;
        this.#knob.style.left = `${part}%`;
        this.element.setAttribute("aria-valuenow", String(Math.round(time)));
        this.element.setAttribute("aria-valuetext", formatTime(time));
    }
}
