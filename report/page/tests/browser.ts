// A chromium with nothing on the disk of its own but a folder that goes when it ends, and reports opened in it from disk.

import { spawnSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after } from "node:test";
import { pathToFileURL } from "node:url";
import puppeteer, { Browser, Page } from "puppeteer-core";
import type { Payload } from "../src/payload";
import { pack } from "./pack";

/** The status of a test that could not be done here. */
export const kSkipped = 77;
const kMarker = "<!--zarn-report-payload-->";
const kArguments = [
    "--no-sandbox",
    "--disable-gpu",
    "--no-first-run",
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
    "--font-render-hinting=none",
    "--force-device-scale-factor=1",
];

/** The browser of this machine, or null. */
export function chromiumPath(): string | null {
    const found = spawnSync("sh", ["-c", "command -v chromium"], { encoding: "utf8" });
    return found.status === 0 ? found.stdout.trim() : null;
}

/** The template with a payload, as the program writes it. */
export function reportOf(template: string, payload: Payload): string {
    const data = JSON.stringify(pack(payload)).replace(/</g, "\\u003c");
    return template.replace(kMarker, () => `<script type="application/json" id="zarn-report">${data}</script>`);
}

export interface Opened {
    page: Page;
    path: string;
    /** What the console and uncaught errors said. */
    complaints: string[];
    /** Addresses that the page asked for, its own aside. */
    requests: string[];
}

/** Runs tests with a browser, or ends with the status that stands for skipped and says why. */
export async function withBench(run: (bench: Bench) => void): Promise<void> {
    const chromium = chromiumPath();
    if (!chromium) {
        console.log("skipped: this machine has no chromium");
        process.exit(kSkipped);
    }
    const bench = await Bench.start(process.argv[2], chromium);
    after(() => bench.end());
    run(bench);
}

export class Bench {
    private constructor(
        private readonly browser: Browser,
        readonly folder: string,
        private readonly template: string,
    ) {}

    static async start(templatePath: string, executablePath: string): Promise<Bench> {
        const folder = mkdtempSync(join(tmpdir(), "zarn-page-"));
        const args = [...kArguments];
        const options = {
            executablePath,
            args,
            headless: true,
            userDataDir: join(folder, "profile"),
            // A browser just installed starts slowly where other tests run beside it.
            timeout: 300000,
            protocolTimeout: 600000,
        };
        return new Bench(await puppeteer.launch(options), folder, readFileSync(templatePath, "utf8"));
    }

    write(name: string, payload: Payload): string {
        const path = join(this.folder, `${name}.html`);
        writeFileSync(path, reportOf(this.template, payload));
        return path;
    }

    async blank(): Promise<Page> {
        const page = await this.browser.newPage();
        page.setDefaultTimeout(0); // who runs the tests decides how long they may take
        await page.setViewport({ width: 1280, height: 900 });
        return page;
    }

    async open(path: string, fragment = ""): Promise<Opened> {
        const page = await this.blank();
        const opened: Opened = { page, path, complaints: [], requests: [] };
        const own = pathToFileURL(path).href;
        page.on("console", (message) => opened.complaints.push(`${message.type()}: ${message.text()}`));
        page.on("pageerror", (error) => opened.complaints.push(`error: ${String(error)}`));
        page.on("dialog", (dialog) => opened.complaints.push(`dialog: ${dialog.message()}`));
        page.on("request", (request) => {
            if (request.url().split("#")[0] !== own) {
                opened.requests.push(request.url());
            }
        });
        await page.goto(own + fragment);
        await page.waitForSelector("main h1, .failure");
        await this.settle(page);
        return opened;
    }

    /** Waits until what was asked for is drawn: two frames, since a frame may ask for another. */
    async settle(page: Page): Promise<void> {
        await page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));
    }

    /** Waits until something holds in the page, asked anew at each frame. */
    async until(page: Page, condition: string): Promise<void> {
        await page.waitForFunction(condition, { polling: "raf" });
        await this.settle(page);
    }

    async end(): Promise<void> {
        await this.browser.close();
        rmSync(this.folder, { recursive: true, force: true, maxRetries: 50 });
    }
}
