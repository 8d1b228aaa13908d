// Payloads as the program makes them, each with something that a page must stand.

import type { Block, Cell, FlameNode, Page, Payload, Reason, Series, Source, TreeNode } from "../src/payload";

export const kStart = Date.UTC(2026, 2, 14, 9, 30, 0);

const kReasons: { [code in Reason]: string } = {
    "not-measured": "The mission that measures this was not run.",
    "file-missing": "The mission was run, but its file is not there.",
    "file-unreadable": "The file is there, but it cannot be read.",
    "not-in-file": "The file holds no such value.",
    "not-a-number": "What stands there is no number.",
    "not-found": "The analyzer looked for this and found none.",
    "too-few-samples": "There are too few samples to say anything.",
    cut: "Left out, so that the report stays small.",
};

/** The same numbers in each run of the tests. */
export function random(seed: number): () => number {
    let state = seed >>> 0;
    return () => {
        state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
        return state / 2 ** 32;
    };
}

function payloadOf(pages: Page[], labels = ["run of 14 March"]): Payload {
    const lines: Payload["lines"] = {};
    for (let line = 1; line <= 400; line++) {
        lines[`0:${line}`] =
            `{"happen_time": ${line}, "system_usage": ${line / 4}, "note": "line ${line} of the first file"}`;
    }
    return {
        format: 2,
        version: "0.1.0",
        made: "2026-03-14T10:00:00Z",
        runs: labels.map((label, run) => ({
            label,
            path: `/opt/usr/mnt/zarn/zarn_data_${run}`,
            from: kStart + run * 3600000,
            to: kStart + run * 3600000 + 600000,
        })),
        files: [
            { run: 0, path: "json/cpu/cpu_analyze_system.json", bytes: 183224 },
            { run: 0, path: "csv/ddr/ddr_bandwidth.csv", bytes: 99182733, trouble: "torn at line 88123" },
            { run: labels.length - 1, path: "raw_data/hot_fun/script_1.txt", bytes: 512 },
        ],
        lines,
        reasons: kReasons,
        pages,
        foot: ["zarn-report holds the JSON library RapidJSON (MIT)."],
    };
}

export function wave(
    points: number,
    step: number,
    level: number,
    seed: number,
    run = 0,
): { t: number[]; v: (number | null)[] } {
    const next = random(seed);
    const t: number[] = [];
    const v: (number | null)[] = [];
    for (let i = 0; i < points; i++) {
        t.push(kStart + run * 3600000 + i * step);
        v.push(Math.round((level + 18 * Math.sin(i / 37 + seed) + 9 * next()) * 100) / 100);
    }
    return { t, v };
}

function cpuSeries(): Series {
    const names = ["system", "core 0", "core 1", "core 2"];
    const series = names.map((name, index) => ({
        name,
        run: 0,
        ...wave(300, 2000, 25 + 12 * index, index + 1),
        src: { file: 0, lines: Array.from({ length: 300 }, (_none, i) => i + 1) },
    }));
    series[2].v[100] = null;
    series[2].v[101] = null;
    const peak = series[0].v.indexOf(Math.max(...(series[0].v as number[])));
    return {
        kind: "series",
        title: "Usage of the processor",
        note: "As CpuAnalyzer read it from the samples.",
        unit: "%",
        src: [0, 0],
        series,
        total: 3600,
        marks: [
            { t: series[0].t[peak], series: 0, label: "peak of the system: 51 %", sign: "peak", src: [0, peak + 1] },
            { t: series[0].t[200], series: 0, label: "trough", sign: "trough", src: [0, 201] },
            { t: series[0].t[40], label: "process 4711 began", sign: "event", src: [0, 41] },
            { t: series[0].t[250], series: 3, label: "over 70 %", sign: "over", src: [0, 251] },
        ],
        bands: [{ from: series[0].t[120], to: series[0].t[150], label: "over the limit for 60 s", src: [0, 121] }],
        limits: [
            { v: 80, label: "limit of the configuration", src: [0, 3] },
            { v: 4000, label: "all cores of a larger board" },
        ],
    };
}

function ddrSeries(): Series {
    const names = ["cpu", "ai_core", "image block", "other masters"];
    return {
        kind: "series",
        title: "DDR bandwidth by master",
        unit: "MB/s",
        stacked: true,
        series: names.map((name, index) => ({ name, run: 0, ...wave(600, 1000, 900 - 200 * index, index + 9) })),
        limits: [{ v: 3100, label: "peak of the memory" }],
    };
}

