#include "analyzers/cpu/cpu_all_processes.h"

#include <cstring>

#include "analyzers/cpu/byte_words.h"
#include "foundation/json.h"
#include "foundation/numbers.h"
#include "foundation/text.h"

namespace zarn {
namespace {

constexpr std::size_t kRowWords = 12;
constexpr std::size_t kMemoryWord = 5;  // counted from 1
constexpr double kKibPerGib = 1024.0 * 1024.0;

// The text of a memory size, converted if it is one in GiB.
std::string MemoryText(std::string_view word) {
    const std::string_view number = word.substr(0, word.size() - 1);
    double gibibytes = 0.0;
    if (word.back() == 'g' && IsDecimalString(number) && TextToDouble(number, gibibytes)) {
        return FloatToString(gibibytes * kKibPerGib, 1);
    }
    return std::string(word);
}

// Rewrites rows, one after the other, in a buffer of its own. It has room from the start for all
// words of the line, so that a short word is copied as a block of fixed size, with what happens to
// stand behind it in the line.
class RowWriter {
public:
    // Whether `line` is a process row.
    bool Write(std::string_view line) {
        line_ = line;
        at_ = 0;
        count_ = 0;
        MakeRoom(line.size());
        isPlain_ = byte_words::ForEachWord(line, [this](std::string_view word) { Take(word); });
        return count_ >= kRowWords && IsDigitString(pid_);
    }

    // The row that was written, valid until the next one.
    [[nodiscard]] std::string_view Row() const { return {row_.data(), at_ - 1}; }
    // Whether it may stand in a JSON string as it is.
    [[nodiscard]] bool IsPlain() const { return isPlain_; }

private:
    static constexpr std::size_t kBlock = 16;

    void Take(std::string_view word) {
        ++count_;
        if (count_ == 1) {
            pid_ = word;
        } else if (count_ == 2) {
            Put(word);
            Put(pid_);
        } else if (count_ == kMemoryWord && word.back() == 'g') {
            const std::string memory = MemoryText(word);
            MakeRoom(at_ + line_.size() + memory.size());
            PutText(memory);
        } else {
            Put(word);
        }
    }

    void MakeRoom(std::size_t size) {
        if (row_.size() < size + kBlock) {
            row_.resize(size + kBlock);
        }
    }

    // `word` lies in the line.
    void Put(std::string_view word) {
        const auto left = static_cast<std::size_t>(line_.data() + line_.size() - word.data());
        if (word.size() <= kBlock && left >= kBlock) {
            std::memcpy(row_.data() + at_, word.data(), kBlock);
            at_ += word.size();
            row_[at_++] = ' ';
        } else {
            PutText(word);
        }
    }

    void PutText(std::string_view text) {
        std::memcpy(row_.data() + at_, text.data(), text.size());
        at_ += text.size();
        row_[at_++] = ' ';
    }

    std::string row_;
    std::string_view line_;
    std::string_view pid_;
    std::size_t at_ = 0;     // where the next word goes
    std::size_t count_ = 0;  // of the words so far
    bool isPlain_ = true;
};

void Put(std::string_view text, rapidjson::StringBuffer& out) {
    std::memcpy(out.Push(text.size()), text.data(), text.size());
}

// Appends a JSON string. `isPlain` says that the text holds nothing to escape.
void PutString(std::string_view text, bool isPlain, rapidjson::StringBuffer& out) {
    if (isPlain) {
        out.Put('"');
        Put(text, out);
        out.Put('"');
    } else {
        rapidjson::Writer<rapidjson::StringBuffer> writer(out);
        writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    }
}

// Appends the `procInfo` objects of the lines that are process rows.
void PutRows(Batches<std::string_view>::Range lines, rapidjson::StringBuffer& out) {
    RowWriter rows;
    std::string_view before = R"({"procInfo":)";
    for (const std::string_view line : lines) {
        if (rows.Write(line)) {
            Put(before, out);
            PutString(rows.Row(), rows.IsPlain(), out);
            out.Put('}');
            before = R"(,{"procInfo":)";
        }
    }
}

// Passes a document on, as the library's Writer would write it, adding to its content. `depth_`
// counts the containers that are open; the members of the document have depth 1, those of its
// content depth 2.
class ContentExtender {
public:
    ContentExtender(Batches<std::string_view>::Range lines, rapidjson::StringBuffer& out)
        : lines_(lines), out_(out) {}

