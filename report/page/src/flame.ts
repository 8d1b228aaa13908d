// Stacks as a flame graph; of two versions as their difference.

import flamegraph, { Frame } from "d3-flame-graph";
import { select } from "d3-selection";
import { difference, onPalette, palette } from "./colours";
import type { Context } from "./context";
import { button, el, replace, visible } from "./dom";
import { computed, count } from "./format";
import { GridView } from "./grid";
import type { Cell, Flame, FlameNode } from "./payload";
import { onDemand } from "./series_table";

const kDeepest = 300;
const kRow = 19;

/** What the library gets: a copy, since it writes into it, and of no more than it can walk. */
interface Copy {
    name: string;
    value: number;
    delta: number | undefined;
    children: Copy[];
}

interface Walk {
    root: Copy;
    cut: boolean;
    depth: number;
    mostDelta: number;
    hasDelta: boolean;
}

function copyOf(node: FlameNode): Copy {
    return { name: visible(node.name), value: Math.max(0, node.value), delta: node.delta, children: [] };
}

function walk(block: Flame): Walk {
    const result: Walk = { root: copyOf(block.root), cut: false, depth: 0, mostDelta: 0, hasDelta: false };
    const left: { node: FlameNode; copy: Copy; depth: number }[] = [{ node: block.root, copy: result.root, depth: 0 }];
    for (let next = left.pop(); next; next = left.pop()) {
        result.depth = Math.max(result.depth, next.depth);
        if (next.node.delta !== undefined) {
            result.hasDelta = true;
            result.mostDelta = Math.max(result.mostDelta, Math.abs(next.node.delta));
        }
        for (const child of next.node.children ?? []) {
            if (next.depth >= kDeepest) {
                result.cut = true;
                break;
            }
            const copy = copyOf(child);
            next.copy.children.push(copy);
            left.push({ node: child, copy, depth: next.depth + 1 });
        }
    }
    return result;
}

/** Warm colours by name: the same function has the same one everywhere. */
function warm(name: string): string {
    let hash = 0;
    for (let i = 0; i < name.length; i++) {
        hash = (hash * 31 + name.charCodeAt(i)) >>> 0;
    }
    const [hue, light] = [24 + (hash % 28), 70 + ((hash >>> 8) % 12)];
    return palette().dark ? `hsl(${hue} 62% ${light - 12}%)` : `hsl(${hue} 80% ${light}%)`;
}

class FlameView {
    readonly element = el("div", { class: "flame" });
    private readonly stage: HTMLElement;
    private readonly details = el("p", { class: "flame-details", attributes: { "aria-live": "polite" } });
    private readonly found = el("span", { class: "dim" });
    private readonly graph = flamegraph<Copy>();
    private readonly total: number;
    private focused: Frame<Copy> | null = null;
    private top: Frame<Copy> | null = null;
    private width = 0;

    constructor(
        private readonly block: Flame,
        context: Context,
        private readonly data: Walk,
    ) {
        this.total = data.root.value;
        this.stage = el("div", {
            class: "flame-stage",
            attributes: {
                tabindex: "0",
                role: "group",
                "aria-label": `${block.title}. Arrow keys move among the frames, Enter widens one, 0 shows all.`,
            },
        });
        this.element.append(this.tools(), this.stage, this.details);
        this.prepare();
        this.stage.addEventListener("keydown", (event) => this.key(event));
        this.stage.addEventListener("focus", () => this.focus(this.focused ?? this.top));
        const sized = new ResizeObserver(() => this.draw());
        sized.observe(this.stage);
        context.signal.addEventListener("abort", () => {
            sized.disconnect();
            this.graph.destroy();
        });
        onPalette(context.signal, () => this.width > 0 && this.graph.update());
        this.tell(null);
    }

    private tools(): HTMLElement {
        const input = el("input", {
            attributes: {
                type: "search",
                placeholder: "Frames with \u2026",
                "aria-label": `Frames of ${this.block.title} with`,
            },
        });
        input.addEventListener("input", () => this.search(input.value));
        const legend = el("span", { class: "keys" });
        if (this.data.hasDelta) {
            for (const [delta, words] of [
                [-1, "less than before"],
                [0, "same"],
                [1, "more"],
            ] as [number, string][]) {
                const box = el("span", { class: "box" });
                box.style.background = difference(delta, 1);
                legend.append(el("span", { class: "key" }, box, words));
            }
        }
        return el(
            "div",
            { class: "flame-tools" },
            input,
            button("Show all", () => this.graph.resetZoom()),
            this.found,
            legend,
        );
    }

    private prepare(): void {
        this.graph
            .cellHeight(kRow)
            .height((this.data.depth + 1) * kRow + 1)
            .inverted(true)
            .minFrameSize(0.6)
            .transitionDuration(0)
            .sort(true)
            .setLabelHandler((frame) => this.words(frame))
            .setSearchMatch((frame, words) => words !== "" && frame.data.name.toLowerCase().includes(words.toLowerCase()))
            .setSearchHandler((frames, sum) => this.tellFound(frames.length, sum))
            .setDetailsHandler(() => undefined)
            .onHover((frame) => this.tell(frame))
            .onClick((frame) => this.focus(frame))
            .setColorMapper((frame) => this.colour(frame));
    }

    private draw(): void {
        const width = Math.floor(this.stage.clientWidth);
        if (width < 20 || width === this.width) {
            return;
        }
        const first = this.width === 0;
        this.width = width;
        this.graph.width(width);
        if (first) {
            select(this.stage).datum(this.data.root).call(this.graph);
            this.top = select<HTMLElement, Frame<Copy>>(this.stage).datum();
        } else {
            this.graph.update();
        }
    }

