import * as THREE from "three";

// A step of 1, 2 or 5 times a power of ten, about a quarter of the size.
export function gridStep(size) {
    const rough = Math.max(size, 1e-6) / 4;
    const power = 10 ** Math.floor(Math.log10(rough));
    return power * [1, 2, 5].findLast((factor) => factor * power <= rough * 1.0001);
}

// A floor of lines, a step apart, that fades towards its rim; every fifth line is stronger, and those through the
// origin have the colours of their axes.
export class Grid {
    static HALF = 20; // lines on each side

    constructor(size) {
        this.step = gridStep(size);
        this.lines = new THREE.LineSegments(
            new THREE.BufferGeometry(),
            new THREE.LineBasicMaterial({ vertexColors: true, transparent: true, depthWrite: false }),
        );
        this.lines.renderOrder = -1;
    }

    setColors({ minor, major, x, z }) {
        const { HALF } = Grid;
        const positions = [];
        const colors = [];
        const color = new THREE.Color();
        const alpha = (a, b) => Math.max(0, 1 - Math.hypot(a, b) / HALF) ** 1.5;
        const addLine = (turned, i) => {
            color.set(i === 0 ? (turned ? z : x) : i % 5 === 0 ? major : minor);
            for (let k = -HALF; k < HALF; ++k) {
                for (const end of [k, k + 1]) {
                    positions.push(...(turned ? [i, 0, end] : [end, 0, i]).map((value) => value * this.step));
                    colors.push(color.r, color.g, color.b, alpha(i, end));
                }
            }
        };
        for (let i = -HALF; i <= HALF; ++i) {
            addLine(false, i);
            addLine(true, i);
        }
        this.lines.geometry.setAttribute("position", new THREE.Float32BufferAttribute(positions, 3));
        this.lines.geometry.setAttribute("color", new THREE.Float32BufferAttribute(colors, 4));
    }
}
