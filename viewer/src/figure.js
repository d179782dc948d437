import * as THREE from "three";
import { blendLocals, bindMatrices, composeMatrices, evaluateLocals, newLocals, newMatrices } from "./pose.js";
import { Skeleton } from "./skeleton.js";
import { Skin, emptyBox } from "./skin.js";
import { heatColor } from "./heat.js";
import { SocketAxes } from "./socketaxes.js";

// Clay in a few tints, so that neighbouring pieces stand apart.
const TINTS = ["#d6cfc4", "#c3ccd6", "#d4bfae", "#bfcdbb", "#cabdd0", "#d5caa6"];

// A model as objects of a scene. They stand in a group that mirrors them in z, so that the page shows the scene that
// the model was made from.
export class Figure {
    #pose;
    #other;
    #skin;
    #meshes = [];
    #wireMaterial = new THREE.MeshBasicMaterial({ wireframe: true, transparent: true, opacity: 0.45 });
    #heatMaterial = new THREE.MeshLambertMaterial({ vertexColors: true });
    #shadeHeat = null;
    #plain;

    // plain: with a material that is quick to draw
    constructor(model, textures, plain) {
        this.model = model;
        this.#plain = plain;
        this.group = new THREE.Group();
        this.group.scale.z = -1;
        this.matrices = newMatrices(model);
        this.box = emptyBox();
        this.lod = 0;
        this.hidden = new Set(); // indices of pieces
        this.#pose = newLocals(model);
        this.#other = newLocals(model);
        this.#skin = new Skin(model);
        for (const [index, piece] of model.pieces.entries()) {
            this.#meshes.push(piece.meshes.map((mesh) => this.#addMesh(mesh, piece, index, textures)));
        }
        this.skeleton = new Skeleton(model);
        this.sockets = new SocketAxes(model);
        this.boxHelper = new THREE.Box3Helper(new THREE.Box3(), 0x6ea0ff);
        this.boxHelper.visible = false;
        this.group.add(this.skeleton.group, this.sockets.lines, this.boxHelper);
        this.#showMeshes();
        this.setPose(null, 0);
    }

    #addMesh(mesh, piece, index, textures) {
        const geometry = new THREE.BufferGeometry();
        const count = mesh.sources.length;
        const dynamic = () => new THREE.BufferAttribute(new Float32Array(3 * count), 3).setUsage(THREE.DynamicDrawUsage);
        geometry.setAttribute("position", dynamic());
        geometry.setAttribute("normal", dynamic());
        geometry.setAttribute("uv", new THREE.BufferAttribute(mesh.uvs, 2));
        geometry.setIndex(new THREE.BufferAttribute(mesh.indices, 1));
        const texture = textures.get(piece.texture) ?? null;
        const Material = this.#plain ? THREE.MeshLambertMaterial : THREE.MeshStandardMaterial;
        const material = new Material({
            color: texture ? 0xffffff : TINTS[index % TINTS.length],
            map: texture,
            alphaTest: texture ? 0.5 : 0,
            ...(this.#plain ? {} : { roughness: 0.72 }),
            polygonOffset: true,
            polygonOffsetFactor: 1,
            polygonOffsetUnits: 1,
        });
        const solid = new THREE.Mesh(geometry, material);
        const wire = new THREE.Mesh(geometry, this.#wireMaterial);
        for (const object of [solid, wire]) {
            object.frustumCulled = false;
            object.visible = false;
            this.group.add(object);
        }
        solid.castShadow = true;
        solid.receiveShadow = true;
        solid.userData = { mesh };
        return { mesh, solid, wire, material };
    }

    // The meshes that are shown.
    #shown() {
        return this.#meshes
            .filter((lods, index) => lods.length > 0 && !this.hidden.has(index))
            .map((lods) => lods[Math.min(this.lod, lods.length - 1)]);
    }

    get solids() {
        return this.#shown().map((part) => part.solid);
    }

    #showMeshes() {
        for (const part of this.#meshes.flat()) {
            part.solid.visible = part.wire.visible = false;
        }
        for (const part of this.#shown()) {
            part.solid.visible = true;
            part.wire.visible = this.wireframe === true;
        }
        if (this.#shadeHeat) {
            this.showShares(this.#shadeHeat);
        }
    }

    setWireframe(on, color) {
        this.wireframe = on;
        this.#wireMaterial.color.set(color);
        this.#showMeshes();
    }

    setLod(lod) {
        this.lod = lod;
        this.#showMeshes();
        this.#deform();
    }

    setHidden(index, hidden) {
        if (hidden) {
            this.hidden.add(index);
        } else {
            this.hidden.delete(index);
        }
        this.#showMeshes();
        this.#deform();
    }

    setTextured(on, textures) {
        for (const [index, lods] of this.#meshes.entries()) {
            for (const { material } of lods) {
                const texture = on ? (textures.get(this.model.pieces[index].texture) ?? null) : null;
                material.map = texture;
                material.color.set(texture ? 0xffffff : TINTS[index % TINTS.length]);
                material.alphaTest = texture ? 0.5 : 0;
                material.needsUpdate = true;
            }
        }
    }

