// The signs of what was found, drawn at its moment.

import uPlot from "uplot";
import { palette } from "./colours";
import type { Series } from "./payload";

export type Mark = NonNullable<Series["marks"]>[number];

export function paintSign(context: CanvasRenderingContext2D, sign: Mark["sign"], x: number, y: number): void {
    const r = 5.5 * uPlot.pxRatio;
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
    context.fillStyle = palette().text; // no line has this colour
    context.strokeStyle = palette().background;
    context.lineWidth = uPlot.pxRatio;
    context.fill();
    context.stroke();
}
