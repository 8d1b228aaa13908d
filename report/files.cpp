#include "report/files.h"

#include <sys/stat.h>

#include <algorithm>

#include "report/json_out.h"
#include "report/lines.h"

namespace zarn::report {
namespace {

// Of a line, so that one long document does not take what hundreds of rows need.
constexpr std::size_t kMostOfLine = 2000;

// So many that a table of a million rows has them all; what is asked for beyond is not kept.
constexpr std::size_t kMostWanted = 200000;

}  // namespace

std::uint32_t Files::Add(std::uint32_t run, const std::string& path, const std::string& name) {
    const auto [known, isNew] =
        indexes_.try_emplace(path, static_cast<std::uint32_t>(files_.size()));
    if (isNew) {
        struct stat status {};
        const bool there = ::stat(path.c_str(), &status) == 0;
        files_.push_back(
            {run, path, name, there ? static_cast<std::uint64_t>(status.st_size) : 0, ""});
        wanted_.emplace_back();
        wantedPoints_.emplace_back();
    }
    return known->second;
}

void Files::Trouble(std::uint32_t file, const std::string& words) {
    if (files_[file].trouble.empty()) {
        files_[file].trouble = words;
    }
}

void Files::Want(std::vector<std::uint64_t>& lines, std::uint64_t line) {
    if (line != 0 && lines.size() < kMostWanted && (lines.empty() || lines.back() != line)) {
        lines.push_back(line);
    }
}

Source Files::At(std::uint32_t file, std::uint64_t line) {
    Want(wanted_[file], line);
    return {file, line};
}

void Files::WantPoint(std::uint32_t file, std::uint64_t line) {
    Want(wantedPoints_[file], line);
}

void Files::KeepLines(std::size_t bytes) {
    for (Wanted* wanted : {&wanted_, &wantedPoints_}) {
        for (std::uint32_t file = 0; file < files_.size() && bytes > 0; ++file) {
            KeepLinesOf(file, (*wanted)[file], bytes);
        }
    }
}

void Files::KeepLinesOf(std::uint32_t file, std::vector<std::uint64_t>& wanted,
                        std::size_t& bytes) {
    if (wanted.empty()) {
        return;
    }
    std::sort(wanted.begin(), wanted.end());
    wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
    NumberedLines lines(files_[file].path);
    auto next = wanted.begin();
    while (next != wanted.end() && lines.Next()) {
        if (lines.Number() != *next) {
            continue;
        }
        ++next;
        if (lines_.count({file, lines.Number()}) != 0) {
            continue;
        }
        const std::string_view text = CutUtf8(lines.Text(), kMostOfLine);
        if (text.size() > bytes) {
            bytes = 0;
            return;
        }
        bytes -= text.size();
        const bool isWhole = text.size() == lines.Text().size() && !lines.IsCut();
        lines_[{file, lines.Number()}] = std::string(text) + (isWhole ? "" : " ...");
    }
}

}  // namespace zarn::report
