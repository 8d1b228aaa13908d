// What needs no browser: points and their figures, numbers and moments as they are written, texts made visible.

import assert from "node:assert/strict";
import test from "node:test";
import { visible } from "../src/dom";
import { clock, computed, computedMean, count, duration, onAxis, since } from "../src/format";
import { Points, bisect } from "../src/points";
import { kStart, random, wave } from "./fixtures";

const kMany = 40000;

function spiky(): { t: number[]; v: (number | null)[] } {
    const next = random(11);
    const { t, v } = wave(kMany, 10, 50, 4);
    for (let i = 0; i < 400; i++) {
        v[Math.floor(next() * kMany)] = i % 3 === 0 ? null : (next() - 0.5) * 1e6;
    }
    return { t, v };
}

test("an outline keeps the least and the greatest value of every range, and where values are missing", () => {
    const { t, v } = spiky();
    const points = new Points(t, v, 0);
    const next = random(3);
    for (let i = 0; i < 200; i++) {
        const first = Math.floor(next() * kMany);
        const end = first + 1 + Math.floor(next() * (kMany - first));
        const outline = points.outline(first, end, 700);
        const whole = v.slice(first, end);
        const numbers = whole.filter((value): value is number => value !== null);
        const kept = outline.map((index) => v[index]).filter((value): value is number => value !== null);
        assert.equal(Math.min(...kept), Math.min(...numbers));
        assert.equal(Math.max(...kept), Math.max(...numbers));
        assert.equal(
            outline.some((index) => v[index] === null),
            whole.includes(null),
        );
        assert.ok(
            outline.every((index, place) => index >= first && index < end && (place === 0 || outline[place - 1] < index)),
        );
        assert.ok(outline.length <= 700 * 13, `${outline.length} points of ${end - first}`);
        assert.deepEqual(points.extent(first, end), [Math.min(...numbers), Math.max(...numbers)]);
    }
});

test("each of the outline's pieces keeps its own least and greatest value", () => {
    const { t, v } = wave(kMany, 10, 50, 4);
    const points = new Points(t, v, 0);
    const outline = new Set(points.outline(0, kMany, 500));
    const numbers = v as number[];
    for (let begin = 0; begin < kMany; begin += 512) {
        const piece = numbers.slice(begin, begin + 512);
        assert.ok(outline.has(begin + piece.indexOf(Math.min(...piece))));
        assert.ok(outline.has(begin + piece.indexOf(Math.max(...piece))));
    }
});

test("the figures of a range are those of its points", () => {
    const { t, v } = spiky();
    const points = new Points(t, v, kStart);
    const figures = points.figures({ from: 1000, to: 200005 });
    const inside = v.filter(
        (value, i): value is number => value !== null && t[i] >= kStart + 1000 && t[i] <= kStart + 200005,
    );
    assert.ok(figures);
    assert.equal(figures.points, inside.length);
    assert.equal(figures.mean, inside.reduce((sum, value) => sum + value, 0) / inside.length);
    assert.equal(v[figures.least], Math.min(...inside));
    assert.equal(v[figures.greatest], Math.max(...inside));
    assert.equal(points.figures({ from: -5, to: -1 }), null);
});

test("the mean of a thinned line is that of all values its points stand for", () => {
    const measured = { counts: [10, 0, 3, 1], means: [4, 0, 20, 7] };
    const points = new Points([0, 10, 20, 30], [9, null, 2, 7], 0, measured);
    assert.deepEqual(points.figures({ from: 0, to: 20 }), { points: 13, mean: 100 / 13, least: 2, greatest: 0 });
    assert.deepEqual(points.figures({ from: 25, to: 30 }), { points: 1, mean: 7, least: 3, greatest: 3 });
    assert.equal(points.figures({ from: 5, to: 15 }), null);
});

test("stamps that run backward are put into order, and each point knows where it stood", () => {
    const points = new Points([30, 10, 20, 10], [1, 2, null, 4], 0);
    assert.deepEqual([...points.t], [10, 10, 20, 30]);
    assert.deepEqual([...points.v], [2, 4, NaN, 1]);
    assert.deepEqual(
        [0, 1, 2, 3].map((index) => points.original(index)),
        [1, 3, 2, 0],
    );
    assert.equal(points.nearest(26), 3);
    assert.equal(points.nearest(-4), 0);
    assert.equal(new Points([], [], 0).nearest(5), -1);
});

test("bisect finds the first point from a moment on, and the first after it", () => {
    const t = Float64Array.of(1, 2, 2, 5);
    assert.deepEqual(
        [0, 1, 2, 3, 5, 6].map((moment) => bisect(t, moment)),
        [0, 0, 1, 3, 3, 4],
    );
    assert.deepEqual(
        [0, 1, 2, 3, 5, 6].map((moment) => bisect(t, moment, true)),
        [0, 1, 3, 3, 4, 4],
    );
});

test("moments and numbers are written as they are meant", () => {
    assert.equal(clock(kStart, 60000), "09:30");
    assert.equal(clock(kStart + 59999.6, 1, true), "2026-03-14 09:31:00.000");
    assert.equal(clock(kStart + 0.25, 0.01), "09:30:00.00025");
    assert.equal(clock(kStart, 86400000), "2026-03-14");
    assert.equal(clock(9e15), "9000000000000000");
    assert.equal(clock(-1, 1, true), "1969-12-31 23:59:59.999");
    assert.equal(since(-1500, 100), "\u22121.5\u202fs");
    assert.equal(since(61000, 1000), "+61\u202fs");
    assert.equal(count(1234567), "1\u202f234\u202f567");
    assert.equal(computed(1 / 3), "0.333333");
    assert.deepEqual(
        [
            [1663852.5, 1662999, 1664717],
            [8388608, 8388608, 8388608],
            [7.843137, 7.843137, 7.843137],
            [0.1 + 1e-17, 0.1, 0.1],
            [0.1 + 0.2, 0.1 + 0.2, 0.1 + 0.2],
            [Infinity, 1e308, 1.5e308],
            [1234.56789, 1300, 1400],
        ].map(([mean, least, greatest]) => computedMean(mean, least, greatest)),
        ["1663850", "8388608", "7.843137", "0.1", "0.30000000000000004", "Infinity", "1234.57"],
    );
    assert.deepEqual([0, 0.2, 204800, 12000000, 1e-7].map(onAxis), ["0", "0.2", "204\u202f800", "1.2e7", "1e-7"]);
    assert.deepEqual([0.5, 1500, 600000, 7200000, 200000000].map(duration), [
        "0.5 ms",
        "1.5 s",
        "10.0 min",
        "2.0 h",
        "2.3 days",
    ]);
});

test("what cannot be seen in a text is named, and what is too long is cut", () => {
    assert.equal(visible("plain <b> text\n\tof lines"), "plain <b> text\n\tof lines");
    assert.equal(visible("a\u0000\u001b[31m\u007f\u009b"), "a\u27e800\u27e9\u27e81B\u27e9[31m\u27e87F\u27e9\u27e89B\u27e9");
    assert.equal(visible("\u202egpj.exe\u200b"), "\u27e8202E\u27e9gpj.exe\u27e8200B\u27e9");
    assert.equal(visible("\ud83d x \ude00 \ud83d\ude00"), "\u27e8D83D\u27e9 x \u27e8DE00\u27e9 \ud83d\ude00");
    assert.equal(visible("x".repeat(5000)), `${"x".repeat(2000)}\u2026 (5000 characters)`);
});
