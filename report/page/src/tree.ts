// A tree with a share at each node: opened and closed, walked with the arrow keys.

import type { Context } from "./context";
import { el } from "./dom";
import { GridView } from "./grid";
import type { Cell, Tree, TreeNode } from "./payload";
import { cellNode } from "./popover";
import { onDemand } from "./series_table";

const kOpenDepth = 4;
const kMostNodes = 50000;

class Branch {
    readonly element: HTMLElement;
    private readonly toggle: HTMLElement;
    private readonly group: HTMLElement | null;
    private filled = false;

    constructor(
        private readonly view: TreeView,
        private readonly node: TreeNode,
        private readonly depth: number,
    ) {
        const children = node.children ?? [];
        this.group = children.length > 0 ? el("ul", { attributes: { role: "group" } }) : null;
        this.toggle = el("span", { class: "toggle", attributes: { "aria-hidden": "true" } });
        const share = typeof node.cell.v === "number" ? Math.max(0, Math.min(100, node.cell.v)) : 0;
        const bar = el("span", { class: "share-bar" });
        bar.style.width = `${share}%`;
        const name = el("span", { class: "tree-name", title: node.name }, node.name);
        name.style.paddingLeft = `${depth * 16}px`;
        name.prepend(this.toggle);
        const value = cellNode(view.context.payload, node.cell, node.name, view.unit);
        value.tabIndex = -1;
        const mark = node.mark ? el("span", { class: "badge" }, node.mark) : null;
        const row = el(
            "div",
            { class: node.mark ? "tree-row marked" : "tree-row" },
            name,
            el("span", { class: "share" }, bar),
            value,
            mark,
        );
        name.addEventListener("click", () => this.flip());
        this.element = el(
            "li",
            {
                attributes: {
                    role: "treeitem",
                    tabindex: "-1",
                    "aria-level": String(depth + 1),
                    "aria-label": `${node.name} ${node.cell.v ?? ""} ${node.mark ?? ""}`,
                },
            },
            row,
            this.group,
        );
        this.element.addEventListener("keydown", (event) => this.key(event, value));
        this.open(children.length > 0 && depth < kOpenDepth);
    }

    private open(wanted: boolean): void {
        if (!this.group) {
            return;
        }
        if (wanted && !this.filled) {
            this.filled = true;
            this.group.append(
                ...(this.node.children ?? []).map((child) => new Branch(this.view, child, this.depth + 1).element),
            );
        }
        this.group.hidden = !wanted;
        this.toggle.textContent = wanted ? "\u25be" : "\u25b8";
        this.element.setAttribute("aria-expanded", String(wanted));
    }

    private flip(): void {
        this.open(this.group?.hidden ?? false);
    }

    private key(event: KeyboardEvent, value: HTMLElement): void {
        if (event.target !== this.element) {
            return;
        }
        const actions: { [key: string]: () => void } = {
            ArrowRight: () => this.open(true),
            ArrowLeft: () =>
                this.group && !this.group.hidden
                    ? this.open(false)
                    : this.view.focus(this.element.parentElement?.closest("li") ?? null),
            ArrowDown: () => this.view.step(this.element, 1),
            ArrowUp: () => this.view.step(this.element, -1),
            Enter: () => value.click(),
            " ": () => this.flip(),
        };
        if (actions[event.key]) {
            event.preventDefault();
            event.stopPropagation();
            actions[event.key]();
        }
    }
}

class TreeView {
    readonly element: HTMLElement;

    constructor(
        readonly context: Context,
        readonly unit: string,
        block: Tree,
    ) {
        this.element = el("ul", { class: "tree", attributes: { role: "tree", "aria-label": block.title } });
        this.element.append(...block.roots.map((root) => new Branch(this, root, 0).element));
        const first = this.element.querySelector("li");
        if (first) {
            first.tabIndex = 0;
        }
    }

    focus(item: HTMLElement | null): void {
        if (item) {
            this.element.querySelectorAll<HTMLElement>("li[tabindex='0']").forEach((other) => (other.tabIndex = -1));
            item.tabIndex = 0;
            item.focus();
        }
    }

    step(from: HTMLElement, direction: number): void {
        const items = [...this.element.querySelectorAll<HTMLElement>("li")].filter((item) => item.offsetParent !== null);
        this.focus(items[items.indexOf(from) + direction] ?? null);
    }
}

/** All nodes from the top down, each with the names above it. */
function flatten(block: Tree): { path: string; node: TreeNode }[] {
    const found: { path: string; node: TreeNode }[] = [];
    const left = block.roots.map((node) => ({ path: node.name, node })).reverse();
    while (left.length > 0 && found.length < kMostNodes) {
        const next = left.pop() as { path: string; node: TreeNode };
        found.push(next);
        for (const child of [...(next.node.children ?? [])].reverse()) {
            left.push({ path: `${next.path.slice(-500)} / ${child.name}`, node: child });
        }
    }
    return found;
}

export function drawTree(block: Tree, context: Context): Node[] {
    if (block.roots.length === 0) {
        return [el("p", { class: "dim" }, "The tree is empty.")];
    }
    const table = onDemand("Table of this tree", () => {
        const nodes = flatten(block);
        const row = (index: number): Cell[] => {
            const { path, node } = nodes[index];
            return [
                { v: path, computed: "the names from the root" },
                node.cell,
                node.mark ? { v: node.mark, src: node.cell.src } : { v: "", src: node.cell.src },
            ];
        };
        const columns = [{ name: "node" }, { name: "share", unit: block.unit, number: true }, { name: "mark" }];
        return new GridView(context.payload, { label: block.title, columns, rows: nodes.length, row }).element;
    });
    return [new TreeView(context, block.unit, block).element, table.element];
}
