// An element with properties, attributes (those with a dash or named in ATTRIBUTES) and children.
const ATTRIBUTES = new Set(["role", "for", "viewBox", "d"]);

export function element(name, properties = {}, ...children) {
    const node = document.createElement(name);
    for (const [key, value] of Object.entries(properties)) {
        if (key === "data") {
            Object.assign(node.dataset, value);
        } else if (key.includes("-") || ATTRIBUTES.has(key)) {
            node.setAttribute(key, value);
        } else {
            node[key] = value;
        }
    }
    node.append(...children.flat().filter((child) => child !== null && child !== undefined));
    return node;
}

export function icon(path) {
    const SVG = "http://www.w3.org/2000/svg";
    const svg = document.createElementNS(SVG, "svg");
    svg.setAttribute("viewBox", "0 0 24 24");
    svg.setAttribute("aria-hidden", "true");
    const shape = document.createElementNS(SVG, "path");
    shape.setAttribute("d", path);
    svg.append(shape);
    return svg;
}

export function iconButton(path, label, onclick, key = "") {
    return element(
        "button",
        { type: "button", className: "icon", "aria-label": label, title: key ? `${label} (${key})` : label, onclick },
        icon(path),
    );
}
