// The page: reads what the program put into it, and shows one of its pages at a time.

import { drawBlock } from "./blocks";
import { Drag, drag } from "./chart";
import { Clock } from "./clock";
import { watchPalette } from "./colours";
import type { Context } from "./context";
import { Child, append, button, el, replace } from "./dom";
import { bytes, clock as moment, duration } from "./format";
import { PackedPayload, unpack } from "./packed";
import type { Cell, Page, Payload } from "./payload";
import { closePopover, listenForOutside, showPopover } from "./popover";
import { View } from "./view";

/** Of each library that is in this page; put in when the page is built. */
declare const kLicences: { name: string; version: string; licence: string; text: string }[];

const kPlainGutter = 62;
const kNamesGutter = 160;
const kContentsFrom = 6;
const kOpenContents = 24;

const kKeys: [string, string][] = [
    ["Drag", "zoom, pan or mark, as chosen above"],
    ["Shift + drag, Shift + wheel", "pan"],
    ["Alt + drag", "mark a range"],
    ["Ctrl + wheel", "zoom"],
    ["Double click", "show all"],
    ["Click", "where the nearest point comes from"],
    ["\u2190 \u2192 in a chart", "move the cursor from point to point"],
    ["Shift + \u2190 \u2192 in a chart", "pan"],
    ["+ and \u2212 in a chart", "zoom at the cursor"],
    ["0 in a chart", "show all"],
    ["[ and ] in a chart", "the marked range begins, ends at the cursor"],
    ["Esc in a chart", "mark nothing"],
    ["Enter in a chart", "where the points at the cursor come from"],
    ["Arrow keys in a table, tree or flame graph", "from cell to cell, node to node, frame to frame"],
];

/** A page of all files that the report was made of. */
function filesPage(payload: Payload): Page {
    const several = payload.runs.length > 1;
    const rows = payload.files.map((file, index): Cell[] => {
        const path: Cell[] = [
            { v: file.path, src: [index, 0] },
            { v: file.bytes, src: [index, 0] },
            { v: file.trouble ?? "", src: [index, 0] },
        ];
        return several ? [{ v: payload.runs[file.run]?.label ?? "", src: [index, 0] }, ...path] : path;
    });
    const columns = [{ name: "file" }, { name: "size", unit: "bytes", number: true }, { name: "trouble" }];
    const table = {
        kind: "table" as const,
        title: "Files of this report",
        columns: several ? [{ name: "run" }, ...columns] : columns,
        rows,
    };
    return { id: "files", title: "Files", blocks: [table] };
}

/** Of a page with many blocks the list of them. */
function contents(page: Page, sections: HTMLElement[]): HTMLElement | null {
    if (sections.length < kContentsFrom) {
        return null;
    }
    const items = page.blocks.map((block, index) => {
        const go = (): void => {
            const heading = sections[index].querySelector("h2");
            heading?.scrollIntoView();
            heading?.focus({ preventScroll: true });
        };
        return el("li", {}, button(block.title, go, { title: block.title }));
    });
    const list = el("details", { class: "contents" }, el("summary", {}, "On this page"), el("ul", {}, ...items));
    list.open = sections.length <= kOpenContents;
    return list;
}

class App {
    private readonly view: View;
    private readonly clock: Clock;
    private readonly pages: Page[];
    private readonly main = el("main", { attributes: { id: "content", tabindex: "-1" } });
    private readonly links = new Map<string, HTMLAnchorElement>();
    private readonly range = el("span", { class: "range" });
    private readonly mark = el("span", { class: "mark-tools" });
    private ending = new AbortController();

    constructor(private readonly payload: Payload) {
        this.pages = payload.pages.some((page) => page.id === "files")
            ? payload.pages
            : [...payload.pages, filesPage(payload)];
        this.clock = new Clock(payload);
        this.view = new View(
            this.pages.map((page) => page.id),
            this.clock.home,
            this.clock.whole,
        );
        const skip = el("a", { class: "skip", attributes: { href: "#content" } }, "To the content");
        skip.addEventListener("click", (event) => {
            event.preventDefault();
            this.main.focus();
        });
        const right = el("div", { class: "right" }, this.toolbar(), this.main, this.foot());
        replace(document.body, skip, el("div", { class: "frame-of-all" }, this.nav(), right));
        this.view.on("page", null, () => this.showPage());
        this.view.on("range", null, () => this.tellRange());
        this.view.on("mark", null, () => this.tellRange());
        this.showPage();
    }

    private nav(): HTMLElement {
        const list = el("ul");
        let group = { title: "", list };
        for (const page of this.pages) {
            const { title, run } = this.namesOf(page);
            if (run && group.title !== title) {
                group = { title, list: el("ul") };
                list.appendChild(el("li", {}, el("span", { class: "group" }, title), group.list));
            }
            const link = el("a", { attributes: { href: this.view.address(page.id) } }, run || title);
            link.addEventListener("click", (event) => {
                event.preventDefault();
                this.view.setPage(page.id);
            });
            this.links.set(page.id, link);
            (run ? group.list : list).appendChild(el("li", {}, link));
        }
        const labels = this.payload.runs.map((run) => el("li", { title: run.path }, run.label));
        const title = el("div", { class: "title" }, el("strong", {}, "zarn report"), el("ul", { class: "runs" }, ...labels));
        return el("nav", { attributes: { "aria-label": "Pages" } }, title, list);
    }

    /** What a page is about, and of which run, if it is of one among several. */
    private namesOf(page: Page): { title: string; run: string } {
        const run = this.payload.runs.length > 1 && page.run !== undefined ? (this.payload.runs[page.run]?.label ?? "") : "";
        const end = `: ${run}`;
        return { title: run && page.title.endsWith(end) ? page.title.slice(0, -end.length) : page.title, run };
    }

