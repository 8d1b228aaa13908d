// What is packed reads as what it was, and the program's form as what it stands for. Needs no browser.

import assert from "node:assert/strict";
import test from "node:test";
import { PackedBlock, PackedPayload, unpack } from "../src/packed";
import type { Block, Payload } from "../src/payload";
import { empty, every, hostile } from "./fixtures";
import { pack } from "./pack";

const kMoment = 1795380728362.654;

function blocksOf(pages: { [id: string]: PackedBlock[] }): { [id: string]: Block[] } {
    const packed: PackedPayload = {
        ...pack(empty()),
        pages: Object.entries(pages).map(([id, blocks]) => ({ id, title: id, blocks })),
    };
    return Object.fromEntries(unpack(packed).pages.map((page) => [page.id, page.blocks]));
}

test("what is packed reads as what it was", () => {
    for (const payload of [every(), hostile(), empty()]) {
        const written = JSON.parse(JSON.stringify(pack(payload))) as PackedPayload;
        const { pages, ...rest } = JSON.parse(JSON.stringify(payload)) as Payload;
        const read = unpack(written);
        for (const [at, page] of pages.entries()) {
            page.blocks.forEach((block, place) => assert.deepEqual(read.pages[at].blocks[place], block, block.title));
        }
        assert.deepEqual({ ...read, pages: [] }, { ...rest, pages: [] });
    }
});

test("a value alone is of the place of the last cell before it that has one", () => {
    const cells = [1, { v: "a", src: [2, 3] as [number, number] }, "b", { empty: "cut" as const }, { v: 1 }, 4.5];
    const read = [
        { v: 1, src: undefined },
        { v: "a", src: [2, 3] },
        { v: "b", src: [2, 3] },
        { empty: "cut" },
        { v: 1 },
        { v: 4.5, src: [2, 3] },
    ];
    const title = "cells";
    const { page } = blocksOf({
        page: [
            { kind: "table", title, columns: [], rows: [cells, [5]] },
            { kind: "bars", title, unit: "", names: [], rows: [{ label: "row", cells }] },
            { kind: "text", title, lines: cells },
        ],
    });
    assert.deepEqual(page[0].kind === "table" && page[0].rows, [read, [{ v: 5, src: undefined }]]);
    assert.deepEqual(page[1].kind === "bars" && page[1].rows[0].cells, read);
    assert.deepEqual(page[2].kind === "text" && page[2].lines, read);
});

test("lines of a chart share moments and places with the line before, or are those of another page's chart", () => {
    const packed = [
        { name: "a", run: 1, t: [kMoment, 1, 1000000], v: [1, null, 3], src: { file: 4, lines: [7, 2, -1] } },
        { name: "b", run: 1, v: [4, 5, 6], counts: [1, 7, 2], means: [4, 1.5, 6] },
        { name: "c", run: 1, t: [], v: [], srcs: [] },
    ];
    const like = [{ name: "b", run: 1, like: ["load", 0, 1] as [string, number, number] }];
    const head = { kind: "series" as const, unit: "%" };
    const { load, together } = blocksOf({
        together: [{ ...head, title: "both", series: like }],
        load: [{ ...head, title: "one", series: packed }],
    });
    const moments = { t: [kMoment, kMoment + 0.001, kMoment + 1000.001], src: { file: 4, lines: [7, 9, 8] } };
    const first = { name: "a", run: 1, v: [1, null, 3], ...moments };
    const second = { name: "b", run: 1, v: [4, 5, 6], counts: [1, 7, 2], means: [4, 1.5, 6], ...moments };
    assert.deepEqual(load[0].kind === "series" && load[0].series, [first, second, { ...packed[2], t: [] }]);
    assert.deepEqual(together[0].kind === "series" && together[0].series, [second]);
});

test("moments of any year stay what they were after many steps", () => {
    const steps = Array.from({ length: 5000 }, (_one, index) => 1 + (index % 7));
    for (const first of [-62167219200000, 0, kMoment, 253402300799000]) {
        const { page } = blocksOf({
            page: [{ kind: "series", title: "", unit: "", series: [{ name: "", run: 0, t: [first, ...steps], v: [] }] }],
        });
        const moments = page[0].kind === "series" ? page[0].series[0].t : [];
        const passed = steps.reduce((sum, step) => sum + step, 0);
        assert.ok(Math.abs(moments[5000] - moments[0] - passed / 1000) <= 0.07);
        assert.equal(moments.length, 5001);
    }
});

test("spans have the file of their row", () => {
    const { page } = blocksOf({
        page: [
            {
                kind: "timeline",
                title: "",
                rows: [{ name: "w", from: [kMoment, 1500], us: [250, 1], src: { file: 2, lines: [9, -4] } }],
            },
        ],
    });
    assert.deepEqual(page[0].kind === "timeline" && page[0].rows[0].spans, [
        { from: kMoment, to: 1795380728362.904, src: [2, 9] },
        { from: 1795380728364.154, to: 1795380728364.155, src: [2, 5] },
    ]);
});
