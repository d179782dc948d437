import * as THREE from "three";

const BONE = 0x8fb4ff;
const PICKED = 0xffb020;

// A bone from (0, 0, 0) to (0, 1, 0): two pyramids, thick near its root.
function boneGeometry() {
    const WAIST = 0.14;
    const WIDTH = 0.09;
    const geometry = new THREE.BufferGeometry();
    const ring = [
        [WIDTH, WAIST, 0],
        [0, WAIST, WIDTH],
        [-WIDTH, WAIST, 0],
        [0, WAIST, -WIDTH],
    ];
    const positions = [];
    for (let i = 0; i < 4; ++i) {
        const [a, b] = [ring[i], ring[(i + 1) % 4]];
        positions.push(...b, ...a, 0, 1, 0);
        positions.push(...a, ...b, 0, 0, 0);
    }
    geometry.setAttribute("position", new THREE.Float32BufferAttribute(positions, 3));
    geometry.computeVertexNormals();
    return geometry;
}

// Bones from parents to children and a ball at each node, drawn over the meshes, in model space.
export class Skeleton {
    #model;
    #bones;
    #joints;
    #children;
    #size = 1;
    #matrix = new THREE.Matrix4();
    #head = new THREE.Vector3();
    #tail = new THREE.Vector3();
    #turn = new THREE.Quaternion();
    #up = new THREE.Vector3(0, 1, 0);
    #scale = new THREE.Vector3();

    constructor(model) {
        this.#model = model;
        this.#children = model.nodes.map((_, i) => i).filter((i) => model.parents[i] >= 0);
        const material = () =>
            new THREE.MeshBasicMaterial({ depthTest: false, depthWrite: false, transparent: true, opacity: 0.82 });
        this.#bones = new THREE.InstancedMesh(boneGeometry(), material(), Math.max(this.#children.length, 1));
        this.#joints = new THREE.InstancedMesh(new THREE.OctahedronGeometry(1, 1), material(), model.nodes.length);
        this.#bones.count = this.#children.length;
        this.group = new THREE.Group();
        this.group.visible = false;
        this.group.add(this.#bones, this.#joints);
        for (const [order, object] of [this.#bones, this.#joints].entries()) {
            object.frustumCulled = false;
            object.renderOrder = 10 + order;
        }
        this.pick(-1);
    }

    // The radius of a ball.
    setSize(size) {
        this.#size = size;
    }

    pick(node) {
        const color = new THREE.Color();
        for (const [i, child] of this.#children.entries()) {
            const tone = 0.72 + 0.28 * ((child * 0.37) % 1); // facets without light: neighbours differ a little
            color.set(this.#model.parents[child] === node ? PICKED : BONE).multiplyScalar(tone);
            this.#bones.setColorAt(i, color);
        }
        for (let i = 0; i < this.#model.nodes.length; ++i) {
            this.#joints.setColorAt(i, color.set(i === node ? PICKED : 0xffffff));
        }
        this.#bones.instanceColor && (this.#bones.instanceColor.needsUpdate = true);
        this.#joints.instanceColor.needsUpdate = true;
    }

    setPose(matrices) {
        if (!this.group.visible) {
            return;
        }
        const at = (out, i) => out.set(matrices[12 * i + 3], matrices[12 * i + 7], matrices[12 * i + 11]);
        const identity = this.#turn.identity();
        for (let i = 0; i < this.#model.nodes.length; ++i) {
            this.#joints.setMatrixAt(
                i,
                this.#matrix.compose(at(this.#head, i), identity, this.#scale.setScalar(this.#size)),
            );
        }
        for (const [i, child] of this.#children.entries()) {
            at(this.#head, this.#model.parents[child]);
            at(this.#tail, child).sub(this.#head);
            const length = this.#tail.length();
            this.#turn.setFromUnitVectors(this.#up, length > 0 ? this.#tail.divideScalar(length) : this.#up);
            const width = Math.min(length, 22 * this.#size);
            this.#matrix.compose(this.#head, this.#turn, this.#scale.set(width, length, width));
            this.#bones.setMatrixAt(i, this.#matrix);
        }
        this.#joints.instanceMatrix.needsUpdate = true;
        this.#bones.instanceMatrix.needsUpdate = true;
    }
}