    // Poses the figure at a time of an animation; null is the bind pose. `fade`: { anim, time, weight }, the animation
    // that goes, and how far the first one has come.
    setPose(anim, time, fade = null) {
        this.evaluate(anim, time, fade, this.matrices);
        this.#deform();
    }

    evaluate(anim, time, fade, matrices) {
        const { model } = this;
        if (!canPlay(anim)) {
            bindMatrices(model, matrices);
            return;
        }
        if (fade && canPlay(fade.anim)) {
            evaluateLocals(model, fade.anim, fade.time, this.#pose);
            evaluateLocals(model, anim, time, this.#other);
            blendLocals(this.#pose, this.#other, fade.weight);
        } else {
            evaluateLocals(model, anim, time, this.#pose);
        }
        composeMatrices(model, this.#pose, matrices);
    }

    #deform() {
        const { box } = this;
        box.splice(0, 6, ...emptyBox());
        this.#skin.setPose(this.matrices);
        for (const { mesh, solid } of this.#shown()) {
            const { position, normal } = solid.geometry.attributes;
            this.#skin.deform(mesh, this.matrices, position.array, normal.array, box);
            position.needsUpdate = true;
            normal.needsUpdate = true;
            solid.geometry.boundingSphere = null; // a ray asks for it
        }
        if (box[0] > box[3]) {
            this.#addJoints(this.matrices, box);
        }
        this.boxHelper.box.min.fromArray(box, 0);
        this.boxHelper.box.max.fromArray(box, 3);
        this.skeleton.setPose(this.matrices);
        this.sockets.setPose(this.matrices);
    }

    #addJoints(matrices, box) {
        for (let i = 0; i < this.model.nodes.length; ++i) {
            for (let k = 0; k < 3; ++k) {
                box[k] = Math.min(box[k], matrices[12 * i + 4 * k + 3]);
                box[3 + k] = Math.max(box[3 + k], matrices[12 * i + 4 * k + 3]);
            }
        }
    }

    // What an animation reaches, from some moments of it, in model space; null is the bind pose. Without vertices the
    // box of the joints.
    reach(anim) {
        const SAMPLES = 12;
        const box = emptyBox();
        const matrices = newMatrices(this.model);
        const last = canPlay(anim) ? anim.times[anim.count - 1] : 0;
        const parts = this.#shown();
        const most = Math.max(0, ...parts.map(({ mesh }) => mesh.positions.length));
        const positions = new Float32Array(most);
        for (let i = 0; i < (last > 0 ? SAMPLES : 1); ++i) {
            this.evaluate(anim, (last * i) / (SAMPLES - 1), null, matrices);
            for (const { mesh } of parts) {
                this.#skin.deformPositions(mesh, matrices, positions, box);
            }
            if (most === 0) {
                this.#addJoints(matrices, box);
            }
        }
        return box;
    }

    // Colours each vertex by the share that shareOf(node) lets its weights have; null ends that.
    showShares(shareOf) {
        this.#shadeHeat = shareOf;
        for (const part of this.#meshes.flat()) {
            part.solid.material = shareOf ? this.#heatMaterial : part.material;
        }
        if (!shareOf) {
            return;
        }
        for (const { mesh, solid } of this.#shown()) {
            let colors = solid.geometry.attributes.color;
            if (!colors) {
                colors = new THREE.BufferAttribute(new Float32Array(3 * mesh.sources.length), 3);
                solid.geometry.setAttribute("color", colors);
            }
            for (let i = 0; i < mesh.sources.length; ++i) {
                heatColor(shareOfVertex(mesh, mesh.sources[i], shareOf), colors.array, 3 * i);
            }
            colors.needsUpdate = true;
        }
    }

    // The node that most of a triangle's corners follow.
    nodeOfTriangle(mesh, triangle) {
        const sums = new Map();
        for (let corner = 0; corner < 3; ++corner) {
            const vertex = mesh.sources[mesh.indices[3 * triangle + corner]];
            for (let k = mesh.first[vertex]; k < mesh.first[vertex + 1]; ++k) {
                const node = mesh.nodes[k];
                sums.set(node, (sums.get(node) ?? 0) + mesh.vectors[4 * k + 3]);
            }
        }
        const best = [...sums].sort((a, b) => b[1] - a[1])[0];
        return best ? best[0] : -1;
    }

    // Vertices of the LOD with a weight on the node.
    countWeighted(node) {
        let count = 0;
        for (const lods of this.#meshes) {
            const mesh = lods[Math.min(this.lod, lods.length - 1)]?.mesh;
            for (let i = 0; mesh && i + 1 < mesh.first.length; ++i) {
                count += mesh.nodes.subarray(mesh.first[i], mesh.first[i + 1]).includes(node) ? 1 : 0;
            }
        }
        return count;
    }
}

export function canPlay(anim) {
    return anim !== null && anim.fits && anim.count > 0;
}

function shareOfVertex(mesh, vertex, shareOf) {
    let share = 0;
    let sum = 0;
    for (let k = mesh.first[vertex]; k < mesh.first[vertex + 1]; ++k) {
        share += mesh.vectors[4 * k + 3] * shareOf(mesh.nodes[k]);
        sum += mesh.vectors[4 * k + 3];
    }
    return sum > 0 ? share / sum : 0;
}
