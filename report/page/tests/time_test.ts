// The one time axis: zoom, pan, cursor and marks of all charts together, by mouse and keys, kept by the address.

import assert from "node:assert/strict";
import test from "node:test";
import type { Page as Tab } from "puppeteer-core";
import type { Payload, Series } from "../src/payload";
import { Bench, Opened, withBench } from "./browser";
import { Range, figuresOf, shownFigures } from "./expected";
import { every, kStart, two } from "./fixtures";

const kEnd = kStart + 600000;

/** The plot of the first chart in the window's pixels. */
async function plotOf(tab: Tab, index = 0): Promise<{ left: number; top: number; width: number; height: number }> {
    return tab.$$eval(".u-over", (nodes, wanted) => nodes[wanted].getBoundingClientRect().toJSON(), index);
}

async function dragOver(tab: Tab, from: number, to: number, key?: "Alt" | "Shift"): Promise<void> {
    const plot = await plotOf(tab);
    const y = plot.top + plot.height / 2;
    if (key) {
        await tab.keyboard.down(key);
    }
    await tab.mouse.move(plot.left + from * plot.width, y);
    await tab.mouse.down();
    await tab.mouse.move(plot.left + ((from + to) / 2) * plot.width, y);
    await tab.mouse.move(plot.left + to * plot.width, y);
    await tab.mouse.up();
    if (key) {
        await tab.keyboard.up(key);
    }
}

function part(hash: string, name: "range" | "mark"): Range | null {
    const match = new RegExp(`${name}=(-?[\\d.]+?)\\.\\.(-?[\\d.]+)`).exec(hash);
    return match && { from: Number(match[1]), to: Number(match[2]) };
}

/** What the address says. It follows a little later; the links have it at once. */
async function inAddress(bench: Bench, tab: Tab, name: "range" | "mark"): Promise<Range> {
    await bench.settle(tab);
    const hash = await tab.$eval("nav a[aria-current]", (link) => (link as HTMLAnchorElement).hash);
    await bench.until(tab, `location.hash === ${JSON.stringify(hash)}`);
    const found = part(hash, name);
    assert.ok(found, `${hash} has no ${name}`);
    return found;
}

function close(actual: number, expected: number, slack: number): void {
    assert.ok(Math.abs(actual - expected) <= slack, `${actual} is not within ${slack} of ${expected}`);
}

async function opened(
    bench: Bench,
    payload: Payload,
    fragment: string,
    run: (tab: Tab, opened: Opened) => Promise<void>,
): Promise<void> {
    const report = await bench.open(bench.write("report", payload), fragment);
    await run(report.page, report);
    assert.deepEqual(report.complaints, []);
    assert.deepEqual(report.requests, []);
    await report.page.close();
}

/** The opaque pixels of the first chart: red, green, blue, and how far they are below the plot. */
async function pixelsOf(tab: Tab): Promise<number[][]> {
    return tab.$eval(".chart", (chart) => {
        const drawn = chart.querySelector("canvas") as HTMLCanvasElement;
        const canvas = document.createElement("canvas"); // a copy, since a canvas that is read is drawn slower
        [canvas.width, canvas.height] = [drawn.width, drawn.height];
        const context = canvas.getContext("2d", { willReadFrequently: true }) as CanvasRenderingContext2D;
        context.drawImage(drawn, 0, 0);
        const { data } = context.getImageData(0, 0, canvas.width, canvas.height);
        const plot = (chart.querySelector(".u-over") as HTMLElement).getBoundingClientRect();
        const bottom = plot.bottom - drawn.getBoundingClientRect().top;
        const pixels: number[][] = [];
        for (let i = 0; i < data.length; i += 4) {
            if (data[i + 3] > 200) {
                pixels.push([...data.slice(i, i + 3), Math.floor(i / 4 / canvas.width) - bottom]);
            }
        }
        return pixels;
    });
}

function cpuOf(payload: Payload): Series {
    return payload.pages[1].blocks[0] as Series;
}

