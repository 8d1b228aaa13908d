#pragma once

#include <csignal>
#include <functional>
#include <string>
#include <vector>

namespace zarn::board {

// Files whose text is made when somebody opens them, as a driver makes that of its attributes. The
// kernel holds an opening call until we have let go of our lease on the file; meanwhile the text
// goes in. The next file, leased again, is in its place before that, so each reader has a text made
// after it opened, and may read it as slowly as it likes. Our end takes the
// files along and frees all who wait: they find an empty one.
//
// Where the file system grants no leases, Refresh alone keeps the texts up to date.
class LeasedFiles {
public:
    using TextOf = std::function<std::string(const std::string& name)>;

    // The files `names` of a folder; `spare` is a path on the same file system, for us alone. So is
    // `signal`, by which the kernel tells of openings, SIGIO or a real-time one; it is blocked for
    // the thread, which is the one that may call the rest.
    LeasedFiles(std::string folder, std::string spare, const std::vector<std::string>& names,
                int signal = SIGIO);
    LeasedFiles(const LeasedFiles&) = delete;
    LeasedFiles& operator=(const LeasedFiles&) = delete;
    ~LeasedFiles();

    // Becomes readable when somebody opens one of the files.
    [[nodiscard]] int Wakes() const { return wakes_; }

    // Answers all who are opening a file. What then cannot be laid anew Refresh lays.
    void Answer(const TextOf& textOf);

    // Lays the files that are not there or not leased. False if a file cannot be made.
    [[nodiscard]] bool Refresh(const TextOf& textOf);

private:
    struct File {
        std::string name;
        int fd = -1;
        bool isLeased = false;
    };

    [[nodiscard]] bool IsThere(const File& file) const;
    [[nodiscard]] bool Put(File& file, const TextOf& textOf);
    void AnswerReaders(File& file, const TextOf& textOf);

    std::string folder_;
    std::string spare_;
    int signal_;
    std::vector<File> files_;
    int wakes_ = -1;
};

}  // namespace zarn::board
