#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Whole-file reading and writing, and cutting of text into lines without copying it.
namespace zarn {

// How opening a file for reading, or writing one, went.
enum class FileResult { Ok, CannotOpen, Failed };

// Reads a whole regular file into `text`, replacing it. CannotOpen also for anything that is no
// regular file: a directory, a FIFO or a device, so that a read never blocks. Failed: a read error
// after opening; `text` then holds what was read. Prints nothing.
[[nodiscard]] FileResult ReadFile(const std::string& path, std::string& text);

// The same for a file that must be open for writing too: a read-only file gives CannotOpen.
[[nodiscard]] FileResult ReadWritableFile(const std::string& path, std::string& text);

// The same for the file's beginning only: what stands up to and including the `lineCount`-th
// newline, or the whole of a shorter file. A file of any size costs no more than the lines asked
// for.
[[nodiscard]] FileResult ReadFileHead(const std::string& path, std::size_t lineCount,
                                      std::string& text);

// Creates or truncates `path` and writes `text`, in one go. Prints nothing.
[[nodiscard]] FileResult WriteFile(const std::string& path, std::string_view text);

// Appends `text`, whole or not at all: if it cannot be written to its end (a full disk) the file is
// cut back to its former size, so that what was saved before stays readable. Creates the file if
// needed. Prints nothing.
[[nodiscard]] FileResult AppendFile(const std::string& path, std::string_view text);

// Walks the lines of a text as views into it, as getline does: lines end at "\n", which does not
// belong to the line; a last line without one counts; nothing follows a final newline. "\r" stays
// in the line.
class LineCursor {
public:
    // `text` must outlive the cursor and the lines taken from it.
    explicit LineCursor(std::string_view text) : rest_(text) {}

    // Takes the next line; false at the end.
    bool Next(std::string_view& line);

private:
    std::string_view rest_;
};

}  // namespace zarn
