// What is looked at: the page, the piece of time, what is marked of it. The address keeps it, so that a link shows it again.

export interface Range {
    from: number;
    to: number;
}

export type Topic = "page" | "range" | "mark" | "cursor" | "shown";

const kNarrowest = 0.05;
// A browser that is told of a new address too often stops listening.
const kAddressDelay = 120;

function parseRange(text: string | null): Range | null {
    const match = /^(-?\d+(?:\.\d+)?)\.\.(-?\d+(?:\.\d+)?)$/.exec(text ?? "");
    if (!match) {
        return null;
    }
    const range = { from: Number(match[1]), to: Number(match[2]) };
    return range.from < range.to ? range : null;
}

function sameRange(a: Range | null, b: Range | null): boolean {
    return a === b || (a !== null && b !== null && a.from === b.from && a.to === b.to);
}

export class View {
    page: string;
    range: Range;
    mark: Range | null = null;
    cursor: number | null = null;
    private readonly listeners = new Map<Topic, Set<() => void>>();
    private addressTimer = 0;

    /** `home` is what is shown at first, `whole` where there are points at all. */
    constructor(
        private readonly pages: string[],
        readonly home: Range,
        readonly whole: Range,
    ) {
        this.page = pages[0];
        this.range = home;
        this.readAddress();
        window.addEventListener("hashchange", () => this.readAddress());
    }

    /** Calls `listener` at each change until the signal ends it. */
    on(topic: Topic, signal: AbortSignal | null, listener: () => void): void {
        const set = this.listeners.get(topic) ?? new Set();
        this.listeners.set(topic, set);
        set.add(listener);
        signal?.addEventListener("abort", () => set.delete(listener));
    }

    tell(topic: Topic): void {
        for (const listener of [...(this.listeners.get(topic) ?? [])]) {
            listener();
        }
    }

    setPage(page: string): void {
        if (page !== this.page && this.pages.includes(page)) {
            this.page = page;
            window.clearTimeout(this.addressTimer);
            history.pushState(null, "", this.address());
            this.tell("page");
        }
    }

    setRange(range: Range): void {
        const wanted = this.within(range);
        if (!sameRange(wanted, this.range)) {
            this.range = wanted;
            this.writeAddress();
            this.tell("range");
        }
    }

    setMark(mark: Range | null): void {
        const wanted = mark && mark.from > mark.to ? { from: mark.to, to: mark.from } : mark;
        if (!sameRange(wanted, this.mark)) {
            this.mark = wanted;
            this.writeAddress();
            this.tell("mark");
        }
    }

    setCursor(cursor: number | null): void {
        if (cursor !== this.cursor) {
            this.cursor = cursor;
            this.tell("cursor");
        }
    }

    /** A step of the zoom: `factor` below 1 comes nearer; `about` stays where it is. */
    zoom(factor: number, about?: number): void {
        const { from, to } = this.range;
        const fixed = about ?? (from + to) / 2;
        this.setRange({ from: fixed - (fixed - from) * factor, to: fixed + (to - fixed) * factor });
    }

    /** Moves by a share of what is shown. */
    pan(share: number): void {
        const step = (this.range.to - this.range.from) * share;
        this.setRange({ from: this.range.from + step, to: this.range.to + step });
    }

    address(page = this.page): string {
        const parts = [`page=${encodeURIComponent(page)}`];
        if (!sameRange(this.range, this.home)) {
            parts.push(`range=${this.range.from}..${this.range.to}`);
        }
        if (this.mark) {
            parts.push(`mark=${this.mark.from}..${this.mark.to}`);
        }
        return "#" + parts.join("&");
    }

    /** Keeps a range where there is something to see, and no narrower than can be drawn. */
    private within(range: Range): Range {
        const least = Math.min(this.whole.from, this.home.from);
        const most = Math.max(this.whole.to, this.home.to);
        const width = Math.min(most - least, Math.max(kNarrowest, range.to - range.from));
        const from = Math.min(Math.max(range.from, least), most - width);
        return { from, to: from + width };
    }

    private writeAddress(): void {
        window.clearTimeout(this.addressTimer);
        this.addressTimer = window.setTimeout(() => history.replaceState(null, "", this.address()), kAddressDelay);
    }

    private readAddress(): void {
        const parts = new URLSearchParams(location.hash.slice(1).replace(/\+/g, "%2B"));
        const page = parts.get("page");
        const range = parseRange(parts.get("range"));
        const before = { page: this.page, range: this.range, mark: this.mark };
        this.page = page !== null && this.pages.includes(page) ? page : this.pages[0];
        this.range = range ? this.within(range) : this.home;
        this.mark = parseRange(parts.get("mark"));
        if (this.page !== before.page) {
            this.tell("page");
            return;
        }
        if (!sameRange(this.range, before.range)) {
            this.tell("range");
        }
        if (!sameRange(this.mark, before.mark)) {
            this.tell("mark");
        }
    }
}
