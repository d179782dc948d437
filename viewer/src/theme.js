const STORED = "zolt-theme";

// Colours that aren't in the style sheet, because a canvas takes them.
const THEMES = {
    dark: {
        stage: "#1c1f25",
        grid: { minor: "#464c58", major: "#6d7584", x: "#d0606a", z: "#5a86ea" },
        wire: "#0b0d10",
        ink: "#e8ebf0",
        paper: "#14161a",
        label: "rgba(20, 22, 27, 0.78)",
        faint: "#7d8594",
        line: "#333842",
        accent: "#7ea6ff",
        accent2: "#ffb020",
        socket: "#7fd1a8",
    },
    light: {
        stage: "#e9ecf0",
        grid: { minor: "#bcc3cc", major: "#949dab", x: "#cc5a62", z: "#4a72d0" },
        wire: "#20242b",
        ink: "#1b1f26",
        paper: "#ffffff",
        label: "rgba(255, 255, 255, 0.85)",
        faint: "#737b88",
        line: "#c9ced6",
        accent: "#2f66e0",
        accent2: "#ffb020",
        socket: "#1f7d52",
    },
};

// Light or dark: as the system has it, until the reader says otherwise.
export class Theme {
    #changed;
    #system = window.matchMedia("(prefers-color-scheme: light)");

    constructor(changed) {
        this.#changed = changed;
        this.name = this.#stored() ?? (this.#system.matches ? "light" : "dark");
        this.#system.addEventListener("change", () => {
            if (!this.#stored()) {
                this.set(this.#system.matches ? "light" : "dark");
            }
        });
    }

    get colors() {
        return THEMES[this.name];
    }

    set(name) {
        this.name = name;
        document.documentElement.dataset.theme = name;
        this.#changed();
    }

    toggle() {
        const name = this.name === "dark" ? "light" : "dark";
        try {
            localStorage.setItem(STORED, name);
        } catch {
            // A page from a file may not be allowed to; then it holds for now.
        }
        this.set(name);
    }

    #stored() {
        try {
            const name = localStorage.getItem(STORED);
            return name in THEMES ? name : null;
        } catch {
            return null;
        }
    }
}
