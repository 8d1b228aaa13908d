#pragma once

// What perf gives back as -1, as -22, and for a call that it does not understand.
namespace zarn::board {

inline constexpr int kPerfFailed = 255;
inline constexpr int kNoSuchProcess = 234;
inline constexpr int kBadPerfCall = 129;

}  // namespace zarn::board
