#include "report/stacks.h"

#include <algorithm>
#include <optional>

#include "foundation/text.h"
#include "report/json_out.h"
#include "report/lines.h"

namespace zarn::report {
namespace {

constexpr std::size_t kMostNodes = 100000;
constexpr std::size_t kMostDepth = 120;  // as deep as the recorder goes, and some
constexpr std::size_t kMostOfFile = 1000;
constexpr std::uint64_t kLeastPart = 2000;

constexpr std::uint32_t kRoot = 0;

// The function in "    9d11 filter_image+0x31 (/usr/bin/frame_worker)", and the file in brackets.
struct Frame {
    std::string_view function;
    std::string_view file;
};
[[nodiscard]] std::optional<Frame> FrameIn(std::string_view line) {
    const std::size_t address = line.find_first_not_of(" \t");
    const std::size_t blank = address == std::string_view::npos ? address : line.find(' ', address);
    if (blank == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view rest = TrimSpacesView(line.substr(blank));
    const std::size_t bracket = rest.rfind(" (");
    std::string_view file;
    if (bracket != std::string_view::npos && rest.back() == ')') {
        file = rest.substr(bracket + 2, rest.size() - bracket - 3);
        rest = rest.substr(0, bracket);
    }
    return Frame{CutUtf8(rest.substr(0, rest.rfind("+0x")), kMostOfName),
                 CutUtf8(file, kMostOfFile)};
}

// The command and the event in "frame_worker 16586 [000] 17250.156853:     500000 cycles: ".
struct Head {
    std::string_view command;
    std::string_view event;
};
[[nodiscard]] std::optional<Head> HeadIn(std::string_view line) {
    line = TrimSpacesView(line);
    if (line.empty() || line.back() != ':') {
        return std::nullopt;
    }
    line.remove_suffix(1);
    const std::size_t beforeEvent = line.rfind(' ');
    const std::size_t beforeCount = line.rfind(": ");
    if (beforeEvent == std::string_view::npos || beforeCount == std::string_view::npos) {
        return std::nullopt;
    }
    // The command may hold blanks: behind it stand the pid, the core where it is told, and the
    // time.
    const std::string_view words = line.substr(0, beforeCount);
    const std::size_t core = words.rfind(" [");
    const std::string_view start =
        TrimSpacesView(words.substr(0, core == std::string_view::npos ? words.rfind(' ') : core));
    return Head{CutUtf8(TrimSpacesView(start.substr(0, start.rfind(' '))), kMostOfName),
                CutUtf8(line.substr(beforeEvent + 1), kMostOfName)};
}

// A sample in the making. Its texts are copied one behind the other, since a line does not outlive
// the next one, into memory that serves all samples.
class SampleText {
public:
    void Begin(const Head& head) {
        text_.clear();
        places_.clear();
        Add(head.command);
        Add(head.event);
    }
    void Add(const Frame& frame) {
        if (places_.size() < 4 * kMostDepth) {
            Add(frame.function);
            Add(frame.file);
        }
    }
    void End() { places_.clear(); }
    [[nodiscard]] bool IsOpen() const { return !places_.empty(); }

    // The sample, whose views hold until the next one begins.
    [[nodiscard]] const PerfSample& Get() {
        sample_.command = At(0);
        sample_.event = At(1);
        sample_.functions.clear();
        sample_.files.clear();
        for (std::size_t i = places_.size(); i > 2; i -= 2) {
            sample_.functions.push_back(At(i - 2));
            sample_.files.push_back(At(i - 1));
        }
        return sample_;
    }

private:
    void Add(std::string_view text) {
        places_.emplace_back(text_.size(), text.size());
        text_ += text;
    }
    [[nodiscard]] std::string_view At(std::size_t place) const {
        return std::string_view(text_).substr(places_[place].first, places_[place].second);
    }

    std::string text_;
    std::vector<std::pair<std::size_t, std::size_t>> places_;
    PerfSample sample_;
};

}  // namespace

StackCounts::StackCounts() {
    nodes_.push_back({NameIndex("all"), kRoot, 0});
}

std::uint32_t StackCounts::NameIndex(std::string_view name) {
    const auto known = nameIndexes_.find(name);
    if (known != nameIndexes_.end()) {
        return known->second;
    }
    const auto index = static_cast<std::uint32_t>(names_.size());
    nameIndexes_.emplace(names_.emplace_back(name), index);
    return index;
}

std::optional<std::uint32_t> StackCounts::ChildOf(std::uint32_t node, std::string_view name) {
    if (nodes_.size() == kMostNodes) {
        const auto known = nameIndexes_.find(name);
        const auto child = known == nameIndexes_.end() ? children_.end()
                                                       : children_.find(KeyOf(node, known->second));
        return child == children_.end() ? std::nullopt : std::optional(child->second);
    }
    const std::uint32_t index = NameIndex(name);
    const auto [child, isNew] =
        children_.try_emplace(KeyOf(node, index), static_cast<std::uint32_t>(nodes_.size()));
    if (isNew) {
        nodes_.push_back({index, node, 0});
    }
    return child->second;
}

void StackCounts::Add(const std::vector<std::string_view>& stack) {
    std::uint32_t at = kRoot;
    ++nodes_[at].samples;
    for (std::size_t depth = 0; depth < stack.size(); ++depth) {
        const auto child = depth < kMostDepth ? ChildOf(at, stack[depth]) : std::nullopt;
        if (!child) {
            isCut_ = true;
            return;
        }
        at = *child;
        ++nodes_[at].samples;
    }
}

FlameNode StackCounts::Tree(bool& left) const {
    const std::uint64_t least = Samples() / kLeastPart;
    left = isCut_;
    // Children come behind their parents, so that from the back on each node is complete when it
    // is handed to its parent.
    std::vector<FlameNode> made(nodes_.size());
    for (std::size_t i = nodes_.size(); i-- > 0;) {
        const Node& node = nodes_[i];
        FlameNode& flame = made[i];
        flame.name = names_[node.name];
        flame.value = static_cast<double>(node.samples);
        std::reverse(flame.children.begin(), flame.children.end());
        if (i == kRoot) {
            break;
        }
        if (node.samples < least) {
            left = true;
        } else {
            made[node.parent].children.push_back(std::move(flame));
        }
    }
    return std::move(made[kRoot]);
}

FlameBlock FlameOf(const StackCounts& counts, std::string title, Source source) {
    FlameBlock block;
    bool left = false;
    block.root = counts.Tree(left);
    block.unit = "samples";
    block.head = {std::move(title),
                  left ? "Left out: what has fewer than one sample in 2000, and what lies deeper "
                         "than 120 calls."
                       : "",
                  source};
    return block;
}

void ReadPerfScript(FamilyContext& context, const RunFile& file,
                    const std::function<void(const PerfSample&)>& onSample) {
    SampleText sample;
    bool hasSample = false;
    const auto tell = [&] {
        if (sample.IsOpen()) {
            onSample(sample.Get());
            sample.End();
            hasSample = true;
        }
    };
    ReadLines(context.files, file, [&](std::string_view line, std::uint64_t /*number*/) {
        if (line.empty()) {
            tell();
        } else if (line.front() != ' ' && line.front() != '\t') {
            tell();
            if (const auto head = HeadIn(line)) {
                sample.Begin(*head);
            }
        } else if (sample.IsOpen()) {
            if (const auto frame = FrameIn(line)) {
                sample.Add(*frame);
            }
        }
    });
    tell();
    if (!hasSample) {
        context.files.Trouble(file.index, "it holds no sample");
    }
}

}  // namespace zarn::report
