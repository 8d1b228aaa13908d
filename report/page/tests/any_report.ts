// What holds for every report that the program writes, whatever is in it.

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import type { Page as Tab } from "puppeteer-core";
import { Clock } from "../src/clock";
import { visible } from "../src/dom";
import { PackedPayload, unpack } from "../src/packed";
import type { Block, Payload, Series } from "../src/payload";
import { Bench } from "./browser";
import { figuresOf, preorder, shownFigures, words } from "./expected";

const kDrawnDepth = 4;

export function payloadIn(path: string): Payload {
    const text = readFileSync(path, "utf8");
    const data = /<script type="application\/json" id="zarn-report">([^<]*)<\/script>/.exec(text);
    assert.ok(data, `${path} holds no payload, or one with "<" in it`);
    return unpack(JSON.parse(data[1]) as PackedPayload);
}

const textsOf = (tab: Tab, selector: string): Promise<string[]> =>
    tab.$$eval(selector, (nodes) => nodes.map((node) => node.textContent ?? ""));

async function checkTable(bench: Bench, tab: Tab, at: string, block: Extract<Block, { kind: "table" }>): Promise<void> {
    for (;;) {
        const more = await tab.$(`${at} .grid-foot button`);
        if (!more) {
            break;
        }
        await more.evaluate((node) => (node as HTMLElement).click());
        await bench.settle(tab);
    }
    const rows = await tab.$$eval(`${at} tbody tr`, (found) =>
        found.map((row) => [...row.querySelectorAll("td")].map((cell) => cell.textContent)),
    );
    assert.deepEqual(
        rows,
        block.rows.map((row) => block.columns.map((_column, index) => words(row[index] ?? {}))),
    );
}

async function checkSeries(tab: Tab, at: string, block: Series, clock: Clock): Promise<void> {
    if (block.series.every((line) => line.t.length === 0)) {
        return;
    }
    const shown = await shownFigures(tab, at);
    block.series.forEach((line, index) => {
        const [figures] = figuresOf({ ...block, series: [line] }, clock.home, clock.shift(line.run));
        assert.deepEqual(shown[index], figures, line.name);
    });
    const found = (block.marks?.length ?? 0) + (block.limits?.length ?? 0) + (block.bands?.length ?? 0);
    assert.equal((await tab.$$(`${at} .findings li`)).length, Math.min(500, found));
}

async function checkBlock(bench: Bench, tab: Tab, at: string, block: Block, clock: Clock): Promise<void> {
    switch (block.kind) {
        case "table":
            return checkTable(bench, tab, at, block);
        case "series":
            return checkSeries(tab, at, block, clock);
        case "bars": {
            const cells = block.rows.slice(0, 60).flatMap((row) => row.cells.map(words));
            return assert.deepEqual(await textsOf(tab, `${at} .bar-line button`), cells);
        }
        case "tree": {
            const nodes = preorder(block.roots, kDrawnDepth);
            return assert.deepEqual(
                await textsOf(tab, `${at} .tree-row > button`),
                nodes.map((node) => words(node.cell)),
            );
        }
        case "flame":
            return assert.equal((await tab.$$(`${at} .flame-stage svg, ${at} p.dim`)).length > 0, true);
        case "timeline":
            return assert.equal((await tab.$$(`${at} canvas, ${at} p.dim`)).length > 0, true);
        case "text":
            return assert.equal((await tab.$$(`${at} ul.text li`)).length, block.lines.length);
    }
}

/** Opens a report from disk: each page shows all that its payload holds, nothing complains, nothing is asked for, nothing of it runs. */
export async function checkReport(bench: Bench, path: string): Promise<void> {
    const payload = payloadIn(path);
    const clock = new Clock(payload);
    for (const page of payload.pages) {
        const { page: tab, complaints, requests } = await bench.open(path, `#page=${encodeURIComponent(page.id)}`);
        const height = await tab.evaluate(() => document.documentElement.scrollHeight);
        await tab.setViewport({ width: 1280, height: Math.min(12000, Math.max(900, height)) });
        await bench.settle(tab);
        assert.deepEqual(
            await textsOf(tab, "main h2"),
            page.blocks.map((block) => visible(block.title)),
        );
        const cannot = (await textsOf(tab, "main .block > .trouble")).filter((text) => text.includes("cannot"));
        assert.deepEqual(cannot, []);
        const first = (await tab.$(".contents")) ? 3 : 2; // below the heading and the list of blocks
        for (const [index, block] of page.blocks.entries()) {
            await checkBlock(bench, tab, `main > :nth-child(${index + first})`, block, clock);
        }
        assert.equal((await textsOf(tab, "main"))[0].includes("NaN"), false);
        assert.equal(await tab.evaluate(() => "broken" in window || document.querySelector("img, script") !== null), false);
        assert.deepEqual(complaints, []);
        assert.deepEqual(requests, []);
        await tab.close();
    }
}
