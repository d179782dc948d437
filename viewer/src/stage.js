import * as THREE from "three";
import { OrbitControls } from "three/addons/controls/OrbitControls.js";
import { View } from "./view.js";

const FIELD_OF_VIEW = 32;
const DIRECTION = new THREE.Vector3(0.62, 0.34, 1).normalize(); // from the figure to the camera, at first

// The canvas: views side by side that share one camera.
export class Stage {
    #renderer;
    #host;
    #controls;
    // Pixels of the canvas for each of the page: when nothing moves, at most while something does, and now. A processor
    // draws what stands still with more of them in place of smoothed edges.
    #stillRatio;
    #fullRatio;
    #movingRatio;
    #playing = false;
    #dragged = false;
    #needed = true;
    #moved;

    constructor(host, models, textures, moved) {
        this.#host = host;
        this.#moved = moved;
        this.software = isSoftware();
        this.views = models.map((model) => new View(model, textures, this.software));
        this.canvas = document.createElement("canvas");
        // Opaque: what lies below needn't be mixed in at every frame.
        const context = this.canvas.getContext("webgl2", {
            alpha: false,
            antialias: !this.software,
            powerPreference: "high-performance",
        });
        this.#renderer = new THREE.WebGLRenderer({ canvas: this.canvas, context });
        const ratio = Math.min(window.devicePixelRatio, 2);
        this.#stillRatio = this.software ? 2 : ratio;
        this.#fullRatio = this.software ? 1 : ratio;
        this.#movingRatio = this.#fullRatio;
        this.#renderer.setPixelRatio(this.#movingRatio);
        this.#renderer.toneMapping = THREE.NeutralToneMapping;
        this.#renderer.shadowMap.enabled = true;
        this.#renderer.shadowMap.type = THREE.PCFShadowMap;
        this.#renderer.setScissorTest(true);
        this.canvas.setAttribute("aria-label", "The model");
        this.canvas.tabIndex = 0;
        host.prepend(this.canvas);
        this.camera = new THREE.PerspectiveCamera(FIELD_OF_VIEW, 1, 0.01, 1000);
        this.#controls = new OrbitControls(this.camera, this.canvas);
        this.#controls.enableDamping = true;
        this.#controls.dampingFactor = 0.12;
        this.#controls.addEventListener("change", () => this.redraw());
        this.#controls.addEventListener("start", () => this.#drag(true));
        this.#controls.addEventListener("end", () => this.#drag(false));
        new ResizeObserver(() => this.resize()).observe(host);
        this.resize();
    }

    redraw() {
        this.#needed = true;
    }

    resize() {
        const { clientWidth: width, clientHeight: height } = this.#host;
        if (width === 0 || height === 0) {
            return;
        }
        this.#renderer.setSize(width, height);
        const stacked = height > width;
        const count = this.views.length;
        this.#host.classList.toggle("stacked", stacked);
        for (const [i, view] of this.views.entries()) {
            view.rectangle = stacked
                ? { x: 0, y: (height * i) / count, width, height: height / count }
                : { x: (width * i) / count, y: 0, width: width / count, height };
        }
        const { rectangle } = this.views[0];
        this.camera.aspect = rectangle.width / rectangle.height;
        this.camera.updateProjectionMatrix();
        this.redraw();
    }

    // Says whether an animation plays, and at how many frames a second, if that is known: where they are too few, there
    // are fewer pixels.
    adapt(playing, rate = null) {
        const [SLOW, FAST, STEP, LEAST] = [24, 55, 0.75, 0.5];
        this.#playing = playing;
        if (rate !== null && rate < SLOW) {
            this.#movingRatio = Math.max(this.#movingRatio * STEP, LEAST);
        } else if (rate !== null && rate > FAST) {
            this.#movingRatio = Math.min(this.#movingRatio / STEP, this.#fullRatio);
        }
        const ratio = this.#playing || this.#dragged ? this.#movingRatio : this.#stillRatio;
        if (ratio !== this.#renderer.getPixelRatio()) {
            this.#renderer.setPixelRatio(ratio);
            this.redraw();
        }
    }

    #drag(dragged) {
        this.#dragged = dragged;
        this.adapt(this.#playing);
    }

    // Shows what the animations, one for each view, reach.
    frame(anims, keepsDirection = false) {
        const box = new THREE.Box3();
        for (const [i, view] of this.views.entries()) {
            box.union(view.reach(anims[i]));
        }
        if (!Number.isFinite(box.min.x + box.max.x)) {
            box.set(new THREE.Vector3(-1, -1, -1), new THREE.Vector3(1, 1, 1));
        }
        const target = box.getCenter(new THREE.Vector3());
        const direction = keepsDirection
            ? this.camera.position.clone().sub(this.#controls.target).normalize()
            : DIRECTION.clone();
        const distance = this.#distanceFor(box, target, direction);
        this.#controls.target.copy(target);
        this.camera.position.copy(target).addScaledVector(direction, distance);
        this.#controls.minDistance = distance / 200;
        this.#controls.maxDistance = distance * 20;
        this.#controls.update();
        this.redraw();
    }

    // How far off the camera sees all corners of the box, with room around them.
    #distanceFor(box, target, direction) {
        const MARGIN = 1.16;
        const right = new THREE.Vector3(0, 1, 0).cross(direction).normalize();
        const up = direction.clone().cross(right);
        const tall = Math.tan((FIELD_OF_VIEW * Math.PI) / 360) / MARGIN;
        const wide = tall * this.camera.aspect;
        let distance = 1e-4;
        for (let corner = 0; corner < 8; ++corner) {
            const point = new THREE.Vector3(
                corner & 1 ? box.max.x : box.min.x,
                corner & 2 ? box.max.y : box.min.y,
                corner & 4 ? box.max.z : box.min.z,
            ).sub(target);
            const near = point.dot(direction);
            distance = Math.max(
                distance,
                near + Math.abs(point.dot(right)) / wide,
                near + Math.abs(point.dot(up)) / tall,
            );
        }
        return distance;
    }

    viewAt(x, y) {
        return this.views.find((view) => view.contains(x, y)) ?? null;
    }

    setBackground(color) {
        for (const view of this.views) {
            view.scene.background = new THREE.Color(color);
        }
        this.redraw();
    }

    // Draws if something has changed; true if it did.
    draw() {
        this.#controls.update();
        if (!this.#needed) {
            return false;
        }
        this.#needed = false;
        const { camera } = this;
        const distance = camera.position.distanceTo(this.#controls.target);
        const radius = Math.max(...this.views.map((view) => view.radius));
        camera.near = Math.max((distance - 3 * radius) / 4, distance / 100);
        camera.far = distance + 40 * radius;
        camera.updateProjectionMatrix();
        const height = this.#host.clientHeight;
        for (const { rectangle, scene } of this.views) {
            const bottom = height - rectangle.y - rectangle.height;
            this.#renderer.setViewport(rectangle.x, bottom, rectangle.width, rectangle.height);
            this.#renderer.setScissor(rectangle.x, bottom, rectangle.width, rectangle.height);
            this.#renderer.render(scene, camera);
        }
        this.#moved();
        return true;
    }
}

// True where WebGL is drawn by the processor.
function isSoftware() {
    const gl = document.createElement("canvas").getContext("webgl2");
    const extension = gl?.getExtension("WEBGL_debug_renderer_info");
    const name = extension ? String(gl.getParameter(extension.UNMASKED_RENDERER_WEBGL)) : "";
    gl?.getExtension("WEBGL_lose_context")?.loseContext();
    return /swiftshader|llvmpipe|softpipe|software|basic render/i.test(name);
}
