// A chart on the report's time axis. It zooms, pans and shows the cursor together with all others; what it draws, its painter knows.

import uPlot from "uplot";
import { isPrinting, onPalette, palette } from "./colours";
import type { Context } from "./context";
import { button, el } from "./dom";
import { onAxis } from "./format";
import type { Range } from "./view";

export interface Painter {
    height(): number;
    /** Least and greatest of what is to be seen between two moments. */
    limits(range: Range): [number, number];
    /** Draws inside the plot. */
    paint(u: uPlot, context: CanvasRenderingContext2D): void;
    /** Labels of the axis at the left; null: numbers. */
    names: ((u: uPlot, splits: number[]) => string[]) | null;
    splits?(): number[];
    /** The next point after (1) or before (-1) a moment, for the arrow keys. */
    next(moment: number, direction: number): number | null;
    /** Shows where the point near a place comes from. */
    tell(u: uPlot, moment: number, value: number | null, at: { x: number; y: number } | undefined): void;
}

/** Of a chart that fills only a part of the report's time a button that leads there. */
export function ownTime(context: Context, from: number, to: number): HTMLElement | null {
    const { home } = context.view;
    if (!(from < to) || to - from > kOwnTime * (home.to - home.from)) {
        return null;
    }
    const margin = (to - from) / 50;
    const go = (): void => context.view.setRange({ from: from - margin, to: to + margin });
    return el("p", { class: "own-time" }, button("Zoom to the time of this chart", go));
}

export type Drag = "zoom" | "pan" | "mark";
/** What dragging does, chosen in the page's head. */
export const drag: { mode: Drag } = { mode: "zoom" };

const kSteps = [1, 2, 5];
const kTimeSteps = [
    ...[-2, -1, 0, 1, 2].flatMap((power) => kSteps.map((step) => step * 10 ** power)),
    ...[1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 10800, 21600, 43200, 86400].map(
        (second) => second * 1000,
    ),
    ...[2, 5, 10, 20, 50, 100, 365, 730, 3650, 36500].map((days) => days * 86400000),
];
const kPrintedWidth = 680;
const kFont = "11px system-ui, sans-serif";
/** A chart that fills less of the time than this has a button to be zoomed to. */
const kOwnTime = 0.5;
const kBeyond = 6; // pixels above and below the plot for what stands at its edges
const kSlip = 4; // pixels within which a press is no drag

export class TimeChart {
    readonly element: HTMLElement;
    private plot: uPlot | null = null;
    private stale = true;
    private inView = false;
    private hovered = false;
    private frame = 0;

    constructor(
        private readonly context: Context,
        private readonly painter: Painter,
        label: string,
    ) {
        this.element = el("div", {
            class: "chart",
            attributes: {
                tabindex: "0",
                role: "group",
                "aria-roledescription": "chart",
                "aria-label": `${label}. Arrow keys move the cursor, with Shift the view; plus and minus zoom, 0 shows all; left and right bracket mark a range; Enter tells the source.`,
            },
        });
        this.element.style.minHeight = `${painter.height()}px`; // what is drawn later moves nothing
        const { view, signal } = context;
        view.on("range", signal, () => this.invalidate());
        view.on("mark", signal, () => this.invalidate());
        view.on("cursor", signal, () => this.showCursor());
        onPalette(signal, () => this.rebuild());
        this.element.addEventListener("keydown", (event) => this.key(event));
        this.watch(signal);
    }

    /** Draws anew, now if it is in sight, else when it comes in sight. */
    invalidate(): void {
        this.stale = true;
        if (this.inView && this.frame === 0) {
            this.frame = requestAnimationFrame(() => {
                this.frame = 0;
                this.draw();
            });
        }
    }

    rebuild(): void {
        this.plot?.destroy();
        this.plot = null;
        this.stale = true;
        if (isPrinting()) {
            this.draw(); // paper shows all charts, those out of sight too
        } else {
            this.invalidate();
        }
    }

    private watch(signal: AbortSignal): void {
        const seen = new IntersectionObserver(
            (entries) => {
                this.inView = entries[entries.length - 1].isIntersecting;
                if (this.inView && this.stale) {
                    this.draw();
                }
            },
            { rootMargin: "100px" },
        );
        const sized = new ResizeObserver(() => {
            if (this.plot && !isPrinting() && Math.abs(this.plot.width - this.width()) >= 1) {
                this.plot.setSize({ width: this.width(), height: this.painter.height() });
                this.invalidate();
            }
        });
        seen.observe(this.element);
        sized.observe(this.element);
        signal.addEventListener("abort", () => {
            seen.disconnect();
            sized.disconnect();
            cancelAnimationFrame(this.frame);
            this.plot?.destroy();
        });
    }

