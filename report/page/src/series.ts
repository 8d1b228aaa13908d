// Lines over time: drawn, read at the cursor, and summed up over what is marked.

import uPlot from "uplot";
import { Painter, TimeChart, ownTime } from "./chart";
import { colour, dash, onPalette, palette } from "./colours";
import type { Context } from "./context";
import { button, el, replace, visible } from "./dom";
import { computed, count, duration, exact } from "./format";
import { Figures, Points, bisect } from "./points";
import { cellNodes, showPopover, sourceButton, sourceNodes } from "./popover";
import type { Series, Source } from "./payload";
import { SeriesTable } from "./series_table";
import { Stack } from "./stack";
import type { Range } from "./view";

const kHeight = 210;
/** A limit further above all values than this would press them flat; it is told in words then. */
const kFarLimit = 2.5;
const kDot = 5;
const kLineWidth = 1.5;
/** So many points to a pixel are no line any more. */
const kDense = 2;
const kMostMarks = 2000;
/** No axis reaches further: its length must be a number. */
const kWidest = 8e307;

export interface Line {
    name: string;
    run: number;
    points: Points;
    index: number;
    shown: boolean;
    source(point: number): Source | undefined;
}

type Mark = NonNullable<Series["marks"]>[number] & { place: number };

export function linesOf(block: Series, context: Context): Line[] {
    const several = new Set(block.series.map((line) => line.run)).size > 1;
    return block.series.map((line, index) => {
        const points = new Points(line.t, line.v, context.clock.shift(line.run));
        const label = context.payload.runs[line.run]?.label ?? "";
        return {
            name: several && !line.name.includes(label) ? `${line.name} (${label})` : line.name,
            run: line.run,
            points,
            index,
            shown: true,
            source: (point) => {
                const number = line.src?.lines[points.original(point)];
                return line.src && number !== undefined ? [line.src.file, number] : undefined;
            },
        };
    });
}

class SeriesPainter implements Painter {
    readonly names = null;
    readonly marks: Mark[];
    private readonly stack: Stack | null;

    constructor(
        private readonly block: Series,
        private readonly context: Context,
        readonly lines: Line[],
        private readonly anchor: () => HTMLElement,
    ) {
        this.stack = block.stacked ? new Stack(lines) : null;
        this.marks = (block.marks ?? []).map((mark) => ({ ...mark, place: mark.t - this.shiftOf(mark.run, mark.series) }));
    }

    height(): number {
        return kHeight;
    }

    /** The stack changes with what is shown of it. */
    arrange(): void {
        this.stack?.build();
    }

    limits(range: Range): [number, number] {
        let [least, greatest] = [Infinity, -Infinity];
        for (const points of this.drawn()) {
            const first = Math.max(0, bisect(points.t, range.from) - 1);
            const extent = points.extent(first, Math.min(points.length, bisect(points.t, range.to, true) + 1));
            if (extent) {
                least = Math.min(least, extent[0]);
                greatest = Math.max(greatest, extent[1]);
            }
        }
        if (least > greatest) {
            return [0, 1];
        }
        for (const limit of this.nearLimits(greatest)) {
            greatest = Math.max(greatest, limit.v);
        }
        if (least >= 0 && (this.stack || least <= greatest * 0.6)) {
            least = 0;
        }
        [least, greatest] = [Math.max(least, -kWidest), Math.min(greatest, kWidest)];
        const room = greatest === least ? Math.abs(greatest) * 0.1 || 1 : (greatest - least) * 0.06;
        return [least === 0 ? 0 : least - room, greatest + room];
    }

    nearLimits(greatest: number): { v: number; label: string; src?: Source }[] {
        return (this.block.limits ?? []).filter((limit) => limit.v <= greatest * kFarLimit);
    }

    paint(u: uPlot, context: CanvasRenderingContext2D): void {
        this.paintBands(u, context);
        if (this.stack) {
            this.stack.paint(u, context, this.context.view.range);
        } else {
            for (const line of this.lines) {
                if (line.shown) {
                    this.paintLine(u, context, line);
                }
            }
        }
        this.paintLimits(u, context);
        this.paintMarks(u, context);
    }

    next(moment: number, direction: number): number | null {
        let best: number | null = null;
        for (const line of this.lines) {
            const { t } = line.points;
            const i = direction > 0 ? bisect(t, moment, true) : bisect(t, moment) - 1;
            if (line.shown && i >= 0 && i < t.length && (best === null || (t[i] - best) * direction < 0)) {
                best = t[i];
            }
        }
        return best;
    }

