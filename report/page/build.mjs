// Makes of the page's sources one HTML file with its style and script inside, and of that a C++ source.
//
// usage: node build.mjs TEMPLATE_HTML TEMPLATE_CPP     in a folder with the sources and the installed packages
import { createHash } from "node:crypto";
import { readFileSync, readdirSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { build } from "esbuild";

const kMarker = "<!--zarn-report-payload-->";
const kBytesInLine = 30;

/** Of each library that the bundle holds something of: name, version, licence and its text. */
function licencesOf(metafile) {
    const inputs = Object.values(metafile.outputs).flatMap((output) => Object.entries(output.inputs));
    const held = inputs.filter(([, input]) => input.bytesInOutput > 0).map(([path]) => path);
    const names = new Set(held.map((path) => /node_modules\/((?:@[^/]+\/)?[^/]+)\//.exec(path)?.[1]));
    names.delete(undefined);
    return [...names].sort().map((name) => {
        const folder = join("node_modules", name);
        const { version, license } = JSON.parse(readFileSync(join(folder, "package.json"), "utf8"));
        const file = readdirSync(folder).find((entry) => /^licen[cs]e/i.test(entry));
        if (!license || !file) {
            throw new Error(`${name} comes without a licence`);
        }
        return { name, version, licence: license, text: readFileSync(join(folder, file), "utf8").trim() };
    });
}

const kOptions = {
    bundle: true,
    minify: true,
    write: false,
    metafile: true,
    charset: "ascii",
    target: ["chrome109", "firefox115", "safari16"],
    legalComments: "none",
    logLevel: "warning",
};

async function bundleScript() {
    const options = { ...kOptions, entryPoints: ["src/main.ts"], format: "iife", loader: { ".css": "empty" } };
    const first = await build({ ...options, define: { kLicences: "[]" } });
    const define = { kLicences: JSON.stringify(licencesOf(first.metafile)) };
    const result = await build({ ...options, define });
    return result.outputFiles[0].text.trim();
}

async function bundleStyle() {
    const contents = '@import "uplot/dist/uPlot.min.css"; @import "./src/style.css";';
    const stdin = { contents, resolveDir: ".", loader: "css" };
    return (await build({ ...kOptions, stdin })).outputFiles[0].text.trim();
}

function hashOf(text) {
    return `sha256-${createHash("sha256").update(text).digest("base64")}`;
}

/** The template as C++. Numbers, since string literals have a greatest length that compilers need not exceed. */
function sourceOf(template) {
    const bytes = Buffer.from(template, "utf8");
    const lines = [];
    for (let i = 0; i < bytes.length; i += kBytesInLine) {
        lines.push(`    ${[...bytes.subarray(i, i + kBytesInLine)].join(", ")},`);
    }
    return [
        '#include "report/page_template.h"',
        "",
        "namespace zarn::report {",
        "namespace {",
        "constexpr char kTemplate[] = {",
        ...lines,
        "};",
        "}  // namespace",
        "",
        "std::string_view PageTemplate() {",
        "    return {kTemplate, sizeof(kTemplate)};",
        "}",
        "}  // namespace zarn::report",
        "",
    ].join("\n");
}

const [, , htmlPath, cppPath] = process.argv;
const [script, style] = await Promise.all([bundleScript(), bundleStyle()]);
for (const [text, end] of [
    [script, /<\/script|<!--/i],
    [style, /<\/style/i],
]) {
    if (end.test(text)) {
        throw new Error(`what is bundled holds ${end}, which would end its place in the page`);
    }
}
const parts = { "script hash": hashOf(script), "style hash": hashOf(style), style, script };
const template = readFileSync("src/template.html", "utf8").replace(/\{\{([a-z ]+)\}\}/g, (_match, name) => parts[name]);
if (template.split(kMarker).length !== 2 || /[^\n\x20-\x7e]/.test(template)) {
    throw new Error("the template holds its marker not once, or what is not plain ASCII");
}
writeFileSync(htmlPath, template);
writeFileSync(cppPath, sourceOf(template));
