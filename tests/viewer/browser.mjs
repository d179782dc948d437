// Chromium without a window, told what to do by the DevTools protocol over a pipe.
import { spawn } from "node:child_process";
import { existsSync } from "node:fs";
import { mkdtemp, rm } from "node:fs/promises";
import { tmpdir } from "node:os";
import path from "node:path";

const NAMES = ["chromium", "chromium-browser", "google-chrome"];

// The path of the browser, or none.
export function findBrowser() {
    const folders = (process.env.PATH ?? "").split(path.delimiter);
    const candidates = [process.env.CHROMIUM, ...folders.flatMap((folder) => NAMES.map((name) => path.join(folder, name)))];
    return candidates.find((name) => name && existsSync(name)) ?? null;
}

export class Browser {
    #process;
    #profile;
    #next = 0;
    #pending = new Map();
    #session;
    #rest = "";
    errors = []; // what the page complained about
    requests = []; // addresses that it asked for

    static async start(executable, { width, height, scale = 1, mobile = false }) {
        const browser = new Browser();
        browser.#profile = await mkdtemp(path.join(tmpdir(), "zolt-browser-"));
        const options = [
            "--headless=new",
            "--remote-debugging-pipe",
            "--no-sandbox",
            "--disable-dev-shm-usage",
            "--disable-background-networking",
            "--disable-component-update",
            "--no-first-run",
            "--hide-scrollbars",
            "--use-gl=angle",
            "--use-angle=swiftshader",
            "--enable-unsafe-swiftshader",
            `--user-data-dir=${browser.#profile}`,
        ];
        browser.#process = spawn(executable, options, { stdio: ["ignore", "ignore", "ignore", "pipe", "pipe"] });
        browser.#process.stdio[4].setEncoding("utf8").on("data", (text) => browser.#receive(text));
        browser.#process.on("exit", () => browser.#fail(new Error("The browser has ended.")));
        const { targetId } = await browser.send("Target.createTarget", { url: "about:blank" });
        const { sessionId } = await browser.send("Target.attachToTarget", { targetId, flatten: true });
        browser.#session = sessionId;
        for (const domain of ["Page", "Runtime", "Log", "Network"]) {
            await browser.send(`${domain}.enable`);
        }
        await browser.resize({ width, height, scale, mobile });
        return browser;
    }

    resize({ width, height, scale = 1, mobile = false }) {
        return this.send("Emulation.setDeviceMetricsOverride", { width, height, deviceScaleFactor: scale, mobile });
    }

    #receive(text) {
        const messages = (this.#rest + text).split("\0");
        this.#rest = messages.pop();
        for (const message of messages.map((each) => JSON.parse(each))) {
            const waiting = this.#pending.get(message.id);
            if (waiting) {
                this.#pending.delete(message.id);
                if (message.error) {
                    waiting.reject(new Error(message.error.message));
                } else {
                    waiting.resolve(message.result);
                }
            } else {
                this.#note(message);
            }
        }
    }

    #note({ method, params }) {
        if (method === "Runtime.exceptionThrown") {
            this.errors.push(params.exceptionDetails.exception?.description ?? params.exceptionDetails.text);
        } else if (method === "Runtime.consoleAPICalled" && ["error", "warning", "assert"].includes(params.type)) {
            this.errors.push(params.args.map((each) => each.value ?? each.description).join(" "));
        } else if (method === "Log.entryAdded" && params.entry.level === "error") {
            this.errors.push(params.entry.text);
        } else if (method === "Network.requestWillBeSent") {
            this.requests.push(params.request.url);
        }
    }

    #fail(error) {
        for (const { reject } of this.#pending.values()) {
            reject(error);
        }
        this.#pending.clear();
    }

    send(method, params = {}) {
        const id = ++this.#next;
        return new Promise((resolve, reject) => {
            this.#pending.set(id, { resolve, reject });
            const message = { id, method, params, ...(this.#session ? { sessionId: this.#session } : {}) };
            this.#process.stdio[3].write(`${JSON.stringify(message)}\0`);
        });
    }

    async open(address) {
        await this.send("Page.navigate", { url: address });
        await this.waitFor("document.readyState === 'complete'");
    }

    // The value of an expression in the page.
    async evaluate(expression) {
        const { result, exceptionDetails } = await this.send("Runtime.evaluate", {
            expression,
            awaitPromise: true,
            returnByValue: true,
        });
        if (exceptionDetails) {
            throw new Error(exceptionDetails.exception?.description ?? exceptionDetails.text);
        }
        return result.value;
    }

    async waitFor(expression, milliseconds = 60000) {
        const end = Date.now() + milliseconds;
        while (!(await this.evaluate(expression))) {
            if (Date.now() > end) {
                throw new Error(`It doesn't come true: ${expression}`);
            }
            await new Promise((resolve) => setTimeout(resolve, 30));
        }
    }

    async press(key) {
        const text = key.length === 1 ? { text: key } : {};
        await this.send("Input.dispatchKeyEvent", { type: "keyDown", key, ...text });
        await this.send("Input.dispatchKeyEvent", { type: "keyUp", key });
    }

    async click(x, y) {
        for (const type of ["mousePressed", "mouseReleased"]) {
            await this.send("Input.dispatchMouseEvent", { type, x, y, button: "left", clickCount: 1 });
        }
    }

    async drag(from, to) {
        const mouse = (type, [x, y]) => this.send("Input.dispatchMouseEvent", { type, x, y, button: "left", buttons: 1 });
        await mouse("mousePressed", from);
        await mouse("mouseMoved", to);
        await mouse("mouseReleased", to);
    }

    // A PNG in Base64.
    async screenshot() {
        return (await this.send("Page.captureScreenshot", { format: "png" })).data;
    }

    async stop() {
        const ended = new Promise((resolve) => this.#process.once("exit", resolve));
        this.#process.kill();
        await ended;
        await rm(this.#profile, { recursive: true, force: true, maxRetries: 5, retryDelay: 100 });
    }
}
