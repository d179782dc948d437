import { formatCount } from "./format.js";
import { canPlay } from "./figure.js";
import { element, iconButton } from "./dom.js";
import { Help } from "./help.js";
import * as ICONS from "./icons.js";
import { Labels } from "./labels.js";
import { Panel } from "./panel.js";
import { Player } from "./player.js";
import { makePlaylist } from "./playlist.js";
import { Stage } from "./stage.js";
import { flipTextures, loadTextures } from "./textures.js";
import { Theme } from "./theme.js";
import { Toolbar } from "./toolbar.js";
import { Transport } from "./transport.js";

const LONG_FRAME = 100; // milliseconds; after a longer one the animation goes on as if it had been so long

// The page: puts its parts together and keeps them in step.
export class App {
    #models;
    #textures;
    #player;
    #stage;
    #labels;
    #theme;
    #toolbar;
    #transport;
    #panel;
    #help;
    #panelHost = document.getElementById("panel");
    #rate = document.getElementById("rate");
    #active = 0; // the file that the panel shows
    #picked; // the node that is picked, by file
    #what;
    #lastTime = 0;
    #frames = 0;
    #rateSince = 0;
    frames = 0; // drawn so far

    constructor(models, pictures) {
        this.#models = models;
        this.#picked = models.map(() => -1);
        this.#textures = loadTextures(pictures, () => this.#stage.redraw());
        this.#player = new Player(makePlaylist(models), () => this.#refresh());
        const host = document.getElementById("stage");
        this.#stage = new Stage(host, models, this.#textures, () => this.#drawLabels());
        this.#labels = new Labels(host);
        document.body.classList.toggle("software", this.#stage.software);
        this.#what = {
            wireframe: false,
            skeleton: models.every((model) => model.pieces.length === 0),
            names: false,
            weights: true,
            sockets: false,
            bounds: false,
            grid: true,
            shadow: !this.#stage.software,
            texture: true,
        };
        this.#addHeader();
        this.#transport = new Transport(document.getElementById("transport"), this.#player);
        this.#panel = new Panel(this.#panelHost, this.#player, models, {
            setLod: (lod) => this.#eachFigure((figure) => figure.setLod(lod)),
            setHidden: (piece, hidden) => this.#change(() => this.#figure.setHidden(piece, hidden)),
            showSet: (set) => this.#showSet(set),
            pick: (node) => this.pick(this.#active, node),
            chooseFile: (index) => this.#chooseFile(index),
            close: () => this.#togglePanel(),
        });
        this.#theme = new Theme(() => this.#applyTheme());
        this.#theme.set(this.#theme.name);
        this.#help = new Help();
        this.#listen(host);
        this.#chooseFile(0);
        this.#applyWhat();
        if (this.#player.entries.length > 0) {
            this.#player.select(0);
        } else {
            this.#refresh();
        }
        this.frame();
        if (this.#player.duration > 0 && !window.matchMedia("(prefers-reduced-motion: reduce)").matches) {
            this.#player.toggle();
        }
        requestAnimationFrame((time) => this.#tick(time));
    }

    get models() {
        return this.#models;
    }

    get player() {
        return this.#player;
    }

    get what() {
        return this.#what;
    }

    get stage() {
        return this.#stage;
    }

    get picked() {
        return this.#picked;
    }

