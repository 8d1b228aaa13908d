#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zarn {

// The samples of one figure, in order: a moment and the value's text as it stands in the documents.
// Of the texts no more is kept than their bytes.
class MemFrames {
public:
    // `moment`: index in a list of time stamps that many figures share.
    void Add(std::uint32_t moment, std::string_view value);

    [[nodiscard]] std::size_t Size() const { return frames_.size(); }
    [[nodiscard]] std::uint32_t Moment(std::size_t index) const { return frames_[index].moment; }
    // A view that holds until the next Add.
    [[nodiscard]] std::string_view Value(std::size_t index) const;

private:
    struct Frame {
        std::size_t end;  // of its value in texts_
        std::uint32_t moment;
    };

    std::vector<Frame> frames_;
    std::string texts_;
};

// A process as the documents name it. Ordered by pid, then by command, as texts.
struct MemProcess {
    std::string pid;
    std::string command;
};

struct MemProcessOrder {
    using is_transparent = void;
    using View = std::pair<std::string_view, std::string_view>;

    static View ViewOf(const MemProcess& process) { return {process.pid, process.command}; }
    static View ViewOf(const View& process) { return process; }

    template <typename A, typename B>
    bool operator()(const A& a, const B& b) const {
        return ViewOf(a) < ViewOf(b);
    }
};

// What the documents of the system give of one figure.
struct MemSystemSamples {
    std::vector<std::string> moments;
    MemFrames frames;
};

// What those of the processes give of one figure, by process.
struct MemProcessSamples {
    std::vector<std::string> moments;
    std::map<MemProcess, MemFrames, MemProcessOrder> processes;
};

}  // namespace zarn
