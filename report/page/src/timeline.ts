// What ran when: a row for each, spans on the report's time axis.

import uPlot from "uplot";
import { Painter, TimeChart, ownTime } from "./chart";
import { colour, palette } from "./colours";
import type { Context } from "./context";
import { el, visible } from "./dom";
import { count, duration } from "./format";
import { GridView } from "./grid";
import type { Cell, Source, Timeline } from "./payload";
import { showPopover, sourceNodes } from "./popover";
import { onDemand } from "./series_table";
import type { Range } from "./view";

const kRow = 20;
const kTallest = 1600;
const kMostTableRows = 20000;

interface Span {
    from: number;
    to: number;
    src: Source | undefined;
}

interface Row {
    name: string;
    /** By their beginnings. */
    spans: Span[];
    /** The longest span: none that begins earlier than this before a moment reaches it. */
    longest: number;
}

function rowsOf(block: Timeline, context: Context): Row[] {
    return block.rows.map((row) => {
        const shift = context.clock.shift(row.run ?? context.run);
        const spans = row.spans
            .map((span) => ({
                from: span.from - shift,
                to: Math.max(span.from, span.to) - shift,
                src: span.src,
            }))
            .sort((a, b) => a.from - b.from);
        return { name: row.name, spans, longest: spans.reduce((most, span) => Math.max(most, span.to - span.from), 0) };
    });
}