    tell(_u: uPlot, moment: number, value: number | null, at: { x: number; y: number } | undefined): void {
        const near = this.lines
            .filter((line) => line.shown && line.points.length > 0)
            .map((line) => ({ line, point: line.points.nearest(moment) }));
        const distance = (entry: { line: Line; point: number }): number => {
            const v = entry.line.points.v[entry.point];
            return value === null || Number.isNaN(v) ? Infinity : Math.abs(v - value);
        };
        const told = value === null || this.stack ? near : near.sort((a, b) => distance(a) - distance(b)).slice(0, 1);
        const nodes = told.slice(0, 12).flatMap(({ line, point }) => this.tellPoint(line, point));
        showPopover(this.anchor(), this.block.title, nodes.length > 0 ? nodes : ["No line is shown."], at);
    }

    tellPoint(line: Line, point: number): Node[] {
        const { t, v } = line.points;
        const src = line.source(point);
        const cell = Number.isNaN(v[point]) ? { empty: "not-in-file" as const, src } : { v: v[point], src };
        return [
            el("p", { class: "point" }, el("strong", {}, line.name), ` at ${this.context.clock.full(t[point])}`),
            ...(cellNodes(this.context.payload, cell, this.block.unit).filter(Boolean) as Node[]),
        ];
    }

    private drawn(): Points[] {
        return this.stack ? this.stack.sums : this.lines.filter((line) => line.shown).map((line) => line.points);
    }

    private shiftOf(run: number | undefined, series: number | undefined): number {
        return this.context.clock.shift(run ?? this.block.series[series ?? 0]?.run ?? this.context.run);
    }

    private paintLine(u: uPlot, context: CanvasRenderingContext2D, line: Line): void {
        context.strokeStyle = colour(line.index);
        context.fillStyle = colour(line.index);
        context.lineWidth = kLineWidth * uPlot.pxRatio;
        context.setLineDash(dash(line.index).map((part) => part * uPlot.pxRatio));
        paintPoints(u, context, line.points, this.context.view.range);
        context.setLineDash([]);
    }

    private paintBands(u: uPlot, context: CanvasRenderingContext2D): void {
        for (const band of this.block.bands ?? []) {
            const shift = this.shiftOf(band.run, undefined);
            const [x0, x1] = [u.valToPos(band.from - shift, "x", true), u.valToPos(band.to - shift, "x", true)];
            context.fillStyle = palette().band;
            context.fillRect(x0, u.bbox.top, Math.max(uPlot.pxRatio, x1 - x0), u.bbox.height);
            this.label(
                u,
                context,
                band.label,
                Math.max(x0, u.bbox.left) + 3 * uPlot.pxRatio,
                u.bbox.top,
                Math.min(x1, u.bbox.left + u.bbox.width),
            );
        }
    }

    /** Words inside the plot, where there is room for them. */
    private label(u: uPlot, context: CanvasRenderingContext2D, words: string, x: number, top: number, end: number): void {
        context.font = `${11 * uPlot.pxRatio}px system-ui, sans-serif`;
        context.textBaseline = "top";
        context.textAlign = "left";
        if (x + context.measureText(words).width < Math.min(end, u.bbox.left + u.bbox.width)) {
            context.fillStyle = palette().dim;
            context.fillText(words, x, top + 2 * uPlot.pxRatio);
        }
    }

    private paintLimits(u: uPlot, context: CanvasRenderingContext2D): void {
        const labelled: number[] = [];
        for (const limit of this.block.limits ?? []) {
            const y = Math.round(u.valToPos(limit.v, "y", true));
            if (!(y >= u.bbox.top && y <= u.bbox.top + u.bbox.height)) {
                continue;
            }
            context.strokeStyle = palette().alarm;
            context.lineWidth = uPlot.pxRatio;
            context.setLineDash([5 * uPlot.pxRatio, 4 * uPlot.pxRatio]);
            context.beginPath();
            context.moveTo(u.bbox.left, y + 0.5);
            context.lineTo(u.bbox.left + u.bbox.width, y + 0.5);
            context.stroke();
            context.setLineDash([]);
            if (labelled.every((other) => Math.abs(other - y) > 14 * uPlot.pxRatio)) {
                labelled.push(y); // those that would cover each other stand below the chart only
                this.limitLabel(u, context, visible(limit.label).slice(0, 80), y);
            }
        }
    }

