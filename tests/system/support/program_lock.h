#pragma once

namespace zarn::test {

// Held while a test has a board with programs: those of another test's board bear the same names,
// and who looks a name up finds both. One at a time on this machine, whatever process runs the
// test.
class ProgramLock {
public:
    ProgramLock();
    ProgramLock(const ProgramLock&) = delete;
    ProgramLock& operator=(const ProgramLock&) = delete;
    ~ProgramLock();

private:
    int fd_;
};

}  // namespace zarn::test
