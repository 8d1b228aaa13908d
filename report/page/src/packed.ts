// The payload as it stands in the page: as the page draws it, but that what many values have in common is written once, and
// of moments and lines the differences.

import type {
    Bars,
    Block,
    Cell,
    Flame,
    Moment,
    Page,
    Payload,
    Series,
    Source,
    Table,
    Text,
    Timeline,
    Tree,
} from "./payload";

/** A value alone is of the place of the last cell before it that has one. */
export type PackedCell = Cell | number | string;

/** The first moment, then the microseconds from each to the next. */
type PackedMoments = number[];

/** The first line, then the difference from each to the next. */
interface PackedPlaces {
    file: number;
    lines: number[];
}

type Line = Series["series"][number];
export interface PackedLine {
    name: string;
    run: number;
    v?: Line["v"];
    counts?: Line["counts"];
    means?: Line["means"];
    t?: PackedMoments; // without them both moments and places are those of the line before
    src?: PackedPlaces;
    srcs?: Source[];
    like?: [page: string, block: number, line: number]; // which has the values instead
}

export interface PackedSpans {
    name: string;
    run?: number;
    from: PackedMoments;
    us: number[]; // how long each takes, in microseconds
    src?: PackedPlaces;
}

export type PackedBlock =
    | (Omit<Text, "lines"> & { lines: PackedCell[] })
    | (Omit<Table, "rows"> & { rows: PackedCell[][] })
    | (Omit<Bars, "rows"> & { rows: { label: string; cells: PackedCell[] }[] })
    | (Omit<Series, "series"> & { series: PackedLine[] })
    | (Omit<Timeline, "rows"> & { rows: PackedSpans[] })
    | Tree
    | Flame;

export interface PackedPage extends Omit<Page, "blocks"> {
    blocks: PackedBlock[];
}

export interface PackedPayload extends Omit<Payload, "pages"> {
    format: 2;
    pages: PackedPage[];
}

/** A moment as a whole number of microseconds, by which all moments of a report are told apart. */
export function microseconds(moment: Moment): number {
    return Math.round(moment * 1000);
}

function momentsOf(packed: PackedMoments): Moment[] {
    const first = microseconds(packed[0] ?? 0);
    let passed = 0;
    return packed.map((step, index) => {
        passed += index === 0 ? 0 : step;
        return (first + passed) / 1000;
    });
}

function placesOf({ file, lines }: PackedPlaces): { file: number; lines: number[] } {
    let line = 0;
    return { file, lines: lines.map((step) => (line += step)) };
}

function cellsOf(packed: PackedCell[]): Cell[] {
    let src: Source | undefined;
    return packed.map((cell) => {
        if (typeof cell !== "object") {
            return { v: cell, src };
        }
        src = cell.src ?? src;
        return cell;
    });
}

function lineOf(packed: PackedLine, before: Line | undefined): Line {
    const { t, src, v = [], ...rest } = packed;
    if (!t) {
        return { ...rest, v, t: before?.t ?? [], src: before?.src };
    }
    const line: Line = { ...rest, v, t: momentsOf(t) };
    return src ? { ...line, src: placesOf(src) } : line;
}

function linesOf(packed: PackedLine[]): Line[] {
    const lines: Line[] = [];
    packed.forEach((line) => lines.push(lineOf(line, lines[lines.length - 1])));
    return lines;
}

function spansOf({ name, run, from, us, src }: PackedSpans): Timeline["rows"][number] {
    const lines = src && placesOf(src).lines;
    const spans = momentsOf(from).map((begin, index) => {
        const span = { from: begin, to: (microseconds(begin) + us[index]) / 1000 };
        return src && lines ? { ...span, src: [src.file, lines[index]] as Source } : span;
    });
    return run === undefined ? { name, spans } : { name, run, spans };
}

function blockOf(packed: PackedBlock): Block {
    switch (packed.kind) {
        case "text":
            return { ...packed, lines: cellsOf(packed.lines) };
        case "table":
            return { ...packed, rows: packed.rows.map(cellsOf) };
        case "bars":
            return { ...packed, rows: packed.rows.map((row) => ({ ...row, cells: cellsOf(row.cells) })) };
        case "series":
            return { ...packed, series: linesOf(packed.series) };
        case "timeline":
            return { ...packed, rows: packed.rows.map(spansOf) };
        default:
            return packed;
    }
}

/** Gives lines that have their values elsewhere those values. */
function fillLikeLines(packed: PackedPage[], pages: Page[]): void {
    const places = new Map(pages.map((page) => [page.id, page]));
    packed.forEach((page, at) =>
        page.blocks.forEach((block, place) => {
            const filled = pages[at].blocks[place];
            if (block.kind !== "series" || filled.kind !== "series") {
                return;
            }
            block.series.forEach(({ name, run, like }, index) => {
                const other = like && places.get(like[0])?.blocks[like[1]];
                if (other?.kind === "series") {
                    filled.series[index] = { ...other.series[like?.[2] ?? 0], name, run };
                }
            });
        }),
    );
}

export function unpack(packed: PackedPayload): Payload {
    const pages = packed.pages.map((page) => ({ ...page, blocks: page.blocks.map(blockOf) }));
    fillLikeLines(packed.pages, pages);
    return { ...packed, pages };
}