    private limitLabel(u: uPlot, context: CanvasRenderingContext2D, words: string, y: number): void {
        const below = y - 16 * uPlot.pxRatio < u.bbox.top;
        context.font = `${11 * uPlot.pxRatio}px system-ui, sans-serif`;
        context.textAlign = "right";
        context.textBaseline = below ? "top" : "bottom";
        context.fillStyle = palette().alarm;
        context.fillText(words, u.bbox.left + u.bbox.width - 4 * uPlot.pxRatio, y + (below ? 2 : -2));
    }

    private paintMarks(u: uPlot, context: CanvasRenderingContext2D): void {
        const { from, to } = this.context.view.range;
        const seen = this.marks.filter((mark) => mark.place >= from && mark.place <= to).slice(0, kMostMarks);
        for (const mark of seen) {
            const line = mark.series === undefined ? undefined : this.lines[mark.series];
            const value = line && line.points.length > 0 ? line.points.v[line.points.nearest(mark.place)] : NaN;
            const x = u.valToPos(mark.place, "x", true);
            const top = u.bbox.top + 8 * uPlot.pxRatio;
            const y = Number.isNaN(value) || this.stack ? top : u.valToPos(value, "y", true);
            paintSign(context, mark.sign, x, y);
        }
    }
}

function paintSign(context: CanvasRenderingContext2D, sign: Mark["sign"], x: number, y: number): void {
    const r = 5 * uPlot.pxRatio;
    const shapes: { [sign in Mark["sign"]]: [number, number][] } = {
        peak: [
            [-r, r * 0.7],
            [r, r * 0.7],
            [0, -r],
        ],
        trough: [
            [-r, -r * 0.7],
            [r, -r * 0.7],
            [0, r],
        ],
        over: [
            [0, -r],
            [r, 0],
            [0, r],
            [-r, 0],
        ],
        event: [
            [-r * 0.8, -r * 0.8],
            [r * 0.8, -r * 0.8],
            [r * 0.8, r * 0.8],
            [-r * 0.8, r * 0.8],
        ],
    };
    context.beginPath();
    for (const [dx, dy] of shapes[sign] ?? shapes.event) {
        context.lineTo(x + dx, y + dy);
    }
    context.closePath();
    context.fillStyle = palette().alarm;
    context.strokeStyle = palette().background;
    context.lineWidth = uPlot.pxRatio;
    context.fill();
    context.stroke();
}

/** Draws the points of a range: the line through them, or where they stand closer than pixels, what each column of pixels spans. */
function paintPoints(u: uPlot, context: CanvasRenderingContext2D, points: Points, range: Range): void {
    const first = Math.max(0, bisect(points.t, range.from) - 1);
    const end = Math.min(points.length, bisect(points.t, range.to, true) + 1);
    const { left, width, top, height } = u.bbox;
    const scaleX = width / (range.to - range.from);
    const y0 = u.scales.y.min as number;
    const scaleY = height / ((u.scales.y.max as number) - y0);
    const outline = points.outline(first, end, width);
    const pen = outline.length > kDense * width ? new ColumnPen(context) : new LinePen(context);
    for (const i of outline) {
        const v = points.v[i];
        if (v === v) {
            pen.to(left + (points.t[i] - range.from) * scaleX, top + height - (v - y0) * scaleY);
        } else {
            pen.lift();
        }
    }
    pen.lift();
    pen.end();
}

/** A line from point to point, and a dot for one that stands alone. */
class LinePen {
    private readonly path = new Path2D();
    private points = 0;
    private x = 0;
    private y = 0;

    constructor(private readonly context: CanvasRenderingContext2D) {}

    to(x: number, y: number): void {
        if (this.points === 0) {
            this.path.moveTo(x, y);
        } else {
            this.path.lineTo(x, y);
        }
        [this.x, this.y] = [x, y];
        this.points++;
    }

    lift(): void {
        if (this.points === 1) {
            const size = kDot * uPlot.pxRatio;
            this.context.fillRect(this.x - size / 2, this.y - size / 2, size, size);
        }
        this.points = 0;
    }

    end(): void {
        this.context.stroke(this.path);
    }
}

/** A rectangle for each column of pixels, from the least to the greatest in it: far cheaper than a line that goes up and down. */
class ColumnPen {
    private column = -1;
    private least = 0;
    private greatest = 0;
    private last = 0;

    constructor(private readonly context: CanvasRenderingContext2D) {}

    to(x: number, y: number): void {
        const column = Math.floor(x);
        if (column !== this.column) {
            const joined = this.column >= 0 ? this.last : y;
            this.flush();
            [this.column, this.least, this.greatest] = [column, Math.min(joined, y), Math.max(joined, y)];
        }
        this.least = Math.min(this.least, y);
        this.greatest = Math.max(this.greatest, y);
        this.last = y;
    }

