// Bars: a group for each row, in it a bar for each run or version.

import { colour, onPalette } from "./colours";
import type { Context } from "./context";
import { el } from "./dom";
import { GridView } from "./grid";
import type { Bars, Cell } from "./payload";
import { cellNode } from "./popover";
import { onDemand } from "./series_table";

const kFirst = 60;

function numberOf(cell: Cell): number | null {
    return typeof cell.v === "number" ? cell.v : null;
}

class BarsView {
    readonly element = el("div", { class: "bars" });
    private readonly coloured: { node: HTMLElement; index: number }[] = [];
    private readonly least: number;
    private readonly width: number;

    constructor(
        private readonly block: Bars,
        private readonly context: Context,
    ) {
        let [least, greatest] = [0, 0];
        for (const cell of block.rows.flatMap((row) => row.cells)) {
            least = Math.min(least, numberOf(cell) ?? 0);
            greatest = Math.max(greatest, numberOf(cell) ?? 0);
        }
        this.least = least;
        this.width = greatest - least || 1;
        if (block.names.length > 1) {
            this.element.appendChild(this.key());
        }
        this.add(0, kFirst);
        onPalette(context.signal, () => this.colours());
    }

    private add(from: number, to: number): void {
        for (const row of this.block.rows.slice(from, to)) {
            this.element.appendChild(this.row(row.label, row.cells));
        }
        if (this.block.rows.length > to) {
            const more = el("button", { attributes: { type: "button" } }, `Show all ${this.block.rows.length} rows`);
            more.addEventListener("click", () => {
                more.remove();
                this.add(to, this.block.rows.length);
            });
            this.element.appendChild(more);
        }
        this.colours();
    }

    private key(): HTMLElement {
        const parts = this.block.names.map((name, index) => el("span", { class: "key" }, this.swatch(index), name));
        return el("p", { class: "keys" }, ...parts);
    }

    private swatch(index: number): HTMLElement {
        const node = el("span", { class: "box", attributes: { "aria-hidden": "true" } });
        this.coloured.push({ node, index });
        return node;
    }

    private row(label: string, cells: Cell[]): HTMLElement {
        const bars = el("div", { class: "bar-group" });
        cells.forEach((cell, index) => {
            const name = this.block.names[index] ?? "";
            const track = el("div", { class: "track", attributes: { "aria-hidden": "true" } });
            const value = numberOf(cell);
            if (value !== null) {
                const bar = this.swatch(index);
                bar.className = cell.grey ? "bar faint" : "bar";
                bar.style.left = `${((Math.min(0, value) - this.least) / this.width) * 100}%`;
                bar.style.width = `${(Math.abs(value) / this.width) * 100}%`;
                track.appendChild(bar);
            }
            const number = cellNode(this.context.payload, cell, name ? `${label}, ${name}` : label, this.block.unit);
            bars.appendChild(el("div", { class: "bar-line" }, track, number));
        });
        return el("div", { class: "bar-row" }, el("div", { class: "bar-label", title: label }, label), bars);
    }

    private colours(): void {
        for (const { node, index } of this.coloured) {
            node.style.background = colour(index);
        }
    }
}

export function drawBars(block: Bars, context: Context): Node[] {
    if (block.rows.length === 0) {
        return [el("p", { class: "dim" }, "There are no rows.")];
    }
    const table = onDemand("Table of these bars", () => {
        const columns = [{ name: "" }, ...block.names.map((name) => ({ name, unit: block.unit, number: true }))];
        const row = (index: number): Cell[] => [
            { v: block.rows[index].label, computed: "the name of this row" },
            ...block.rows[index].cells,
        ];
        return new GridView(context.payload, { label: block.title, columns, rows: block.rows.length, row }).element;
    });
    return [new BarsView(block, context).element, table.element];
}