    // Whether the rows have been added.
    [[nodiscard]] bool Added() const { return state_ == State::Added; }

    bool Null() { return Begin() && Scalar().Null(); }
    bool Bool(bool value) { return Begin() && Scalar().Bool(value); }
    bool Int(int value) { return Begin() && Scalar().Int(value); }
    bool Uint(unsigned value) { return Begin() && Scalar().Uint(value); }
    bool Int64(std::int64_t value) { return Begin() && Scalar().Int64(value); }
    bool Uint64(std::uint64_t value) { return Begin() && Scalar().Uint64(value); }
    bool Double(double value) { return Begin() && Scalar().Double(value); }
    bool RawNumber(const char* text, rapidjson::SizeType size, bool) {
        return String(text, size, true);  // the parser is not asked for these
    }
    bool String(const char* text, rapidjson::SizeType size, bool) {
        return Begin() && Text({text, size});
    }
    bool Key(const char* text, rapidjson::SizeType size, bool) {
        if (depth_ == 1 && state_ == State::Before && std::string_view(text, size) == "content") {
            state_ = State::Key;
        }
        PutComma();
        Text({text, size});
        out_.Put(':');
        needsComma_ = false;
        return true;
    }
    bool StartObject() {
        if (state_ == State::Key) {
            state_ = State::Inside;
        }
        PutComma();
        Open('{');
        return true;
    }
    bool EndObject(rapidjson::SizeType) {
        if (depth_ == 2 && state_ == State::Inside) {
            state_ = State::Added;
            PutComma();
            Put(R"("allProcsInfo":[)", out_);
            PutRows(lines_, out_);
            out_.Put(']');
        }
        Close('}');
        return true;
    }
    bool StartArray() {
        const bool expected = Begin() && depth_ > 0;
        Open('[');
        return expected;
    }
    bool EndArray(rapidjson::SizeType) {
        Close(']');
        return true;
    }

private:
    enum class State { Before, Key, Inside, Added };
    using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

    // Begins a value that is no object; false where one must be, for the content.
    bool Begin() {
        PutComma();
        return state_ != State::Key;
    }

    void PutComma() {
        if (needsComma_) {
            out_.Put(',');
        }
        needsComma_ = true;
    }

    void Open(char bracket) {
        out_.Put(bracket);
        ++depth_;
        needsComma_ = false;
    }

    void Close(char bracket) {
        out_.Put(bracket);
        --depth_;
        needsComma_ = true;
    }

    [[nodiscard]] Writer Scalar() { return Writer(out_); }

    bool Text(std::string_view text) {
        PutString(text, byte_words::IsPlainJson(text), out_);
        return true;
    }

    Batches<std::string_view>::Range lines_;
    rapidjson::StringBuffer& out_;
    std::size_t depth_ = 0;
    bool needsComma_ = false;
    State state_ = State::Before;
};

}  // namespace

bool RewriteProcessRow(std::string_view line, std::string& row) {
    RowWriter rows;
    const bool isRow = rows.Write(line);
    row += isRow ? rows.Row() : std::string_view();
    return isRow;
}

bool AddAllProcesses(std::string_view document, Batches<std::string_view>::Range lines,
                     rapidjson::StringBuffer& out) {
    ContentExtender extender(lines, out);
    return ReadJson(document, extender) && extender.Added();
}

}  // namespace zarn