/** Points in a small part of the run alone, each of a file of its own. */
function shortSeries(): Series {
    const line = {
        name: "bound of the AI core",
        run: 0,
        t: [kStart + 60000, kStart + 70000, kStart + 80000],
        v: [20, 25, 20],
        srcs: [[0, 7] as Source, [2, 1] as Source, [0, 9] as Source],
    };
    return { kind: "series", title: "While the optimizer searched", unit: "GB/s", series: [line] };
}

function table(): Block {
    const rows: Cell[][] = [];
    for (let i = 0; i < 90; i++) {
        rows.push([
            { v: `process_${i} --config /etc/some/rather/long/path/to/a/configuration/file_${i}.json`, src: [0, i + 1] },
            { v: 4000 + i, src: [0, i + 1] },
            i % 7 === 3 ? { empty: "not-found" } : { v: ((i * 7919) % 1000) / 10, src: [0, i + 1], grey: i % 10 === 9 },
            i % 5 === 2
                ? { empty: "not-measured" }
                : { v: i * 1024, src: [1, i + 1000], computed: i % 4 === 1 ? "pages times 4096" : undefined },
        ]);
    }
    const columns = [
        { name: "Process" },
        { name: "PID", number: true },
        { name: "CPU", unit: "%", number: true },
        { name: "Memory", unit: "KiB", number: true },
    ];
    return { kind: "table", title: "Top processes", note: "By their mean.", columns, rows, total: 1200 };
}

function bars(names: string[]): Block {
    const rows = ["hot path of the camera", "lidar fusion", "planner", "logging"].map((label, index) => ({
        label,
        cells: names.map(
            (_name, run): Cell =>
                index === 2 && run === 1
                    ? { empty: "file-missing" }
                    : { v: 40 - index * 9 + run * 4, src: [0, index + 1], grey: index === 3 },
        ),
    }));
    return { kind: "bars", title: "Mean usage by version", unit: "%", names, rows };
}

function tree(): Block {
    const leaf = (name: string, v: number, mark?: string, children?: TreeNode[]): TreeNode => ({
        name,
        cell: { v, src: [0, 7] },
        mark,
        children,
    });
    const roots = [
        leaf("frontend_bound", 21.4, undefined, [
            leaf("fetch_latency", 15.1, undefined, [leaf("icache_misses", 11.9), leaf("branch_resteers", 3.2)]),
            leaf("fetch_bandwidth", 6.3),
        ]),
        leaf("backend_bound", 52.8, "<== bottleneck", [
            leaf("memory_bound", 44.2, "<== bottleneck", [
                leaf("l1_bound", 5.5),
                leaf("dram_bound", 38.7, "<== bottleneck"),
            ]),
            { name: "core_bound", cell: { empty: "too-few-samples" } },
        ]),
        leaf("retiring", 20.1),
        leaf("bad_speculation", 5.7),
    ];
    return { kind: "tree", title: "Where the pipeline's slots went", unit: "%", roots };
}

function frames(depth: number, value: number, next: () => number, name = "all", delta = false): FlameNode {
    const node: FlameNode = { name, value, children: [] };
    if (delta) {
        node.delta = Math.round((next() - 0.5) * 800) / 100;
    }
    let left = value;
    for (let i = 0; depth > 0 && left > 3 && i < 4; i++) {
        const share = Math.floor(left * (0.3 + 0.5 * next()));
        node.children?.push(
            frames(
                depth - 1,
                share,
                next,
                `zarn::module_${Math.floor(next() * 12)}::function_${Math.floor(next() * 30)}`,
                delta,
            ),
        );
        left -= share;
    }
    return node;
}

function timeline(run = 0): Block {
    const next = random(77);
    const rows = [
        "camera_front_driver",
        "lidar_fusion_main_thread_of_the_perception",
        "planner",
        "logger",
        "kworker/3:1",
    ].map((name, index) => {
        const spans = [];
        for (let t = kStart + run * 3600000 + next() * 4000; t < kStart + run * 3600000 + 600000; ) {
            const length = 500 + next() * 9000 * (index === 1 ? 6 : 1);
            spans.push({
                from: Math.round(t),
                to: Math.round(t + length),
                src: [0, spans.length + 1] as [number, number],
            });
            t += length + next() * 12000;
        }
        return { name, spans };
    });
    return { kind: "timeline", title: "What ran when", rows, total: 20000 };
}