    private colour(frame: Frame<Copy>): string {
        if (frame.highlight) {
            return palette().dark ? "#c99be8" : "#b98ad9";
        }
        return this.data.hasDelta ? difference(frame.data.delta ?? 0, this.data.mostDelta) : warm(frame.data.name);
    }

    private words(frame: Frame<Copy>): string {
        const { name, value, delta } = frame.data;
        const share = this.total > 0 ? ` (${computed((100 * value) / this.total)} %)` : "";
        const change = delta === undefined ? "" : `, ${delta > 0 ? "+" : ""}${computed(delta)} points`;
        return `${name}: ${value} ${this.block.unit}${share}${change}`;
    }

    private tell(frame: Frame<Copy> | null): void {
        replace(this.details, frame ? this.words(frame) : "A frame is as wide as its share. Click one to widen it.");
    }

    private search(words: string): void {
        if (words === "") {
            this.found.textContent = "";
            this.graph.clear();
        } else {
            this.graph.search(words);
        }
    }

    private tellFound(frames: number, sum: number): void {
        const share = this.total > 0 ? computed((100 * sum) / this.total) : "0";
        this.found.textContent = `${count(frames)} frames, ${share} % of all`;
    }

    private focus(frame: Frame<Copy> | null): void {
        this.stage.querySelectorAll(".focused").forEach((node) => node.classList.remove("focused"));
        this.focused = frame;
        this.tell(frame);
        if (frame) {
            select(this.stage)
                .selectAll<SVGGElement, Frame<Copy>>("g")
                .filter((other) => other === frame)
                .node()
                ?.classList.add("focused");
        }
    }

    private key(event: KeyboardEvent): void {
        const frame = this.focused ?? this.top;
        if (!frame || event.target !== this.stage) {
            return;
        }
        const siblings = frame.parent?.children ?? [frame];
        const beside = siblings[siblings.indexOf(frame) + (event.key === "ArrowRight" ? 1 : -1)];
        const widest = (frame.children ?? []).reduce<Frame<Copy> | null>(
            (best, child) => (best && best.data.value >= child.data.value ? best : child),
            null,
        );
        const actions: { [key: string]: () => void } = {
            ArrowUp: () => this.focus(frame.parent ?? frame),
            ArrowDown: () => this.focus(widest ?? frame),
            ArrowLeft: () => this.focus(beside ?? frame),
            ArrowRight: () => this.focus(beside ?? frame),
            Enter: () => this.graph.zoomTo(frame),
            "0": () => this.graph.resetZoom(),
        };
        if (actions[event.key]) {
            event.preventDefault();
            actions[event.key]();
        }
    }
}

interface Sum {
    name: string;
    own: number;
    total: number;
    delta: number | null;
}

/** For each name what it took itself and with what it called; a name below itself counts once. */
function sumsOf(block: Flame): Sum[] {
    const sums = new Map<string, Sum>();
    const above = new Map<string, number>();
    const left: { node: FlameNode; leaving: boolean }[] = [{ node: block.root, leaving: false }];
    for (let next = left.pop(); next; next = left.pop()) {
        const { node, leaving } = next;
        const held = above.get(node.name) ?? 0;
        above.set(node.name, held + (leaving ? -1 : 1));
        if (leaving) {
            continue;
        }
        const sum = sums.get(node.name) ?? { name: node.name, own: 0, total: 0, delta: null };
        sums.set(node.name, sum);
        const children = node.children ?? [];
        sum.own += node.value - children.reduce((all, child) => all + child.value, 0);
        if (held === 0) {
            sum.total += node.value;
            sum.delta = node.delta === undefined ? sum.delta : (sum.delta ?? 0) + node.delta;
        }
        left.push({ node, leaving: true });
        children.forEach((child) => left.push({ node: child, leaving: false }));
    }
    return [...sums.values()].sort((a, b) => b.own - a.own || b.total - a.total);
}

export function drawFlame(block: Flame, context: Context): Node[] {
    if (!(block.root.value > 0)) {
        return [el("p", { class: "dim" }, "There are no samples.")];
    }
    const data = walk(block);
    const table = onDemand("Table of these functions", () => {
        const sums = sumsOf(block);
        const how = "summed up by this page over all stacks";
        const row = (index: number): Cell[] => {
            const sum = sums[index];
            const delta: Cell =
                sum.delta === null ? { empty: "not-in-file" } : { v: Number(computed(sum.delta)), computed: how };
            const cells: Cell[] = [
                { v: sum.name, computed: "the name of a frame" },
                { v: sum.own, computed: how },
                { v: sum.total, computed: how },
            ];
            return data.hasDelta ? [...cells, delta] : cells;
        };
        const columns = [
            { name: "function" },
            { name: "itself", unit: block.unit, number: true },
            { name: "with what it calls", unit: block.unit, number: true },
            ...(data.hasDelta ? [{ name: "difference", unit: "points", number: true }] : []),
        ];
        return new GridView(context.payload, { label: block.title, columns, rows: sums.length, row }).element;
    });
    const note = data.cut
        ? el("p", { class: "dim" }, `Frames deeper than ${kDeepest} are not drawn; the table has them.`)
        : null;
    return [new FlameView(block, context, data).element, note, table.element].filter(
        (node): node is HTMLElement => node !== null,
    );
}
