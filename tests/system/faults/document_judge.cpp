#include "tests/system/faults/document_judge.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

namespace zarn::test {

DocumentJudge::DocumentJudge(const std::string& script) {
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return;
    }
    pid_ = ::fork();
    if (pid_ == 0) {
        ::dup2(ends[1], STDIN_FILENO);
        ::dup2(ends[1], STDOUT_FILENO);
        ::execlp("python3", "python3", script.c_str(), static_cast<char*>(nullptr));
        ::_exit(127);
    }
    ::close(ends[1]);
    socket_ = ends[0];
}

DocumentJudge::~DocumentJudge() {
    ::close(socket_);
    if (pid_ > 0) {
        ::waitpid(pid_, nullptr, 0);
    }
}

std::string DocumentJudge::Complaint(const std::string& path) {
    const std::string request = path + "\n";
    std::string answer;
    if (::send(socket_, request.data(), request.size(), MSG_NOSIGNAL) ==
        static_cast<ssize_t>(request.size())) {
        std::array<char, 256> piece{};
        ssize_t got = 1;
        while (got > 0 && (answer.empty() || answer.back() != '\n')) {
            got = ::recv(socket_, piece.data(), piece.size(), 0);
            answer.append(piece.data(), static_cast<std::size_t>(got > 0 ? got : 0));
        }
    }
    if (answer == "whole\n") {
        return "";
    }
    return answer.empty() ? "the judge of documents does not answer" : answer;
}

}  // namespace zarn::test
