// How numbers and moments are written.

const kDay = 86400000;

/** A number as it stands in its file. */
export function exact(value: number | string): string {
    return String(value);
}

/** A number that the page computed: as many digits as tell something. */
export function computed(value: number): string {
    return String(Number(value.toPrecision(6)));
}

/** A mean as the page computed it, with as many digits more as keep it between the least and the greatest value if it is. */
export function computedMean(mean: number, least: number, greatest: number): string {
    for (let digits = 6; digits <= 17; digits++) {
        const rounded = Number(mean.toPrecision(digits));
        if (rounded >= least && rounded <= greatest) {
            return String(rounded);
        }
    }
    return computed(mean);
}

export function count(value: number): string {
    return String(value).replace(/\B(?=(\d{3})+$)/g, "\u202f");
}

/** A number beside an axis, short enough for its place. */
export function onAxis(value: number): string {
    const size = Math.abs(value);
    if (size !== 0 && (size >= 1e7 || size < 1e-4)) {
        return value.toExponential().replace("e+", "e");
    }
    return size >= 10000 && Number.isInteger(value) ? count(value) : computed(value);
}

export function bytes(value: number): string {
    const units = ["bytes", "KiB", "MiB", "GiB"];
    let unit = 0;
    while (value >= 1024 && unit < units.length - 1) {
        value /= 1024;
        unit++;
    }
    return `${unit === 0 ? value : value.toFixed(1)} ${units[unit]}`;
}

function two(value: number): string {
    return String(value).padStart(2, "0");
}

/** Decimals of a second that a step of so many milliseconds needs. */
function decimals(step: number): number {
    return step >= 1000 ? 0 : Math.min(6, Math.max(0, Math.ceil(3 - Math.log10(step) - 1e-9)));
}

function day(moment: number): string {
    const date = new Date(moment);
    return `${date.getUTCFullYear()}-${two(date.getUTCMonth() + 1)}-${two(date.getUTCDate())}`;
}

/** A moment of the board's clock. A step of a day or more shows the day alone. */
export function clock(moment: number, step = 1, withDay = false): string {
    if (!Number.isFinite(moment) || Math.abs(moment) > 8.64e15) {
        return String(moment);
    }
    if (step >= kDay) {
        return day(moment);
    }
    const digits = decimals(step);
    const unit = 1000 / 10 ** digits;
    const rounded = Math.round(moment / unit) * unit;
    const date = new Date(Math.floor(rounded / 1000) * 1000);
    const fraction = (rounded / 1000 - Math.floor(rounded / 1000)).toFixed(digits).slice(1);
    const time = `${two(date.getUTCHours())}:${two(date.getUTCMinutes())}`;
    const seconds = step >= 60000 ? "" : `:${two(date.getUTCSeconds())}${fraction}`;
    return (withDay ? day(rounded) + " " : "") + time + seconds;
}

/** Time since the start of a run. */
export function since(milliseconds: number, step = 1): string {
    const sign = milliseconds < 0 ? "\u2212" : "+";
    return sign + (Math.abs(milliseconds) / 1000).toFixed(decimals(step)) + "\u202fs";
}

export function duration(milliseconds: number): string {
    if (milliseconds < 1000) {
        return `${computed(milliseconds)} ms`;
    }
    if (milliseconds < 120000) {
        return `${computed(milliseconds / 1000)} s`;
    }
    if (milliseconds < 2 * 3600000) {
        return `${(milliseconds / 60000).toFixed(1)} min`;
    }
    return milliseconds < 2 * kDay ? `${(milliseconds / 3600000).toFixed(1)} h` : `${(milliseconds / kDay).toFixed(1)} days`;
}
