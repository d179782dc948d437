// Four digits at most, without needless ones.
export function formatLength(value) {
    return Number.isFinite(value) ? String(Number(value.toPrecision(4))) : "–";
}

export function formatCount(value) {
    return String(value).replace(/\B(?=(\d{3})+$)/g, "\u202f");
}

export function formatBytes(bytes) {
    const KILO = 1024;
    if (bytes < KILO) {
        return `${bytes} bytes`;
    }
    return bytes < KILO * KILO ? `${(bytes / KILO).toFixed(1)} KiB` : `${(bytes / KILO / KILO).toFixed(2)} MiB`;
}

// Seconds, to the hundredth.
export function formatTime(milliseconds) {
    return `${(milliseconds / 1000).toFixed(2)} s`;
}
