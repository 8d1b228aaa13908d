#include "board/server/leased_files.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <utility>

namespace zarn::board {
namespace {

// Puts a text into a file, in the place of what is in it. On a full disk the rest is missing.
void Fill(int fd, const std::string& text) {
    std::size_t done = ::ftruncate(fd, 0) == 0 ? 0 : text.size();
    while (done < text.size()) {
        const ssize_t written =
            ::pwrite(fd, text.data() + done, text.size() - done, static_cast<off_t>(done));
        if (written <= 0) {
            return;
        }
        done += static_cast<std::size_t>(written);
    }
}

// Whether somebody waits for the lease to end, if there is one.
bool IsBeingOpened(int fd) {
    return ::fcntl(fd, F_GETLEASE) != F_WRLCK;
}

}  // namespace

LeasedFiles::LeasedFiles(std::string folder, std::string spare,
                         const std::vector<std::string>& names, int signal)
    : folder_(std::move(folder)), spare_(std::move(spare)), signal_(signal) {
    sigset_t openings;
    ::sigemptyset(&openings);
    ::sigaddset(&openings, signal_);
    ::pthread_sigmask(SIG_BLOCK, &openings, nullptr);
    wakes_ = ::signalfd(-1, &openings, SFD_NONBLOCK | SFD_CLOEXEC);
    for (const std::string& name : names) {
        files_.push_back({name, -1, false});
    }
}

LeasedFiles::~LeasedFiles() {
    for (const File& file : files_) {
        if (file.fd >= 0) {
            ::unlink((folder_ + "/" + file.name).c_str());
            ::close(file.fd);
        }
    }
    ::close(wakes_);
}

void LeasedFiles::Answer(const TextOf& textOf) {
    signalfd_siginfo opening{};
    while (::read(wakes_, &opening, sizeof(opening)) > 0) {
        // One signal may stand for several openings, so every file is looked at.
    }
    for (File& file : files_) {
        if (file.isLeased && IsBeingOpened(file.fd)) {
            AnswerReaders(file, textOf);
        }
    }
}

bool LeasedFiles::Refresh(const TextOf& textOf) {
    Answer(textOf);
    bool good = true;
    for (File& file : files_) {
        if (!file.isLeased || !IsThere(file)) {
            const int old = file.fd;
            good = Put(file, textOf) && good;
            if (old >= 0) {
                ::close(old);
            }
        }
    }
    return good;
}

bool LeasedFiles::IsThere(const File& file) const {
    struct stat status {};
    return ::stat((folder_ + "/" + file.name).c_str(), &status) == 0;
}

bool LeasedFiles::Put(File& file, const TextOf& textOf) {
    ::unlink(spare_.c_str());
    file.fd = ::open(spare_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0444);
    if (file.fd < 0) {
        file.isLeased = false;
        return false;
    }
    file.isLeased =
        ::fcntl(file.fd, F_SETSIG, signal_) == 0 && ::fcntl(file.fd, F_SETLEASE, F_WRLCK) == 0;
    if (!file.isLeased) {
        Fill(file.fd, textOf(file.name));
    }
    return std::rename(spare_.c_str(), (folder_ + "/" + file.name).c_str()) == 0;
}

// Whoever opens the file from now on meets the next one; what decides the text is looked at only
// after that.
void LeasedFiles::AnswerReaders(File& file, const TextOf& textOf) {
    const int opened = file.fd;
    if (!Put(file, textOf)) {
        file.isLeased = false;
    }
    Fill(opened, textOf(file.name));
    ::close(opened);
}

}  // namespace zarn::board
