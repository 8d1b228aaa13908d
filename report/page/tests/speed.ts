// How long until a report shows its first picture, and how long a step of the zoom takes, with a million points in a chart.
// Each is the time until the frame that shows it is done, waiting for the frame included.
//
// usage: node speed.mjs TEMPLATE [REPORT...]     of reports that the program wrote the time to their first picture as well

import { statSync } from "node:fs";
import { pathToFileURL } from "node:url";
import type { Page as Tab } from "puppeteer-core";
import { Bench, chromiumPath } from "./browser";
import { every, large } from "./fixtures";

const kOpenings = 5;
const kSteps = 40;
const kPoints = 1000000;

function median(values: number[]): number {
    const sorted = [...values].sort((a, b) => a - b);
    return sorted[Math.floor(sorted.length / 2)];
}

/** In the page, before any of its own script: notes when the frame after the first heading is done. */
function watchFirstPicture(): void {
    const watch = new MutationObserver(() => {
        if (!document.querySelector("main h1")) {
            return;
        }
        watch.disconnect();
        requestAnimationFrame(() =>
            requestAnimationFrame(() => {
                (window as unknown as { firstPicture: number }).firstPicture = performance.now();
            }),
        );
    });
    watch.observe(document, { childList: true, subtree: true });
}

async function firstPictures(bench: Bench, path: string): Promise<number[]> {
    const page = await bench.blank();
    await page.evaluateOnNewDocument(watchFirstPicture);
    const times: number[] = [];
    for (let i = 0; i < kOpenings; i++) {
        await page.goto("about:blank");
        await page.goto(pathToFileURL(path).href);
        const handle = await page.waitForFunction("window.firstPicture", { polling: "raf" });
        times.push((await handle.jsonValue()) as number);
    }
    return times;
}

/** In and out again, at several places. */
async function zoomSteps(tab: Tab): Promise<number[]> {
    return tab.evaluate(async (steps) => {
        const times: number[] = [];
        for (let i = 0; i < steps; i++) {
            const label = i % 8 < 4 ? "Zoom in" : "Zoom out";
            const button = document.querySelector<HTMLElement>(`.steps button[aria-label='${label}']`);
            const begun = performance.now();
            button?.click();
            await new Promise((done) => requestAnimationFrame(done));
            await new Promise((done) => {
                const channel = new MessageChannel();
                channel.port1.onmessage = done;
                channel.port2.postMessage(0);
            });
            times.push(performance.now() - begun);
        }
        return times;
    }, kSteps);
}

interface Row {
    name: string;
    times: number[];
    limit: number;
}

async function measure(bench: Bench, written: string[]): Promise<Row[]> {
    const rows: Row[] = [];
    const reports = {
        "one of every block": bench.write("every", every()),
        "1000000 points": bench.write("large", large(kPoints)),
        ...Object.fromEntries(written.map((path) => [path, path])),
    };
    for (const [name, path] of Object.entries(reports)) {
        const size = (statSync(path).size / 1e6).toFixed(1);
        rows.push({ name: `first picture, ${name} (${size} MB)`, times: await firstPictures(bench, path), limit: 1000 });
    }
    const { page } = await bench.open(reports["1000000 points"]);
    rows.push({ name: "zoom step, 1000000 points", times: await zoomSteps(page), limit: 50 });
    return rows;
}

/** A table for the page of figures; whether the limits are kept. */
function tell(rows: Row[]): boolean {
    console.log("| what | median, ms | most, ms | limit of the median, ms |\n|---|---:|---:|---:|");
    for (const { name, times, limit } of rows) {
        console.log(`| ${name} | ${median(times).toFixed(0)} | ${Math.max(...times).toFixed(0)} | ${limit} |`);
    }
    const late = rows.filter(({ times, limit }) => median(times) > limit);
    late.forEach(({ name }) => console.error(`${name} takes longer than its limit`));
    return late.length === 0;
}

async function main(template: string, written: string[]): Promise<boolean> {
    const chromium = chromiumPath();
    if (!chromium) {
        console.error("this machine has no chromium");
        return false;
    }
    const bench = await Bench.start(template, chromium);
    try {
        return tell(await measure(bench, written));
    } finally {
        await bench.end();
    }
}

process.exitCode = (await main(process.argv[2], process.argv.slice(3))) ? 0 : 1;