    private width(): number {
        return isPrinting() ? kPrintedWidth : Math.max(280, this.element.clientWidth);
    }

    private draw(): void {
        this.stale = false;
        const plot = this.plot ?? this.make();
        const range = this.context.view.range;
        const [min, max] = this.painter.limits(range);
        plot.batch(() => {
            plot.setScale("x", { min: range.from, max: range.to });
            plot.setScale("y", { min, max });
        });
        plot.redraw(false, true);
        this.showCursor();
    }

    private make(): uPlot {
        const { whole } = this.context.view;
        // The points are drawn by the painter; the plot itself knows the ends of the axes alone.
        this.plot = new uPlot(this.options(), [
            [whole.from, whole.to],
            [0, 1],
        ]);
        this.element.replaceChildren(this.plot.root);
        this.listen(this.plot);
        return this.plot;
    }

    private options(): uPlot.Options {
        const colours = palette();
        const axis = {
            stroke: colours.dim,
            font: kFont,
            grid: { stroke: colours.grid, width: 1 },
            ticks: { stroke: colours.grid, width: 1, size: 4 },
        };
        const { clock } = this.context;
        const { painter } = this;
        const { names } = painter;
        return {
            width: this.width(),
            height: this.painter.height(),
            legend: { show: false },
            cursor: {
                y: false,
                points: { show: false },
                drag: { x: true, y: false, setScale: false },
                bind: {
                    mousedown: (u, _target, handler) => (event) => this.press(u, event, handler),
                    dblclick: () => () => null,
                },
            },
            scales: { x: { time: false, auto: false }, y: { auto: false } },
            axes: [
                {
                    ...axis,
                    size: 26,
                    space: 84,
                    incrs: kTimeSteps,
                    values: (_u, places, _axis, _space, step) => places.map((place) => clock.label(place, step)),
                },
                {
                    ...axis,
                    size: this.context.gutter,
                    gap: 4,
                    space: 26,
                    ...(painter.splits ? { splits: () => painter.splits?.() ?? [] } : {}),
                    values: (u, places) => (names ? names(u, places) : places.map(onAxis)),
                },
            ],
            series: [{}, { paths: () => null, points: { show: false } }],
            hooks: { draw: [(u) => this.paint(u)], setSelect: [(u) => this.selected(u)] },
            padding: [8, 30, 0, 0], // the last moment's words stand half beyond the plot
        };
    }

    private paint(u: uPlot): void {
        const { left, top, width, height } = u.bbox;
        const context = u.ctx;
        context.save();
        context.beginPath();
        const beyond = kBeyond * uPlot.pxRatio;
        context.rect(left, top - beyond, width, height + 2 * beyond);
        context.clip();
        this.paintMark(u, context);
        this.painter.paint(u, context);
        context.restore();
    }

    private paintMark(u: uPlot, context: CanvasRenderingContext2D): void {
        const { mark } = this.context.view;
        if (!mark) {
            return;
        }
        const [x0, x1] = [u.valToPos(mark.from, "x", true), u.valToPos(mark.to, "x", true)];
        context.fillStyle = palette().mark;
        context.fillRect(x0, u.bbox.top, Math.max(1, x1 - x0), u.bbox.height);
        context.fillStyle = palette().markEdge;
        for (const x of [x0, x1]) {
            context.fillRect(Math.round(x), u.bbox.top, 1, u.bbox.height);
        }
    }

    private listen(u: uPlot): void {
        const { view } = this.context;
        u.over.addEventListener("mousemove", (event) => {
            this.hovered = true;
            view.setCursor(u.posToVal(event.offsetX, "x"));
        });
        u.over.addEventListener("mouseleave", () => {
            this.hovered = false;
            view.setCursor(null);
        });
        u.over.addEventListener("dblclick", () => view.setRange(view.home));
        u.over.addEventListener("wheel", (event) => this.wheel(u, event), { passive: false });
    }

