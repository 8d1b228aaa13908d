#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "report/blocks.h"
#include "report/documents.h"
#include "report/files.h"
#include "report/run.h"

// What a family of missions makes its page of.
namespace zarn::report {

// Something that an analyzer found, for the first page.
struct Finding {
    Cell what;
    Cell value;
    std::string unit;
    Cell when;
};

// What a page is made from, and what it adds to the first one.
struct FamilyContext {
    Run& run;
    Files& files;
    std::map<std::string, std::string> settings;  // as RunFacts has them
    std::vector<Finding> findings;
    std::map<std::string, Run*> versions;  // of a comparison: those that are runs of the report
    std::uint64_t leftOut = 0;             // blocks that the page had no room for

    [[nodiscard]] Source At(const RunFile& file, std::uint64_t line = 0) {
        return files.At(file.index, line);
    }
    // The text of a setting; empty if the configuration does not have it.
    [[nodiscard]] std::string SettingOf(const std::string& name) const {
        const auto found = settings.find(name);
        return found == settings.end() ? "" : found->second;
    }
};

// Limits of what a page holds, for the size of the report.
inline constexpr std::size_t kMostRows = 400;     // of a table
inline constexpr std::size_t kMostMarks = 400;    // of a chart
inline constexpr std::size_t kMostColumns = 256;  // that are read of a table
inline constexpr std::size_t kMostOfName = 200;   // bytes of a name

// Adds a row to a table, or counts it where the table is full.
void AddRow(TableBlock& table, std::vector<Cell> row);

// A number where there is one, else a text.
[[nodiscard]] Cell FigureCell(const JsonValue* value, const Source& source);

// A table of an array of objects, whose columns are the members of the first one.
[[nodiscard]] TableBlock TableOfObjects(BlockHead head, const JsonValue& objects,
                                        const Source& source);

using TakeContent =
    std::function<void(const JsonValue& content, const Source& source, std::vector<Block>& blocks)>;

// Adds the blocks that `take` makes of the last document of each file, of those whose `content` has
// the member, or with "" that have one at all: a tree that was analysed again holds the document
// again. Others are the file's trouble.
void AddLastDocuments(FamilyContext& context, const std::vector<RunFile>& files,
                      std::string_view member, const TakeContent& take, std::vector<Block>& blocks);

// What a block's title ends in where a tree holds several files of a kind: the file's name.
[[nodiscard]] std::string TitleOf(const std::string& title, const std::vector<RunFile>& files,
                                  const RunFile& file);

}  // namespace zarn::report
