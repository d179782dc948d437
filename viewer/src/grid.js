import * as THREE from "three";

// A step of 1, 2 or 5 times a power of ten, about a quarter of the size.
export function gridStep(size) {
    const rough = Math.max(size, 1e-6) / 4;
    const power = 10 ** Math.floor(Math.log10(rough));
    return power * [1, 2, 5].findLast((factor) => factor * power <= rough * 1.0001);
}

// The fade is worked out by pixel, so that a line is one piece: many short ones cost a processor that draws dearly.
const VERTEX_SHADER = `
varying vec3 tint;
varying vec2 place;
void main() {
    tint = color;
    place = position.xz;
    gl_Position = projectionMatrix * modelViewMatrix * vec4(position, 1.0);
}`;
const FRAGMENT_SHADER = `
uniform float reach;
varying vec3 tint;
varying vec2 place;
void main() {
    gl_FragColor = vec4(tint, pow(max(0.0, 1.0 - length(place) / reach), 1.5));
    #include <tonemapping_fragment>
    #include <colorspace_fragment>
}`;

// A floor of lines, a step apart, that fades towards its rim; every fifth line is stronger, and those through the
// origin have the colours of their axes.
export class Grid {
    static HALF = 20; // lines on each side

    constructor(size) {
        this.step = gridStep(size);
        this.lines = new THREE.LineSegments(
            new THREE.BufferGeometry(),
            new THREE.ShaderMaterial({
                vertexShader: VERTEX_SHADER,
                fragmentShader: FRAGMENT_SHADER,
                uniforms: { reach: { value: Grid.HALF * this.step } },
                vertexColors: true,
                transparent: true,
                depthWrite: false,
            }),
        );
        this.lines.frustumCulled = false;
        this.lines.renderOrder = -1;
    }

    setColors({ minor, major, x, z }) {
        const { HALF } = Grid;
        const positions = [];
        const colors = [];
        const color = new THREE.Color();
        const addLine = (turned, i) => {
            color.set(i === 0 ? (turned ? z : x) : i % 5 === 0 ? major : minor);
            const half = Math.sqrt(HALF * HALF - i * i); // beyond the rim there is nothing to see
            for (const end of [-half, half]) {
                positions.push(...(turned ? [i, 0, end] : [end, 0, i]).map((value) => value * this.step));
                colors.push(color.r, color.g, color.b);
            }
        };
        for (let i = 1 - HALF; i < HALF; ++i) {
            addLine(false, i);
            addLine(true, i);
        }
        this.lines.geometry.setAttribute("position", new THREE.Float32BufferAttribute(positions, 3));
        this.lines.geometry.setAttribute("color", new THREE.Float32BufferAttribute(colors, 3));
    }
}