    get #figure() {
        return this.#stage.views[this.#active].figure;
    }

    #addHeader() {
        const bar = document.getElementById("header");
        const names = this.#models.map(({ file }) => file.name);
        const counts = this.#models.map((model) => model.counts(0));
        const sum = (key) => formatCount(counts.reduce((total, each) => total + each[key], 0));
        const nodes = this.#models.reduce((total, model) => total + model.nodes.length, 0);
        bar.append(
            element("h1", {}, names.join("  |  ")),
            element("p", {}, `${sum("tris")} triangles · ${sum("verts")} vertices · ${formatCount(nodes)} nodes`),
            element(
                "nav",
                {},
                iconButton(ICONS.FRAME, "Frame the model", () => this.frame(true), "F"),
                iconButton(ICONS.THEME, "Light or dark", () => this.#theme.toggle(), "D"),
                iconButton(ICONS.HELP, "Help", () => this.#help.open(), "?"),
                iconButton(ICONS.PANEL, "Panel", () => this.#togglePanel(), "P"),
            ),
        );
        const lacks = new Set();
        if (this.#textures.size === 0) {
            lacks.add("texture");
        }
        if (this.#models.every((model) => model.info.sockets.length === 0)) {
            lacks.add("sockets");
        }
        this.#toolbar = new Toolbar(document.getElementById("toolbar"), (name) => this.toggle(name), lacks);
        document.body.classList.toggle("sheet-closed", window.matchMedia("(max-width: 720px)").matches);
        for (const [i, name] of names.entries()) {
            if (names.length > 1) {
                document.getElementById("stage").append(element("span", { className: `caption of-${names.length}`, style: `--file: ${i}` }, name));
            }
        }
    }

    #togglePanel() {
        document.body.classList.toggle("sheet-closed");
    }

    toggle(name) {
        this.#what[name] = !this.#what[name];
        this.#applyWhat();
    }

    #applyWhat() {
        const { colors } = this.#theme;
        for (const [i, view] of this.#stage.views.entries()) {
            const { figure } = view;
            figure.setWireframe(this.#what.wireframe, colors.wire);
            figure.skeleton.group.visible = this.#what.skeleton;
            figure.sockets.lines.visible = this.#what.sockets;
            figure.boxHelper.visible = this.#what.bounds;
            figure.setTextured(this.#what.texture, this.#textures);
            view.grid.lines.visible = this.#what.grid;
            view.setShadow(this.#what.shadow);
            this.#shadeWeights(i);
            figure.skeleton.setPose(figure.matrices);
            figure.sockets.setPose(figure.matrices);
        }
        this.#toolbar.show(this.#what);
        this.#stage.redraw();
    }

    #applyTheme() {
        const { colors } = this.#theme;
        for (const view of this.#stage.views) {
            view.grid.setColors(colors.grid);
        }
        this.#stage.setBackground(colors.stage);
        this.#applyWhat();
    }

    #change(action) {
        action();
        this.#stage.redraw();
    }

    #eachFigure(action) {
        this.#change(() => this.#stage.views.forEach(({ figure }) => action(figure)));
    }

    #chooseFile(index) {
        this.#active = index;
        this.#showPanel();
    }

    #showPanel() {
        this.#panel.show(this.#stage.views[this.#active], this.#active, this.#picked[this.#active]);
    }

    // Picks a node of a file; -1 lets go.
    pick(file, node) {
        this.#picked[file] = node;
        this.#active = file;
        this.#stage.views[file].figure.skeleton.pick(node);
        this.#panel.clearSet();
        this.#shadeWeights(file);
        this.#showPanel();
        this.#stage.redraw();
    }

    #shadeWeights(file) {
        const node = this.#picked[file];
        const shown = this.#what.weights && node >= 0;
        this.#stage.views[file].figure.showShares(shown ? (other) => (other === node ? 1 : 0) : null);
    }

    #showSet(set) {
        const { weightSets } = this.#models[this.#active].info;
        this.#change(() => this.#figure.showShares(set < 0 ? null : (node) => Math.min(weightSets[set].values[node], 1)));
    }

    // Shows all that the animation reaches.
    frame(keepsDirection = false) {
        this.#stage.frame(this.#player.entry?.anims ?? this.#models.map(() => null), keepsDirection);
    }

    #refresh() {
        if (!this.#player.playing) {
            this.#rate.textContent = "";
        }
        this.#stage.adapt(this.#player.playing);
        this.#transport.refresh();
        this.#panel.refreshAnimations();
        this.#pose();
    }

    #pose() {
        const { entry, entries, time, fade, fadeWeight } = this.#player;
        for (const [i, { figure }] of this.#stage.views.entries()) {
            const from = fade ? { anim: entries[fade.from].anims[i], time: fade.time, weight: fadeWeight } : null;
            figure.setPose(entry?.anims[i] ?? null, time, from);
        }
        this.#panel.showPose();
        this.#stage.redraw();
    }

    #tick(now) {
        const elapsed = Math.min(now - this.#lastTime, LONG_FRAME);
        this.#lastTime = now;
        if (this.#player.advance(elapsed)) {
            this.#pose();
            this.#transport.showTime();
        }
        if (this.#stage.draw()) {
            ++this.frames;
            ++this.#frames;
        }
        const SPAN = 1000;
        if (now - this.#rateSince >= SPAN) {
            if (this.#player.playing) {
                const rate = (this.#frames * SPAN) / (now - this.#rateSince);
                this.#rate.textContent = `${Math.round(rate)} fps`;
                this.#stage.adapt(true, rate);
            }
            this.#frames = 0;
            this.#rateSince = now;
        }
        requestAnimationFrame((time) => this.#tick(time));
    }

    #drawLabels() {
        this.#labels?.draw(this.#stage, this.#what, this.#picked, this.#theme.colors);
    }

    #listen(host) {
        const CLICK_SLOP = 5; // pixels that a click may wander
        let down = null;
        host.addEventListener("pointerdown", (event) => {
            down = event.isPrimary && event.button === 0 ? { x: event.clientX, y: event.clientY } : null;
        });
        host.addEventListener("pointerup", (event) => {
            if (down && Math.hypot(event.clientX - down.x, event.clientY - down.y) < CLICK_SLOP) {
                const { left, top } = host.getBoundingClientRect();
                this.#pickAt(event.clientX - left, event.clientY - top);
            }
            down = null;
        });
        const switches = Toolbar.keys();
        const actions = new Map([
            [" ", () => this.#player.toggle()],
            ["ArrowLeft", () => this.#player.step(-1)],
            ["ArrowRight", () => this.#player.step(1)],
            ["ArrowUp", () => this.#player.selectNext(-1)],
            ["ArrowDown", () => this.#player.selectNext(1)],
            ["Home", () => this.#player.seek(0)],
            ["End", () => this.#player.seek(Infinity)],
            ["[", () => this.#transport.changeSpeed(-1)],
            ["]", () => this.#transport.changeSpeed(1)],
            ["l", () => this.#transport.nextMode()],
            ["f", () => this.frame(true)],
            ["p", () => this.#togglePanel()],
            ["d", () => this.#theme.toggle()],
            ["v", () => this.#change(() => flipTextures(this.#textures))],
            ["Escape", () => this.pick(this.#active, -1)],
            ["?", () => this.#help.open()],
        ]);
        window.addEventListener("keydown", (event) => {
            const busy = event.ctrlKey || event.metaKey || event.altKey || document.querySelector("dialog[open]");
            const at = event.target instanceof Element ? event.target : document.body;
            if (busy || at.closest("input, select, summary")) {
                return;
            }
            const key = event.key.length === 1 ? event.key.toLowerCase() : event.key;
            const onButton = at.closest("button") && key === " ";
            const action = onButton ? null : (actions.get(key) ?? (switches.has(key) ? () => this.toggle(switches.get(key)) : null));
            if (action) {
                event.preventDefault();
                action();
            }
        });
    }

    #pickAt(x, y) {
        const view = this.#stage.viewAt(x, y);
        if (view) {
            this.pick(this.#stage.views.indexOf(view), view.pick(x, y, this.#stage.camera));
        }
    }

    // The matrices of a file's nodes at a time of an animation, 12 numbers each, in model space; null without such an
    // animation.
    matricesAt(file, name, time) {
        const anim = this.#models[file].findAnim(name);
        if (!canPlay(anim)) {
            return null;
        }
        const matrices = new Float64Array(12 * this.#models[file].nodes.length);
        this.#stage.views[file].figure.evaluate(anim, time, null, matrices);
        return [...matrices];
    }
}
