import * as THREE from "three";

// The pictures of the page by texture index, as textures; loaded(): one of them is there.
export function loadTextures(pictures, loaded) {
    const textures = new Map();
    for (const [index, source] of Object.entries(pictures)) {
        const image = new Image();
        const texture = new THREE.Texture(image);
        texture.colorSpace = THREE.SRGBColorSpace;
        texture.wrapS = texture.wrapT = THREE.RepeatWrapping;
        texture.flipY = false; // v counts from the top, as in glTF
        texture.anisotropy = 8;
        image.addEventListener("load", () => {
            texture.needsUpdate = true;
            loaded();
        });
        image.src = source;
        textures.set(Number(index), texture);
    }
    return textures;
}

// Turns v round for all of them.
export function flipTextures(textures) {
    for (const texture of textures.values()) {
        texture.flipY = !texture.flipY;
        texture.needsUpdate = true;
    }
}
