// What the analyzers found in a chart, as words with the way to the source and to the moment.

import type { Context } from "./context";
import { button, el } from "./dom";
import { count, exact } from "./format";
import type { Series, Source } from "./payload";
import { sourceButton, sourceNodes } from "./popover";
import type { SeriesPainter } from "./series";

const kSigns: { [sign: string]: string } = {
    peak: "\u25b2 peak",
    trough: "\u25bc trough",
    over: "\u25c6 over the limit",
    event: "\u25a0 event",
};

export function findings(block: Series, context: Context, painter: SeriesPainter): HTMLElement | null {
    const items: HTMLElement[] = [];
    const { view, clock, payload } = context;
    const tell = (label: string, src: Source | undefined) =>
        sourceButton(label, label, () => (src ? sourceNodes(payload, src) : ["The report names no line for this."]));
    for (const mark of painter.marks) {
        const owner = mark.series === undefined ? "" : (painter.lines[mark.series]?.name ?? "");
        const width = view.range.to - view.range.from;
        const go = (): void => {
            const half = Math.min(width, (view.whole.to - view.whole.from) / 10) / 2;
            view.setRange({ from: mark.place - half, to: mark.place + half });
            view.setCursor(mark.place);
        };
        items.push(
            el(
                "li",
                {},
                `${kSigns[mark.sign] ?? mark.sign} `,
                button(clock.label(mark.place), go, { class: "go" }),
                " ",
                owner && !mark.label.includes(owner) ? `${owner}: ` : "",
                tell(mark.label, mark.src),
            ),
        );
    }
    for (const limit of block.limits ?? []) {
        items.push(el("li", {}, "limit ", tell(`${limit.label}: ${exact(limit.v)} ${block.unit}`, limit.src)));
    }
    for (const band of block.bands ?? []) {
        const shift = context.clock.shift(band.run ?? block.series[0]?.run ?? context.run);
        const words = `${clock.label(band.from - shift)} to ${clock.label(band.to - shift)}`;
        const go = (): void => view.setMark({ from: band.from - shift, to: band.to - shift });
        items.push(el("li", {}, "time ", button(words, go, { class: "go" }), " ", tell(band.label, band.src)));
    }
    if (items.length === 0) {
        return null;
    }
    const list = el("ul", {}, ...items.slice(0, 500));
    const title = `Marks, times and limits: ${count(items.length)}${items.length > 500 ? ", the first 500" : ""}`;
    const details = el("details", { class: "findings" }, el("summary", {}, title), list);
    details.open = items.length <= 10;
    return details;
}
