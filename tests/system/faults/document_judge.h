#pragma once

#include <sys/types.h>

#include <string>

namespace zarn::test {

// The script that judges files of documents, as a process that is asked again and again.
class DocumentJudge {
public:
    explicit DocumentJudge(const std::string& script);
    DocumentJudge(const DocumentJudge&) = delete;
    DocumentJudge& operator=(const DocumentJudge&) = delete;
    ~DocumentJudge();

    // What is wrong with the file at `path`; empty if nothing is. A judge that cannot be asked
    // finds fault with everything.
    [[nodiscard]] std::string Complaint(const std::string& path);

private:
    int socket_ = -1;
    pid_t pid_ = -1;
};

}  // namespace zarn::test
