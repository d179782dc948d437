import * as THREE from "three";

const COLORS = [
    [0.95, 0.25, 0.25],
    [0.35, 0.8, 0.3],
    [0.3, 0.5, 1],
];

// The axes of each socket: x red, y green, z blue. In model space.
export class SocketAxes {
    #sockets;
    #locals;
    #size = 1;
    #node = new THREE.Matrix4();

    constructor(model) {
        this.#sockets = model.info.sockets;
        this.#locals = this.#sockets.map(({ position, rotation }) =>
            new THREE.Matrix4().compose(
                new THREE.Vector3(...position),
                new THREE.Quaternion(...rotation).normalize(),
                new THREE.Vector3(1, 1, 1),
            ),
        );
        const count = this.#sockets.length;
        const geometry = new THREE.BufferGeometry();
        geometry.setAttribute("position", new THREE.Float32BufferAttribute(new Float32Array(18 * count), 3));
        const colors = this.#sockets.flatMap(() => COLORS.flatMap((color) => [...color, ...color]));
        geometry.setAttribute("color", new THREE.Float32BufferAttribute(colors, 3));
        this.lines = new THREE.LineSegments(
            geometry,
            new THREE.LineBasicMaterial({ vertexColors: true, depthTest: false, transparent: true, toneMapped: false }),
        );
        this.lines.frustumCulled = false;
        this.lines.renderOrder = 12;
        this.lines.visible = false;
    }

    setSize(size) {
        this.#size = size;
    }

    setPose(matrices) {
        if (!this.lines.visible) {
            return;
        }
        const positions = this.lines.geometry.attributes.position;
        const point = new THREE.Vector3();
        for (const [i, matrix] of this.#transforms(matrices).entries()) {
            for (let axis = 0; axis < 3; ++axis) {
                point.setFromMatrixPosition(matrix).toArray(positions.array, 18 * i + 6 * axis);
                point.set(0, 0, 0).setComponent(axis, this.#size).applyMatrix4(matrix);
                point.toArray(positions.array, 18 * i + 6 * axis + 3);
            }
        }
        positions.needsUpdate = true;
    }

    // Name and place of each socket, in model space.
    places(matrices) {
        return this.#transforms(matrices).map((matrix, i) => ({
            name: this.#sockets[i].name,
            position: new THREE.Vector3().setFromMatrixPosition(matrix),
        }));
    }

    #transforms(matrices) {
        return this.#sockets.map(({ node }, i) => {
            const m = matrices.subarray(12 * node, 12 * node + 12);
            return this.#node.set(...m, 0, 0, 0, 1).clone().multiply(this.#locals[i]);
        });
    }
}
