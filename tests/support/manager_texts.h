#pragma once

#include <string>
#include <utility>
#include <vector>

// Texts that go into the manager and come out of it, for tests of the class and of the program.
namespace zarn::test {

// A configuration of the five lists, each written as JSON, with further members of ManagerParam.
struct ConfigText {
    std::string parallel = "[]";
    std::string serial = "[]";
    std::string analyze = "[]";
    std::string optimize = "[]";
    std::string compare = "[]";
    std::string versionMap = "{}";
    std::string more;

    // `sections`: further members of the root, name and JSON text.
    [[nodiscard]] std::string Text(
        const std::vector<std::pair<std::string, std::string>>& sections = {}) const;
};

// The lines that making the run directory prints.
[[nodiscard]] std::string CreationLines(const std::string& dataPath);

// The line about the version of the tools, which the fake runner does not write.
[[nodiscard]] std::string NoToolVersionLine(const std::string& dataPath);

// The lines on standard output of the five lists and, without collectors, of their absence.
[[nodiscard]] std::string ListLines(const std::vector<std::vector<std::string>>& lists);

}  // namespace zarn::test
