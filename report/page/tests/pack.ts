// Packs payloads as the program does, but for the lines that have their values elsewhere.

import assert from "node:assert/strict";
import { PackedBlock, PackedCell, PackedLine, PackedPayload, PackedSpans, microseconds } from "../src/packed";
import type { Block, Cell, Moment, Payload, Series, Source, Timeline } from "../src/payload";

const steps = (numbers: number[]): number[] =>
    numbers.map((number, index) => (index === 0 ? number : number - numbers[index - 1]));

function momentsOf(moments: Moment[]): number[] {
    const packed = steps(moments.map(microseconds));
    return packed.map((step, index) => (index === 0 ? step / 1000 : step));
}

function cellsOf(cells: Cell[]): PackedCell[] {
    let place: Source | undefined;
    return cells.map((cell) => {
        const isPlain = place && cell.src && cell.src[0] === place[0] && cell.src[1] === place[1];
        const members = Object.keys(cell).sort().join(" ");
        place = cell.src ?? place;
        return isPlain && members === "src v" && cell.v !== undefined ? cell.v : cell;
    });
}

function lineOf({ t, src, ...rest }: Series["series"][number]): PackedLine {
    const packed: PackedLine = { ...rest, t: momentsOf(t) };
    return src ? { ...packed, src: { file: src.file, lines: steps(src.lines) } } : packed;
}

function spansOf({ name, run, spans }: Timeline["rows"][number]): PackedSpans {
    const file = spans[0]?.src?.[0];
    assert.ok(spans.every((span) => span.src?.[0] === file));
    const packed: PackedSpans = {
        name,
        run,
        from: momentsOf(spans.map((span) => span.from)),
        us: spans.map((span) => microseconds(span.to) - microseconds(span.from)),
    };
    return file === undefined ? packed : { ...packed, src: { file, lines: steps(spans.map((span) => span.src?.[1] ?? 0)) } };
}

function blockOf(block: Block): PackedBlock {
    switch (block.kind) {
        case "text":
            return { ...block, lines: cellsOf(block.lines) };
        case "table":
            return { ...block, rows: block.rows.map(cellsOf) };
        case "bars":
            return { ...block, rows: block.rows.map((row) => ({ ...row, cells: cellsOf(row.cells) })) };
        case "series":
            return { ...block, series: block.series.map(lineOf) };
        case "timeline":
            return { ...block, rows: block.rows.map(spansOf) };
        default:
            return block;
    }
}

export function pack(payload: Payload): PackedPayload {
    return { ...payload, pages: payload.pages.map((page) => ({ ...page, blocks: page.blocks.map(blockOf) })) };
}