    private toolbar(): HTMLElement {
        const modes = (["zoom", "pan", "mark"] as Drag[]).map((mode) => {
            const input = el("input", { attributes: { type: "radio", name: "drag", value: mode } });
            input.checked = mode === drag.mode;
            input.addEventListener("change", () => (drag.mode = mode));
            return el("label", { class: "mode" }, input, el("span", {}, mode));
        });
        const { view } = this;
        const tool = (label: string, words: string, action: () => void): HTMLElement =>
            button(label, action, { title: words, attributes: { "aria-label": words } });
        const steps = el(
            "span",
            { class: "steps" },
            tool("\u2212", "Zoom out", () => view.zoom(2)),
            tool("+", "Zoom in", () => view.zoom(0.5)),
            tool("\u25c2", "Earlier", () => view.pan(-0.25)),
            tool("\u25b8", "Later", () => view.pan(0.25)),
            tool("All", "Show all", () => view.setRange(view.home)),
        );
        const keys = button("Keys", (event) => this.showKeys(event.currentTarget as HTMLElement), {
            attributes: { "aria-haspopup": "dialog" },
        });
        const choice = el("fieldset", { class: "modes" }, el("legend", {}, "Drag to"), ...modes);
        return el(
            "div",
            { class: "toolbar", attributes: { role: "toolbar", "aria-label": "Time" } },
            choice,
            steps,
            this.range,
            this.mark,
            keys,
        );
    }

    private showKeys(anchor: HTMLElement): void {
        const rows = kKeys.map(([keys, what]) =>
            el("tr", {}, el("th", { attributes: { scope: "row" } }, keys), el("td", {}, what)),
        );
        showPopover(anchor, "Keys and mouse", [el("table", { class: "keys-table" }, el("tbody", {}, ...rows))]);
    }

    private tellRange(): void {
        const { range, mark } = this.view;
        const words = (piece: { from: number; to: number }): string =>
            `${this.clock.full(piece.from)} to ${this.clock.label(piece.to)} (${duration(piece.to - piece.from)})`;
        replace(this.range, words(range));
        const tools: Child[] = mark
            ? [
                  `marked: ${words(mark)} `,
                  button("Zoom to it", () => this.view.setRange(mark)),
                  button("\u00d7", () => this.view.setMark(null), { attributes: { "aria-label": "Mark nothing" } }),
              ]
            : [];
        replace(this.mark, ...tools);
        for (const [id, link] of this.links) {
            link.href = this.view.address(id); // what is copied from a link shows the same piece of time
        }
    }

    private showPage(): void {
        closePopover(false);
        this.ending.abort();
        this.ending = new AbortController();
        const page = this.pages.find((candidate) => candidate.id === this.view.page) ?? this.pages[0];
        document.title = `${page.title} \u2013 zarn report`;
        for (const [id, link] of this.links) {
            if (id === page.id) {
                link.setAttribute("aria-current", "page");
            } else {
                link.removeAttribute("aria-current");
            }
        }
        const timed = page.blocks.some((block) => block.kind === "series" || block.kind === "timeline");
        document.body.classList.toggle("timed", timed);
        const context: Context = {
            payload: this.payload,
            view: this.view,
            clock: this.clock,
            signal: this.ending.signal,
            gutter: page.blocks.some((block) => block.kind === "timeline") ? kNamesGutter : kPlainGutter,
            run: page.run ?? 0,
        };
        const { title, run } = this.namesOf(page);
        replace(this.main, el("h1", {}, title, run && el("span", { class: "of-run" }, ` ${run}`)));
        const sections = page.blocks.map((block) => drawBlock(block, context));
        append(this.main, [contents(page, sections), ...sections]);
        if (page.blocks.length === 0) {
            append(this.main, [el("p", { class: "dim" }, "There is nothing on this page.")]);
        }
        this.tellRange();
        window.scrollTo(0, 0);
    }

    private foot(): HTMLElement {
        const made = Date.parse(this.payload.made);
        const when = Number.isNaN(made) ? this.payload.made : `${moment(made, 1000, true)} UTC`;
        const size = this.payload.files.reduce((sum, file) => sum + file.bytes, 0);
        const licences = kLicences.map((entry) =>
            el(
                "details",
                {},
                el("summary", {}, `${entry.name} ${entry.version}: ${entry.licence}`),
                el("pre", {}, entry.text),
            ),
        );
        return el(
            "footer",
            {},
            el(
                "p",
                {},
                `Made by zarn-report ${this.payload.version}, ${when}, from ${this.payload.files.length} files (${bytes(size)}).`,
            ),
            ...this.payload.foot.map((line) => el("p", {}, line)),
            el("details", { class: "licences" }, el("summary", {}, "Licences of the libraries in this page"), ...licences),
        );
    }
}

function fail(words: string): void {
    replace(document.body, el("p", { class: "failure" }, words));
}

function start(): void {
    const data = document.getElementById("zarn-report")?.textContent;
    if (!data) {
        fail("This page holds no report.");
        return;
    }
    let packed: PackedPayload;
    try {
        packed = JSON.parse(data) as PackedPayload;
    } catch (error) {
        fail(`The report in this page cannot be read: ${String(error)}`);
        return;
    }
    if (packed.format !== 2 || !Array.isArray(packed.pages) || packed.pages.length === 0) {
        fail("The report in this page is of a form that this page does not know.");
        return;
    }
    watchPalette();
    listenForOutside();
    new App(unpack(packed));
}

start();
