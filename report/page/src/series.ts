// Lines over time: drawn, read at the cursor, and summed up over what is marked.

import uPlot from "uplot";
import { Painter, TimeChart, ownTime } from "./chart";
import { Ink, colour, dashOf, inkOf, inkOfRun, kColours, kFaint, palette } from "./colours";
import type { Context } from "./context";
import { el, visible } from "./dom";
import { findings } from "./findings";
import { count } from "./format";
import { Legend } from "./legend";
import { paintPoints } from "./pens";
import { Points, bisect } from "./points";
import { cellNodes, showPopover } from "./popover";
import type { Series, Source } from "./payload";
import { SeriesTable } from "./series_table";
import { Mark, paintSign } from "./signs";
import { Stack } from "./stack";
import type { Range } from "./view";

const kHeight = 210;
/** A limit further above all values than this would press them flat; it is told in words then. */
const kFarLimit = 2.5;
const kMostMarks = 2000;
/** No axis reaches further: its length must be a number. */
const kWidest = 8e307;

export interface Line {
    name: string;
    run: number;
    points: Points;
    ink: Ink;
    shown: boolean;
    source(point: number): Source | undefined;
}

type PlacedMark = Mark & { place: number };
type Band = NonNullable<Series["bands"]>[number];

/** Words that can be read on whatever lies below them. */
function paintWords(context: CanvasRenderingContext2D, words: string, x: number, y: number): void {
    context.strokeStyle = palette().background;
    context.lineWidth = 3 * uPlot.pxRatio;
    context.lineJoin = "round";
    context.strokeText(words, x, y);
    context.fillText(words, x, y);
}

/** Where a point comes from, which stands in the payload at `index`. */
function sourceOf({ src, srcs }: Series["series"][number], index: number): Source | undefined {
    const number = src?.lines[index];
    return src && number !== undefined ? [src.file, number] : srcs?.[index];
}

export function linesOf(block: Series, context: Context): Line[] {
    const runs = [...new Set(block.series.map((line) => line.run))];
    const names = [...new Set(block.series.map((line) => line.name))];
    const several = runs.length > 1;
    const compared = several && names.length > 1 && names.length <= kColours && names.length < block.series.length;
    return block.series.map((line, index) => {
        const { counts, means } = line;
        const measured = counts && means ? { counts, means } : null;
        const points = new Points(line.t, line.v, context.clock.shift(line.run), measured);
        const label = context.payload.runs[line.run]?.label ?? "";
        return {
            name: several && !line.name.includes(label) ? `${line.name} (${label})` : line.name,
            run: line.run,
            points,
            ink: compared ? inkOfRun(names.indexOf(line.name), runs.indexOf(line.run)) : inkOf(index),
            shown: true,
            source: (point) => sourceOf(line, points.original(point)),
        };
    });
}

export class SeriesPainter implements Painter {
    readonly names = null;
    readonly marks: PlacedMark[];
    readonly stacked: boolean;
    private readonly stack: Stack | null;

    constructor(
        private readonly block: Series,
        private readonly context: Context,
        readonly lines: Line[],
        private readonly anchor: () => HTMLElement,
    ) {
        this.stack = block.stacked ? new Stack(lines) : null;
        this.stacked = this.stack !== null;
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
        this.labelBands(u, context);
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
        context.strokeStyle = colour(line.ink.colour);
        context.fillStyle = colour(line.ink.colour);
        context.globalAlpha = line.ink.faint ? kFaint : 1;
        context.setLineDash(dashOf(line.ink).map((part) => part * uPlot.pxRatio));
        paintPoints(u, context, line.points, this.context.view.range);
        context.globalAlpha = 1;
        context.setLineDash([]);
    }

    private paintBands(u: uPlot, context: CanvasRenderingContext2D): void {
        for (const band of this.block.bands ?? []) {
            const [x0, x1] = this.spanOf(u, band);
            context.fillStyle = palette().band;
            context.fillRect(x0, u.bbox.top, Math.max(uPlot.pxRatio, x1 - x0), u.bbox.height);
        }
    }

    /** Where a band begins and ends. */
    private spanOf(u: uPlot, band: Band): [number, number] {
        const shift = this.shiftOf(band.run, undefined);
        return [u.valToPos(band.from - shift, "x", true), u.valToPos(band.to - shift, "x", true)];
    }

    /** The words of the bands, above what is drawn, where there is room for them. */
    private labelBands(u: uPlot, context: CanvasRenderingContext2D): void {
        context.font = `${11 * uPlot.pxRatio}px system-ui, sans-serif`;
        context.textBaseline = "top";
        context.textAlign = "left";
        context.fillStyle = palette().dim;
        for (const band of this.block.bands ?? []) {
            const [x0, x1] = this.spanOf(u, band);
            const x = Math.max(x0, u.bbox.left) + 3 * uPlot.pxRatio;
            if (x + context.measureText(band.label).width < Math.min(x1, u.bbox.left + u.bbox.width)) {
                paintWords(context, band.label, x, u.bbox.top + 2 * uPlot.pxRatio);
            }
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
        paintWords(context, words, u.bbox.left + u.bbox.width - 4 * uPlot.pxRatio, y + (below ? 2 : -2));
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
