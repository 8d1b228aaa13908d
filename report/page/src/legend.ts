// The rows below a chart: what each line is, its value at the cursor, and its figures over what is marked or shown.

import { areaOf, borderImageOf, borderOf, kFaint, onPalette } from "./colours";
import type { Context } from "./context";
import { Child, el, replace } from "./dom";
import { computedMean, count, duration, exact } from "./format";
import type { Series } from "./payload";
import type { Figures } from "./points";
import { sourceButton } from "./popover";
import type { Line, SeriesPainter } from "./series";
import type { Range } from "./view";

const kKept =
    "The report keeps the least and the greatest of each piece of time, and the mean of what was measured around each. What was measured around a point counts to the range that the point is in.";

interface Row {
    line: Line;
    swatch: HTMLElement;
    now: HTMLElement;
    /** Mean, least and greatest, in this order: the cells, and the buttons in them. */
    cells: HTMLElement[];
    buttons: HTMLElement[];
    figures: Figures | null;
}

export class Legend {
    readonly element = el("div", { class: "legend scroll" });
    private readonly over = el("span");
    private readonly rows: Row[] = [];
    private readonly thinned: boolean;
    private range: Range;
    private toldFor = "";
    private inView = false;
    private frame = 0;

    constructor(
        block: Series,
        private readonly context: Context,
        private readonly painter: SeriesPainter,
        private readonly changed: () => void,
    ) {
        this.thinned = (block.total ?? 0) > painter.lines.reduce((sum, line) => sum + line.points.length, 0);
        this.range = context.view.range;
        const heads = ["at the cursor", "mean", "least", "greatest"].map((words, index) =>
            el("th", { class: index === 0 ? "number at-cursor" : "number", attributes: { scope: "col" } }, words),
        );
        const head = el("tr", {}, el("th", { attributes: { scope: "col" } }, this.over), ...heads);
        const body = el("tbody", {}, ...painter.lines.map((line) => this.row(line)));
        const label = `${block.title}: figures`;
        this.element.appendChild(el("table", { attributes: { "aria-label": label } }, el("thead", {}, head), body));
        this.follow();
        this.colours();
        this.update();
    }

    /** What is out of sight waits until it is seen, or printed. */
    private follow(): void {
        const { view, signal } = this.context;
        for (const topic of ["range", "mark", "cursor"] as const) {
            view.on(topic, signal, () => this.later());
        }
        onPalette(signal, () => {
            this.colours();
            this.update();
        });
        const seen = new IntersectionObserver((entries) => {
            this.inView = entries[entries.length - 1].isIntersecting;
            this.later();
        });
        seen.observe(this.element);
        signal.addEventListener("abort", () => {
            seen.disconnect();
            cancelAnimationFrame(this.frame);
        });
    }

    private row(line: Line): HTMLElement {
        const box = el("input", { attributes: { type: "checkbox", "aria-label": `Show ${line.name}` } });
        box.checked = true;
        box.addEventListener("change", () => {
            line.shown = box.checked;
            this.painter.arrange();
            this.changed();
        });
        const swatch = el("span", {
            class: this.painter.stacked ? "swatch area" : "swatch",
            attributes: { "aria-hidden": "true" },
        });
        const now = el("td", { class: "number now" });
        const row: Row = { line, swatch, now, cells: [], buttons: [], figures: null };
        row.buttons = [
            sourceButton("", `${line.name}: mean`, () => this.tellMean(row)),
            sourceButton("", `${line.name}: least`, () => this.tellPoint(row, "least")),
            sourceButton("", `${line.name}: greatest`, () => this.tellPoint(row, "greatest")),
        ];
        row.cells = row.buttons.map((button) => el("td", { class: "number" }, button));
        this.rows.push(row);
        const name = el("td", { class: "name", title: line.name }, el("label", {}, box, swatch, line.name));
        return el("tr", {}, name, now, ...row.cells);
    }

    private colours(): void {
        for (const { line, swatch } of this.rows) {
            if (this.painter.stacked) {
                swatch.style.background = areaOf(line.ink);
            } else {
                swatch.style.borderTop = borderOf(line.ink);
                swatch.style.borderImage = borderImageOf(line.ink);
            }
            swatch.style.opacity = line.ink.faint ? String(kFaint) : "1";
        }
    }

    /** Once before the next picture, however often the cursor moved. */
    private later(): void {
        if (this.frame === 0 && this.inView) {
            this.frame = requestAnimationFrame(() => {
                this.frame = 0;
                this.update();
            });
        }
    }

    private update(): void {
        const { view, clock } = this.context;
        this.rows.forEach((row) => this.tellCursor(row));
        this.range = view.mark ?? view.range;
        const { from, to } = this.range;
        const told = `${from}..${to}..${view.mark !== null}`;
        if (told === this.toldFor) {
            return;
        }
        this.toldFor = told;
        const width = duration(to - from);
        this.over.textContent = view.mark
            ? `marked: ${clock.label(from)} to ${clock.label(to)} (${width})`
            : `in view (${width})`;
        this.rows.forEach((row) => this.tellFigures(row));
    }

    private tellCursor({ line, now }: Row): void {
        const { cursor } = this.context.view;
        const point = cursor === null ? -1 : line.points.nearest(cursor);
        const v = point < 0 ? NaN : line.points.v[point];
        const words = point < 0 ? "" : Number.isNaN(v) ? "no value" : exact(v);
        if (now.textContent !== words) {
            now.textContent = words;
        }
    }

    private tellFigures(row: Row): void {
        const { v } = row.line.points;
        const figures = row.line.points.figures(this.range);
        if (!figures) {
            row.cells.forEach((cell) => replace(cell, el("span", { class: "dim" }, "no points")));
        } else {
            if (!row.figures) {
                row.cells.forEach((cell, index) => replace(cell, row.buttons[index]));
            }
            const [least, greatest] = [v[figures.least], v[figures.greatest]];
            row.buttons[0].textContent = (this.thinned ? "\u2248\u202f" : "") + computedMean(figures.mean, least, greatest);
            row.buttons[1].textContent = exact(least);
            row.buttons[2].textContent = exact(greatest);
        }
        row.figures = figures;
    }

    private tellMean({ line, figures }: Row): Child[] {
        const { clock } = this.context;
        const { from, to } = this.range;
        const points = count(figures?.points ?? 0);
        const words = `The mean of ${points} values of ${line.name} from ${clock.full(from)} to ${clock.full(to)}, computed by this page.`;
        return [el("p", {}, words), this.thinned && el("p", { class: "trouble" }, kKept)];
    }

    private tellPoint({ line, figures }: Row, which: "least" | "greatest"): Child[] {
        return figures ? this.painter.tellPoint(line, figures[which]) : [];
    }
}