    private wheel(u: uPlot, event: WheelEvent): void {
        const { view } = this.context;
        if (event.ctrlKey || event.metaKey) {
            event.preventDefault();
            view.zoom(event.deltaY > 0 ? 1.25 : 0.8, u.posToVal(event.offsetX, "x"));
        } else if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
            event.preventDefault();
            view.pan((event.deltaX || event.deltaY) / u.over.clientWidth);
        }
    }

    /** A press of the mouse: the plot draws the selection, panning is ours, and a press without a move asks for the source. */
    private press(u: uPlot, event: MouseEvent, select: (event: MouseEvent) => null): null {
        if (event.button !== 0) {
            return null;
        }
        const { view } = this.context;
        const mode = this.modeOf(event);
        const start = event.clientX;
        const range = view.range;
        const perPixel = (range.to - range.from) / u.over.clientWidth;
        const move = (moved: MouseEvent): void => {
            if (mode === "pan") {
                const by = (start - moved.clientX) * perPixel;
                view.setRange({ from: range.from + by, to: range.to + by });
            }
        };
        const release = (end: MouseEvent): void => {
            document.removeEventListener("mousemove", move);
            document.removeEventListener("mouseup", release);
            if (Math.abs(end.clientX - start) < kSlip && u.over.contains(end.target as Node)) {
                const place = u.over.getBoundingClientRect();
                const at = { x: end.clientX, y: end.clientY };
                const value = u.posToVal(end.clientY - place.top, "y");
                this.painter.tell(u, u.posToVal(end.clientX - place.left, "x"), value, at);
            }
        };
        document.addEventListener("mousemove", move);
        document.addEventListener("mouseup", release);
        this.element.focus({ preventScroll: true });
        if (mode !== "pan") {
            select(event);
        }
        return null;
    }

    private dragged: Drag = "zoom";

    private modeOf(event: MouseEvent): Drag {
        this.dragged = event.shiftKey ? "pan" : event.altKey || event.ctrlKey ? "mark" : drag.mode;
        return this.dragged;
    }

    private selected(u: uPlot): void {
        const { left, width } = u.select;
        if (width < kSlip) {
            return;
        }
        const range = { from: u.posToVal(left, "x"), to: u.posToVal(left + width, "x") };
        u.setSelect({ left: 0, top: 0, width: 0, height: 0 }, false);
        if (this.dragged === "mark") {
            this.context.view.setMark(range);
        } else {
            this.context.view.setRange(range);
        }
    }

    private showCursor(): void {
        const { cursor, range } = this.context.view;
        if (!this.plot || !this.inView || this.hovered) {
            return;
        }
        const shown = cursor !== null && cursor >= range.from && cursor <= range.to;
        this.plot.setCursor({ left: shown ? this.plot.valToPos(cursor, "x") : -10, top: shown ? 0 : -10 }, false);
    }

    private key(event: KeyboardEvent): void {
        if (event.target !== this.element || event.altKey || event.ctrlKey || event.metaKey) {
            return;
        }
        const { view } = this.context;
        const actions: { [key: string]: () => void } = {
            ArrowLeft: () => (event.shiftKey ? view.pan(-0.1) : this.step(-1)),
            ArrowRight: () => (event.shiftKey ? view.pan(0.1) : this.step(1)),
            "+": () => view.zoom(0.5, view.cursor ?? undefined),
            "=": () => view.zoom(0.5, view.cursor ?? undefined),
            "-": () => view.zoom(2, view.cursor ?? undefined),
            "0": () => view.setRange(view.home),
            Home: () => this.jump(view.range.from),
            End: () => this.jump(view.range.to),
            "[": () => this.markTo("from"),
            "]": () => this.markTo("to"),
            Escape: () => view.setMark(null),
            Enter: () => this.tellAtCursor(),
        };
        const action = actions[event.key];
        if (action) {
            event.preventDefault();
            this.hovered = false;
            action();
        }
    }

    /** Moves the cursor to a moment, and the view with it. */
    private jump(moment: number): void {
        const { view } = this.context;
        const { from, to } = view.range;
        if (moment < from || moment > to) {
            view.setRange({ from: moment - (to - from) / 2, to: moment + (to - from) / 2 });
        }
        view.setCursor(moment);
    }

    private step(direction: number): void {
        const { view } = this.context;
        const from = view.cursor ?? (direction > 0 ? view.range.from : view.range.to);
        const next = this.painter.next(from, direction);
        if (next !== null) {
            this.jump(next);
        }
    }

    private markTo(end: "from" | "to"): void {
        const { view } = this.context;
        const cursor = view.cursor ?? view.range[end];
        const mark = view.mark ?? view.range;
        const moved = { ...mark, [end]: cursor };
        view.setMark(moved.from < moved.to ? moved : { from: cursor, to: cursor + (view.range.to - view.range.from) / 100 });
    }

    private tellAtCursor(): void {
        const { cursor, range } = this.context.view;
        const moment = cursor ?? (range.from + range.to) / 2;
        const place = this.element.getBoundingClientRect();
        const x = place.left + (this.plot ? this.plot.valToPos(moment, "x") : 0) + this.context.gutter;
        if (this.plot) {
            this.painter.tell(this.plot, moment, null, { x, y: place.top + place.height / 2 });
        }
    }
}
