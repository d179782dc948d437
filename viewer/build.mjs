// Makes the page's template: build.mjs MODULES OUT.cpp, where MODULES is the node_modules folder that npm filled.
// The template is a whole page but for its data; it becomes a C++ source, so that the program needs no file beside it.
import { readFile, writeFile } from "node:fs/promises";
import { createRequire } from "node:module";
import path from "node:path";
import { fileURLToPath } from "node:url";

const [modules, output] = process.argv.slice(2).map((name) => path.resolve(name));
const here = path.dirname(fileURLToPath(import.meta.url));
const esbuild = createRequire(path.join(modules, "package.json"))("esbuild");

async function bundle(entry, options) {
    const result = await esbuild.build({
        entryPoints: [path.join(here, "src", entry)],
        nodePaths: [modules],
        bundle: true,
        minify: true,
        write: false,
        charset: "utf8",
        target: ["chrome100", "firefox100", "safari15"],
        logLevel: "warning",
        ...options,
    });
    return result.outputFiles[0].text;
}

const script = await bundle("main.js", { format: "iife", legalComments: "inline" });
const style = await bundle("style.css", {});
const licence = await readFile(path.join(modules, "three", "LICENSE"), "utf8");
const parts = { STYLE: style, LICENCE: licence.trim(), SCRIPT: script };
const page = (await readFile(path.join(here, "page.html"), "utf8")).replace(/@(STYLE|LICENCE|SCRIPT)@/g, (_, name) => parts[name]);

// As raw strings, of a length that every compiler takes.
const CHUNK = 8000;
let source = '#include "viewer/viewertemplate.h"\n\nstd::string_view ViewerTemplate()\n{\n    static constexpr char page[] =\n';
for (let i = 0; i < page.length; ) {
    let end = Math.min(i + CHUNK, page.length);
    if (end < page.length && /[\uD800-\uDBFF]/.test(page[end - 1])) {
        ++end; // not between the halves of a character
    }
    const text = page.slice(i, end);
    if (text.includes(')zolt"')) {
        throw new Error("The page holds what ends a string.");
    }
    source += `R"zolt(${text})zolt"\n`;
    i = end;
}
source += "        ;\n    return std::string_view(page, sizeof(page) - 1);\n}\n";
await writeFile(output, source);
