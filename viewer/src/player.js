// The clock of the page: which animation is on, at what time, how fast, and what comes at its end. Times are in
// milliseconds. It knows animations by their names alone; files that share one show it in step.
export const LOOP = "loop"; // over and over
export const ONCE = "once";
export const NEXT = "next"; // on to the next animation, and from the last to the first
export const MODES = [LOOP, ONCE, NEXT];

export class Player {
    #entries; // { name, duration, times }
    #changed;

    constructor(entries, changed) {
        this.#entries = entries;
        this.#changed = changed;
        this.current = -1; // the bind pose
        this.time = 0;
        this.playing = false;
        this.speed = 1;
        this.mode = LOOP;
        this.fadeTime = 250;
        this.fade = null; // { from, time, done }: the animation that goes, its time, and how long it has been going
    }

    get entries() {
        return this.#entries;
    }

    get entry() {
        return this.#entries[this.current] ?? null;
    }

    get duration() {
        return this.entry?.duration ?? 0;
    }

    select(index, fades = true) {
        if (index === this.current) {
            return;
        }
        this.fade =
            fades && this.fadeTime > 0 && this.current >= 0 && index >= 0
                ? { from: this.current, time: this.time, done: 0 }
                : null;
        this.current = index;
        this.time = 0;
        this.#changed();
    }

    selectNext(step) {
        const count = this.#entries.length;
        if (count > 0) {
            this.select((Math.max(this.current, step < 0 ? 0 : -1) + step + count) % count);
        }
    }

    toggle() {
        if (!this.entry || (this.duration === 0 && !this.playing)) {
            return;
        }
        this.playing = !this.playing;
        if (this.playing && this.mode === ONCE && this.time >= this.duration) {
            this.time = 0;
        }
        this.#changed();
    }

    // Ends playing and fading, and goes to a time.
    seek(time) {
        this.playing = false;
        this.fade = null;
        this.time = Math.min(Math.max(time, 0), this.duration);
        this.#changed();
    }

    // To the key before or behind the time.
    step(direction) {
        const times = this.entry?.times ?? [];
        const EPSILON = 1e-6;
        const target =
            direction > 0
                ? times.find((time) => time > this.time + EPSILON)
                : times.findLast((time) => time < this.time - EPSILON);
        this.seek(target ?? (direction > 0 ? 0 : this.duration));
    }

    setSpeed(speed) {
        this.speed = speed;
        this.#changed();
    }

    setMode(mode) {
        this.mode = mode;
        this.#changed();
    }

    setFadeTime(time) {
        this.fadeTime = time;
        this.#changed();
    }

    // How far the fade has come, 0 to 1; 1 without one.
    get fadeWeight() {
        if (!this.fade) {
            return 1;
        }
        const t = Math.min(this.fade.done / this.fadeTime, 1);
        return t * t * (3 - 2 * t);
    }

    // Goes on by so many real milliseconds; true if the pose has changed.
    advance(elapsed) {
        const fades = this.fade !== null;
        if (fades) {
            this.#advanceFade(elapsed);
        }
        if (!this.playing) {
            return fades;
        }
        this.time += elapsed * this.speed;
        if (this.time >= this.duration) {
            this.#end();
        }
        return true;
    }

    #advanceFade(elapsed) {
        const { fade } = this;
        const duration = this.#entries[fade.from].duration;
        fade.done += elapsed;
        fade.time += elapsed * this.speed;
        if (fade.time > duration) {
            fade.time = this.mode === LOOP && duration > 0 ? fade.time % duration : duration;
        }
        if (fade.done >= this.fadeTime) {
            this.fade = null;
        }
    }

    #end() {
        const over = this.time - this.duration;
        if (this.mode === LOOP && this.duration > 0) {
            this.time = over % this.duration;
            return;
        }
        this.time = this.duration; // what goes fades out from its end
        if (this.mode === NEXT && this.#entries.length > 1) {
            this.selectNext(1);
            this.time = Math.min(over, this.duration);
        } else {
            this.playing = false;
            this.#changed();
        }
    }
}
