#include "benchmarks/support/promise.h"

#include <benchmark/benchmark.h>

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
    return Tell("most", row, limit);
}

}  // namespace zarn::bench
