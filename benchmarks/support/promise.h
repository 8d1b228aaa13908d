#pragma once

#include <string>

// What the rows of the benchmarks' table promise, told in the source of each benchmark, once, as
// constants made before main:
//
//     const Promise kNearTheBound = AtMostTimesBound("DdrAnalyzer", 3);
//
// It travels in the results, and scripts/bench.sh fails where a measured row does not keep it. Rows
// are named as in the table: <what> for a ratio and for the time of "ours", <what>/<form> for the
// time of another form, "<what>/<form> <counter>" for a counter.
namespace zarn::bench {

struct Promise {};

// "ours" takes at most so many times as long as "bound".
Promise AtMostTimesBound(const std::string& row, double limit);
// "ours" is at least so many times as fast as "naive".
Promise AtLeastTimesNaive(const std::string& row, double limit);
// The row takes at most so many milliseconds, or the counter is at most that.
Promise AtMost(const std::string& row, double limit);

}  // namespace zarn::bench