const kSummary: Block[] = [
    {
        kind: "text",
        title: "What was run",
        lines: [
            { v: "zarn 0.1.0 with cpu_collect_analyze.json on 14 March 2026, for 600 s." },
            { v: "CpuCollector, CpuAnalyzer, DdrCollector, DdrAnalyzer", src: [0, 1] },
        ],
    },
    {
        kind: "text",
        title: "What was found",
        lines: [
            { v: "CPU: the system's peak was 51.2 % at 09:33:20", src: [0, 101] },
            { v: "Memory", empty: undefined, computed: "the mission's name" },
            { empty: "not-measured" },
        ],
    },
];

/** One run with a block of each kind. */
export function every(): Payload {
    return payloadOf([
        { id: "summary", title: "Summary", blocks: kSummary },
        { id: "cpu", title: "CPU", blocks: [cpuSeries(), table(), bars(["usage"])] },
        { id: "ddr", title: "DDR", blocks: [ddrSeries(), shortSeries()] },
        { id: "sched", title: "Scheduler", blocks: [timeline(), cpuSeries()] },
        { id: "topdown", title: "Topdown", blocks: [tree()] },
        {
            id: "hot_fun",
            title: "Hot functions",
            blocks: [{ kind: "flame", title: "Stacks", unit: "samples", root: frames(9, 20000, random(5)) }],
        },
    ]);
}

/** Two runs, an hour apart, laid over one another. */
export function two(): Payload {
    const lines = [0, 1].map((run) => ({ name: "system", run, ...wave(300, 2000, 30 + 8 * run, run + 1, run) }));
    const series: Series = {
        kind: "series",
        title: "Usage of the processor",
        unit: "%",
        series: lines,
        marks: [{ t: lines[1].t[150], series: 1, label: "peak of the second", sign: "peak" }],
    };
    const cores = [0, 1].flatMap((core) =>
        [0, 1].map((run) => ({ name: `core ${core}`, run, ...wave(300, 2000, 30 + 8 * run, 5 * core + run, run) })),
    );
    const flame: Block = {
        kind: "flame",
        title: "Stacks, the second less the first",
        unit: "samples",
        root: frames(8, 9000, random(8), "all", true),
    };
    const pages: Page[] = [
        { id: "summary", title: "Summary", blocks: kSummary },
        { id: "compare", title: "Comparison", blocks: [series, bars(["V1", "V2"]), flame] },
        { id: "cores", title: "Cores", blocks: [{ ...series, title: "Usage of each core", series: cores, marks: [] }] },
        { id: "cpu_0", title: "CPU", run: 0, blocks: [{ ...series, series: [lines[0]], marks: [] }] },
        { id: "cpu_1", title: "CPU", run: 1, blocks: [{ ...series, series: [lines[1]], marks: [] }, timeline(1)] },
    ];
    return payloadOf(pages, ["version 1.4", "version 1.5"]);
}

/** A tree in which nothing was found. */
export function empty(): Payload {
    const reasons = Object.keys(kReasons) as Reason[];
    const payload = payloadOf([
        {
            id: "summary",
            title: "Summary",
            blocks: [
                { kind: "text", title: "What was found", lines: [] },
                { kind: "text", title: "What is missing", lines: reasons.map((reason) => ({ empty: reason })) },
                { kind: "table", title: "No rows", columns: [{ name: "A" }, { name: "B", number: true }], rows: [] },
                {
                    kind: "table",
                    title: "Reasons",
                    columns: [{ name: "A" }],
                    rows: reasons.map((reason) => [{ empty: reason }]),
                },
                { kind: "series", title: "No lines", unit: "%", series: [] },
                { kind: "series", title: "No points", unit: "%", series: [{ name: "none", run: 0, t: [], v: [] }] },
                {
                    kind: "series",
                    title: "No values",
                    unit: "%",
                    series: [{ name: "none", run: 0, t: [kStart, kStart + 5], v: [null, null] }],
                },
                {
                    kind: "series",
                    title: "One point",
                    unit: "%",
                    series: [{ name: "one", run: 0, t: [kStart + 300000], v: [7] }],
                },
                { kind: "bars", title: "No bars", unit: "%", names: [], rows: [] },
                { kind: "tree", title: "No tree", unit: "%", roots: [] },
                { kind: "flame", title: "No stacks", unit: "samples", root: { name: "all", value: 0 } },
                { kind: "timeline", title: "No spans", rows: [{ name: "idle", spans: [] }] },
            ],
        },
        { id: "nothing", title: "Nothing", blocks: [] },
    ]);
    return { ...payload, files: [], lines: {}, foot: [], runs: [{ label: "empty", path: "/nowhere" }] };
}

