// Colours that the colour-blind tell apart (Okabe and Ito's), for paper and light screens and, lighter, for dark ones. Lines beyond
// their number are dashed.

const kLight = ["#0072b2", "#d55e00", "#009e73", "#b04a86", "#b57f00", "#3a93cc", "#5a5a5a", "#7a3b00"];
const kDark = ["#56a8e8", "#f08a4b", "#2fc79a", "#e29cc4", "#e8b13c", "#9bd3f5", "#bdbdbd", "#c98f5a"];
const kDashes = [[], [6, 3], [2, 2], [8, 3, 2, 3]];

export interface Palette {
    dark: boolean;
    text: string;
    dim: string;
    grid: string;
    background: string;
    band: string;
    mark: string;
    markEdge: string;
    alarm: string;
    lines: string[];
}

const kPalettes: { [name: string]: Palette } = {
    light: {
        dark: false,
        text: "#1d2329",
        dim: "#5b6670",
        grid: "#e4e8eb",
        background: "#ffffff",
        band: "rgba(213, 94, 0, 0.14)",
        mark: "rgba(0, 114, 178, 0.12)",
        markEdge: "#0072b2",
        alarm: "#b3420a",
        lines: kLight,
    },
    dark: {
        dark: true,
        text: "#e3e7ea",
        dim: "#9aa5ae",
        grid: "#2c343b",
        background: "#171c21",
        band: "rgba(240, 138, 75, 0.20)",
        mark: "rgba(86, 168, 232, 0.20)",
        markEdge: "#56a8e8",
        alarm: "#ff9b62",
        lines: kDark,
    },
};

const darkScreen = window.matchMedia("(prefers-color-scheme: dark)");
let printing = false;
const listeners = new Set<() => void>();

export function palette(): Palette {
    return darkScreen.matches && !printing ? kPalettes.dark : kPalettes.light;
}

export function isPrinting(): boolean {
    return printing;
}

export function colour(index: number): string {
    const lines = palette().lines;
    return lines[index % lines.length];
}

/** That many lines have a colour of their own. */
export const kColours = kLight.length;
export const kFaint = 0.65;

/** How a line is told from the others of its chart. */
export interface Ink {
    colour: number;
    dash: number;
    /** Of one of two lines of the same colour, where they are too dense for dashes. */
    faint: boolean;
}

/** Colours in turn, and dashes once they are used up. */
export function inkOf(index: number): Ink {
    return { colour: index, dash: Math.floor(index / kColours), faint: false };
}

/** A colour for each name, and dashes for each run: what is compared has one colour. */
export function inkOfRun(name: number, run: number): Ink {
    return { colour: name, dash: run, faint: run > 0 };
}

export function dashOf(ink: Ink): number[] {
    return kDashes[ink.dash % kDashes.length];
}

/** The same as a border of an element. */
export function borderOf(ink: Ink): string {
    return `3px ${["solid", "dashed", "dotted", "solid"][ink.dash % 4]} ${colour(ink.colour)}`;
}

/** What no border is by itself: a dash and a dot. */
export function borderImageOf(ink: Ink): string {
    const [fill, gap] = [colour(ink.colour), "transparent"];
    return ink.dash % 4 === 3
        ? `repeating-linear-gradient(to right, ${fill} 0 7px, ${gap} 7px 10px, ${fill} 10px 12px, ${gap} 12px 15px) 3 0 0 0`
        : "";
}

/** How areas of one colour are told apart, where lines have dashes: by hatching of so many degrees. */
const kHatches = [null, 45, 135, 90];
const kHatchStep = 5;
const kHatchWidth = 1.5;

/** A layer of a stack as the background of an element. */
export function areaOf(ink: Ink): string {
    const angle = kHatches[ink.dash % kHatches.length];
    const fill = colour(ink.colour);
    const gap = palette().background;
    return angle === null
        ? fill
        : `repeating-linear-gradient(${angle}deg, ${gap} 0 ${kHatchWidth}px, ${fill} ${kHatchWidth}px ${kHatchStep}px)`;
}

/** What is laid over a layer of a stack to hatch it; null for a plain one. */
export function hatchOf(ink: Ink, context: CanvasRenderingContext2D, ratio: number): CanvasPattern | null {
    const angle = kHatches[ink.dash % kHatches.length];
    if (angle === null) {
        return null;
    }
    const tile = document.createElement("canvas");
    tile.width = tile.height = Math.round(kHatchStep * ratio);
    const pen = tile.getContext("2d") as CanvasRenderingContext2D;
    pen.fillStyle = palette().background;
    pen.fillRect(0, 0, kHatchWidth * ratio, tile.height);
    const pattern = context.createPattern(tile, "repeat");
    pattern?.setTransform(new DOMMatrix().rotate(angle - 90));
    return pattern;
}

/** Of two versions' difference in points: bluer where it went down, more orange where it went up. */
export function difference(delta: number, most: number): string {
    const share = most > 0 ? Math.min(1, Math.sqrt(Math.abs(delta) / most)) : 0;
    if (share < 0.02) {
        return palette().dark ? "hsl(210 6% 62%)" : "hsl(210 8% 88%)";
    }
    const hue = delta > 0 ? 26 : 205;
    return palette().dark
        ? `hsl(${hue} ${30 + 55 * share}% ${66 - 6 * share}%)`
        : `hsl(${hue} ${35 + 55 * share}% ${86 - 26 * share}%)`;
}

/** Calls `listener` when the screen turns dark or light, and around printing. */
export function onPalette(signal: AbortSignal, listener: () => void): void {
    listeners.add(listener);
    signal.addEventListener("abort", () => listeners.delete(listener));
}

export function watchPalette(): void {
    const tell = (): void => listeners.forEach((listener) => listener());
    darkScreen.addEventListener("change", tell);
    const print = (begins: boolean): void => {
        printing = begins;
        document.documentElement.classList.toggle("printing", begins);
        tell();
    };
    window.addEventListener("beforeprint", () => print(true));
    window.addEventListener("afterprint", () => print(false));
}