    lift(): void {
        this.flush();
        this.column = -1;
    }

    end(): void {
        this.flush();
    }

    private flush(): void {
        if (this.column >= 0) {
            const thick = kLineWidth * uPlot.pxRatio;
            const high = Math.max(thick, this.greatest - this.least);
            this.context.fillRect(this.column, (this.least + this.greatest - high) / 2, 1, high);
        }
    }
}

/** The rows below a chart: what each line is, its value at the cursor, and its figures over what is marked or shown. */
class Legend {
    readonly element = el("div", { class: "legend scroll" });
    private readonly over = el("span");
    private readonly rows: { line: Line; now: HTMLElement; figures: HTMLElement[]; swatch: HTMLElement }[] = [];
    private frame = 0;

    constructor(
        private readonly block: Series,
        private readonly context: Context,
        private readonly painter: SeriesPainter,
        private readonly changed: () => void,
    ) {
        const body = el("tbody");
        for (const line of painter.lines) {
            body.appendChild(this.row(line));
        }
        const heads = ["at the cursor", "mean", "least", "greatest"].map((words) =>
            el("th", { class: "number", attributes: { scope: "col" } }, words),
        );
        const first = el("th", { attributes: { scope: "col" } }, this.over);
        this.element.appendChild(
            el(
                "table",
                { attributes: { "aria-label": `${block.title}: figures` } },
                el("thead", {}, el("tr", {}, first, ...heads)),
                body,
            ),
        );
        const { view, signal } = context;
        view.on("range", signal, () => this.later());
        view.on("mark", signal, () => this.later());
        view.on("cursor", signal, () => this.later());
        onPalette(signal, () => this.colours());
        this.colours();
        this.update();
    }

    private row(line: Line): HTMLElement {
        const box = el("input", { attributes: { type: "checkbox", "aria-label": `Show ${line.name}` } });
        box.checked = true;
        box.addEventListener("change", () => {
            line.shown = box.checked;
            this.painter.arrange();
            this.changed();
        });
        const swatch = el("span", { class: "swatch", attributes: { "aria-hidden": "true" } });
        const now = el("td", { class: "number now" });
        const figures = [0, 1, 2].map(() => el("td", { class: "number" }));
        this.rows.push({ line, now, figures, swatch });
        const name = el("td", { class: "name", title: line.name }, el("label", {}, box, swatch, line.name));
        return el("tr", {}, name, now, ...figures);
    }

    private colours(): void {
        for (const { line, swatch } of this.rows) {
            const style = ["solid", "dashed", "dotted", "double"][
                dash(line.index).length === 0 ? 0 : Math.floor(line.index / 8) % 4
            ];
            swatch.style.borderTop = `3px ${style} ${colour(line.index)}`;
        }
    }

    /** Once before the next picture, however often the cursor moved. */
    private later(): void {
        if (this.frame === 0) {
            this.frame = requestAnimationFrame(() => {
                this.frame = 0;
                this.update();
            });
        }
    }

    private shownFor = "";

    private update(): void {
        const { view, clock } = this.context;
        const range = view.mark ?? view.range;
        for (const { line, now } of this.rows) {
            this.tellCursor(line, now);
        }
        const key = `${range.from}..${range.to}..${view.mark !== null}`;
        if (key === this.shownFor) {
            return;
        }
        this.shownFor = key;
        const width = duration(range.to - range.from);
        this.over.textContent = view.mark
            ? `marked: ${clock.label(range.from)} to ${clock.label(range.to)} (${width})`
            : `in view (${width})`;
        for (const { line, figures } of this.rows) {
            this.tellFigures(line, figures, line.points.figures(range), range);
        }
    }

    private tellCursor(line: Line, cell: HTMLElement): void {
        const { cursor } = this.context.view;
        const point = cursor === null ? -1 : line.points.nearest(cursor);
        const v = point < 0 ? NaN : line.points.v[point];
        const words = point < 0 ? "" : Number.isNaN(v) ? "no value" : exact(v);
        if (cell.textContent !== words) {
            cell.textContent = words;
        }
    }

