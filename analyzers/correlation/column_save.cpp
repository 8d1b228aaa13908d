#include "analyzers/correlation/column_save.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "formats/correlation.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "kit/shell_words.h"

namespace zarn {
namespace {

void RemoveFile(const std::string& path) {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
}

// Writes the table in the making.
FileResult WriteJoined(LineFile& table, const std::string& unfinished,
                       const std::vector<ColumnGroup>& groups) {
    FileAppender file(unfinished);
    JoinColumns(LinesOf(table), groups, [&file](std::string_view piece) { file.Append(piece); });
    const bool isRead = !table.HasFailed() &&
                        std::all_of(groups.begin(), groups.end(), [](const ColumnGroup& group) {
                            return group.file == nullptr || !group.file->HasFailed();
                        });
    return isRead ? file.Keep() : FileResult::Failed;
}

}  // namespace

bool SaveColumns(const std::string& path, const std::vector<ColumnGroup>& groups,
                 const SaveWords& words, const std::function<bool()>& isWhole,
                 CommandRunner& runner) {
    const std::string unfinished = path + correlation_files::kUnfinished;
    LineFile table(path);
    if (!table.IsOpen()) {
        return PrintFailure(words.cannotOpen);
    }
    RemoveFile(unfinished);
    switch (WriteJoined(table, unfinished, groups)) {
        case FileResult::CannotOpen:
            return PrintFailure(words.cannotOpen);
        case FileResult::Failed:
            RemoveFile(unfinished);
            return PrintFailure(words.failed);
        case FileResult::Ok:
            break;
    }
    if (!isWhole()) {
        RemoveFile(unfinished);
        return false;
    }
    return runner.Run("mv " + ShellWord(unfinished) + " " + ShellWord(path)) == 0 ||
           PrintFailure(words.failed);
}

}  // namespace zarn
