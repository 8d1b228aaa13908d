#include "report/stacks.h"

#include <algorithm>
#include <optional>

#include "foundation/text.h"
#include "report/json_out.h"
#include "report/lines.h"

namespace zarn::report {
namespace {

constexpr std::size_t kMostNodes = 200000;
constexpr std::size_t kMostDepth = 120;  // as deep as the recorder goes, and some
constexpr std::uint64_t kLeastPart = 2000;

constexpr std::uint32_t kRoot = 0;

// The function in "    9d11 filter_image+0x31 (/usr/bin/frame_worker)", and the file in brackets.
struct Frame {
    std::string function;
    std::string file;
};
[[nodiscard]] std::optional<Frame> FrameIn(std::string_view line) {
    const std::size_t address = line.find_first_not_of(" \t");
    const std::size_t blank = address == std::string_view::npos ? address : line.find(' ', address);
    if (address == 0 || blank == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view rest = TrimSpacesView(line.substr(blank));
    const std::size_t bracket = rest.rfind(" (");
    std::string_view file;
    if (bracket != std::string_view::npos && rest.back() == ')') {
        file = rest.substr(bracket + 2, rest.size() - bracket - 3);
        rest = rest.substr(0, bracket);
    }
    const std::size_t offset = rest.rfind("+0x");
    const std::string_view function = rest.substr(0, offset);
    return Frame{std::string(CutUtf8(function, kMostOfName)), std::string(CutUtf8(file, 1000))};
}

// The command and the event in "frame_worker 16586 [000] 17250.156853:     500000 cycles: ".
struct Head {
    std::string command;
    std::string event;
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
    // The command may hold blanks: it ends before the last word that is a pid.
    const std::string_view words = line.substr(0, beforeCount);
    std::size_t end = words.rfind(' ');
    if (end != std::string_view::npos &&
        words.substr(0, end).find(" [") != std::string_view::npos) {
        end = words.rfind(" [");
    }
    const std::size_t beforePid =
        end == std::string_view::npos ? end : TrimSpacesView(words.substr(0, end)).rfind(' ');
    const std::string_view command =
        TrimSpacesView(words.substr(0, beforePid == std::string_view::npos ? end : beforePid));
    return Head{std::string(CutUtf8(command, kMostOfName)),
                std::string(CutUtf8(line.substr(beforeEvent + 1), kMostOfName))};
}

}  // namespace

StackCounts::StackCounts() {
    nodes_.push_back({NameIndex("all"), kRoot, 0});
}

std::uint32_t StackCounts::NameIndex(std::string_view name) {
    const auto [known, isNew] =
        nameIndexes_.try_emplace(std::string(name), static_cast<std::uint32_t>(names_.size()));
    if (isNew) {
        names_.emplace_back(name);
    }
    return known->second;
}

void StackCounts::Add(const std::vector<std::string_view>& stack) {
    std::uint32_t at = kRoot;
    ++nodes_[at].samples;
    for (std::size_t depth = 0; depth < stack.size(); ++depth) {
        const std::pair step{at, NameIndex(stack[depth])};
        auto child = children_.find(step);
        if (child == children_.end()) {
            if (depth == kMostDepth || nodes_.size() == kMostNodes) {
                isCut_ = true;
                return;
            }
            child = children_.emplace(step, static_cast<std::uint32_t>(nodes_.size())).first;
            nodes_.push_back({step.second, at, 0});
        }
        at = child->second;
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
    std::optional<Head> head;
    std::vector<Frame> frames;
    bool hasSample = false;
    const auto tell = [&] {
        if (head) {
            PerfSample sample{head->command, head->event, {}, {}};
            for (auto frame = frames.rbegin(); frame != frames.rend(); ++frame) {
                sample.functions.push_back(frame->function);
                sample.files.push_back(frame->file);
            }
            onSample(sample);
            hasSample = true;
        }
        head.reset();
        frames.clear();
    };
    ReadLines(context.files, file, [&](std::string_view line, std::uint64_t /*number*/) {
        if (line.empty()) {
            tell();
        } else if (line.front() != ' ' && line.front() != '\t') {
            tell();
            head = HeadIn(line);
        } else if (head && frames.size() < 2 * kMostDepth) {
            if (auto frame = FrameIn(line)) {
                frames.push_back(std::move(*frame));
            }
        }
    });
    tell();
    if (!hasSample) {
        context.files.Trouble(file.index, "it holds no sample");
    }
}

}  // namespace zarn::report
