#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "report/blocks.h"

namespace zarn::report {

// A file that something in the report comes from.
struct File {
    std::uint32_t run = 0;
    std::string path;  // where it is read
    std::string name;  // below its run
    std::uint64_t bytes = 0;
    std::string trouble;  // what is wrong with it, in words; empty if nothing is
};

// The files of a report: which there are, what is wrong with them, and the lines that are pointed
// to, whose texts the report keeps up to a budget.
class Files {
public:
    using Place = std::pair<std::uint32_t, std::uint64_t>;

    // Its index; the same for the same path.
    std::uint32_t Add(std::uint32_t run, const std::string& path, const std::string& name);

    // The first trouble with a file is the one that is told.
    void Trouble(std::uint32_t file, const std::string& words);

    // Says that something is in that line of the file.
    [[nodiscard]] Source At(std::uint32_t file, std::uint64_t line);
    // The same of one of the many points of a chart, whose lines are kept after all others.
    void WantPoint(std::uint32_t file, std::uint64_t line);

    [[nodiscard]] const std::vector<File>& All() const { return files_; }

    // Whether something is wrong with it.
    [[nodiscard]] bool IsTroubled(std::uint32_t file) const {
        return !files_[file].trouble.empty();
    }

    // Reads the texts of the lines that were asked for, file by file, as long as `bytes` last. Of a
    // long line the beginning is kept.
    void KeepLines(std::size_t bytes);

    [[nodiscard]] const std::map<Place, std::string>& Lines() const { return lines_; }

private:
    using Wanted = std::vector<std::vector<std::uint64_t>>;  // lines, of each file

    void Want(std::vector<std::uint64_t>& lines, std::uint64_t line);
    void KeepLinesOf(std::uint32_t file, std::vector<std::uint64_t>& wanted, std::size_t& bytes);

    std::vector<File> files_;
    std::map<std::string, std::uint32_t> indexes_;
    Wanted wanted_;
    Wanted wantedPoints_;
    std::map<Place, std::string> lines_;
};

}  // namespace zarn::report
