// Reports that the program makes of run trees: the small trees that its fuzzer starts from, each alone, all in one, two of them
// beside each other, an empty one, and one whose names are markup.
//
// usage: node program_test.mjs TEMPLATE SOURCE_FOLDER ZARN_REPORT

import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { mkdirSync, readFileSync, readdirSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import test from "node:test";
import { checkReport, payloadIn } from "./any_report";
import { withBench } from "./browser";

const [, , , sources, program] = process.argv;
const kMarkup = "</script><img/src=x/onerror=window.broken=1><!--<script>window.broken=1</script>";
/** Names of processes, threads and functions in those trees. */
const kNames = /\b(planner|camera|recorder|logger|perception|frame_worker|decode_frame|work_loop|top|bash|zarn)\b/g;

/** The texts of a tree's files. */
type Tree = Map<string, string>;

/** The trees that the fuzzer starts from: a line "@<number>" begins the file of that number of its list. */
function seeds(): Map<string, Tree> {
    const listing = readFileSync(join(sources, "fuzz/report_tree_fuzz.cpp"), "utf8");
    const names = [...listing.matchAll(/"((?:env_info|json|csv|raw_data)\/[^"]+)"/g)].map((match) => match[1]);
    assert.ok(names.length > 30);
    const folder = join(sources, "fuzz/corpus/report_tree");
    const trees = new Map<string, Tree>();
    for (const seed of readdirSync(folder)) {
        const tree: Tree = new Map();
        for (const part of readFileSync(join(folder, seed), "latin1")
            .split(/^@(?=\d+$)/m)
            .slice(1)) {
            const end = part.indexOf("\n");
            tree.set(names[Number(part.slice(0, end)) % names.length], part.slice(end + 1));
        }
        trees.set(seed, tree);
    }
    return trees;
}

function lay(folder: string, tree: Tree): string {
    mkdirSync(join(folder, "env_info"), { recursive: true });
    for (const [name, text] of tree) {
        mkdirSync(dirname(join(folder, name)), { recursive: true });
        writeFileSync(join(folder, name), text, "latin1");
    }
    return folder;
}

await withBench((bench) => {
    const reportOf = (name: string, trees: Tree[]): string => {
        const runs = trees.map((tree, index) => lay(join(bench.folder, name, `run_${index + 1}`), tree));
        const report = join(bench.folder, `${name}.html`);
        const said = spawnSync(program, [...runs, "-o", report], { encoding: "utf8" });
        assert.deepEqual([said.status, said.stderr], [0, ""]);
        return report;
    };
    const trees = seeds();
    const every: Tree = new Map([...trees.values()].flatMap((tree) => [...tree]));

    for (const [name, tree] of trees) {
        test(`a tree of the family ${name}`, () => checkReport(bench, reportOf(name, [tree])));
    }

    test("a tree of every family", async () => {
        const report = reportOf("every", [every]);
        assert.ok(payloadIn(report).pages.length > 8);
        await checkReport(bench, report);
    });

    test("two versions", () => checkReport(bench, reportOf("two", [every, every])));

    test("a tree in which nothing was measured", async () => {
        const version: Tree = new Map([["env_info/qvt_version", "1\n"]]);
        await checkReport(bench, reportOf("nothing", [version]));
    });

    test("a tree whose names are markup", async () => {
        const marked: Tree = new Map([...every].map(([name, text]) => [name, text.replace(kNames, kMarkup)]));
        const report = reportOf("marked", [marked, marked]);
        assert.ok(JSON.stringify(payloadIn(report).pages).includes(kMarkup));
        await checkReport(bench, report);
    });
});
