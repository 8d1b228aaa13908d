// The points of a line, in the order of time, and what can be asked about them fast however many there are.

import type { Range } from "./view";

export interface Figures {
    points: number; // that were measured
    mean: number;
    least: number; // index of the first point with the least value
    greatest: number;
}

/** Of points that stand for others too: for how many, and the mean of those. */
export interface Measured {
    counts: number[];
    means: number[];
}

const kFan = 8;

/** The first index from which on `t` is not below (or, with `after`, is above) the moment. */
export function bisect(t: Float64Array, moment: number, after = false): number {
    let low = 0;
    let high = t.length;
    while (low < high) {
        const middle = (low + high) >>> 1;
        if (t[middle] < moment || (after && t[middle] === moment)) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

/** A level of blocks: where the least and the greatest value of each is, or -1; and whether a point is missing in it. */
interface Level {
    size: number;
    least: Int32Array;
    greatest: Int32Array;
    gap: Uint8Array;
}

function better(v: Float64Array, candidate: number, held: number, sign: number): number {
    if (candidate < 0 || Number.isNaN(v[candidate])) {
        return held;
    }
    return held < 0 || (v[candidate] - v[held]) * sign > 0 ? candidate : held;
}

export class Points {
    readonly t: Float64Array;
    readonly v: Float64Array; // NaN where there is no value
    /** Where each point stood before sorting by time; null if they were in order. */
    private readonly order: Uint32Array | null = null;
    private readonly levels: Level[] = [];

    /** `shift` is taken from each moment. Stamps may run backward: clocks are set. Those of a line that was thinned never do. */
    constructor(
        t: number[],
        v: (number | null)[],
        shift: number,
        private readonly measured: Measured | null = null,
    ) {
        const length = Math.min(t.length, v.length);
        this.t = new Float64Array(length);
        this.v = new Float64Array(length);
        let sorted = true;
        for (let i = 0; i < length; i++) {
            const value = v[i];
            this.t[i] = t[i] - shift;
            this.v[i] = value === null ? NaN : value;
            sorted = sorted && (i === 0 || this.t[i - 1] <= this.t[i]);
        }
        if (!sorted) {
            const [times, values] = [this.t.slice(), this.v.slice()];
            this.order = Uint32Array.from(times.keys()).sort((a, b) => times[a] - times[b] || a - b);
            this.order.forEach((from, to) => {
                this.t[to] = times[from];
                this.v[to] = values[from];
            });
        }
        this.build();
    }

    get length(): number {
        return this.t.length;
    }

    /** The index that a point has in the payload. */
    original(index: number): number {
        return this.order ? this.order[index] : index;
    }

    /** The point nearest to a moment, or -1. */
    nearest(moment: number): number {
        const right = bisect(this.t, moment);
        if (right === this.length) {
            return right - 1;
        }
        return right > 0 && moment - this.t[right - 1] <= this.t[right] - moment ? right - 1 : right;
    }

    figures(range: Range): Figures | null {
        const first = bisect(this.t, range.from);
        const end = bisect(this.t, range.to, true);
        let [points, sum, least, greatest] = [0, 0, -1, -1];
        for (let i = first; i < end; i++) {
            const value = this.v[i];
            if (value === value) {
                least = least < 0 || value < this.v[least] ? i : least;
                greatest = greatest < 0 || value > this.v[greatest] ? i : greatest;
            }
            const [count, mean] = this.measuredAt(i);
            points += count;
            sum += count * mean;
        }
        return least >= 0 ? { points, mean: sum / points, least, greatest } : null;
    }

    /** How many values a point stands for, and their mean. */
    private measuredAt(index: number): [number, number] {
        if (this.measured) {
            return [this.measured.counts[index], this.measured.means[index]];
        }
        const value = this.v[index];
        return value === value ? [1, value] : [0, 0];
    }

    /**
     * Points that draw the same picture as all from `first` to before `end`, at most some `wanted`: of each piece the least and the
     * greatest, and one without a value if there is any.
     */
    outline(first: number, end: number, wanted: number): number[] {
        const most = Math.max(1, (end - first) / wanted);
        let level: Level | null = null;
        for (const candidate of this.levels) {
            level = candidate.size <= most * 2 ? candidate : level;
        }
        const result: number[] = [];
        if (!level) {
            for (let i = first; i < end; i++) {
                result.push(i);
            }
            return result;
        }
        for (let block = Math.floor(first / level.size); block * level.size < end; block++) {
            this.pushBlock(level, block, first, end, result);
        }
        return result;
    }

    /** Least and greatest value from `first` to before `end`, or null. */
    extent(first: number, end: number): [number, number] | null {
        let [least, greatest] = [Infinity, -Infinity];
        for (const i of this.outline(first, end, 1000)) {
            if (this.v[i] === this.v[i]) {
                least = Math.min(least, this.v[i]);
                greatest = Math.max(greatest, this.v[i]);
            }
        }
        return least <= greatest ? [least, greatest] : null;
    }

    private pushBlock(level: Level, block: number, first: number, end: number, result: number[]): void {
        const begin = Math.max(first, block * level.size);
        const stop = Math.min(end, (block + 1) * level.size);
        if (stop - begin < Math.min(level.size, this.length - block * level.size)) {
            for (let i = begin; i < stop; i++) {
                result.push(i); // a piece that is cut by the range's end
            }
            return;
        }
        const [least, greatest] = [level.least[block], level.greatest[block]];
        if (least >= 0) {
            result.push(Math.min(least, greatest));
            if (least !== greatest) {
                result.push(Math.max(least, greatest));
            }
        }
        if (level.gap[block]) {
            result.push(this.gapIn(begin, stop));
            this.settle(result);
        }
    }

    /** Moves the last index to where it belongs among the two before it. */
    private settle(result: number[]): void {
        for (let i = result.length - 1; i > 0 && result[i - 1] > result[i]; i--) {
            [result[i - 1], result[i]] = [result[i], result[i - 1]];
        }
    }

    private gapIn(begin: number, stop: number): number {
        let i = begin;
        while (i < stop - 1 && this.v[i] === this.v[i]) {
            i++;
        }
        return i;
    }

    private build(): void {
        for (let size = kFan; size * 4 < this.length; size *= kFan) {
            this.levels.push(this.level(size, this.levels[this.levels.length - 1] ?? null));
        }
    }

    private level(size: number, below: Level | null): Level {
        const blocks = Math.ceil(this.length / size);
        const level = {
            size,
            least: new Int32Array(blocks).fill(-1),
            greatest: new Int32Array(blocks).fill(-1),
            gap: new Uint8Array(blocks),
        };
        const parts = below ? below.least.length : this.length;
        const ratio = below ? kFan : size;
        for (let part = 0; part < parts; part++) {
            const block = Math.floor(part / ratio);
            level.least[block] = better(this.v, below ? below.least[part] : part, level.least[block], -1);
            level.greatest[block] = better(this.v, below ? below.greatest[part] : part, level.greatest[block], 1);
            level.gap[block] |= below ? below.gap[part] : Number(Number.isNaN(this.v[part]));
        }
        return level;
    }
}