export const kHostile = [
    "</script><script>window.broken=1</script>",
    '<img src=x onerror="window.broken=1">',
    "<!--<script>",
    "\"'`&lt;&amp;{{script}}<!--zarn-report-payload-->",
    "\u0000\u0007\u001b[31mred\u007f\u009b",
    "\u202Egnp.exe\u2066\u200b\ufeff",
    "half \ud83d and \ude00 of a pair, then a whole \ud83d\ude00",
    "__proto__",
    "constructor",
    "toString",
    "javascript:window.broken=1",
    "x".repeat(300000),
    "\u0e01\u0e49\u0e49\u0e49\u0e49\u0e49\u0e49\u0e49\u0e49\u0e49\u0e49",
    "",
];

/** Names that would do harm as markup, as keys, as patterns, or by their length; stamps that run backward or lie far away. */
export function hostile(): Payload {
    const series: Block[] = [
        {
            kind: "series",
            title: kHostile[0],
            note: kHostile[1],
            unit: kHostile[3],
            series: kHostile.map((name, index) => ({
                name,
                run: 0,
                t: [kStart + 9000, kStart, kStart, kStart + 600000],
                v: [index, 1e308, -1e308, null],
                src: { file: 0, lines: [1, 2, 3] },
            })),
            marks: kHostile.map((label, index) => ({
                t: kStart + index * 1000,
                series: index,
                label,
                sign: "peak" as const,
                src: [99, 99] as [number, number],
            })),
            bands: kHostile.map((label, index) => ({ from: kStart + index * 9000, to: kStart + index * 3000, label })),
            limits: kHostile.map((label, index) => ({ v: index, label })),
        },
        {
            kind: "series",
            title: "far away",
            unit: "",
            stacked: true,
            series: [{ name: "constructor", run: 7, t: [0, kStart, 8e15], v: [1, 2, 3] }],
        },
    ];
    let deep: FlameNode = { name: "deepest", value: 5 };
    for (let depth = 0; depth < 900; depth++) {
        deep = { name: kHostile[depth % kHostile.length].slice(0, 60), value: 5, children: [deep] };
    }
    let branch: TreeNode = { name: "deepest", cell: { v: 1 } };
    for (let depth = 0; depth < 400; depth++) {
        branch = { name: kHostile[depth % kHostile.length].slice(0, 60), cell: { v: 1e300 }, children: [branch] };
    }
    const columns = kHostile.map((name) => ({ name: name.slice(0, 400), number: false }));
    const cells = kHostile.map((v, index): Cell => ({ v, src: [0, 2000 + index] }));
    const pages: Page[] = [
        {
            id: kHostile[0],
            title: kHostile[0],
            blocks: [{ kind: "text", title: kHostile[1], note: kHostile[0], lines: cells }],
        },
        { id: "&range=1..2&mark=3..4", title: kHostile[3], blocks: series },
        {
            id: "__proto__",
            title: kHostile[4],
            blocks: [
                { kind: "table", title: kHostile[5], columns, rows: [cells, [...cells].reverse(), []] },
                {
                    kind: "bars",
                    title: kHostile[6],
                    unit: kHostile[0],
                    names: kHostile.slice(0, 3),
                    rows: kHostile.map((label, index) => ({
                        label,
                        cells: [{ v: -index }, { v: 1e300 }, { v: "no number" }],
                    })),
                },
                { kind: "tree", title: kHostile[7], unit: "%", roots: [branch] },
                { kind: "flame", title: kHostile[8], unit: kHostile[0], root: deep },
                {
                    kind: "timeline",
                    title: kHostile[9],
                    rows: kHostile.map((name) => ({
                        name,
                        spans: kHostile.map((_label, index) => ({
                            from: kStart + index * 5000,
                            to: kStart + index * 4000,
                        })),
                    })),
                },
                { kind: "sculpture", title: "of no kind" } as unknown as Block,
            ],
        },
    ];
    const payload = payloadOf(pages, [kHostile[0]]);
    payload.files[0].path = kHostile[1];
    payload.lines["0:2000"] = kHostile[0];
    payload.foot = [kHostile[0]];
    payload.version = kHostile[1];
    payload.made = kHostile[4];
    return payload;
}

/** A million points in one chart, and a second chart beside it. */
export function large(points = 1000000): Payload {
    const series: Series = {
        kind: "series",
        title: "A million points",
        unit: "%",
        series: [{ name: "system", run: 0, ...wave(points, 600000 / points, 40, 3) }],
    };
    const second: Series = { ...cpuSeries(), total: undefined };
    return payloadOf([{ id: "summary", title: "Summary", blocks: [series, second] }]);
}