await withBench((bench) => {
    test("dragging zooms, and the figures are those of what is in view", async () => {
        const payload = every();
        await opened(bench, payload, "#page=cpu", async (tab) => {
            assert.deepEqual(await shownFigures(tab), figuresOf(cpuOf(payload), { from: kStart, to: kEnd }));
            await dragOver(tab, 0.25, 0.5);
            const range = await inAddress(bench, tab, "range");
            close(range.from, kStart + 150000, 1500);
            close(range.to, kStart + 300000, 1500);
            assert.deepEqual(await shownFigures(tab), figuresOf(cpuOf(payload), range));
            const plot = await plotOf(tab);
            await tab.mouse.click(plot.left + 30, plot.top + 30, { count: 2 });
            await bench.until(tab, "!location.hash.includes('range=')");
            assert.deepEqual(await shownFigures(tab), figuresOf(cpuOf(payload), { from: kStart, to: kEnd }));
        });
    });

    test("a marked range gives the mean, the least and the greatest of each line in it", async () => {
        const payload = every();
        await opened(bench, payload, "#page=cpu", async (tab) => {
            await dragOver(tab, 0.6, 0.4, "Alt");
            const mark = await inAddress(bench, tab, "mark");
            close(mark.from, kStart + 240000, 1500);
            close(mark.to, kStart + 360000, 1500);
            assert.deepEqual(await shownFigures(tab), figuresOf(cpuOf(payload), mark));
            await tab.click(".legend tbody tr:nth-child(1) td:nth-child(5) button");
            const told = await tab.$eval(".popover", (node) => (node as HTMLElement).innerText);
            const { v } = cpuOf(payload).series[0];
            const greatest = Math.max(
                ...(v as number[]).filter((_v, i) => kStart + i * 2000 >= mark.from && kStart + i * 2000 <= mark.to),
            );
            assert.ok(told.includes(`line ${v.indexOf(greatest) + 1}\n`), told);
            await tab.click(".toolbar .mark-tools button[aria-label='Mark nothing']");
            await bench.until(tab, "!location.hash.includes('mark=')");
        });
    });

    test("all charts of a page zoom, pan and show the cursor together", async () => {
        await opened(bench, every(), "#page=sched", async (tab) => {
            await dragOver(tab, 0.5, 0.75);
            const zoomed = await inAddress(bench, tab, "range");
            await dragOver(tab, 0.5, 0.25, "Shift");
            const panned = await inAddress(bench, tab, "range");
            close(panned.from - zoomed.from, (zoomed.to - zoomed.from) / 4, 600);
            close(panned.to - panned.from, zoomed.to - zoomed.from, 1);
            const [first, second] = [await plotOf(tab, 0), await plotOf(tab, 1)];
            close(first.left, second.left, 0.5);
            close(first.width, second.width, 0.5);
            await tab.mouse.move(first.left + 200, first.top + 30);
            await bench.settle(tab);
            const cursors = await tab.$$eval(".u-cursor-x", (nodes) =>
                nodes.map((node) => node.getBoundingClientRect().left),
            );
            close(cursors[0], cursors[1], 1.5);
            close(cursors[0], first.left + 200, 1.5);
        });
    });

    test("a chart of a short time can be zoomed to", async () => {
        await opened(bench, every(), "#page=ddr", async (tab) => {
            assert.equal((await tab.$$(".own-time")).length, 1);
            await tab.click(".own-time button");
            const range = await inAddress(bench, tab, "range");
            assert.deepEqual(range, { from: kStart + 59600, to: kStart + 80400 });
        });
    });

    test("the address shows the same page, range and marks again, and goes back", async () => {
        const payload = every();
        const fragment = `#page=cpu&range=${kStart + 60000}..${kStart + 120000}&mark=${kStart + 70000}..${kStart + 80000.5}`;
        await opened(bench, payload, fragment, async (tab) => {
            assert.deepEqual(
                await shownFigures(tab),
                figuresOf(cpuOf(payload), { from: kStart + 70000, to: kStart + 80000.5 }),
            );
            const label = await tab.$eval(".toolbar .range", (node) => node.textContent);
            assert.equal(label, "2026-03-14 09:31:00.000 to 09:32:00.000 (60 s)");
            await tab.$$eval("nav a", (links) => (links[2] as HTMLElement).click());
            assert.equal(await tab.evaluate(() => location.hash), fragment.replace("cpu", "ddr"));
            await tab.goBack();
            await bench.until(tab, "document.querySelector('h1').textContent === 'CPU'");
            assert.equal(await tab.evaluate(() => location.hash), fragment);
        });
        for (const broken of [
            "#page=none&range=x..y&mark=5..1",
            "#%%%",
            "#range=9..9",
            "#page=cpu&page=ddr&range=1e9..2e9",
        ]) {
            await opened(bench, payload, broken, async (tab) => {
                assert.ok(["Summary", "CPU"].includes(await tab.$eval("h1", (node) => node.textContent ?? "")));
                assert.equal(await tab.$(".failure"), null);
            });
        }
    });

    test("the figures of a thinned chart tell the mean of what was measured, and that it is close", async () => {
        const payload = every();
        const chart = cpuOf(payload);
        chart.total = 5000;
        chart.series.forEach((line) => {
            line.counts = line.v.map((_v, index) => 1 + (index % 5));
            line.means = line.v.map((v) => (v ?? 0) / 2);
        });
        await opened(bench, payload, `#page=cpu&mark=${kStart + 70000}..${kStart + 80000}`, async (tab) => {
            const expected = figuresOf(chart, { from: kStart + 70000, to: kStart + 80000 });
            assert.deepEqual(await shownFigures(tab), expected);
            const mean = await tab.$eval(".legend tbody td:nth-child(3)", (node) => node.textContent);
            assert.equal(mean, `\u2248\u202f${expected[0][0]}`);
            await tab.click(".legend tbody td:nth-child(3) button");
            const told = await tab.$eval(".popover", (node) => (node as HTMLElement).innerText);
            assert.ok(told.includes("The mean of 16 values of system from") && told.includes("counts to the range"), told);
        });
    });

    test("the lines of several runs begin together", async () => {
        const payload = two();
        const series = payload.pages[1].blocks[0] as Series;
        await opened(bench, payload, "#page=compare&mark=100000..200000", async (tab) => {
            const expected = series.series.map(
                (line, run) =>
                    figuresOf({ ...series, series: [line] }, { from: 100000, to: 200000 }, kStart + run * 3600000)[0],
            );
            assert.deepEqual(await shownFigures(tab), expected);
            assert.deepEqual(await tab.$$eval(".legend td.name", (cells) => cells.map((cell) => cell.textContent)), [
                "system (version 1.4)",
                "system (version 1.5)",
            ]);
            assert.equal(await tab.$eval(".findings .go", (node) => node.textContent), "+300.000\u202fs");
        });
    });

    test("what is compared has one colour, and each run its own line", async () => {
        await opened(bench, two(), "#page=cores", async (tab) => {
            const inks = await tab.$$eval(".swatch", (nodes) =>
                nodes
                    .map((node) => node as HTMLElement)
                    .map((node) => ({ line: node.style.borderTopStyle, colour: node.style.borderTopColor })),
            );
            assert.deepEqual(
                inks.map((ink) => ink.line),
                ["solid", "dashed", "solid", "dashed"],
            );
            assert.equal(inks[0].colour, inks[1].colour);
            assert.equal(inks[2].colour, inks[3].colour);
            assert.notEqual(inks[0].colour, inks[2].colour);
        });
    });

    test("the rows below a chart show the dashes of its lines", async () => {
        const payload = every();
        const [first] = cpuOf(payload).series;
        const series = [...Array(32).keys()].map((index) => ({ ...first, name: `line ${index}` }));
        payload.pages[1].blocks = [{ kind: "series", title: "many", unit: "%", series }];
        await opened(bench, payload, "#page=cpu", async (tab) => {
            const dashes = await tab.$$eval(".swatch", (nodes) =>
                nodes
                    .map((node) => node as HTMLElement)
                    .map(({ style }) => (style.borderImageSource.includes("gradient") ? "both" : style.borderTopStyle)),
            );
            assert.deepEqual(
                dashes,
                ["solid", "dashed", "dotted", "both"].flatMap((dash) => Array(8).fill(dash)),
            );
        });
    });

    test("the keys move the cursor, zoom, pan, mark and tell the source", async () => {
        const payload = every();
        await opened(bench, payload, "#page=cpu", async (tab) => {
            await tab.focus(".chart");
            const press = async (keys: string[]): Promise<void> => {
                for (const key of keys) {
                    await tab.keyboard.press(key as "Enter");
                }
                await bench.settle(tab);
            };
            await press(["Home", "ArrowRight", "ArrowRight", "ArrowRight"]);
            const now = await tab.$$eval(".legend .now", (cells) => cells.map((cell) => cell.textContent));
            assert.deepEqual(
                now,
                cpuOf(payload).series.map((line) => String(line.v[3])),
            );
            await press(["["]);
            await press(Array<string>(10).fill("ArrowRight"));
            await press(["]"]);
            const mark = await inAddress(bench, tab, "mark");
            assert.deepEqual(mark, { from: kStart + 6000, to: kStart + 26000 });
            await press(["+"]);
            const range = await inAddress(bench, tab, "range");
            close(range.to - range.from, 300000, 1);
            await press(["Enter"]);
            assert.ok((await tab.$eval(".popover", (node) => (node as HTMLElement).innerText)).includes("line 14\n"));
            await press(["Escape"]);
            assert.equal(await tab.$(".popover"), null);
            assert.equal(await tab.evaluate(() => document.activeElement?.className), "chart");
            await press(["Escape", "0"]);
            await bench.until(tab, "location.hash === '#page=cpu'");
        });
    });

    test("a point that has a file of its own tells that file", async () => {
        await opened(bench, every(), "#page=ddr", async (tab) => {
            const charts = await tab.$$(".chart");
            await charts[1].focus();
            const told: string[] = [];
            for (const keys of [["Home", "ArrowRight"], ["ArrowRight"], ["ArrowRight"]]) {
                for (const key of [...keys, "Enter"]) {
                    await tab.keyboard.press(key as "Enter");
                    await bench.settle(tab);
                }
                told.push(await tab.$eval(".popover", (node) => (node as HTMLElement).innerText));
                await tab.keyboard.press("Escape");
            }
            const places = told.map((words) => /(\S+), line (\d+)/.exec(words)?.slice(1));
            assert.deepEqual(places, [
                ["json/cpu/cpu_analyze_system.json", "7"],
                ["raw_data/hot_fun/script_1.txt", "1"],
                ["json/cpu/cpu_analyze_system.json", "9"],
            ]);
        });
    });

    test("the tab key reaches all that can be used, and each shows that it is there", async () => {
        await opened(bench, every(), "#page=cpu", async (tab) => {
            const reached = new Set<string>();
            for (let i = 0; i < 200; i++) {
                await tab.keyboard.press("Tab");
                const place = await tab.evaluate(() => {
                    const node = document.activeElement as HTMLElement;
                    const shown = getComputedStyle(
                        node.matches(".mode input") ? (node.nextElementSibling as Element) : node,
                    );
                    return {
                        tag: node.tagName,
                        class: node.className,
                        text: node.innerText?.slice(0, 30),
                        outline: shown.outlineStyle,
                    };
                });
                if (place.tag === "BODY") {
                    break;
                }
                assert.notEqual(place.outline, "none", JSON.stringify(place));
                reached.add(`${place.tag} ${place.class.split(" ")[0]}`);
            }
            for (const expected of [
                "A skip",
                "A ",
                "INPUT ",
                "BUTTON ",
                "DIV chart",
                "BUTTON source",
                "BUTTON go",
                "SUMMARY ",
                "BUTTON sort",
            ]) {
                assert.ok(reached.has(expected), `${expected} of ${[...reached].join(", ")}`);
            }
            await tab.focus(".block.table tbody button");
            await tab.keyboard.press("ArrowDown");
            await tab.keyboard.press("End");
            assert.equal(await tab.evaluate(() => document.activeElement?.textContent), "1024");
        });
    });

    test("a tree and stacks are walked with the arrow keys", async () => {
        await opened(bench, every(), "#page=topdown", async (tab) => {
            await tab.focus("ul.tree li");
            for (const key of ["ArrowLeft", "ArrowDown", "ArrowDown"] as const) {
                await tab.keyboard.press(key);
            }
            const label = await tab.evaluate(() => document.activeElement?.getAttribute("aria-label"));
            assert.equal(label, "memory_bound 44.2 <== bottleneck");
        });
        await opened(bench, every(), "#page=hot_fun", async (tab) => {
            await tab.focus(".flame-stage");
            await tab.keyboard.press("ArrowDown");
            const told = await tab.$eval(".flame-details", (node) => node.textContent ?? "");
            assert.match(told, /^zarn::module_\d+::function_\d+: \d+ samples \([\d.]+ %\)$/);
            await tab.keyboard.press("Enter");
            const widths = await tab.$$eval(".flame-stage g.focused", (nodes) =>
                nodes.map((node) => Number(node.getAttribute("width"))),
            );
            const stage = await tab.$eval(".flame-stage", (node) => node.clientWidth);
            assert.deepEqual(widths, [stage]);
        });
    });

    test("layers of a stack that have one colour are told apart by hatching, in the picture and in the rows below it", async () => {
        const payload = every();
        const [first] = cpuOf(payload).series;
        const names = [...Array(9).keys()].map(String);
        const flat = names.map((name) => ({
            ...first,
            name,
            v: first.v.map(() => (name === "0" || name === "8" ? 50 : 1)),
        }));
        payload.pages[1].blocks = [{ kind: "series", title: "masters", unit: "%", stacked: true, series: flat }];
        await opened(bench, payload, "#page=cpu", async (tab) => {
            const blue = async (): Promise<number> =>
                (await pixelsOf(tab)).filter(([red, , blue, below]) => red < 40 && blue > 150 && below < 0).length;
            const hatched = await tab.$$eval(".swatch.area", (nodes) =>
                nodes.map((node) => (node as HTMLElement).style.background.includes("gradient")),
            );
            assert.deepEqual(
                hatched,
                names.map((name) => name === "8"),
            );
            const both = await blue();
            await tab.click(".legend tbody tr:last-child input");
            await bench.settle(tab);
            const plain = await blue(); // the other alone, in a plot of half the height
            assert.ok(both < plain * 0.95, `${both} of ${plain}`);
            assert.ok(both > plain * 0.6, `${both} of ${plain}`);
        });
    });

    test("the sign of what was found at the foot of a chart is whole", async () => {
        const payload = every();
        const chart = cpuOf(payload);
        const [first] = chart.series;
        const flat = { ...first, v: first.v.map((_v, index) => (index === 150 ? 0 : 50)) };
        payload.pages[1].blocks = [
            {
                ...chart,
                limits: [],
                bands: [],
                series: [flat],
                marks: [{ t: first.t[150], sign: "peak", series: 0, label: "least" }],
            },
        ];
        await opened(bench, payload, "#page=cpu", async (tab) => {
            const dark = (await pixelsOf(tab)).filter(([red, green, blue, below]) => red + green + blue < 160 && below >= 1);
            assert.ok(dark.length > 10, String(dark.length));
        });
    });

    test("a line that is switched off leaves the chart, and a found moment leads there", async () => {
        const payload = every();
        await opened(bench, payload, "#page=cpu", async (tab) => {
            const ink = async (): Promise<number> =>
                (await pixelsOf(tab)).filter(([red, , blue]) => red < 40 && blue > 150).length;
            assert.ok((await ink()) > 300);
            await tab.click(".legend tbody tr:first-child input");
            await bench.settle(tab);
            assert.ok((await ink()) < 20);
            await tab.click(".findings li:first-child .go");
            const range = await inAddress(bench, tab, "range");
            assert.ok(range.to - range.from < 70000);
            const { v } = cpuOf(payload).series[0];
            const shown = await tab.$eval(".legend tbody tr:first-child .now", (cell) => cell.textContent);
            assert.equal(shown, String(Math.max(...(v as number[]))));
        });
    });
});
