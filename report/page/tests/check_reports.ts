// Checks reports as the program wrote them.
//
// usage: node check_reports.mjs TEMPLATE REPORT...

import { basename } from "node:path";
import test from "node:test";
import { checkReport } from "./any_report";
import { withBench } from "./browser";

await withBench((bench) => {
    for (const path of process.argv.slice(3)) {
        test(`${basename(path)} shows what it holds`, () => checkReport(bench, path));
    }
});
