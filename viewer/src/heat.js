// From nothing to all, in linear light: grey, blue, cyan, green, yellow, red.
const STOPS = [
    [0, 0.3, 0.32, 0.36],
    [0.001, 0.02, 0.06, 0.45],
    [0.25, 0.0, 0.45, 0.8],
    [0.5, 0.05, 0.6, 0.2],
    [0.75, 0.9, 0.65, 0.05],
    [1, 0.8, 0.06, 0.04],
];

// Writes the red, green and blue of a share to out[o] and on.
export function heatColor(share, out, o) {
    const upper = Math.max(
        STOPS.findIndex((stop) => stop[0] >= share),
        share > 1 ? STOPS.length - 1 : 1,
    );
    const [from, to] = [STOPS[upper - 1], STOPS[upper]];
    const t = Math.min(Math.max((share - from[0]) / (to[0] - from[0]), 0), 1);
    for (let k = 0; k < 3; ++k) {
        out[o + k] = from[k + 1] + (to[k + 1] - from[k + 1]) * t;
    }
}
