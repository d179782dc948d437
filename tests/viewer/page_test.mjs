// The page of `abctool view` in a browser: page_test.mjs ABCTOOL ZOLTEXPORT WRITEMODELS SCENE. Ends with 77 where there is no
// Chromium.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { createHash } from "node:crypto";
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import path from "node:path";
import { Browser, findBrowser } from "./browser.mjs";

const [abctool, zoltexport, writemodels, scene] = process.argv.slice(2);
const executable = findBrowser();
if (!executable) {
    console.log("Skipped: there is no chromium here.");
    process.exit(77);
}
const folder = mkdtempSync(path.join(tmpdir(), "zolt-page-"));
const inFolder = (name) => path.join(folder, name);
const environment = { ...process.env, XDG_CONFIG_HOME: folder, XDG_STATE_HOME: folder };
const run = (program, ...words) =>
    execFileSync(program, words, { encoding: "utf8", env: environment, stdio: ["ignore", "pipe", "ignore"] });
let browser = null;

function near(page, pose, tolerance, what) {
    for (const [i, { matrix }] of pose.nodes.entries()) {
        for (const [k, value] of matrix.flat().slice(0, 12).entries()) {
            const strays = Math.abs(page[12 * i + k] - value);
            assert(strays <= tolerance, `${what}, node ${i}, number ${k}: ${strays} off`);
        }
    }
}

// Node matrices at ten times of each animation, against another evaluation.
async function comparePoses(model, file) {
    const info = JSON.parse(run(abctool, "info", "--json", model));
    for (const { name, last } of info.anims) {
        for (let i = 0; i < 10; ++i) {
            const time = (last * (i + 0.37)) / 9.6; // off the keys, and once beyond the last
            const vertices = inFolder("vertices.bin");
            const pose = JSON.parse(
                run(abctool, "pose", model, "--json", "--anim", name, "--time", `${time}`, "--vertices", vertices),
            );
            const bytes = readFileSync(vertices);
            let radius = 0;
            for (let at = 0; at < bytes.length; at += 12) {
                const axes = [0, 4, 8].map((offset) => bytes.readFloatLE(at + offset));
                radius = Math.max(radius, Math.hypot(...axes));
            }
            const page = await browser.evaluate(`zoltView.matricesAt(${file}, ${JSON.stringify(name)}, ${time})`);
            near(page, pose, 1e-5 * radius, `${name} at ${time} ms`);
        }
    }
}

// A sum over what is on the screen after the next frame.
async function picture() {
    await browser.evaluate("new Promise((drawn) => requestAnimationFrame(() => requestAnimationFrame(drawn)))");
    return createHash("sha256").update(await browser.screenshot()).digest("hex");
}

// Several actions, each of which has to show.
async function changePicture(actions) {
    let before = await picture();
    for (const [what, action] of Object.entries(actions)) {
        await action();
        const after = await picture();
        assert.notEqual(after, before, `${what}: the picture stays`);
        before = after;
    }
}

async function playAndScrub() {
    await browser.waitFor("zoltView.player.playing");
    await changePicture({ playing: () => browser.waitFor("zoltView.frames > 6") });
    await browser.press(" ");
    await browser.waitFor("!zoltView.player.playing");
    assert.equal(await picture(), await picture(), "a pause holds still");
    await browser.press("Home");
    await changePicture({ "a step by key": () => browser.press("ArrowRight") });
    const [time, key] = await browser.evaluate("[zoltView.player.time, zoltView.player.entry.times[1]]");
    assert.equal(time, key);
    const bar = await browser.evaluate("(({ x, y, width, height }) => ({ x, y, width, height }))(document.querySelector('.timeline').getBoundingClientRect())");
    await browser.click(bar.x + bar.width / 2, bar.y + bar.height / 2);
    const part = await browser.evaluate("zoltView.player.time / zoltView.player.duration");
    assert(Math.abs(part - 0.5) < 0.01, `scrubbed to ${part}`);
}

