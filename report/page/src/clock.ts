// The one time axis of a report: the board's clock, or with several runs the time since the start of each.

import { clock, since } from "./format";
import type { Moment, Page, Payload } from "./payload";
import type { Range } from "./view";

interface Span {
    run: number;
    from: Moment;
    to: Moment;
}

function* spansOf(page: Page): Generator<Span> {
    for (const block of page.blocks) {
        if (block.kind === "series") {
            for (const line of block.series) {
                let [from, to] = [Infinity, -Infinity];
                for (const t of line.t) {
                    from = t < from ? t : from;
                    to = t > to ? t : to;
                }
                yield { run: line.run, from, to };
            }
            const run = block.series[0]?.run ?? page.run ?? 0;
            for (const band of block.bands ?? []) {
                yield { run: band.run ?? run, from: band.from, to: band.to };
            }
        } else if (block.kind === "timeline") {
            for (const row of block.rows) {
                for (const span of row.spans) {
                    yield { run: row.run ?? page.run ?? 0, from: span.from, to: span.to };
                }
            }
        }
    }
}

export class Clock {
    /** What is shown at first: the runs' own times, where they are known. */
    readonly home: Range;
    /** Where there is anything. */
    readonly whole: Range;
    /** Moments count from the start of their run. */
    readonly relative: boolean;
    private readonly starts: number[];

    constructor(payload: Payload) {
        this.relative = payload.runs.length > 1;
        const spans = payload.pages.flatMap((page) => [...spansOf(page)]).filter((span) => span.from <= span.to);
        this.starts = payload.runs.map((run, index) => {
            const first = spans.reduce((least, span) => (span.run === index ? Math.min(least, span.from) : least), Infinity);
            return run.from ?? (Number.isFinite(first) ? first : 0);
        });
        const runs = payload.runs.flatMap((run, index) =>
            run.from !== undefined && run.to !== undefined ? [{ run: index, from: run.from, to: run.to }] : [],
        );
        this.whole = this.around(spans) ?? this.around(runs) ?? { from: 0, to: 1000 };
        this.home = this.around(runs) ?? this.whole;
    }

    /** What is taken from a moment of a run to get its place on the axis. */
    shift(run: number): number {
        return this.relative ? (this.starts[run] ?? 0) : 0;
    }

    label(place: number, step = 1): string {
        return this.relative ? since(place, step) : clock(place, step);
    }

    /** With the day, where there is one. */
    full(place: number, step = 1): string {
        return this.relative ? since(place, step) : clock(place, step, true);
    }

    private around(spans: Span[]): Range | null {
        let [from, to] = [Infinity, -Infinity];
        for (const span of spans) {
            const shift = this.shift(span.run);
            from = Math.min(from, span.from - shift);
            to = Math.max(to, span.to - shift);
        }
        if (from > to) {
            return null;
        }
        const margin = from === to ? 500 : 0;
        return { from: from - margin, to: to + margin };
    }
}
