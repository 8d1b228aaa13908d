// Lines laid on top of each other.

import uPlot from "uplot";
import { colour, hatchOf } from "./colours";
import { Points, bisect } from "./points";
import type { Line } from "./series";
import type { Range } from "./view";

/** All moments of the lines, each once. */
function momentsOf(lines: Line[]): Float64Array {
    const first = lines[0].points.t;
    if (lines.every((line) => line.points.length === first.length && line.points.t.every((t, i) => t === first[i]))) {
        return first;
    }
    const all = new Float64Array(lines.reduce((sum, line) => sum + line.points.length, 0));
    let filled = 0;
    for (const line of lines) {
        all.set(line.points.t, filled);
        filled += line.points.length;
    }
    return all.sort().filter((t, i, sorted) => i === 0 || sorted[i - 1] !== t);
}

/** The value of a line at each moment: its last one before, 0 where there is none. */
function valuesAt(points: Points, moments: Float64Array): Float64Array {
    const values = new Float64Array(moments.length);
    let next = 0;
    for (let i = 0; i < moments.length; i++) {
        while (next < points.length && points.t[next] <= moments[i]) {
            next++;
        }
        const v = next > 0 ? points.v[next - 1] : 0;
        values[i] = Number.isNaN(v) ? 0 : v;
    }
    return values;
}

export class Stack {
    /** The upper edge of each line that is shown, from the lowest up. */
    sums: Points[] = [];
    private layers: Line[] = [];

    constructor(private readonly lines: Line[]) {
        this.build();
    }

    build(): void {
        this.layers = this.lines.filter((line) => line.shown && line.points.length > 0);
        this.sums = [];
        if (this.layers.length === 0) {
            return;
        }
        const moments = momentsOf(this.layers);
        const sum = new Float64Array(moments.length);
        for (const line of this.layers) {
            valuesAt(line.points, moments).forEach((value, i) => (sum[i] += value));
            this.sums.push(new Points(Array.from(moments), Array.from(sum), 0));
        }
    }

    paint(u: uPlot, context: CanvasRenderingContext2D, range: Range): void {
        for (let i = this.sums.length - 1; i >= 0; i--) {
            // From the highest down, each to the bottom: the next one covers what is its own.
            const edge = this.edge(u, this.sums[i], range);
            const { ink } = this.layers[i];
            const hatch = hatchOf(ink, context, uPlot.pxRatio);
            context.fillStyle = colour(ink.colour);
            context.fill(edge);
            if (hatch) {
                context.fillStyle = hatch;
                context.fill(edge);
            }
        }
    }

    private edge(u: uPlot, points: Points, range: Range): Path2D {
        const path = new Path2D();
        const first = Math.max(0, bisect(points.t, range.from) - 1);
        const end = Math.min(points.length, bisect(points.t, range.to, true) + 1);
        const outline = points.outline(first, end, u.bbox.width / 2);
        const bottom = u.bbox.top + u.bbox.height;
        const x = (i: number): number => u.valToPos(points.t[i], "x", true);
        if (outline.length > 0) {
            path.moveTo(x(outline[0]), bottom);
            outline.forEach((i) => path.lineTo(x(i), u.valToPos(points.v[i], "y", true)));
            path.lineTo(x(outline[outline.length - 1]), bottom);
        }
        return path;
    }
}
