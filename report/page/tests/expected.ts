// What a page must show of a payload, computed apart from the page.

import type { Page as Tab } from "puppeteer-core";
import { visible } from "../src/dom";
import type { Cell, Series, TreeNode } from "../src/payload";

export interface Range {
    from: number;
    to: number;
}

/** What stands in a cell. */
export function words(cell: Cell): string {
    const text = cell.v === undefined ? (cell.empty ?? "no value").replace(/-/g, " ") : String(cell.v);
    return visible(text) + (cell.v !== undefined && cell.grey ? "\u2020" : "");
}

/** The nodes of a tree from the top down, of so many levels below the roots. */
export function preorder(nodes: TreeNode[], levels = Infinity): TreeNode[] {
    return nodes.flatMap((node) => [node, ...(levels > 0 ? preorder(node.children ?? [], levels - 1) : [])]);
}

/** The mean of a line in a range: of its points, or of all values that those stand for. */
function meanOf({ t, v, counts, means }: Series["series"][number], range: Range, shift: number): number {
    let [count, sum] = [0, 0];
    t.forEach((moment, i) => {
        if (moment - shift >= range.from && moment - shift <= range.to) {
            const own = v[i] === null ? 0 : 1;
            count += counts ? counts[i] : own;
            sum += counts && means ? counts[i] * means[i] : (v[i] ?? 0);
        }
    });
    return sum / count;
}

/** Mean, least and greatest of each line in a range, computed here. */
export function figuresOf(series: Series, range: Range, shift = 0): string[][] {
    return series.series.map((line) => {
        const inside = line.v.filter(
            (v, i): v is number => v !== null && line.t[i] - shift >= range.from && line.t[i] - shift <= range.to,
        );
        if (inside.length === 0) {
            return ["no points", "no points", "no points"];
        }
        const mean = meanOf(line, range, shift);
        const [least, greatest] = [Math.min(...inside), Math.max(...inside)];
        const rounded = [6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17].map((digits) => Number(mean.toPrecision(digits)));
        return [rounded.find((value) => value >= least && value <= greatest) ?? rounded[0], least, greatest].map(String);
    });
}

/** The same as the page shows it, for the charts in an element of the page. */
export async function shownFigures(tab: Tab, within = "main"): Promise<string[][]> {
    return tab.$$eval(`${within} .legend tbody tr`, (rows) =>
        rows.map((row) =>
            [...row.querySelectorAll("td.number:not(.now)")].map((cell) =>
                (cell.textContent ?? "").replace("\u2248\u202f", ""),
            ),
        ),
    );
}
