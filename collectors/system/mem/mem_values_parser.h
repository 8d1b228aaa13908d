#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Readers of what the collector's pipelines print, each of the whole output.
namespace zarn {

// Without its last character, which is the newline of what a program prints.
[[nodiscard]] std::string_view WithoutLast(std::string_view output);

// At least one byte, and nothing but digits: no line end either.
[[nodiscard]] bool IsMemNumber(std::string_view text);

enum class CounterResult { Ok, NoInteger, OutOfRange };

// A counter of the kernel. Accepts: the number at the head, less its fraction, with the exponent as
// which awk prints a sum that is no integer of 31 bits ("1.23457e+06"); a sign. Skips: all that
// follows, such as the second line of a name that stands in two. Refuses: another head; a number
// beyond 32 bits (signed).
[[nodiscard]] CounterResult ParseMemCounter(std::string_view output, std::int32_t& value);

// The digits of a sum, of a column of `free` or of smaps. Refuses anything but digits.
[[nodiscard]] std::optional<std::string> ParseMemSum(std::string_view output);

// What the share pool holds for a process, in KB: a line for each of its groups, which add up; "0"
// without any. Skips: empty lines. Refuses: a line of anything but digits; sums beyond 64 bits.
[[nodiscard]] std::optional<std::string> ParseSharePoolAlloc(std::string_view output);

// The words of a process's status file. All but the name are digits; those that begin with "vm" are
// KB.
struct StatusWords {
    std::string name;
    std::string fdSize;
    std::string vmSize;
    std::string vmData;
    std::string vmStk;
    std::string vmExe;
    std::string vmLib;
    std::string vmPte;
    std::string threads;
};

// Accepts: exactly these nine, in the order of the file, between white space of any kind. Refuses:
// any other number, as a kernel thread, a zombie or a process without a name has them; a word that
// is no number where one must stand.
[[nodiscard]] std::optional<StatusWords> ParseStatusWords(std::string_view output);

}  // namespace zarn
