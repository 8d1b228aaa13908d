// What the program tells the page, and all that the page knows of a run. The program composes pages of blocks; the page draws
// blocks and knows no family of files. It is written in a shorter form: packed.ts.

/** Milliseconds since 1970 of the board's clock, as if it were UTC; with a fraction. */
export type Moment = number;

/** A place in a tree: index into Payload.files, line counted from 1 (0: the file as a whole). */
export type Source = [file: number, line: number];

/** Why there is no number. The closed list; the page has a sentence for each. */
export type Reason =
    | "not-measured" // the mission was not run
    | "file-missing" // the mission was run, its file is not there
    | "file-unreadable" // the file is there and cannot be read
    | "not-in-file" // the file has no such member, column or row
    | "not-a-number" // what stands there is no number
    | "not-found" // the analyzer found none (no peak, no event)
    | "too-few-samples" // too few to say anything
    | "cut"; // left out for the size of the report

/** A value as it stands in the file (never computed, unless `computed` says how), or why there is none. */
export interface Cell {
    v?: number | string;
    src?: Source;
    empty?: Reason;
    computed?: string;
    grey?: boolean; // too few samples to trust
}

export interface Payload {
    format: 2;
    version: string; // of zarn-report
    made: string; // when, UTC, ISO 8601
    runs: { label: string; path: string; from?: Moment; to?: Moment }[];
    files: { run: number; path: string; bytes: number; trouble?: string }[]; // trouble: what is wrong with it, in words
    lines: { [fileColonLine: string]: string }; // "12:345" -> that line's text, up to a budget; a line not here: show the path
    reasons: { [code in Reason]: string };
    pages: Page[];
    foot: string[]; // licences
}

export interface Page {
    id: string;
    title: string;
    run?: number;
    blocks: Block[];
} // the first page has id "summary"

export type Block = Text | Table | Series | Bars | Tree | Flame | Timeline;
interface Head {
    title: string;
    note?: string;
    src?: Source;
}

export interface Text extends Head {
    kind: "text";
    lines: Cell[];
}

export interface Column {
    name: string;
    unit?: string;
    number?: boolean;
}
export interface Table extends Head {
    kind: "table";
    columns: Column[];
    rows: Cell[][];
    total?: number /* rows in all, if cut */;
}

/** Lines over time, on the one axis of the report. A point that does not exist is null. */
export interface Series extends Head {
    kind: "series";
    unit: string;
    stacked?: boolean;
    total?: number; // points measured in all; more than are here: thinned, least and greatest kept
    // Where the points come from: lines of one file, or, where each has a file of its own, a place for each.
    series: {
        name: string;
        run: number;
        t: Moment[];
        v: (number | null)[];
        // Of a line that was thinned: how many of the values measured each point stands for, and their mean.
        counts?: number[];
        means?: number[];
        src?: { file: number; lines: number[] };
        srcs?: Source[];
    }[];
    // `run` of a mark or a band: that of the mark's series, else of the first, unless given.
    marks?: {
        t: Moment;
        series?: number;
        run?: number;
        label: string;
        sign: "peak" | "trough" | "over" | "event";
        src?: Source;
    }[];
    bands?: { from: Moment; to: Moment; run?: number; label: string; src?: Source }[];
    limits?: { v: number; label: string; src?: Source }[];
}

/** One group of bars a row, one bar a run or version. */
export interface Bars extends Head {
    kind: "bars";
    unit: string;
    names: string[];
    rows: { label: string; cells: Cell[] }[];
}

/** A tree with a share at each node (percent), and where it is narrow. */
export interface TreeNode {
    name: string;
    cell: Cell;
    mark?: string;
    children?: TreeNode[];
}
export interface Tree extends Head {
    kind: "tree";
    unit: string;
    roots: TreeNode[];
}

/** Stacks; `value` is in samples, `delta` (two versions) the difference in shares, in points. */
export interface FlameNode {
    name: string;
    value: number;
    delta?: number;
    children?: FlameNode[];
}
export interface Flame extends Head {
    kind: "flame";
    root: FlameNode;
    unit: string;
}

/** What ran when: a row each, spans on the time axis. */
export interface Timeline extends Head {
    kind: "timeline";
    rows: {
        name: string;
        run?: number /* the page's, unless given */;
        spans: { from: Moment; to: Moment; src?: Source }[];
    }[];
    total?: number; // spans in all, if cut
}
