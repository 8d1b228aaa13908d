#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "formats/aicpu.h"
#include "kit/event_reader.h"

// The collector's merged files: sections of attributes, each a run of passes.
namespace zarn {

// What takes one attribute's passes as they come. One that keeps the last pass alone forgets at
// BeginPass what it took; one that wants all of them does not.
class PassReader {
public:
    PassReader() = default;
    PassReader(const PassReader&) = delete;
    PassReader& operator=(const PassReader&) = delete;
    virtual ~PassReader() = default;

    virtual void BeginPass() = 0;
    // A line of the pass, in order; a view that holds during the call. An empty line stands before
    // each pass but the first.
    virtual void Take(std::string_view line) = 0;
    // Whether what was taken makes sense, once the section has ended.
    [[nodiscard]] virtual bool MakesSense() const = 0;
};

// A section that is wanted, and what became of it.
struct WantedSection {
    const char* attribute;
    PassReader* reader;
    std::size_t passes = 0;
    bool isWhole = false;  // there is one, and it ended

    [[nodiscard]] bool IsGood() const { return isWhole && passes > 0 && reader->MakesSense(); }
};

using WantedSections = std::vector<WantedSection>;

// Cuts a file's lines into the sections of `list` and hands those that are wanted on, of each
// attribute the section number `ordinal`, from 0.
//
// A section begins at a line of its attribute and kAicpuStart, and ends at one of its attribute and
// kAicpuEnd, before which a text without a final newline may stand on the same line. Texts may hold
// such lines: a beginning counts outside of sections alone, an end only if the file ends there or
// empty lines and a beginning follow. A section without an end reaches to the file's.
class SectionCutter {
public:
    SectionCutter(const AicpuList& list, std::size_t ordinal, WantedSections& wanted);

    void Take(std::string_view line);
    // The file has ended.
    void Finish();

private:
    struct Known {
        std::string start;
        std::string end;
        WantedSection* wanted;  // nullptr: passed over
        std::size_t met = 0;    // sections
    };

    [[nodiscard]] Known* StartedBy(std::string_view line);
    void Open(Known& section);
    void Close();
    // What looked like an end was text.
    void TakeBack();
    void Pass(std::string_view line);

    std::size_t ordinal_;
    std::vector<Known> known_;
    Known* open_ = nullptr;           // the section that the lines belong to
    WantedSection* taker_ = nullptr;  // of its text, if that is wanted
    bool maybeEnded_ = false;         // at lastLine_, with as many empty lines behind it
    std::string lastLine_;
    std::size_t emptyLines_ = 0;
};

// Reads all lines of a file through a SectionCutter.
void ReadSections(const NextLine& next, const AicpuList& list, std::size_t ordinal,
                  WantedSections& wanted);

}  // namespace zarn