    private tellFigures(line: Line, cells: HTMLElement[], figures: Figures | null, range: Range): void {
        if (!figures) {
            cells.forEach((cell) => replace(cell, el("span", { class: "dim" }, "no points")));
            return;
        }
        const { clock } = this.context;
        const thinned = (this.block.total ?? 0) > this.painter.lines.reduce((sum, other) => sum + other.points.length, 0);
        const words = `The mean of ${count(figures.points)} points of ${line.name} from ${clock.full(range.from)} to ${clock.full(range.to)}, computed by this page.`;
        const kept =
            "The points are those that the report keeps: the least and the greatest of each piece of time. The mean of all that was measured may differ.";
        const mean = sourceButton(computed(figures.mean), `${line.name}: mean`, () => [
            el("p", {}, words),
            thinned && el("p", { class: "trouble" }, kept),
        ]);
        const point = (index: number, what: string): HTMLElement =>
            sourceButton(exact(line.points.v[index]), `${line.name}: ${what}`, () => this.painter.tellPoint(line, index));
        replace(cells[0], thinned && el("span", { title: kept }, "\u2248\u202f"), mean);
        replace(cells[1], point(figures.least, "least"));
        replace(cells[2], point(figures.greatest, "greatest"));
    }
}

const kSigns: { [sign: string]: string } = {
    peak: "\u25b2 peak",
    trough: "\u25bc trough",
    over: "\u25c6 over the limit",
    event: "\u25a0 event",
};

/** What was found, as words with the way to the source and to the moment. */
function findings(block: Series, context: Context, painter: SeriesPainter): HTMLElement | null {
    const items: HTMLElement[] = [];
    const { view, clock, payload } = context;
    const tell = (label: string, src: Source | undefined) =>
        sourceButton(label, label, () => (src ? sourceNodes(payload, src) : ["The report names no line for this."]));
    for (const mark of painter.marks) {
        const owner = mark.series === undefined ? "" : (painter.lines[mark.series]?.name ?? "");
        const width = view.range.to - view.range.from;
        const go = (): void => {
            const half = Math.min(width, (view.whole.to - view.whole.from) / 10) / 2;
            view.setRange({ from: mark.place - half, to: mark.place + half });
            view.setCursor(mark.place);
        };
        items.push(
            el(
                "li",
                {},
                `${kSigns[mark.sign] ?? mark.sign} `,
                button(clock.label(mark.place), go, { class: "go" }),
                " ",
                owner && !mark.label.includes(owner) ? `${owner}: ` : "",
                tell(mark.label, mark.src),
            ),
        );
    }
    for (const limit of block.limits ?? []) {
        items.push(el("li", {}, "limit ", tell(`${limit.label}: ${exact(limit.v)} ${block.unit}`, limit.src)));
    }
    for (const band of block.bands ?? []) {
        const shift = context.clock.shift(band.run ?? block.series[0]?.run ?? context.run);
        const words = `${clock.label(band.from - shift)} to ${clock.label(band.to - shift)}`;
        const go = (): void => view.setMark({ from: band.from - shift, to: band.to - shift });
        items.push(el("li", {}, "time ", button(words, go, { class: "go" }), " ", tell(band.label, band.src)));
    }
    if (items.length === 0) {
        return null;
    }
    const list = el("ul", {}, ...items.slice(0, 500));
    const title = `Marks, times and limits: ${count(items.length)}${items.length > 500 ? ", the first 500" : ""}`;
    const details = el("details", { class: "findings" }, el("summary", {}, title), list);
    details.open = items.length <= 10;
    return details;
}

export function drawSeries(block: Series, context: Context): Node[] {
    const lines = linesOf(block, context);
    if (lines.every((line) => line.points.length === 0)) {
        return [el("p", { class: "dim" }, "There are no points to draw.")];
    }
    const painter = new SeriesPainter(block, context, lines, () => chart.element);
    const chart: TimeChart = new TimeChart(context, painter, block.title);
    const legend = new Legend(block, context, painter, () => chart.invalidate());
    const kept = lines.reduce((sum, line) => sum + line.points.length, 0);
    const thinned = block.total !== undefined && block.total > kept;
    const words = `${count(kept)} of ${count(block.total ?? kept)} points are kept: the least and the greatest of each piece of time survive.`;
    const begins = lines.reduce((least, { points }) => (points.length > 0 ? Math.min(least, points.t[0]) : least), Infinity);
    const ends = lines.reduce(
        (most, { points }) => (points.length > 0 ? Math.max(most, points.t[points.length - 1]) : most),
        -Infinity,
    );
    const nodes: (Node | null)[] = [
        chart.element,
        ownTime(context, begins, ends),
        legend.element,
        findings(block, context, painter),
    ];
    nodes.push(thinned ? el("p", { class: "dim" }, words) : null);
    nodes.push(new SeriesTable(block, context, lines).element);
    return nodes.filter((node): node is Node => node !== null);
}
