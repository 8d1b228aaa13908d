#include "foundation/console.h"

#include <unistd.h>

#include <cerrno>

namespace zarn {
namespace {

// Writes everything or gives up at the first error that is not an interruption.
void WriteAll(int fd, std::string_view text) noexcept {
    while (!text.empty()) {
        const ssize_t written = ::write(fd, text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            return;
        }
    }
}

void WriteLine(int fd, std::string_view line) {
    std::string text;
    text.reserve(line.size() + 1);
    text.append(line).push_back('\n');
    WriteAll(fd, text);
}

}  // namespace

void PrintLine(std::string_view line) {
    WriteLine(STDOUT_FILENO, line);
}

void PrintError(std::string_view line) {
    WriteLine(STDERR_FILENO, line);
}

bool PrintFailure(std::string_view line) {
    PrintError(line);
    return false;
}

void PrintFromSignalHandler(std::string_view constantText) noexcept {
    const int savedErrno = errno;
    WriteAll(STDOUT_FILENO, constantText);
    errno = savedErrno;
}

}  // namespace zarn
