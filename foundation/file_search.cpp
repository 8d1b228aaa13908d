#include "foundation/file_search.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <optional>

#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/regex_guard.h"

namespace zarn {
namespace {

// The names of the regular files of a directory, links followed, in directory order. False if the
// directory cannot be opened.
bool RegularFileNames(const std::string& directory, std::vector<std::string>& names) {
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(directory.c_str()), ::closedir);
    if (stream == nullptr) {
        return false;
    }
    while (const dirent* entry = ::readdir(stream.get())) {
        const std::string name = entry->d_name;
        struct stat status {};
        if (::stat((directory + name).c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
            names.push_back(name);
        }
    }
    return true;
}

// Compiles a pattern put together from what a caller hands in; prints a line if it is none.
std::optional<std::regex> CompileOrLine(const std::string& pattern,
                                        std::regex::flag_type flags = std::regex::ECMAScript) {
    std::string error;
    std::optional<std::regex> compiled = CompileGuarded(pattern, error, flags);
    if (!compiled) {
        PrintError("[zarn_utils] Error occurs: " + error);
    }
    return compiled;
}

// Prints the line of a directory that cannot be opened; the list is empty then.
std::vector<std::string> RegularFileNamesOrLine(const std::string& directory) {
    std::vector<std::string> names;
    if (!RegularFileNames(directory, names)) {
        PrintError("Can not open " + directory);
    }
    return names;
}

bool BeginsWithOneOf(std::string_view line, const std::vector<char>& chars) {
    return !line.empty() && std::find(chars.begin(), chars.end(), line.front()) != chars.end();
}

}  // namespace

std::vector<std::string> ListFiles(const std::string& directory) {
    std::vector<std::string> paths;
    for (const std::string& name : RegularFileNamesOrLine(directory)) {
        paths.push_back(directory + name);
    }
    return paths;
}

std::vector<std::string> FindIndexedFiles(const std::string& directory, const std::string& prefix,
                                          const std::string& suffix) {
    std::vector<std::string> paths;
    const std::optional<std::regex> pattern =
        CompileOrLine(prefix + R"((\d+)\.)" + suffix, std::regex::ECMAScript | std::regex::icase);
    if (!pattern) {
        return paths;
    }
    ViewMatch match;
    for (const std::string& name : RegularFileNamesOrLine(directory)) {
        if (MatchGuarded(name, *pattern, match)) {
            paths.push_back(directory + name);
        }
    }
    return paths;
}

bool FileExistsByRegex(const std::string& directory, const std::string& pattern,
                       const std::string& tag) {
    std::vector<std::string> names;
    if (!RegularFileNames(directory, names)) {
        return PrintFailure("[" + tag + "] Can not open " + directory);
    }
    const std::optional<std::regex> compiled = CompileOrLine(pattern);
    if (!compiled) {
        return false;
    }
    const bool found = std::any_of(names.begin(), names.end(), [&compiled](const auto& name) {
        return SearchGuarded(name, *compiled);
    });
    if (!found) {
        PrintError("[" + tag + "] Target file: " + pattern +
                   " does not exist under path: " + directory + "!");
    }
    return found;
}

bool GetRegexMatchesFromFile(const std::string& path, const std::string& pattern,
                             std::vector<std::string>& matches,
                             const std::vector<char>& skipFirstChars, int maxCount) {
    matches.clear();
    std::string text;
    if (ReadWritableFile(path, text) != FileResult::Ok) {
        return PrintFailure("[zarn_utils] Cannot find input file!");
    }
    const std::optional<std::regex> compiled = CompileOrLine(pattern);
    if (!compiled) {
        return false;
    }
    LineCursor cursor(text);
    std::string_view line;
    ViewMatch match;
    while ((maxCount < 0 || matches.size() < static_cast<std::size_t>(maxCount)) &&
           cursor.Next(line)) {
        if (!BeginsWithOneOf(line, skipFirstChars) && SearchGuarded(line, *compiled, match)) {
            matches.push_back(match.str());
        }
    }
    return true;
}

bool TakeMatchingLinesOfFile(const std::string& path, const std::vector<char>& skipFirstChars,
                             std::size_t maxCount,
                             const std::function<bool(std::string_view)>& accept) {
    LineFile file(path, true);
    if (!file.IsOpen()) {
        return PrintFailure("[zarn_utils] Cannot find input file!");
    }
    std::string_view line;
    for (std::size_t count = 0; count < maxCount && file.Next(line);) {
        if (!BeginsWithOneOf(line, skipFirstChars) && accept(line)) {
            ++count;
        }
    }
    return true;
}

std::string SanitizeProcessName(const std::string& name) {
    std::string sanitized = name;
    if (name.find_first_of("/(") == std::string::npos) {
        return sanitized;
    }
    std::replace(sanitized.begin(), sanitized.end(), '/', '_');
    std::replace(sanitized.begin(), sanitized.end(), '(', '[');
    std::replace(sanitized.begin(), sanitized.end(), ')', ']');
    return sanitized;
}

}  // namespace zarn
