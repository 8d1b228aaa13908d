#include "kit/shell_words.h"

#include <algorithm>

namespace zarn {
namespace {

constexpr std::string_view kOrdinary =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./:+@%=-";

std::string WordOf(std::string_view text, std::string_view alsoOrdinary) {
    const bool isOrdinary = std::all_of(text.begin(), text.end(), [alsoOrdinary](char byte) {
        return kOrdinary.find(byte) != std::string_view::npos ||
               alsoOrdinary.find(byte) != std::string_view::npos;
    });
    return isOrdinary && !text.empty() ? std::string(text) : QuotedWord(text);
}

}  // namespace

std::string ShellWord(std::string_view text) {
    return WordOf(text, "");
}

std::string ShellPath(std::string_view path) {
    return WordOf(path, "[]");
}

std::string QuotedWord(std::string_view text) {
    std::string word = "'";
    for (const char byte : text) {
        if (byte == '\'') {
            word += R"('\'')";
        } else {
            word += byte;
        }
    }
    return word + "'";
}

std::string PatternWord(std::string_view text, const std::string& word) {
    return (text.substr(0, 1) == "-" ? "-e " : "") + word;
}

}  // namespace zarn
