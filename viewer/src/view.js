import * as THREE from "three";
import { Figure } from "./figure.js";
import { Grid } from "./grid.js";

function radiusOf(box) {
    const radius = box.getSize(new THREE.Vector3()).length() / 2;
    return radius > 0 && Number.isFinite(radius) ? radius : 1;
}

// One figure with its floor and its light, in a part of the canvas.
export class View {
    #floor;
    #key;

    constructor(model, textures, plain) {
        this.model = model;
        this.scene = new THREE.Scene();
        this.figure = new Figure(model, textures, plain);
        this.scene.add(this.figure.group);
        this.rectangle = { x: 0, y: 0, width: 1, height: 1 }; // in CSS pixels, from the top left
        const SOME = 6; // animations tell enough of how far the model reaches
        const box = this.reach(null);
        const size = radiusOf(box);
        for (const anim of model.anims.slice(0, SOME)) {
            box.union(this.reach(anim));
        }
        this.radius = radiusOf(box);
        this.grid = new Grid(size);
        this.scene.add(this.grid.lines);
        this.figure.skeleton.setSize(size * 0.011);
        this.figure.sockets.setSize(size * 0.16);
        this.#addLights(box);
    }

    #addLights(box) {
        const { radius } = this;
        const centre = box.getCenter(new THREE.Vector3());
        this.hemisphere = new THREE.HemisphereLight(0xffffff, 0x9498a0, 1.9);
        this.#key = new THREE.DirectionalLight(0xfff4e6, 2.3);
        const rim = new THREE.DirectionalLight(0xcfe0ff, 0.7);
        this.#key.target.position.copy(centre);
        rim.target.position.copy(centre);
        this.#key.position.copy(centre).add(new THREE.Vector3(0.9, 1.7, 1.2).multiplyScalar(2 * radius));
        rim.position.copy(centre).add(new THREE.Vector3(-1.2, 0.8, -1.4).multiplyScalar(2 * radius));
        const { shadow } = this.#key;
        shadow.mapSize.set(2048, 2048);
        shadow.radius = 5;
        shadow.normalBias = radius * 0.01;
        Object.assign(shadow.camera, {
            left: -1.3 * radius,
            right: 1.3 * radius,
            top: 1.3 * radius,
            bottom: -1.3 * radius,
            near: radius * 0.5,
            far: radius * 8,
        });
        this.#floor = new THREE.Mesh(
            new THREE.PlaneGeometry(40 * radius, 40 * radius).rotateX(-Math.PI / 2),
            new THREE.ShadowMaterial({ opacity: 0.22, depthWrite: false }),
        );
        this.#floor.position.y = -radius * 0.0005;
        this.#floor.receiveShadow = true;
        this.#floor.renderOrder = -2;
        this.scene.add(this.hemisphere, this.#key, this.#key.target, rim, rim.target, this.#floor);
        this.setShadow(false);
    }

    setShadow(on) {
        this.#key.castShadow = on;
        this.#floor.visible = on;
    }

    // The box of an animation in the scene's space.
    reach(anim) {
        const [minX, minY, minZ, maxX, maxY, maxZ] = this.figure.reach(anim);
        return new THREE.Box3(new THREE.Vector3(minX, minY, -maxZ), new THREE.Vector3(maxX, maxY, -minZ));
    }

    // Where a node stands in the scene's space.
    nodePlace(node, out = new THREE.Vector3()) {
        const m = this.figure.matrices;
        return out.set(m[12 * node + 3], m[12 * node + 7], -m[12 * node + 11]);
    }

    // A point of the scene in CSS pixels of the whole canvas; null behind the camera.
    toScreen(point, camera) {
        const p = point.clone().project(camera);
        if (p.z > 1 || p.z < -1) {
            return null;
        }
        const { x, y, width, height } = this.rectangle;
        return { x: x + ((p.x + 1) / 2) * width, y: y + ((1 - p.y) / 2) * height };
    }

    contains(x, y) {
        const { rectangle } = this;
        return (
            x >= rectangle.x &&
            y >= rectangle.y &&
            x < rectangle.x + rectangle.width &&
            y < rectangle.y + rectangle.height
        );
    }

    // The node that is meant at a place of the canvas, or -1: a joint nearby if the skeleton is on, else the node that
    // the surface there follows.
    pick(x, y, camera) {
        const NEARBY = 14;
        if (this.figure.skeleton.group.visible) {
            let best = -1;
            let least = NEARBY;
            for (let i = 0; i < this.model.nodes.length; ++i) {
                const place = this.toScreen(this.nodePlace(i), camera);
                const distance = place ? Math.hypot(place.x - x, place.y - y) : Infinity;
                if (distance < least) {
                    least = distance;
                    best = i;
                }
            }
            if (best >= 0) {
                return best;
            }
        }
        const { rectangle } = this;
        const pointer = new THREE.Vector2(
            ((x - rectangle.x) / rectangle.width) * 2 - 1,
            1 - ((y - rectangle.y) / rectangle.height) * 2,
        );
        const ray = new THREE.Raycaster();
        ray.setFromCamera(pointer, camera);
        const [hit] = ray.intersectObjects(this.figure.solids, false);
        return hit ? this.figure.nodeOfTriangle(hit.object.userData.mesh, hit.faceIndex) : -1;
    }
}
