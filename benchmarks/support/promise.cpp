#include "benchmarks/support/promise.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace zarn::bench {
namespace {

Promise Tell(const char* kind, const std::string& row, double limit) {
    benchmark::AddCustomContext("promise " + std::string(kind) + " " + row, std::to_string(limit));
    return {};
}

}  // namespace

Promise AtMostTimesBound(const std::string& row, double limit) {
    return Tell("bound", row, limit);
}

Promise AtLeastTimesNaive(const std::string& row, double limit) {
    return Tell("naive", row, limit);
}

Promise AtMost(const std::string& row, double limit) {
    constexpr std::string_view kOurs = "/ours";
    if (row.size() >= kOurs.size() &&
        row.compare(row.size() - kOurs.size(), kOurs.size(), kOurs) == 0) {
        std::fprintf(stderr, "a promise for %s: the table has this row without its form\n",
                     row.c_str());
        std::abort();
    }
    return Tell("most", row, limit);
}

}  // namespace zarn::bench
