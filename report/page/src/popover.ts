// The one small window that tells where a number comes from.

import { append, button, Child, el } from "./dom";
import { exact } from "./format";
import type { Cell, Payload, Source } from "./payload";

let open: { box: HTMLElement; anchor: HTMLElement | null } | null = null;

export function closePopover(giveFocusBack = true): void {
    if (!open) {
        return;
    }
    const { box, anchor } = open;
    open = null;
    box.remove();
    if (giveFocusBack && anchor?.isConnected) {
        anchor.focus();
    }
}

/** Shows `content` below a place in the window; `anchor` gets the focus back. */
export function showPopover(anchor: HTMLElement, title: string, content: Child[], at?: { x: number; y: number }): void {
    closePopover(false);
    const box = el("div", {
        class: "popover",
        attributes: { role: "dialog", "aria-label": title, tabindex: "-1" },
        on: {
            keydown: (event) => {
                if ((event as KeyboardEvent).key === "Escape") {
                    event.stopPropagation();
                    closePopover();
                }
            },
        },
    });
    const close = button("\u00d7", () => closePopover(), { class: "close", attributes: { "aria-label": "Close" } });
    append(box, [el("div", { class: "popover-head" }, el("strong", {}, title), close), ...content]);
    document.body.appendChild(box);
    const place = anchor.getBoundingClientRect();
    const x = at ? at.x : place.left;
    const y = at ? at.y : place.bottom;
    const left = Math.max(4, Math.min(x, document.documentElement.clientWidth - box.offsetWidth - 8));
    const fits = y + box.offsetHeight + 8 < window.innerHeight;
    const top = fits ? y + 4 : Math.max(4, (at ? at.y : place.top) - box.offsetHeight - 4);
    box.style.left = `${left + window.scrollX}px`;
    box.style.top = `${top + window.scrollY}px`;
    open = { box, anchor };
    box.focus({ preventScroll: true });
}

export function listenForOutside(): void {
    document.addEventListener("pointerdown", (event) => {
        if (open && event.target instanceof Node && !open.box.contains(event.target)) {
            closePopover(false);
        }
    });
    document.addEventListener("keydown", (event) => {
        if (event.key === "Escape") {
            closePopover();
        }
    });
}

function fullPath(payload: Payload, file: number): string {
    const entry = payload.files[file];
    const run = payload.runs[entry.run];
    return run ? `${run.path.replace(/\/$/, "")}/${entry.path}` : entry.path;
}

/** What is known of a place in a tree. */
export function sourceNodes(payload: Payload, source: Source): Child[] {
    const [file, line] = source;
    const entry = payload.files[file];
    if (!entry) {
        return [el("p", {}, "The report does not name the file of this number.")];
    }
    const run = payload.runs[entry.run];
    const nodes: Child[] = [
        payload.runs.length > 1 && run && el("p", { class: "dim" }, run.label),
        el("p", { class: "place" }, line > 0 ? `${entry.path}, line ${line}` : `${entry.path}, the file as a whole`),
    ];
    const text = payload.lines[`${file}:${line}`];
    if (text !== undefined) {
        nodes.push(el("pre", { class: "line" }, text));
    } else if (line > 0) {
        nodes.push(el("p", { class: "dim" }, `The report does not keep this line. It stands in ${fullPath(payload, file)}`));
    }
    if (entry.trouble) {
        nodes.push(el("p", { class: "trouble" }, entry.trouble));
    }
    return nodes;
}

/** All that is known of a value. */
export function cellNodes(payload: Payload, cell: Cell, unit?: string): Child[] {
    const nodes: Child[] = [];
    if (cell.v !== undefined) {
        nodes.push(el("p", { class: "value" }, exact(cell.v) + (unit ? ` ${unit}` : "")));
    }
    if (cell.empty) {
        nodes.push(el("p", {}, payload.reasons[cell.empty] ?? cell.empty));
    }
    if (cell.computed) {
        nodes.push(el("p", {}, `Computed: ${cell.computed}`));
    }
    if (cell.grey) {
        nodes.push(el("p", {}, "Too few samples to trust."));
    }
    if (cell.src) {
        nodes.push(...sourceNodes(payload, cell.src));
    } else if (!cell.computed && !cell.empty) {
        nodes.push(el("p", { class: "dim" }, "The report names no line for this value."));
    }
    return nodes;
}

/** A button that shows where something comes from. */
export function sourceButton(label: string, title: string, content: () => Child[], extra = ""): HTMLButtonElement {
    return button(label, (event) => showPopover(event.currentTarget as HTMLElement, title, content()), {
        class: `source ${extra}`,
        attributes: { "aria-haspopup": "dialog" },
    });
}

/** A value with the way to its source; in its place the reason, if there is none. */
export function cellNode(payload: Payload, cell: Cell, name: string, unit?: string): HTMLElement {
    const content = () => cellNodes(payload, cell, unit);
    if (cell.v === undefined) {
        const reason = cell.empty;
        const words = reason ? reason.replace(/-/g, " ") : "no value";
        const node = sourceButton(words, name, content, "empty");
        node.title = reason ? (payload.reasons[reason] ?? words) : words;
        return node;
    }
    const node = sourceButton(exact(cell.v), name, content, cell.grey ? "grey" : "");
    if (cell.grey) {
        node.title = "Too few samples to trust";
        append(node, [el("span", { class: "dagger", attributes: { "aria-label": "too few samples" } }, "\u2020")]);
    }
    return node;
}
