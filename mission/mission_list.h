#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace zarn {

// Owns missions in the order in which they were built and destroys them from the last to the first,
// which a vector alone does not promise.
template <class Mission>
class MissionList {
public:
    MissionList() = default;
    MissionList(const MissionList&) = delete;
    MissionList& operator=(const MissionList&) = delete;
    ~MissionList() {
        while (!missions_.empty()) {
            missions_.pop_back();
        }
    }

    void Append(std::unique_ptr<Mission> mission) { missions_.push_back(std::move(mission)); }

    [[nodiscard]] bool IsEmpty() const { return missions_.empty(); }
    [[nodiscard]] std::size_t Size() const { return missions_.size(); }
    [[nodiscard]] auto begin() const { return missions_.begin(); }
    [[nodiscard]] auto end() const { return missions_.end(); }

private:
    std::vector<std::unique_ptr<Mission>> missions_;
};

}  // namespace zarn
