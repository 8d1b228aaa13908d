// Tables: sorted by a click on a column's head, narrowed by words, with the arrow keys from cell to cell.

import { button, el, replace, visible } from "./dom";
import { count } from "./format";
import type { Cell, Column } from "./payload";
import type { Payload } from "./payload";
import { cellNode } from "./popover";

const kFirstRows = 25;
const kMoreRows = 500;
const kSortable = 200000;
const kFilterFrom = 12;

export interface Grid {
    columns: Column[];
    rows: number;
    row(index: number): Cell[];
    /** What the table is about, for those who hear it. */
    label: string;
    /** Words below the table. */
    note?: string;
}

function textOf(cell: Cell | undefined): string {
    return cell?.v === undefined ? "" : String(cell.v);
}

/** Numbers before words, both before what is empty, whichever the direction. */
function compare(a: Cell | undefined, b: Cell | undefined, direction: number): number {
    const [x, y] = [a?.v, b?.v];
    if (x === undefined || y === undefined) {
        return (x === undefined ? 1 : 0) - (y === undefined ? 1 : 0);
    }
    if (typeof x === "number" && typeof y === "number") {
        return (x - y) * direction;
    }
    if (typeof x !== typeof y) {
        return typeof x === "number" ? -1 : 1;
    }
    return (x < y ? -1 : x > y ? 1 : 0) * direction;
}

export class GridView {
    readonly element = el("div", { class: "grid" });
    private readonly body = el("tbody");
    private readonly foot = el("div", { class: "grid-foot" });
    private order: number[] = [];
    private shown = kFirstRows;
    private sorted: { column: number; direction: number } | null = null;
    private words = "";
    private readonly heads: HTMLTableCellElement[] = [];

    constructor(
        private readonly payload: Payload,
        private readonly grid: Grid,
    ) {
        const head = el("tr");
        grid.columns.forEach((column, index) => head.appendChild(this.head(column, index)));
        const table = el("table", { attributes: { "aria-label": grid.label } }, el("thead", {}, head), this.body);
        table.addEventListener("keydown", (event) => this.move(event, table));
        if (grid.rows >= kFilterFrom && grid.rows <= kSortable) {
            this.element.appendChild(this.filter());
        }
        this.element.appendChild(el("div", { class: "scroll" }, table));
        this.element.appendChild(this.foot);
        this.arrange();
    }

    private head(column: Column, index: number): HTMLElement {
        const label = column.unit ? `${column.name} [${column.unit}]` : column.name;
        const cell = el("th", { class: column.number ? "number" : "", attributes: { scope: "col" } });
        cell.appendChild(
            this.grid.rows <= kSortable ? button(label, () => this.sortBy(index), { class: "sort" }) : el("span", {}, label),
        );
        this.heads.push(cell);
        return cell;
    }

    private filter(): HTMLElement {
        const input = el("input", {
            attributes: { type: "search", placeholder: "Rows with \u2026", "aria-label": `Rows of ${this.grid.label} with` },
        });
        input.addEventListener("input", () => {
            this.words = input.value.toLowerCase();
            this.shown = kFirstRows;
            this.arrange();
        });
        return el("div", { class: "filter" }, input);
    }

    private sortBy(column: number): void {
        const firstDirection = this.grid.columns[column].number ? -1 : 1;
        const again = this.sorted?.column === column ? this.sorted : null;
        this.sorted = !again
            ? { column, direction: firstDirection }
            : again.direction === firstDirection
              ? { column, direction: -firstDirection }
              : null;
        this.heads.forEach((head, index) => {
            const direction = this.sorted?.column === index ? this.sorted.direction : 0;
            head.setAttribute("aria-sort", direction === 0 ? "none" : direction > 0 ? "ascending" : "descending");
        });
        this.arrange();
    }

    private arrange(): void {
        this.order = [];
        for (let i = 0; i < this.grid.rows; i++) {
            if (!this.words || this.grid.row(i).some((cell) => textOf(cell).toLowerCase().includes(this.words))) {
                this.order.push(i);
            }
        }
        const sorted = this.sorted;
        if (sorted) {
            const keys = this.order.map((index) => ({ index, cell: this.grid.row(index)[sorted.column] }));
            keys.sort((a, b) => compare(a.cell, b.cell, sorted.direction) || a.index - b.index);
            this.order = keys.map((key) => key.index);
        }
        this.body.replaceChildren();
        this.fill();
    }

    private fill(): void {
        const begin = this.body.childElementCount;
        for (const index of this.order.slice(begin, this.shown)) {
            this.body.appendChild(this.row(index));
        }
        const first = this.body.querySelector<HTMLElement>("button");
        if (first && !this.body.querySelector("button[tabindex='0']")) {
            first.tabIndex = 0;
        }
        this.tellFoot();
    }

    private row(index: number): HTMLElement {
        const row = el("tr");
        const cells = this.grid.row(index);
        this.grid.columns.forEach((column, place) => {
            const cell = cells[place] ?? {};
            const node = cellNode(this.payload, cell, column.name, column.unit);
            node.tabIndex = -1;
            if (!column.number && cell.v !== undefined) {
                node.title ||= visible(String(cell.v));
            }
            row.appendChild(el("td", { class: column.number || typeof cell.v === "number" ? "number" : "" }, node));
        });
        return row;
    }

    private tellFoot(): void {
        const left = this.order.length - this.body.childElementCount;
        const more = Math.min(left, kMoreRows);
        const words = this.grid.rows === 0 ? "No rows." : this.order.length === 0 ? "No row has these words." : "";
        const next = (): void => {
            this.shown = this.body.childElementCount + kMoreRows;
            this.fill();
        };
        replace(
            this.foot,
            words && el("p", { class: "dim" }, words),
            more > 0 && button(`Show ${count(more)} of ${count(left)} more rows`, next),
            this.grid.note && el("p", { class: "dim" }, this.grid.note),
        );
    }

    /** One cell of a table is on the way of the tab key; the arrow keys lead to the others. */
    private move(event: KeyboardEvent, table: HTMLTableElement): void {
        const cell = event.target instanceof Element ? event.target.closest("td") : null;
        const row = cell?.parentElement as HTMLTableRowElement | null;
        if (!cell || !row) {
            return;
        }
        const steps: { [key: string]: [number, number] } = {
            ArrowUp: [-1, 0],
            ArrowDown: [1, 0],
            ArrowLeft: [0, -1],
            ArrowRight: [0, 1],
            Home: [0, -cell.cellIndex],
            End: [0, row.cells.length - 1 - cell.cellIndex],
            PageUp: [-20, 0],
            PageDown: [20, 0],
        };
        const step = steps[event.key];
        if (!step) {
            return;
        }
        event.preventDefault();
        const rows = table.tBodies[0].rows;
        const line = Math.min(rows.length - 1, Math.max(0, row.sectionRowIndex + step[0]));
        const target = rows[line].cells[cell.cellIndex + step[1]]?.querySelector("button");
        if (target) {
            this.body.querySelectorAll<HTMLElement>("button[tabindex='0']").forEach((other) => (other.tabIndex = -1));
            target.tabIndex = 0;
            target.focus();
        }
    }
}
