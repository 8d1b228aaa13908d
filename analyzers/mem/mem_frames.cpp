#include "analyzers/mem/mem_frames.h"

namespace zarn {

void MemFrames::Add(std::uint32_t moment, std::string_view value) {
    texts_.append(value);
    frames_.push_back({texts_.size(), moment});
}

std::string_view MemFrames::Value(std::size_t index) const {
    const std::size_t begin = index == 0 ? 0 : frames_[index - 1].end;
    return std::string_view(texts_).substr(begin, frames_[index].end - begin);
}

}  // namespace zarn
