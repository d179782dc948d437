import { canPlay } from "./figure.js";

// The animations of all models by name, in the order of the files. An entry has
//   name, duration, times (of the keys, without repetition), commands ({ time, text }), note,
//   anims   for each model its animation of that name, or null
export function makePlaylist(models) {
    const entries = new Map();
    for (const [index, model] of models.entries()) {
        for (const anim of model.anims) {
            const key = anim.name.toLowerCase();
            // Of two animations with one name a model plays the first.
            if (canPlay(anim) && model.findAnim(anim.name) === anim) {
                const entry = entries.get(key) ?? { name: anim.name, anims: models.map(() => null) };
                entry.anims[index] = anim;
                entries.set(key, entry);
            }
        }
    }
    return [...entries.values()].map((entry) => complete(entry, models));
}

function complete(entry, models) {
    const present = entry.anims.filter((anim) => anim !== null);
    const times = new Set(present.flatMap((anim) => [...anim.times]));
    entry.times = [...times].sort((a, b) => a - b);
    entry.duration = entry.times.at(-1);
    entry.commands = present.flatMap((anim) => anim.commands.map(({ key, text }) => ({ time: anim.times[key], text })));
    const from = entry.anims.findIndex((anim) => anim !== null);
    const { link } = entry.anims[from];
    if (present.length < models.length) {
        entry.note = `only in ${models.filter((_, i) => entry.anims[i]).map((model) => model.file.name).join(", ")}`;
    } else if (link > 0) {
        entry.note = `of ${models[from].info.childModels[link].name}`;
    }
    return entry;
}
