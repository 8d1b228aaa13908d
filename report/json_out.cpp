#include "report/json_out.h"

#include <array>
#include <charconv>
#include <cmath>

namespace zarn::report {
namespace {

constexpr std::string_view kReplacement = "\\ufffd";
constexpr std::size_t kPiece = std::size_t{64} << 10;

[[nodiscard]] unsigned ByteAt(std::string_view text, std::size_t at) {
    return static_cast<unsigned char>(text[at]);
}

// What a sequence's first byte says: its length, and the bounds of its second byte, which keep out
// overlong forms, surrogates and what is beyond the last code point.
struct Lead {
    std::size_t length = 0;
    unsigned low = 0x80;
    unsigned high = 0xBF;
};

[[nodiscard]] Lead LeadOf(unsigned first) {
    if (first < 0x80) {
        return {1};
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return {2};
    }
    if (first >= 0xE0 && first <= 0xEF) {
        return {3, first == 0xE0 ? 0xA0U : 0x80U, first == 0xED ? 0x9FU : 0xBFU};
    }
    if (first >= 0xF0 && first <= 0xF4) {
        return {4, first == 0xF0 ? 0x90U : 0x80U, first == 0xF4 ? 0x8FU : 0xBFU};
    }
    return {};
}

void AppendCode(unsigned code, std::string& out) {
    constexpr std::string_view kHexDigits = "0123456789abcdef";
    out += "\\u";
    for (unsigned shift = 16; shift > 0; shift -= 4) {
        out += kHexDigits[(code >> (shift - 4)) & 15U];
    }
}

void AppendAscii(unsigned c, std::string& out) {
    if (c == '"' || c == '\\') {
        out += '\\';
        out += static_cast<char>(c);
    } else if (c < 0x20 || c == 0x7F || c == '<') {
        AppendCode(c, out);
    } else {
        out += static_cast<char>(c);
    }
}

}  // namespace

std::size_t Utf8Length(std::string_view text) {
    const Lead lead = text.empty() ? Lead{} : LeadOf(ByteAt(text, 0));
    if (lead.length > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < lead.length; ++i) {
        const unsigned next = ByteAt(text, i);
        if (next < (i == 1 ? lead.low : 0x80U) || next > (i == 1 ? lead.high : 0xBFU)) {
            return 0;
        }
    }
    return lead.length;
}

std::string_view CutUtf8(std::string_view text, std::size_t most) {
    if (text.size() <= most) {
        return text;
    }
    // A sequence that the cut would part begins at most three bytes before it.
    for (std::size_t back = 1; back < 4 && back <= most; ++back) {
        if (Utf8Length(text.substr(most - back)) > back) {
            return text.substr(0, most - back);
        }
    }
    return text.substr(0, most);
}

void AppendHtmlJson(std::string_view text, std::string& out) {
    out += '"';
    while (!text.empty()) {
        const std::size_t length = Utf8Length(text);
        const std::string_view sequence = text.substr(0, length);
        if (length == 0) {
            out += kReplacement;
        } else if (length == 1) {
            AppendAscii(ByteAt(text, 0), out);
        } else if (sequence == "\u2028" || sequence == "\u2029") {
            AppendCode(0x2000U + (ByteAt(sequence, 2) & 0x3FU), out);
        } else {
            out += sequence;
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    out += '"';
}

void JsonOut::Separate() {
    if (needsComma_) {
        text_ += ',';
    }
    needsComma_ = true;
    HandOn();
}

void JsonOut::Open(char bracket) {
    Separate();
    text_ += bracket;
    needsComma_ = false;
}

void JsonOut::Close(char bracket) {
    text_ += bracket;
    needsComma_ = true;
}

void JsonOut::Key(std::string_view name) {
    Text(name);
    text_ += ':';
    needsComma_ = false;
}

void JsonOut::Text(std::string_view text) {
    Separate();
    AppendHtmlJson(text, text_);
}

void JsonOut::Number(double value) {
    if (!std::isfinite(value)) {
        Null();
        return;
    }
    Separate();
    std::array<char, 32> digits{};
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    text_.append(digits.data(), written.ptr);
}

void JsonOut::Rounded(double value) {
    constexpr int kDigits = 8;
    Separate();
    std::array<char, 32> digits{};
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                       std::chars_format::general, kDigits);
    text_.append(digits.data(), written.ptr);
}

void JsonOut::Integer(std::uint64_t value) {
    Separate();
    text_ += std::to_string(value);
}

void JsonOut::Difference(std::int64_t value) {
    Separate();
    text_ += std::to_string(value);
}

void JsonOut::True() {
    Separate();
    text_ += "true";
}

void JsonOut::Null() {
    Separate();
    text_ += "null";
}

void JsonOut::HandOn() {
    if (text_.size() >= kPiece) {
        take_(text_);
        text_.clear();
    }
}

void JsonOut::Finish() {
    take_(text_);
    text_.clear();
}

}  // namespace zarn::report
