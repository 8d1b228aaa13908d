#include "analyzers/cpu_all_processes.h"

#include "foundation/zarn_utils.h"

namespace zarn {
namespace {

constexpr std::size_t kRowWords = 12;
constexpr std::size_t kMemoryWord = 5;  // counted from 1
constexpr double kKibPerGib = 1024.0 * 1024.0;

// Appends the memory size, converted if it is one in GiB.
void AppendMemory(std::string_view word, std::string& row) {
    double gibibytes = 0.0;
    if (word.size() > 1 && word.back() == 'g' && IsDecimalString(word.substr(0, word.size() - 1)) &&
        TextToDouble(word.substr(0, word.size() - 1), gibibytes)) {
        row += FloatToString(gibibytes * kKibPerGib, 1);
    } else {
        row += word;
    }
}

// Passes a document on to a writer, adding to its content. `depth_` counts the containers that are
// open; the members of the document have depth 1, those of its content depth 2.
class ContentExtender {
public:
    ContentExtender(Batches<std::string_view>::Range lines, rapidjson::StringBuffer& out)
        : lines_(lines), writer_(out) {}

    // Whether the rows have been added.
    [[nodiscard]] bool Added() const { return state_ == State::Added; }

    bool Null() { return Plain() && writer_.Null(); }
    bool Bool(bool value) { return Plain() && writer_.Bool(value); }
    bool Int(int value) { return Plain() && writer_.Int(value); }
    bool Uint(unsigned value) { return Plain() && writer_.Uint(value); }
    bool Int64(std::int64_t value) { return Plain() && writer_.Int64(value); }
    bool Uint64(std::uint64_t value) { return Plain() && writer_.Uint64(value); }
    bool Double(double value) { return Plain() && writer_.Double(value); }
    bool RawNumber(const char* text, rapidjson::SizeType size, bool copy) {
        return Plain() && writer_.RawNumber(text, size, copy);
    }
    bool String(const char* text, rapidjson::SizeType size, bool copy) {
        return Plain() && writer_.String(text, size, copy);
    }
    bool Key(const char* text, rapidjson::SizeType size, bool copy) {
        if (depth_ == 1 && state_ == State::Before && std::string_view(text, size) == "content") {
            state_ = State::Key;
        }
        return writer_.Key(text, size, copy);
    }
    bool StartObject() {
        if (state_ == State::Key) {
            state_ = State::Inside;
        }
        ++depth_;
        return writer_.StartObject();
    }
    bool EndObject(rapidjson::SizeType) {
        --depth_;
        if (depth_ == 1 && state_ == State::Inside) {
            state_ = State::Added;
            AddRows();
        }
        return writer_.EndObject();
    }
    bool StartArray() {
        const bool expected = Plain() && depth_ > 0;
        ++depth_;
        return expected && writer_.StartArray();
    }
    bool EndArray(rapidjson::SizeType) {
        --depth_;
        return writer_.EndArray();
    }

private:
    enum class State { Before, Key, Inside, Added };

    // Whether a value that is no object may stand here: the content must be one.
    [[nodiscard]] bool Plain() const { return state_ != State::Key; }

    void AddRows() {
        writer_.Key("allProcsInfo");
        writer_.StartArray();
        for (const std::string_view line : lines_) {
            row_.clear();
            if (RewriteProcessRow(line, row_)) {
                writer_.StartObject();
                writer_.Key("procInfo");
                writer_.String(row_.data(), static_cast<rapidjson::SizeType>(row_.size()));
                writer_.EndObject();
            }
        }
        writer_.EndArray();
    }

    Batches<std::string_view>::Range lines_;
    rapidjson::Writer<rapidjson::StringBuffer> writer_;
    std::string row_;
    std::size_t depth_ = 0;
    State state_ = State::Before;
};

}  // namespace

bool RewriteProcessRow(std::string_view line, std::string& row) {
    PieceCursor words(line, ' ');
    std::string_view pid;
    std::string_view word;
    if (!words.Next(pid) || !IsDigitString(pid) || !words.Next(word)) {
        return false;
    }
    const std::size_t start = row.size();
    row.append(word).append(1, ' ').append(pid);
    std::size_t count = 2;
    while (words.Next(word)) {
        ++count;
        row.push_back(' ');
        if (count == kMemoryWord) {
            AppendMemory(word, row);
        } else {
            row += word;
        }
    }
    if (count < kRowWords) {
        row.resize(start);
    }
    return count >= kRowWords;
}

bool AddAllProcesses(std::string_view document, Batches<std::string_view>::Range lines,
                     rapidjson::StringBuffer& out) {
    ContentExtender extender(lines, out);
    return ReadJson(document, extender) && extender.Added();
}

}  // namespace zarn
