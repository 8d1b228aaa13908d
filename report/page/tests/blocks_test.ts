// What stands in a payload stands in the page: every block, every figure, with its source or with the reason why there is none.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import test from "node:test";
import type { Page as Tab } from "puppeteer-core";
import type { Block, Payload } from "../src/payload";
import { Bench, Opened, withBench } from "./browser";
import { preorder, words } from "./expected";
import { empty, every, two } from "./fixtures";

/** Opens a report at a page and expects nothing but what it should do. */
async function opened(
    bench: Bench,
    payload: Payload,
    id: string,
    run: (tab: Tab, opened: Opened) => Promise<void>,
): Promise<void> {
    const report = await bench.open(bench.write("report", payload), `#page=${encodeURIComponent(id)}`);
    await run(report.page, report);
    assert.deepEqual(report.complaints, []);
    assert.deepEqual(report.requests, []);
    await report.page.close();
}

const textsOf = (tab: Tab, selector: string): Promise<string[]> =>
    tab.$$eval(selector, (nodes) => nodes.map((node) => (node as HTMLElement).innerText.trim()));

function blockOf<Kind extends Block["kind"]>(payload: Payload, id: string, kind: Kind): Extract<Block, { kind: Kind }> {
    const found = payload.pages.find((page) => page.id === id)?.blocks.find((block) => block.kind === kind);
    return found as Extract<Block, { kind: Kind }>;
}

