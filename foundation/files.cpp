#include "foundation/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>

#include "foundation/console.h"
#include "foundation/text.h"

namespace zarn {
namespace {

// A file descriptor, closed at the end.
class Descriptor {
public:
    Descriptor(const std::string& path, int flags)
        : fd_(::open(path.c_str(), flags | O_CLOEXEC, 0666)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }

    [[nodiscard]] int Get() const { return fd_; }
    [[nodiscard]] bool IsOpen() const { return fd_ >= 0; }

    // False also when the closing itself reports that data was lost.
    [[nodiscard]] bool Close() {
        const int fd = fd_;
        fd_ = -1;
        return ::close(fd) == 0;
    }

private:
    int fd_;
};

// Whether `fd` is a regular file, whose status goes to `status`.
[[nodiscard]] bool IsRegular(int fd, struct stat& status) {
    return ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

// Writes the whole of `text` at the descriptor's place.
[[nodiscard]] bool WriteAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(fd, text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

[[nodiscard]] bool WriteAllAt(int fd, std::string_view text, std::size_t place) {
    return ::lseek(fd, static_cast<off_t>(place), SEEK_SET) >= 0 && WriteAll(fd, text);
}

// Makes `text` the content of a file of `oldSize` bytes. What goes beyond the old end is written
// first, for only that needs space: if there is none, the file is cut back to what it was.
[[nodiscard]] bool Replace(int fd, std::size_t oldSize, std::string_view text) {
    const std::string_view head = text.substr(0, oldSize);
    const std::string_view tail = text.substr(head.size());
    if (!tail.empty() && !WriteAllAt(fd, tail, oldSize)) {
        (void)!::ftruncate(fd, static_cast<off_t>(oldSize));
        return false;
    }
    return (head.empty() || WriteAllAt(fd, head, 0)) &&
           (text.size() >= oldSize || ::ftruncate(fd, static_cast<off_t>(text.size())) == 0);
}

// Reads to the end of the file; `sizeHint` is what fstat said, which a file of procfs gives as 0.
// The text grows by steps that stay in a cache, since growing clears what the reading then fills.
[[nodiscard]] bool ReadAll(int fd, std::size_t sizeHint, std::string& text) {
    constexpr std::size_t kStep = 65536;  // small enough for memory that is at hand
    text.reserve(sizeHint + 1);
    while (true) {
        const std::size_t used = text.size();
        const std::size_t room = text.capacity() - used;
        text.resize(used + (room == 0 ? kStep : std::min(room, kStep)));
        const ssize_t got = ::read(fd, text.data() + used, text.size() - used);
        const bool interrupted = got < 0 && errno == EINTR;
        text.resize(used + static_cast<std::size_t>(got > 0 ? got : 0));
        if (got <= 0 && !interrupted) {
            return got == 0;
        }
    }
}

// Reads until `text` holds `lineCount` newlines, and cuts it behind the last of them; or to the end
// of the file.
[[nodiscard]] bool ReadLines(int fd, std::size_t lineCount, std::string& text) {
    constexpr std::size_t kStep = 65536;
    std::size_t searched = 0;
    while (lineCount > 0) {
        const std::size_t newline = text.find('\n', searched);
        if (newline != std::string::npos) {
            searched = newline + 1;
            --lineCount;
            continue;
        }
        searched = text.size();
        text.resize(searched + kStep);
        const ssize_t got = ::read(fd, text.data() + searched, kStep);
        const bool interrupted = got < 0 && errno == EINTR;
        text.resize(searched + static_cast<std::size_t>(got > 0 ? got : 0));
        if (got <= 0 && !interrupted) {
            return got == 0;
        }
    }
    text.resize(searched);
    return true;
}

// Room for a buffer of `size` bytes that a line outgrows. How long it is nobody knows: much more is
// asked for, since copying it over and over costs, and memory that is never reached does not. Where
// so much cannot be had nothing is done.
void MakeRoomForLine(std::string& buffer, std::size_t size) {
    constexpr std::size_t kGrowth = 64;
    if (buffer.empty() || buffer.capacity() >= size) {
        return;
    }
    try {
        buffer.reserve(buffer.size() * kGrowth);
    } catch (const std::exception&) {
        return;
    }
}

// Opens the regular file `path` with `access` and has it read by read(fd, size).
template <class Read>
FileResult ReadRegularFile(const std::string& path, int access, std::string& text, Read&& read) {
    text.clear();
    const Descriptor file(path, access | O_NONBLOCK);
    struct stat status {};
    if (!file.IsOpen() || !IsRegular(file.Get(), status)) {
        return FileResult::CannotOpen;
    }
    try {
        return read(file.Get(), static_cast<std::size_t>(status.st_size)) ? FileResult::Ok
                                                                          : FileResult::Failed;
    } catch (const std::exception&) {
        std::string().swap(text);
        return FileResult::Failed;
    }
}

FileResult ReadWholeFile(const std::string& path, int access, std::string& text) {
    return ReadRegularFile(path, access, text,
                           [&text](int fd, std::size_t size) { return ReadAll(fd, size, text); });
}

}  // namespace

FileResult ReadFile(const std::string& path, std::string& text) {
    return ReadWholeFile(path, O_RDONLY, text);
}

FileResult ReadWritableFile(const std::string& path, std::string& text) {
    return ReadWholeFile(path, O_RDWR, text);
}

FileResult ReadFileHead(const std::string& path, std::size_t lineCount, std::string& text) {
    return ReadRegularFile(path, O_RDONLY, text, [&text, lineCount](int fd, std::size_t /*size*/) {
        return ReadLines(fd, lineCount, text);
    });
}

FileResult WriteFile(const std::string& path, std::string_view text) {
    Descriptor file(path, O_WRONLY | O_CREAT | O_NONBLOCK);
    struct stat before {};
    if (!file.IsOpen() || !IsRegular(file.Get(), before)) {
        return FileResult::CannotOpen;
    }
    const bool written = Replace(file.Get(), static_cast<std::size_t>(before.st_size), text);
    return file.Close() && written ? FileResult::Ok : FileResult::Failed;
}

FileResult AppendFile(const std::string& path, std::string_view text) {
    FileAppender file(path);
    file.Append(text);
    return file.Keep();
}

FileAppender::FileAppender(const std::string& path) : path_(path) {
    constexpr int kFlags = O_WRONLY | O_APPEND | O_NONBLOCK | O_CLOEXEC;
    fd_ = ::open(path.c_str(), kFlags);
    if (fd_ < 0 && errno == ENOENT) {
        fd_ = ::open(path.c_str(), kFlags | O_CREAT | O_EXCL, 0666);
        isNew_ = fd_ >= 0;
    }
    if (fd_ < 0 && errno == EEXIST) {  // another one made it meanwhile, or a link leads to nothing
        fd_ = ::open(path.c_str(), kFlags | O_CREAT, 0666);
    }
    struct stat before {};
    if (fd_ >= 0 && !IsRegular(fd_, before)) {
        ::close(fd_);
        fd_ = -1;
    }
    sizeBefore_ = before.st_size;
}

FileAppender::~FileAppender() {
    if (fd_ >= 0 && isNew_) {
        ::unlink(path_.c_str());
    }
    Drop();
}

void FileAppender::Append(std::string_view piece) {
    written_ = written_ && fd_ >= 0 && WriteAll(fd_, piece);
}

FileResult FileAppender::Keep() {
    if (fd_ < 0) {
        return FileResult::CannotOpen;
    }
    if (!written_) {
        Drop();
        return FileResult::Failed;
    }
    const int fd = fd_;
    fd_ = -1;
    return ::close(fd) == 0 ? FileResult::Ok : FileResult::Failed;
}

void FileAppender::Drop() {
    if (fd_ >= 0) {
        (void)!::ftruncate(fd_, sizeBefore_);
        ::close(fd_);
        fd_ = -1;
    }
}

FileReplacer::FileReplacer(const std::string& path) : path_(path), file_(path) {}

void FileReplacer::Add(std::string_view piece) {
    if (file_.HadText()) {
        held_ += piece;
    } else {
        file_.Append(piece);
    }
}

FileResult FileReplacer::Keep() {
    const FileResult result = file_.Keep();
    return result == FileResult::Ok && file_.HadText() ? WriteFile(path_, held_) : result;
}

bool LineCursor::Next(std::string_view& line) {
    if (rest_.empty()) {
        return false;
    }
    const std::size_t end = rest_.find('\n');
    line = rest_.substr(0, end);
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    return true;
}

LineFile::LineFile(const std::string& path, bool mustBeWritable)
    : fd_(::open(path.c_str(), (mustBeWritable ? O_RDWR : O_RDONLY) | O_NONBLOCK | O_CLOEXEC)) {
    struct stat status {};
    if (fd_ >= 0 && (::fstat(fd_, &status) != 0 || !S_ISREG(status.st_mode))) {
        ::close(fd_);
        fd_ = -1;
    }
}

LineFile::~LineFile() {
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

bool LineFile::ReadMore() {
    if (begin_ > 0) {
        buffer_.erase(0, begin_);
        end_ -= begin_;
        scanned_ -= begin_;
        begin_ = 0;
    }
    if (buffer_.size() - end_ < kStep) {
        MakeRoomForLine(buffer_, end_ + kStep);
        buffer_.resize(end_ + kStep);
    }
    ssize_t got = -1;
    do {
        got = ::read(fd_, buffer_.data() + end_, buffer_.size() - end_);
    } while (got < 0 && errno == EINTR);
    failed_ = got < 0;
    end_ += got > 0 ? static_cast<std::size_t>(got) : 0;
    return got > 0;
}

// The line's beginning; what is between it and the next newline is read into the place behind it.
std::string_view LineFile::CutLine() {
    const std::size_t begin = begin_;
    const std::size_t kept = begin + most_;
    buffer_.resize(std::max(buffer_.size(), kept + kStep));
    std::size_t newline = std::string_view::npos;
    ssize_t got = 0;
    do {
        got = ::read(fd_, buffer_.data() + kept, buffer_.size() - kept);
        end_ = kept + (got > 0 ? static_cast<std::size_t>(got) : 0);
        newline = std::string_view(buffer_).substr(0, end_).find('\n', kept);
    } while (newline == std::string_view::npos && (got > 0 || (got < 0 && errno == EINTR)));
    begin_ = newline == std::string_view::npos ? end_ : newline + 1;
    scanned_ = begin_;
    wasCut_ = true;
    return std::string_view(buffer_).substr(begin, most_);
}

bool LineFile::Next(std::string_view& line) {
    wasCut_ = false;
    while (IsOpen()) {
        const std::string_view read = std::string_view(buffer_).substr(0, end_);
        const std::size_t newline = read.find('\n', scanned_);
        if (newline != std::string_view::npos) {
            line = read.substr(begin_, newline - begin_);
            begin_ = newline + 1;
            scanned_ = begin_;
            wasCut_ = line.size() > most_;
            line = line.substr(0, most_);
            return true;
        }
        scanned_ = end_;
        if (end_ - begin_ > most_) {
            line = CutLine();
            return true;
        }
        if (!ReadMore()) {
            line = std::string_view(buffer_).substr(begin_, end_ - begin_);
            begin_ = end_;
            return !line.empty();
        }
    }
    return false;
}

bool ReadFileToString(const std::string& path, std::string& text) {
    if (ReadFile(path, text) != FileResult::Ok) {
        return PrintFailure("Could not open json file - '" + path + "'");
    }
    return true;
}

bool ReadFileLines(const std::string& path, std::vector<std::string>& lines) {
    std::string text;
    if (ReadFile(path, text) != FileResult::Ok) {
        return PrintFailure("open file failed.");
    }
    LineCursor cursor(text);
    std::string_view line;
    while (cursor.Next(line)) {
        lines.emplace_back(TrimSpacesView(line));
    }
    return true;
}

}  // namespace zarn