/** The index of the first span of a row that begins at a moment or after it. */
function firstFrom(row: Row, moment: number): number {
    let [low, high] = [0, row.spans.length];
    while (low < high) {
        const middle = (low + high) >>> 1;
        if (row.spans[middle].from < moment) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

class TimelinePainter implements Painter {
    readonly names = (u: uPlot, places: number[]): string[] => places.map((place) => this.nameAt(u, place));

    constructor(
        private readonly block: Timeline,
        private readonly context: Context,
        private readonly rows: Row[],
        private readonly anchor: () => HTMLElement,
    ) {}

    height(): number {
        return Math.min(kTallest, this.rows.length * kRow + 44);
    }

    limits(_range: Range): [number, number] {
        return [-0.5, this.rows.length - 0.5];
    }

    /** Every row's name, or where rows are thinner than letters, one of several. */
    splits(): number[] {
        const every = Math.ceil((this.rows.length * 14) / (kTallest - 44));
        return this.rows.map((_row, index) => index).filter((index) => index % every === 0);
    }

    paint(u: uPlot, context: CanvasRenderingContext2D): void {
        const { range } = this.context.view;
        const height = u.bbox.height / this.rows.length;
        this.rows.forEach((row, index) => {
            const top = u.bbox.top + index * height + Math.min(3 * uPlot.pxRatio, height * 0.15);
            this.paintRow(
                u,
                context,
                row,
                {
                    top,
                    height: Math.max(1, height - Math.min(6 * uPlot.pxRatio, height * 0.3)),
                    fill: colour(index % 2 === 0 ? 0 : 5),
                },
                range,
            );
        });
    }

    next(moment: number, direction: number): number | null {
        let best: number | null = null;
        for (const row of this.rows) {
            const i = firstFrom(row, direction > 0 ? moment + 1e-6 : moment);
            const span = row.spans[direction > 0 ? i : i - 1];
            if (span && (best === null || (span.from - best) * direction < 0)) {
                best = span.from;
            }
        }
        return best;
    }

    tell(u: uPlot, moment: number, value: number | null, at: { x: number; y: number } | undefined): void {
        const slack =
            value === null
                ? 0
                : (2 * (this.context.view.range.to - this.context.view.range.from)) / Math.max(1, u.over.clientWidth);
        const picked = value === null ? this.rows : [this.rows[this.rows.length - 1 - Math.round(value)]].filter(Boolean);
        const nodes = picked.flatMap((row) => this.spansAt(row, moment, slack).map((span) => this.tellSpan(row, span)));
        const shown = nodes.slice(0, 12);
        const more =
            nodes.length > shown.length
                ? el("p", { class: "dim" }, `and ${nodes.length - shown.length} more; zoom to tell them apart`)
                : null;
        const names = picked.length === 1 ? picked[0].name : this.block.title;
        showPopover(
            this.anchor(),
            names,
            shown.length > 0 ? [...shown, more] : [el("p", { class: "dim" }, "Nothing ran here at this moment.")],
            at,
        );
    }

    private spansAt(row: Row, moment: number, slack: number): Span[] {
        const found: Span[] = [];
        const end = firstFrom(row, moment + slack + 1e-6);
        for (let i = firstFrom(row, moment - row.longest - slack); i < end; i++) {
            if (row.spans[i].to >= moment - slack) {
                found.push(row.spans[i]);
            }
        }
        return found;
    }

    private tellSpan(row: Row, span: Span): HTMLElement {
        const { clock, payload } = this.context;
        const words = `${clock.full(span.from, 0.001)} to ${clock.label(span.to, 0.001)} (${duration(span.to - span.from)})`;
        const source = span.src
            ? sourceNodes(payload, span.src)
            : [el("p", { class: "dim" }, "The report names no line for this.")];
        return el("div", {}, el("p", { class: "point" }, el("strong", {}, row.name), ` ${words}`), ...source);
    }

    /** As much of a name as fits into the gutter. */
    private nameAt(u: uPlot, place: number): string {
        const name = visible(this.rows[this.rows.length - 1 - place]?.name ?? "").slice(0, 80);
        const room = this.context.gutter - 14;
        u.ctx.font = `${11 * uPlot.pxRatio}px system-ui, sans-serif`;
        if (u.ctx.measureText(name).width <= room * uPlot.pxRatio) {
            return name;
        }
        let length = name.length - 1;
        while (length > 1 && u.ctx.measureText(`${name.slice(0, length)}\u2026`).width > room * uPlot.pxRatio) {
            length--;
        }
        return `${name.slice(0, length)}\u2026`;
    }

    private paintRow(
        u: uPlot,
        context: CanvasRenderingContext2D,
        row: Row,
        box: { top: number; height: number; fill: string },
        range: Range,
    ): void {
        const perMs = u.bbox.width / (range.to - range.from);
        const end = firstFrom(row, range.to);
        let covered = -Infinity;
        context.fillStyle = box.fill;
        const wide: { span: Span; x: number; width: number }[] = [];
        for (let i = firstFrom(row, range.from - row.longest); i < end; i++) {
            const span = row.spans[i];
            const x = u.bbox.left + (span.from - range.from) * perMs;
            const right = Math.max(x + uPlot.pxRatio, x + (span.to - span.from) * perMs);
            if (span.to < range.from || right <= covered) {
                continue; // out of sight, or in a column of pixels that is painted already
            }
            context.fillRect(Math.max(x, covered), box.top, right - Math.max(x, covered), box.height);
            covered = Math.max(covered, right);
            if (right - x > 40 * uPlot.pxRatio) {
                wide.push({ span, x: Math.max(x, u.bbox.left), width: right - Math.max(x, u.bbox.left) });
            }
        }
        context.font = `${10.5 * uPlot.pxRatio}px system-ui, sans-serif`;
        context.textAlign = "left";
        context.textBaseline = "middle";
        context.fillStyle = palette().background;
        for (const { span, x, width } of wide) {
            const words = duration(span.to - span.from);
            if (context.measureText(words).width + 8 * uPlot.pxRatio < width) {
                context.fillText(words, x + 4 * uPlot.pxRatio, box.top + box.height / 2);
            }
        }
    }
}

export function drawTimeline(block: Timeline, context: Context): Node[] {
    const rows = rowsOf(block, context);
    const kept = rows.reduce((sum, row) => sum + row.spans.length, 0);
    if (kept === 0) {
        return [el("p", { class: "dim" }, "There are no spans to draw.")];
    }
    const painter = new TimelinePainter(block, context, rows, () => chart.element);
    const chart: TimeChart = new TimeChart(context, painter, block.title);
    const table = onDemand("Table of these spans", () => spansTable(block, context, rows));
    const cut = block.total !== undefined && block.total > kept;
    const note = cut ? el("p", { class: "dim" }, `${count(kept)} of ${count(block.total as number)} spans are kept.`) : null;
    const all = rows.flatMap((row) => row.spans);
    const begins = all.reduce((least, span) => Math.min(least, span.from), Infinity);
    const ends = all.reduce((most, span) => Math.max(most, span.to), -Infinity);
    return [chart.element, ownTime(context, begins, ends), note, table.element].filter(
        (node): node is HTMLElement => node !== null,
    );
}

function spansTable(block: Timeline, context: Context, rows: Row[]): HTMLElement {
    const { clock, view } = context;
    const range = view.mark ?? view.range;
    const all = rows.flatMap((row) =>
        row.spans.filter((span) => span.from <= range.to && span.to >= range.from).map((span) => ({ row, span })),
    );
    const kept = all.sort((a, b) => a.span.from - b.span.from).slice(0, kMostTableRows);
    const row = (index: number): Cell[] => {
        const { row: owner, span } = kept[index];
        return [
            { v: owner.name, src: span.src },
            { v: clock.full(span.from, 0.001), src: span.src },
            { v: clock.full(span.to, 0.001), src: span.src },
            { v: Number((span.to - span.from).toFixed(6)), src: span.src, computed: "end less beginning" },
        ];
    };
    const columns = [{ name: "row" }, { name: "from" }, { name: "to" }, { name: "length", unit: "ms", number: true }];
    const cut = all.length > kept.length ? ` Only the first ${count(kept.length)} are in the table.` : "";
    const note = `The spans ${view.mark ? "that are marked" : "in view when the table was opened"}.${cut}`;
    return new GridView(context.payload, { label: `${block.title}: spans`, columns, rows: kept.length, row, note }).element;
}
