// The points of a chart as a table, made when it is asked for.

import type { Context } from "./context";
import { el } from "./dom";
import { count, exact } from "./format";
import { GridView } from "./grid";
import { bisect } from "./points";
import type { Cell, Series } from "./payload";
import type { Line } from "./series";

const kMostRows = 20000;

/** A part of the page that is filled when it is opened, and anew while it is open. */
export function onDemand(title: string, fill: () => Node): { element: HTMLElement; refresh: () => void } {
    const place = el("div");
    const element = el("details", { class: "data" }, el("summary", {}, title), place);
    const refresh = (): void => place.replaceChildren(...(element.open ? [fill()] : []));
    element.addEventListener("toggle", refresh);
    return { element, refresh };
}

export class SeriesTable {
    readonly element: HTMLElement;
    private timer = 0;

    constructor(
        private readonly block: Series,
        private readonly context: Context,
        private readonly lines: Line[],
    ) {
        const part = onDemand("Table of these points", () => this.table());
        this.element = part.element;
        const later = (): void => {
            window.clearTimeout(this.timer);
            this.timer = window.setTimeout(part.refresh, 150);
        };
        context.view.on("range", context.signal, later);
        context.view.on("mark", context.signal, later);
        context.signal.addEventListener("abort", () => window.clearTimeout(this.timer));
    }

    private table(): Node {
        const { view, clock } = this.context;
        const range = view.mark ?? view.range;
        const moments = new Set<number>();
        for (const { points } of this.lines) {
            const end = bisect(points.t, range.to, true);
            for (let i = bisect(points.t, range.from); i < end && moments.size <= kMostRows; i++) {
                moments.add(points.t[i]);
            }
        }
        const rows = [...moments].sort((a, b) => a - b).slice(0, kMostRows);
        const step = rows.some((t) => !Number.isInteger(t)) ? 0.001 : 1;
        const cut = moments.size > kMostRows ? ` Only ${count(kMostRows)} rows are made; mark or zoom to see others.` : "";
        return new GridView(this.context.payload, {
            label: `${this.block.title}: points`,
            columns: [
                { name: clock.relative ? "Time since the start" : "Time" },
                ...this.lines.map((line) => ({ name: line.name, unit: this.block.unit, number: true })),
            ],
            rows: rows.length,
            row: (index) => this.row(rows[index], step),
            note: `The points ${view.mark ? "that are marked" : "in view"}. A line without a point at a moment has an empty cell.${cut}`,
        }).element;
    }

    private row(moment: number, step: number): Cell[] {
        const cells: Cell[] = [{ v: this.context.clock.full(moment, step), computed: "the moment of this row's points" }];
        for (const line of this.lines) {
            const point = bisect(line.points.t, moment);
            const v = line.points.t[point] === moment ? line.points.v[point] : NaN;
            const src = line.points.t[point] === moment ? line.source(point) : undefined;
            cells.push(Number.isNaN(v) ? { empty: "not-in-file", src } : { v: Number(exact(v)), src });
        }
        return cells;
    }
}
