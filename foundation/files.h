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
// after opening, and `text` then holds what was read; or memory that does not suffice for it, and
// `text` is empty. Needs memory of the file's size and no more. Prints nothing.
[[nodiscard]] FileResult ReadFile(const std::string& path, std::string& text);

// The same for a file that must be open for writing too: a read-only file gives CannotOpen.
[[nodiscard]] FileResult ReadWritableFile(const std::string& path, std::string& text);

// The same for the file's beginning only: what stands up to and including the `lineCount`-th
// newline, or the whole of a shorter file. A file of any size costs no more than the lines asked
// for.
[[nodiscard]] FileResult ReadFileHead(const std::string& path, std::size_t lineCount,
                                      std::string& text);

// Makes `text` the content of the regular file `path`, which is created if needed. If there is no
// space for it (a full disk) the file keeps what it held; a new one stays empty. CannotOpen also
// for anything that is no regular file, without blocking. Prints nothing.
[[nodiscard]] FileResult WriteFile(const std::string& path, std::string_view text);

// Appends `text`, whole or not at all: if it cannot be written to its end (a full disk) the file is
// cut back to its former size, so that what was saved before stays readable. Creates the file if
// needed. CannotOpen also for anything that is no regular file, without blocking. Prints nothing.
[[nodiscard]] FileResult AppendFile(const std::string& path, std::string_view text);

// AppendFile for a text that comes in pieces and need not lie in memory as a whole. Until it is
// kept it is only lent: unless Keep gives Ok, the file is cut back to its former size; and where
// nobody asked to keep it, a file that was not there is taken away again.
class FileAppender {
public:
    explicit FileAppender(const std::string& path);
    FileAppender(const FileAppender&) = delete;
    FileAppender& operator=(const FileAppender&) = delete;
    ~FileAppender();

    // Writes the next piece. After one that could not be written nothing more is.
    void Append(std::string_view piece);

    // Ends the appending: Ok if the whole text stands in the file.
    [[nodiscard]] FileResult Keep();

    // Whether the file held something already.
    [[nodiscard]] bool HadText() const { return sizeBefore_ > 0; }

private:
    void Drop();

    std::string path_;
    int fd_ = -1;
    bool isNew_ = false;  // the file was not there
    long long sizeBefore_ = 0;
    bool written_ = true;  // all pieces so far
};

// WriteFile for a text that comes in pieces. It lies in memory as a whole only where the file holds
// something, which stays until all of the text can be written; unless Keep gives Ok the file is as
// it was.
class FileReplacer {
public:
    explicit FileReplacer(const std::string& path);

    void Add(std::string_view piece);

    // Ends the writing: Ok if the file holds the text.
    [[nodiscard]] FileResult Keep();

private:
    std::string path_;
    FileAppender file_;
    std::string held_;
};

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

// Reads a whole file. False after its line if it cannot be opened.
[[nodiscard]] bool ReadFileToString(const std::string& path, std::string& text);

// Appends each line with blanks (not tabs) removed at both ends.
[[nodiscard]] bool ReadFileLines(const std::string& path, std::vector<std::string>& lines);

// Reads the lines of a file as LineCursor cuts them, through a buffer of its own that grows only
// with the longest line, for files that need not lie in memory as a whole.
class LineFile {
public:
    // Opens a regular file for reading, as ReadFile does; or as ReadWritableFile does.
    explicit LineFile(const std::string& path, bool mustBeWritable = false);
    LineFile(const LineFile&) = delete;
    LineFile& operator=(const LineFile&) = delete;
    ~LineFile();

    [[nodiscard]] bool IsOpen() const { return fd_ >= 0; }

    // Takes the next line, a view that holds until the next call; false at the end, which a read
    // error counts as.
    bool Next(std::string_view& line);

    // Whether that was a read error.
    [[nodiscard]] bool HasFailed() const { return failed_; }

    // For files that are not to be trusted: of a line that goes on behind so many bytes no more of
    // them is given, and the rest is passed over, so that the buffer does not grow with it.
    void CutLines(std::size_t most) { most_ = most; }
    // Whether the line that was taken last went on.
    [[nodiscard]] bool WasCut() const { return wasCut_; }

private:
    static constexpr std::size_t kStep = 65536;  // small enough for memory that is at hand

    [[nodiscard]] bool ReadMore();
    [[nodiscard]] std::string_view CutLine();

    int fd_;
    bool failed_ = false;
    std::size_t most_ = std::string::npos;
    bool wasCut_ = false;
    std::string buffer_;
    std::size_t begin_ = 0;    // of what has not been taken yet
    std::size_t end_ = 0;      // of what has been read
    std::size_t scanned_ = 0;  // up to here there is no newline
};

}  // namespace zarn
