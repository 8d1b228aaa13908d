// Data never becomes markup or script, the page asks for nothing, and a page that is no report says so.

import assert from "node:assert/strict";
import { readFileSync, writeFileSync } from "node:fs";
import { createServer } from "node:http";
import type { AddressInfo } from "node:net";
import test from "node:test";
import type { Payload } from "../src/payload";
import { withBench } from "./browser";
import { empty, every, hostile, kHostile } from "./fixtures";

const kTags = new Set(
    "HTML HEAD META TITLE STYLE SCRIPT BODY A DIV NAV STRONG UL LI TOOLBAR MAIN H1 H2 HEADER SECTION SPAN BUTTON INPUT LABEL FIELDSET LEGEND P PRE TABLE THEAD TBODY TR TH TD DETAILS SUMMARY FOOTER CANVAS svg text g rect title foreignObject".split(
        " ",
    ),
);

await withBench((bench) => {
    test("hostile names are shown as they are, and nothing of them runs", async () => {
        const payload = hostile();
        const path = bench.write("hostile", payload);
        for (const [index, own] of payload.pages.entries()) {
            const { page, complaints, requests } = await bench.open(path, `#page=${encodeURIComponent(own.id)}`);
            assert.equal(
                await page.$eval("nav a[aria-current]", (node) => [...document.querySelectorAll("nav a")].indexOf(node)),
                index,
            );
            await page.$$eval("main details > summary", (nodes) => nodes.forEach((node) => (node as HTMLElement).click()));
            await bench.settle(page);
            for (const selector of ["main button.source", ".legend button.source", ".findings button.source"]) {
                await page.$$eval(selector, (nodes) => nodes.slice(0, 40).forEach((node) => (node as HTMLElement).click()));
            }
            await bench.settle(page);
            const tags = await page.$$eval("*", (nodes) => nodes.map((node) => node.tagName));
            assert.deepEqual(
                tags.filter((tag) => !kTags.has(tag)),
                [],
            );
            assert.equal(tags.filter((tag) => tag === "SCRIPT").length, 0); // the page's own has done its work
            const handlers = await page.$$eval("*", (nodes) =>
                nodes.flatMap((node) => node.getAttributeNames()).filter((name) => name.startsWith("on")),
            );
            assert.deepEqual(handlers, []);
            assert.equal(await page.evaluate(() => "broken" in window), false);
            const body = await page.$eval("body", (node) => (node as HTMLElement).innerText);
            assert.doesNotMatch(body, /[\u0000-\u0008\u000b-\u001f\u007f-\u009f\u202e\u2066]|\p{Cs}/u);
            assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth));
            assert.deepEqual(complaints, []);
            assert.deepEqual(requests, []);
            await page.close();
        }
    });

    test("a text of markup is the text that is shown", async () => {
        const { page } = await bench.open(bench.write("hostile", hostile()));
        const shown = await page.$$eval("ul.text li", (nodes) => nodes.map((node) => node.textContent));
        assert.equal(shown.length, kHostile.length);
        for (const index of [0, 1, 2, 3, 7, 8, 9, 10]) {
            assert.equal(shown[index], kHostile[index]);
        }
        await page.$eval("ul.text li button", (node) => (node as HTMLElement).click());
        assert.equal(await page.$eval(".popover pre", (node) => node.textContent), kHostile[0]);
        await page.close();
    });

    test("no script but the page's own runs, and no request leaves the page", async () => {
        let asked = 0;
        const server = createServer((_request, response) => {
            asked++;
            response.end();
        });
        await new Promise<void>((done) => server.listen(0, "127.0.0.1", done));
        const address = `http://127.0.0.1:${(server.address() as AddressInfo).port}/`;
        const path = bench.write("every", every());
        const text = readFileSync(path, "utf8");
        const put = `<body><script>window.broken=1</script><img src="${address}" onerror="window.broken=2">`;
        writeFileSync(
            path,
            text.replace("<body>", () => put),
        );
        const { page, complaints } = await bench.open(path);
        const told = await page.evaluate(async (target) => {
            const said: string[] = [];
            document.addEventListener("securitypolicyviolation", (event) => said.push(event.effectiveDirective));
            await fetch(target).catch(() => null);
            const image = new Image();
            await new Promise((done) => {
                image.onerror = done;
                image.src = target;
            });
            let refused = false;
            try {
                document.body.innerHTML = "<b>markup</b>";
            } catch {
                refused = true;
            }
            return { said, refused };
        }, address);
        server.close();
        assert.ok(told.said.includes("connect-src") && told.said.includes("img-src"), String(told.said));
        assert.equal(told.refused, true);
        assert.equal(asked, 0);
        assert.equal(await page.evaluate(() => "broken" in window), false);
        assert.equal(await page.$eval("h1", (node) => node.textContent), "Summary");
        assert.ok(complaints.some((complaint) => complaint.includes("Content Security Policy")));
        await page.close();
    });

    test("a page without a report, or with one it cannot read, says so", async () => {
        const path = bench.write("none", every());
        const text = readFileSync(path, "utf8");
        const data = /<script type="application\/json" id="zarn-report">[^<]*<\/script>/;
        const cases: [string, RegExp][] = [
            ["", /^This page holds no report\.$/],
            [
                '<script type="application/json" id="zarn-report">{"format":2,</script>',
                /^The report in this page cannot be read: /,
            ],
            [
                '<script type="application/json" id="zarn-report">{"format":1}</script>',
                /of a form that this page does not know/,
            ],
        ];
        for (const [put, expected] of cases) {
            writeFileSync(
                path,
                text.replace(data, () => put),
            );
            const { page, complaints } = await bench.open(path);
            assert.match(await page.$eval(".failure", (node) => node.textContent ?? ""), expected);
            assert.deepEqual(complaints, []);
            await page.close();
        }
    });

    test("paper, a dark screen and a narrow one show every page without complaint", async () => {
        for (const payload of [every(), empty(), hostile()] as Payload[]) {
            const { page, complaints, requests } = await bench.open(bench.write("media", payload));
            for (const link of await page.$$("nav a")) {
                await link.click();
                await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: "dark" }]);
                await bench.settle(page);
                assert.equal(await page.evaluate(() => getComputedStyle(document.body).backgroundColor), "rgb(23, 28, 33)");
                await page.setViewport({ width: 420, height: 800 });
                await bench.settle(page);
                assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth));
                await page.setViewport({ width: 1280, height: 900 });
                const paper = await page.pdf({ format: "A4" });
                assert.ok(paper.length > 1000);
            }
            assert.deepEqual(complaints, []);
            assert.deepEqual(requests, []);
            await page.close();
        }
    });
});
