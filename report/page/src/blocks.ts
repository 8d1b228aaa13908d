// A block of a page: its head, and what its kind draws.

import { drawBars } from "./bars";
import type { Context } from "./context";
import { el } from "./dom";
import { drawFlame } from "./flame";
import { count } from "./format";
import { GridView } from "./grid";
import type { Block, Cell, Table, Text } from "./payload";
import { cellNode, sourceButton, sourceNodes } from "./popover";
import { drawSeries } from "./series";
import { drawTimeline } from "./timeline";
import { drawTree } from "./tree";

function textLine(cell: Cell, block: Text, context: Context): HTMLElement {
    if (cell.v === undefined && cell.empty) {
        return el("li", { class: "dim" }, context.payload.reasons[cell.empty] ?? cell.empty);
    }
    const told = cell.src || cell.computed || cell.grey;
    return el("li", {}, told ? cellNode(context.payload, cell, block.title) : String(cell.v ?? ""));
}

function drawText(block: Text, context: Context): Node[] {
    const lines = block.lines.map((cell) => textLine(cell, block, context));
    return [lines.length > 0 ? el("ul", { class: "text" }, ...lines) : el("p", { class: "dim" }, "Nothing is told here.")];
}

function drawTable(block: Table, context: Context): Node[] {
    const cut = block.total !== undefined && block.total > block.rows.length;
    const greys = block.rows.some((row) => row.some((cell) => cell.grey));
    const notes = [
        cut && `${count(block.rows.length)} of ${count(block.total as number)} rows are kept.`,
        greys && "\u2020 too few samples to trust",
    ].filter(Boolean);
    return [
        new GridView(context.payload, {
            label: block.title,
            columns: block.columns,
            rows: block.rows.length,
            row: (index) => block.rows[index],
            note: notes.join(" "),
        }).element,
    ];
}

function drawKind(block: Block, context: Context): Node[] {
    switch (block.kind) {
        case "text":
            return drawText(block, context);
        case "table":
            return drawTable(block, context);
        case "series":
            return drawSeries(block, context);
        case "bars":
            return drawBars(block, context);
        case "tree":
            return drawTree(block, context);
        case "flame":
            return drawFlame(block, context);
        case "timeline":
            return drawTimeline(block, context);
        default:
            return [el("p", { class: "trouble" }, "This page cannot draw blocks of this kind.")];
    }
}

export function drawBlock(block: Block, context: Context): HTMLElement {
    const unit =
        "unit" in block && block.unit && block.kind !== "flame" ? el("span", { class: "unit" }, `[${block.unit}]`) : null;
    const source = block.src;
    const from = source
        ? sourceButton("source", `Source of ${block.title}`, () => sourceNodes(context.payload, source), "of-block")
        : null;
    const head = el("header", {}, el("h2", { attributes: { tabindex: "-1" } }, block.title), unit, from);
    const section = el("section", { class: `block ${block.kind}`, attributes: { "aria-label": block.title } }, head);
    if (block.note) {
        section.appendChild(el("p", { class: "note" }, block.note));
    }
    try {
        section.append(...drawKind(block, context));
    } catch (error) {
        // One block that cannot be drawn costs only itself.
        section.appendChild(el("p", { class: "trouble" }, `This block cannot be drawn: ${String(error)}`));
    }
    return section;
}
