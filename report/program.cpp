#include "report/program.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <new>

#include "foundation/console.h"
#include "report/compose.h"
#include "report/options.h"
#include "report/output_file.h"
#include "report/page_template.h"

namespace zarn::report {
namespace {

constexpr int kFailed = 1;
constexpr int kWrongCall = 2;

constexpr const char* kVersion = ZARN_VERSION;

int Fail(const std::string& words) {
    PrintError("zarn-report: " + words);
    return kFailed;
}

[[nodiscard]] bool IsFolder(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// The last name in a path, as the user wrote it.
[[nodiscard]] std::string NameOf(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    const std::size_t slash = path.rfind('/');
    return path.size() == 1 || slash == std::string::npos ? path : path.substr(slash + 1);
}

// The names of the runs; those of the same name are told apart by their places in the call.
[[nodiscard]] std::vector<std::string> LabelsOf(const std::vector<std::string>& runs) {
    std::vector<std::string> names;
    names.reserve(runs.size());
    for (const std::string& run : runs) {
        names.push_back(NameOf(run));
    }
    std::vector<std::string> labels = names;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (std::count(names.begin(), names.end(), names[i]) > 1) {
            labels[i] += " (" + std::to_string(i + 1) + ")";
        }
    }
    return labels;
}

[[nodiscard]] std::string TimeNow() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    std::array<char, 32> text{};
    (void)::gmtime_r(&now, &utc);
    (void)std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text.data();
}

[[nodiscard]] OnProgress ProgressOnTerminal() {
    if (::isatty(STDERR_FILENO) == 0) {
        return [](const std::string& /*what*/) {};
    }
    return [](const std::string& what) { PrintError("zarn-report: reading " + what); };
}

// Writes the page with the data in the place of its mark.
void WritePage(std::string_view page, const Report& report, const Files& files,
               OutputFile& output) {
    const std::size_t mark = page.find(kPayloadMark);
    output.Write(page.substr(0, mark));
    output.Write(R"(<script type="application/json" id="zarn-report">)");
    WritePayload(report, files, [&output](std::string_view piece) { output.Write(piece); });
    output.Write("</script>");
    output.Write(page.substr(mark + kPayloadMark.size()));
}

[[nodiscard]] int MakeReport(const Options& options, std::string_view page) {
    std::vector<std::string> paths;
    for (const std::string& run : options.runs) {
        if (!IsFolder(run)) {
            return Fail(run + ": no such directory");
        }
        paths.push_back(run.back() == '/' ? run : run + "/");
    }
    // What cannot be written is better told before a long reading than behind it.
    OutputFile output(options.output);
    if (!output.Error().empty()) {
        return Fail("cannot write " + options.output + ": " + output.Error());
    }
    Files files;
    Report report = ComposeReport(paths, LabelsOf(options.runs), files, ProgressOnTerminal());
    if (files.All().empty()) {
        return Fail("nothing to show: no file of a run is there");
    }
    report.version = kVersion;
    report.made = TimeNow();
    WritePage(page, report, files, output);
    return output.Keep() ? 0 : Fail("cannot write " + options.output + ": " + output.Error());
}

}  // namespace

int RunProgram(const std::vector<std::string>& words, std::string_view page) {
    std::string error;
    const auto options = ParseOptions(words, error);
    if (!options) {
        PrintError("zarn-report: " + error);
        PrintError(kUsage);
        return kWrongCall;
    }
    if (options->action == Options::Action::Help) {
        PrintLine(kUsage);
        return 0;
    }
    if (options->action == Options::Action::Version) {
        PrintLine(std::string("zarn-report ") + kVersion);
        return 0;
    }
    try {
        return MakeReport(*options, page);
    } catch (const std::bad_alloc&) {
        return Fail("memory does not suffice");
    }
}

}  // namespace zarn::report