await withBench((bench) => {
    test("each page has its heading and its blocks, and the first one is shown first", async () => {
        const payload = every();
        await opened(bench, payload, "", async (tab) => {
            assert.deepEqual(await textsOf(tab, "nav a"), [...payload.pages.map((page) => page.title), "Files"]);
            assert.equal((await textsOf(tab, "h1"))[0], "Summary");
            for (const page of payload.pages) {
                await tab.evaluate(
                    (title) =>
                        [...document.querySelectorAll<HTMLElement>("nav a")]
                            .find((link) => link.innerText === title)
                            ?.click(),
                    page.title,
                );
                await bench.settle(tab);
                assert.deepEqual(await textsOf(tab, "h1"), [page.title]);
                assert.deepEqual(
                    await textsOf(tab, "main h2"),
                    page.blocks.map((block) => block.title),
                );
                assert.deepEqual(
                    await textsOf(tab, "main .note"),
                    page.blocks.flatMap((block) => block.note ?? []),
                );
                assert.deepEqual(await textsOf(tab, "main .trouble"), []);
                assert.equal(await tab.$(".contents"), null); // short pages need none
                const charts = page.blocks.filter((block) => block.kind === "series" || block.kind === "timeline").length;
                assert.equal((await tab.$$("main .chart")).length, charts);
            }
        });
    });

    test("a table holds the payload's cells, all of them on demand, in any order", async () => {
        const payload = every();
        const table = blockOf(payload, "cpu", "table");
        await opened(bench, payload, "cpu", async (tab) => {
            assert.equal((await tab.$$(".block.table tbody tr")).length, 25);
            await tab.click(".block.table .grid-foot button");
            const cells = await tab.$$eval(".block.table tbody tr", (rows) =>
                rows.map((row) => [...row.querySelectorAll("td")].map((cell) => cell.textContent)),
            );
            assert.deepEqual(
                cells,
                table.rows.map((row) => row.map(words)),
            );
            assert.deepEqual(await textsOf(tab, ".block.table .grid-foot"), [
                "90 of 1\u202f200 rows are kept. \u2020 too few samples to trust",
            ]);
            await tab.click(".block.table th:nth-child(3) button");
            const values = table.rows.map((row) => row[2].v).filter((v): v is number => v !== undefined);
            const first = await textsOf(tab, ".block.table tbody tr:first-child td:nth-child(3)");
            assert.equal(parseFloat(first[0]), Math.max(...values));
            await tab.type(".block.table input[type=search]", "PROCESS_77 ");
            assert.deepEqual(await textsOf(tab, ".block.table tbody tr td:nth-child(2)"), ["4077"]);
        });
    });

    test("each reason why there is no number is told in words", async () => {
        const payload = empty();
        await opened(bench, payload, "summary", async (tab) => {
            const reasons = Object.values(payload.reasons);
            assert.deepEqual(await textsOf(tab, ".block.text:nth-of-type(2) li"), reasons);
            assert.deepEqual(
                await tab.$$eval(".block.table tbody button", (nodes) => nodes.map((node) => node.title)),
                reasons,
            );
            assert.deepEqual(
                await textsOf(tab, ".block.table tbody button"),
                Object.keys(payload.reasons).map((code) => code.replace(/-/g, " ")),
            );
            assert.deepEqual(await textsOf(tab, "main .trouble"), []);
            assert.equal((await textsOf(tab, "main"))[0].includes("NaN"), false);
        });
    });

    test("a number leads to its file, its line and that line's text", async () => {
        const payload = every();
        await opened(bench, payload, "cpu", async (tab) => {
            await tab.click(".block.table tbody tr:nth-child(5) td:nth-child(3) button");
            const told = (await textsOf(tab, ".popover"))[0];
            assert.ok(told.includes("json/cpu/cpu_analyze_system.json, line 5"), told);
            assert.ok(told.includes(payload.lines["0:5"]), told);
            await tab.keyboard.press("Escape");
            assert.equal(await tab.$(".popover"), null);
            assert.equal(
                await tab.evaluate(() => document.activeElement?.textContent),
                words(blockOf(payload, "cpu", "table").rows[4][2]),
            );
            await tab.click(".block.table tbody tr:nth-child(2) td:nth-child(4) button");
            const beyond = (await textsOf(tab, ".popover"))[0];
            for (const part of [
                "csv/ddr/ddr_bandwidth.csv, line 1001",
                "It stands in /opt/usr/mnt/zarn/zarn_data_0/csv/ddr",
                "torn at line 88123",
                "Computed: pages times 4096",
            ]) {
                assert.ok(beyond.includes(part), beyond);
            }
        });
    });

    test("bars, a tree and stacks show the payload's figures", async () => {
        const payload = two();
        await opened(bench, payload, "compare", async (tab) => {
            const bars = blockOf(payload, "compare", "bars");
            assert.deepEqual(
                await textsOf(tab, ".bar-line button"),
                bars.rows.flatMap((row) => row.cells.map(words)),
            );
            const widths = await tab.$$eval(".bar", (nodes) =>
                nodes.map((node) => parseFloat((node as HTMLElement).style.width)),
            );
            const numbers = bars.rows.flatMap((row) =>
                row.cells.flatMap((cell) => (typeof cell.v === "number" ? [cell.v] : [])),
            );
            assert.deepEqual(
                widths,
                numbers.map((v) => parseFloat(((v / Math.max(...numbers)) * 100).toFixed(4))),
            );
            const flame = blockOf(payload, "compare", "flame").root;
            const title = await tab.$eval(".flame-stage title", (node) => node.textContent);
            assert.equal(title, `all: 9000 samples (100 %), ${(flame.delta as number) > 0 ? "+" : ""}${flame.delta} points`);
            const shown = await textsOf(tab, ".flame-stage g:nth-of-type(1) div");
            assert.deepEqual(shown, ["all"]);
        });
        const single = every();
        await opened(bench, single, "topdown", async (tab) => {
            const nodes = preorder(blockOf(single, "topdown", "tree").roots);
            assert.deepEqual(
                await textsOf(tab, ".tree-row > button"),
                nodes.map((node) => words(node.cell)),
            );
            assert.deepEqual(
                await textsOf(tab, ".badge"),
                nodes.flatMap((node) => node.mark ?? []),
            );
        });
    });

    test("the table of a chart holds the chart's points", async () => {
        const payload = every();
        const { series } = blockOf(payload, "cpu", "series");
        await opened(bench, payload, "cpu", async (tab) => {
            await tab.click(".block.series details.data summary");
            await bench.until(tab, "document.querySelectorAll('.block.series .grid tbody tr').length > 0");
            await tab.click(".block.series .grid-foot button");
            const rows = await tab.$$eval(".block.series .grid tbody tr", (found) =>
                found.map((row) => [...row.querySelectorAll("td")].map((cell) => cell.textContent)),
            );
            assert.equal(rows.length, series[0].t.length);
            rows.forEach((row, i) =>
                assert.deepEqual(
                    row.slice(1),
                    series.map((line) => (line.v[i] === null ? "not in file" : String(line.v[i]))),
                ),
            );
            assert.equal(rows[1][0], "2026-03-14 09:30:02.000");
        });
    });

    test("a long page begins with the list of its blocks, which leads to them", async () => {
        const payload = empty();
        const titles = payload.pages[0].blocks.map((block) => block.title);
        await opened(bench, payload, "summary", async (tab) => {
            assert.deepEqual(await textsOf(tab, ".contents button"), titles);
            await tab.click(".contents li:last-child button");
            await bench.settle(tab);
            assert.equal(await tab.evaluate(() => document.activeElement?.textContent), titles[titles.length - 1]);
            assert.ok(
                await tab.evaluate(
                    () => (document.activeElement as Element).getBoundingClientRect().top < window.innerHeight,
                ),
            );
            assert.equal(await tab.evaluate(() => location.hash), "#page=summary");
        });
    });

    test("the list of blocks shows each title whole", async () => {
        const payload = empty();
        const title = (index: number): string =>
            `Longest runs without a break, global_timehist_process_tid_camera_isp:${index}`;
        payload.pages[0].blocks = [...Array(9).keys()].map((index) => ({ kind: "text", title: title(index), lines: [] }));
        await opened(bench, payload, "summary", async (tab) => {
            const cut = await tab.$$eval(".contents button", (nodes) =>
                nodes.filter((node) => node.scrollWidth > node.clientWidth || node.scrollHeight > node.clientHeight + 2),
            );
            assert.equal(cut.length, 0);
        });
    });

    test("a table's heads take several lines before the table is wider than the page, and all of it gets on paper", async () => {
        const payload = empty();
        const columns = [...Array(9).keys()].map((index) => ({
            name: `some long figure of a version, ${index}`,
            number: true,
        }));
        const long = { v: "some words that are too long for one line of a table ".repeat(2) };
        const short = columns.map(() => ({ v: 82.90402 }));
        payload.pages[0].blocks = [
            { kind: "table", title: "short", columns, rows: [short] },
            { kind: "table", title: "long", columns, rows: [columns.map(() => long)] },
        ];
        await opened(bench, payload, "summary", async (tab) => {
            const over = (): Promise<number[]> =>
                tab.$$eval(".block.table .scroll", (nodes) => nodes.map((node) => node.scrollWidth - node.clientWidth));
            assert.equal((await over())[0], 0);
            await tab.emulateMediaType("print");
            await tab.setViewport({ width: 700, height: 900 });
            await bench.settle(tab);
            assert.deepEqual(await over(), [0, 0]);
            const heights = await tab.$$eval(".block.table:nth-of-type(1) td button", (nodes) =>
                nodes.map((node) => node.getBoundingClientRect().height),
            );
            assert.ok(Math.max(...heights) < 25, "a number stands in one line");
        });
    });

    test("on a narrow screen bars are as wide as their figures", async () => {
        const payload = empty();
        const cells = [{ v: 8388608 }, { v: 4194304 }];
        payload.pages[0].blocks = [
            { kind: "bars", title: "t", unit: "KB", names: ["a", "b"], rows: [{ label: "kernelStack", cells }] },
        ];
        await opened(bench, payload, "summary", async (tab) => {
            await tab.setViewport({ width: 420, height: 900 });
            const widths = await tab.$$eval(".track", (nodes) => nodes.map((node) => node.clientWidth));
            assert.ok(Math.min(...widths) >= 90, String(widths));
        });
    });

    test("the foot names the libraries in the page and their licences", async () => {
        await opened(bench, every(), "summary", async (tab) => {
            const licences = await tab.$$eval(".licences details summary", (nodes) =>
                nodes.map((node) => node.textContent ?? ""),
            );
            for (const expected of [
                /^uplot [\d.]+: MIT$/,
                /^d3-flame-graph [\d.]+: Apache-2\.0$/,
                /^d3-selection [\d.]+: ISC$/,
            ]) {
                assert.ok(
                    licences.some((licence) => expected.test(licence)),
                    String(licences),
                );
            }
            const texts = await tab.$$eval(".licences details pre", (nodes) =>
                nodes.map((node) => (node.textContent ?? "").length),
            );
            assert.ok(texts.length === licences.length && Math.min(...texts) > 500);
            const copyright = readFileSync(join(process.argv[3], "packaging/copyright"), "utf8");
            for (const licence of licences) {
                const [, name, terms] = /^(\S+) \S+: (\S+)$/.exec(licence) ?? [];
                const stanza = copyright.split("\n\n").find((part) => part.includes(` report/page/${name}/*\n`)) ?? "";
                assert.ok(stanza.includes(`\nLicense: ${terms}`), `packaging/copyright does not tell of ${licence}`);
            }
        });
    });
});
