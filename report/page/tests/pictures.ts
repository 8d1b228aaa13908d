// Pictures of each page of the fixtures, or of reports, light and dark, to be looked at. Status 1 if a page complained.
//
// usage: node pictures.mjs TEMPLATE FOLDER [REPORT...]

import { mkdirSync } from "node:fs";
import { basename, join, resolve } from "node:path";
import { Bench, Opened, chromiumPath, kSkipped } from "./browser";
import { empty, every, hostile, two } from "./fixtures";

async function takeAll(bench: Bench, opened: Opened, folder: string, name: string): Promise<void> {
    const { page } = opened;
    const links = await page.$$eval("nav a", (nodes) => nodes.map((node) => node.hash));
    for (const [index, hash] of links.entries()) {
        await page.evaluate((wanted) => (location.hash = wanted), hash);
        await bench.settle(page);
        for (const scheme of ["light", "dark"]) {
            await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: scheme }]);
            await page.setViewport({ width: 1280, height: 900 });
            const height = await page.evaluate(() => document.documentElement.scrollHeight);
            await page.setViewport({ width: 1280, height: Math.min(8000, Math.max(900, height)) }); // what is out of sight is not drawn
            await bench.settle(page);
            const number = String(index).padStart(2, "0");
            await page.screenshot({ path: `${join(folder, name)}-${number}-${scheme}.png`, fullPage: true });
        }
    }
    for (const complaint of opened.complaints) {
        console.error(`${name}: ${complaint}`);
        process.exitCode = 1;
    }
}

async function main(templatePath: string, folder: string, reports: string[]): Promise<void> {
    const chromium = chromiumPath();
    if (!chromium) {
        console.log("skipped: this machine has no chromium");
        process.exit(kSkipped);
    }
    mkdirSync(folder, { recursive: true });
    const bench = await Bench.start(templatePath, chromium);
    try {
        const fixtures = { every: every(), two: two(), empty: empty(), hostile: hostile() };
        const paths: [string, string][] = reports.map((path) => [basename(path, ".html"), resolve(path)]);
        const made = Object.entries(fixtures).map(([name, payload]): [string, string] => [name, bench.write(name, payload)]);
        for (const [name, path] of reports.length > 0 ? paths : made) {
            const opened = await bench.open(path);
            await takeAll(bench, opened, folder, name);
            await opened.page.close();
        }
    } finally {
        await bench.end();
    }
}

const [, , templatePath, folder, ...reports] = process.argv;
await main(templatePath, folder, reports);
