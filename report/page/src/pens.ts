// How points become ink.

import uPlot from "uplot";
import { Points, bisect } from "./points";
import type { Range } from "./view";

const kDot = 5;
const kLineWidth = 1.5;
/** More points to a pixel than this are no line any more. */
const kDense = 1.2;

/** Draws the points of a range: the line through them, or where they stand closer than pixels, what each column of pixels spans. */
export function paintPoints(u: uPlot, context: CanvasRenderingContext2D, points: Points, range: Range): void {
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
        this.context.lineWidth = kLineWidth * uPlot.pxRatio;
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
