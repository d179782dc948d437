import { element, iconButton, icon } from "./dom.js";
import { formatTime } from "./format.js";
import * as ICONS from "./icons.js";
import { LOOP, MODES, NEXT, ONCE } from "./player.js";
import { Timeline } from "./timeline.js";

const SPEEDS = [0.1, 0.25, 0.5, 1, 1.5, 2, 4];
const FADES = [0, 100, 250, 500, 1000];
const MODE_LOOKS = {
    [LOOP]: [ICONS.LOOP, "Loop"],
    [ONCE]: [ICONS.ONCE, "Play once"],
    [NEXT]: [ICONS.NEXT, "All in turn"],
};

// The bar with the buttons of a tape recorder, the time, and the timeline.
export class Transport {
    #player;
    #play;
    #mode;
    #time = element("output", { className: "time", "aria-live": "off" });
    #speed;
    #fade;
    #timeline;

    constructor(host, player) {
        this.#player = player;
        this.#timeline = new Timeline(player);
        this.#play = iconButton(ICONS.PLAY, "Play", () => player.toggle(), "space");
        this.#play.classList.add("play");
        this.#mode = iconButton(ICONS.LOOP, "Loop", () => this.nextMode(), "L");
        this.#speed = choice("Speed", SPEEDS, (speed) => `${speed}×`, (speed) => player.setSpeed(speed));
        this.#fade = choice(
            "Crossfade",
            FADES,
            (time) => (time === 0 ? "no fade" : `fade ${time / 1000} s`),
            (time) => player.setFadeTime(time),
        );
        host.append(
            element(
                "div",
                { className: "buttons" },
                iconButton(ICONS.BACK, "Key before", () => player.step(-1), "←"),
                this.#play,
                iconButton(ICONS.FORWARD, "Next key", () => player.step(1), "→"),
            ),
            this.#timeline.element,
            this.#time,
            element("div", { className: "choices" }, this.#speed, this.#fade, this.#mode),
        );
    }

    nextMode() {
        this.#player.setMode(MODES[(MODES.indexOf(this.#player.mode) + 1) % MODES.length]);
    }

    // One speed up or down.
    changeSpeed(direction) {
        const index = SPEEDS.indexOf(this.#player.speed) + direction;
        this.#player.setSpeed(SPEEDS[Math.min(Math.max(index, 0), SPEEDS.length - 1)]);
    }

    // After any change of the player but its time.
    refresh() {
        const { mode, playing, speed, fadeTime, entry, duration } = this.#player;
        setIcon(this.#play, playing ? ICONS.PAUSE : ICONS.PLAY, playing ? "Pause" : "Play");
        this.#play.disabled = !entry || duration === 0;
        setIcon(this.#mode, ...MODE_LOOKS[mode]);
        this.#speed.value = String(speed);
        this.#fade.value = String(fadeTime);
        this.#timeline.refresh();
        this.showTime();
    }

    showTime() {
        const { time, duration, entry } = this.#player;
        const key = entry ? entry.times.findLastIndex((each) => each <= time + 1e-6) : 0;
        this.#time.replaceChildren(
            element("b", {}, formatTime(time)),
            element("span", {}, ` / ${formatTime(duration)}`),
            element("small", {}, entry ? `key ${key} of ${entry.times.length - 1}` : "bind pose"),
        );
        this.#timeline.showTime();
    }
}

function setIcon(button, path, label) {
    if (button.getAttribute("aria-label") !== label) {
        button.setAttribute("aria-label", label);
        button.title = button.title.replace(/^[^(]*/, `${label} `);
        button.replaceChildren(icon(path));
    }
}

function choice(label, values, text, take) {
    const select = element(
        "select",
        { "aria-label": label, title: label },
        values.map((value) => element("option", { value: String(value) }, text(value))),
    );
    select.addEventListener("change", () => {
        take(Number(select.value));
        select.blur();
    });
    return select;
}
