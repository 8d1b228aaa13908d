#pragma once

#include <string>
#include <string_view>

namespace zarn::report {

// A file that appears under its name whole or not at all: until it is kept it is written under
// another name in the same folder, which is removed if the writing fails, if the program is
// interrupted or ended by SIGTERM or SIGHUP, and at the end. One at a time.
class OutputFile {
public:
    // A link is followed.
    explicit OutputFile(const std::string& path);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile() { Drop(); }

    // Writes the next piece. After one that could not be written nothing more is.
    void Write(std::string_view piece);

    // Gives the file its name, once all of it is on the disk. Else false, with the reason below.
    [[nodiscard]] bool Keep();

    // Why it could not be opened, written or named; empty as long as all is well.
    [[nodiscard]] const std::string& Error() const { return error_; }

private:
    void Open();
    void Fail();
    void Drop();

    std::string path_;
    std::string temporary_;
    std::string error_;
    int fd_ = -1;
};

}  // namespace zarn::report