async function crossfade() {
    const [x, y] = await browser.evaluate(
        "(({ x, y }) => [x + 20, y + 10])(document.querySelector('[data-anim=\"1\"]').getBoundingClientRect())",
    );
    // However slow the machine is, the fade is seen.
    await browser.evaluate("zoltView.player.setFadeTime(1e6)");
    await browser.click(x, y);
    assert.equal(await browser.evaluate("zoltView.player.fade !== null && zoltView.player.fade.from"), 0);
    await browser.evaluate("zoltView.player.setFadeTime(1)");
    await browser.waitFor("zoltView.player.fade === null");
    assert.equal(await browser.evaluate("zoltView.player.current"), 1);
    await browser.press(" ");
}

async function switchesAndPicks() {
    await browser.press("f");
    const hips = await browser.evaluate(
        "(({ x, y }) => { const { left, top } = document.getElementById('stage').getBoundingClientRect(); return [left + x, top + y]; })" +
            "(zoltView.stage.views[0].toScreen(zoltView.stage.views[0].nodePlace(1), zoltView.stage.camera))",
    );
    const keys = ["h", "w", "b", "g", "d", "t"];
    await changePicture({
        ...Object.fromEntries(keys.map((key) => [`key ${key}`, () => browser.press(key)])),
        "a picked joint": () => browser.click(...hips),
        weights: () => browser.press("c"),
        "a drag": () => browser.drag([150, 220], [220, 240]),
        shadow: () => browser.press("s"), // at the end, since a processor draws it slowly
    });
    assert.equal(await browser.evaluate("zoltView.picked[0]"), 1);
}

try {
    const model = inFolder("a.abc");
    const other = inFolder("b.abc");
    const texture = inFolder("t.png");
    // One pixel, red.
    writeFileSync(
        texture,
        Buffer.from("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mP8z8BQDwAEhQGAhKmMIQAAAABJRU5ErkJggg==", "base64"),
    );
    run(zoltexport, scene, "--all-clips", "-o", model);
    run(zoltexport, scene, "--clip", "walk", "-o", other);
    run(abctool, "view", model, "-o", inFolder("one.html"));
    run(writemodels, folder);
    run(abctool, "view", inFolder("parent.abc"));
    run(abctool, "view", model, other, "--texture", `0=${texture}`, "-o", inFolder("two.html"));

    browser = await Browser.start(executable, { width: 740, height: 360 });
    await browser.open(`file://${inFolder("one.html")}`);
    await browser.waitFor("window.zoltView !== undefined");
    await playAndScrub();
    await crossfade();
    await comparePoses(model, 0);
    await switchesAndPicks();

    await browser.open(`file://${inFolder("parent.html")}`);
    await browser.waitFor("window.zoltView !== undefined");
    assert.equal(await browser.evaluate("zoltView.models[0].anims.length"), 3, "the child model's animation is there");
    await comparePoses(inFolder("parent.abc"), 0);
    await browser.press("Home");
    await changePicture({
        sockets: () => browser.press("x"),
        "a level of detail": () => browser.evaluate("document.querySelector('[data-lod=\"1\"]').click()"),
    });

    await browser.resize({ width: 390, height: 844, mobile: true });
    await browser.open(`file://${inFolder("two.html")}`);
    await browser.waitFor("window.zoltView !== undefined && zoltView.player.time > 0");
    assert(await browser.evaluate("document.documentElement.scrollWidth <= 390"), "nothing sticks out on a phone");
    await browser.press(" ");
    await browser.waitFor("!zoltView.player.playing");
    const same = await browser.evaluate(
        "zoltView.stage.views[0].figure.matrices.every((each, i) => Math.abs(each - zoltView.stage.views[1].figure.matrices[i]) < 1e-3)",
    );
    assert(same, "two files that share an animation show it in step");
    await changePicture({ textures: () => browser.press("m") });

    assert.deepEqual(browser.errors, []);
    assert.deepEqual(
        browser.requests.filter((address) => !/^(file:.*\.html|data:.*|about:blank)$/s.test(address)),
        [],
    );
    console.log("The page holds.");
} finally {
    await browser?.stop();
    rmSync(folder, { recursive: true, force: true });
}
