#include "analyzers/aicpu/raw_sections.h"

#include <algorithm>

namespace zarn {
namespace {

bool EndsWith(std::string_view line, std::string_view end) {
    // As good as all lines are told by their last byte.
    return line.size() >= end.size() && line.back() == end.back() &&
           line.substr(line.size() - end.size()) == end;
}

}  // namespace

SectionCutter::SectionCutter(const AicpuList& list, std::size_t ordinal, WantedSections& wanted)
    : ordinal_(ordinal) {
    for (const std::string& attribute : list.attributes) {
        const auto found = std::find_if(
            wanted.begin(), wanted.end(),
            [&attribute](const WantedSection& section) { return section.attribute == attribute; });
        known_.push_back({attribute + std::string(kAicpuStart), attribute + std::string(kAicpuEnd),
                          found == wanted.end() ? nullptr : &*found});
    }
}

void SectionCutter::Take(std::string_view line) {
    if (open_ == nullptr) {
        if (Known* section = StartedBy(line)) {
            Open(*section);
        }
        return;
    }
    if (maybeEnded_) {
        if (line.empty()) {
            ++emptyLines_;
            return;
        }
        Known* next = emptyLines_ > 0 ? StartedBy(line) : nullptr;
        if (next != nullptr) {
            Close();
            Open(*next);
            return;
        }
        TakeBack();
    }
    if (EndsWith(line, open_->end)) {
        maybeEnded_ = true;
        lastLine_ = line;
        emptyLines_ = 0;
    } else {
        Pass(line);
    }
}

void SectionCutter::Finish() {
    if (maybeEnded_) {
        Close();
    }
}

SectionCutter::Known* SectionCutter::StartedBy(std::string_view line) {
    if (!EndsWith(line, kAicpuStart)) {
        return nullptr;
    }
    const auto found = std::find_if(known_.begin(), known_.end(),
                                    [line](const Known& section) { return section.start == line; });
    return found == known_.end() ? nullptr : &*found;
}

void SectionCutter::Open(Known& section) {
    open_ = &section;
    taker_ = section.met++ == ordinal_ ? section.wanted : nullptr;
}

void SectionCutter::Close() {
    maybeEnded_ = false;
    const std::string_view glued =
        std::string_view(lastLine_).substr(0, lastLine_.size() - open_->end.size());
    if (!glued.empty()) {
        Pass(glued);
    }
    if (taker_ != nullptr) {
        taker_->isWhole = true;
    }
    open_ = nullptr;
    taker_ = nullptr;
}

void SectionCutter::TakeBack() {
    maybeEnded_ = false;
    Pass(lastLine_);
    for (; emptyLines_ > 0; --emptyLines_) {
        Pass("");
    }
}

// What stands before the first pass is not text.
void SectionCutter::Pass(std::string_view line) {
    if (taker_ == nullptr) {
        return;
    }
    if (line == kAicpuPass) {
        ++taker_->passes;
        taker_->reader->BeginPass();
    } else if (taker_->passes > 0) {
        taker_->reader->Take(line);
    }
}

void ReadSections(const NextLine& next, const AicpuList& list, std::size_t ordinal,
                  WantedSections& wanted) {
    SectionCutter cutter(list, ordinal, wanted);
    for (std::string_view line; next(line);) {
        cutter.Take(line);
    }
    cutter.Finish();
}

}  // namespace zarn
