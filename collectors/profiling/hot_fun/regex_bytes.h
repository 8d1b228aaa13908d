#pragma once

// The classes of bytes of the standard library's regular expressions in the "C" locale, for exact
// matchers.
namespace zarn::regex_bytes {

// What \d matches.
[[nodiscard]] constexpr bool IsDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

// What \s matches.
[[nodiscard]] constexpr bool IsSpace(char byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

// What a dot does not match, besides the newline, which never stands in a line.
inline constexpr char kCarriageReturn = '\r';

}  // namespace zarn::regex_bytes
