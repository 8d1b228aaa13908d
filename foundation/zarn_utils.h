#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/command_runner.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"

// Free functions that every mission leans on. Strings are byte strings; paths are joined by plain
// concatenation, so a directory that is a prefix of a path carries its final slash. A failure is a
// false result after one line on the error stream; nothing is thrown to the caller. All are safe to
// call from several threads at once.
namespace zarn {

// ---- Shell execution
// -------------------------------------------------------------------------------

// Replaces `output` by everything `command` prints on standard output; trailing newlines stay. True
// even when the command fails; false after its line when it cannot be started.
[[nodiscard]] bool ExecuteCommand(const std::string& command, std::string& output,
                                  CommandRunner& runner = SystemCommandRunner());

// Appends one string per line of the command's output, without its newline. Lines are read in
// pieces of at most kCommandLinePiece bytes, so a longer line gives several strings.
[[nodiscard]] bool ExecuteCommandLines(const std::string& command, std::vector<std::string>& lines,
                                       CommandRunner& runner = SystemCommandRunner());
inline constexpr std::size_t kCommandLinePiece = 511;

// The cutting behind it, for missions that keep the whole output and views into it.
void CutCommandLines(std::string_view output, std::vector<std::string_view>& lines);

// The same line by line, without a list.
class CommandLineCursor {
public:
    // `output` must outlive the cursor and the lines taken from it.
    explicit CommandLineCursor(std::string_view output) : rest_(output) {}

    // Takes the next line or piece of one; false at the end.
    bool Next(std::string_view& line);

    // The same, but of a text that goes on elsewhere: false also if the last line might go on.
    bool NextWhole(std::string_view& line);

    // What has not been taken.
    [[nodiscard]] std::string_view Rest() const { return rest_; }

private:
    std::string_view rest_;
};

// The same for output that comes in pieces which end anywhere: at most the beginning of one line is
// kept between two of them.
class CommandLineSplitter {
public:
    // Calls take(line) for each line that is whole now.
    template <typename Take>
    void Feed(std::string_view output, Take take);

    // The last line, if it had no newline.
    template <typename Take>
    void Finish(Take take);

private:
    std::string begun_;  // shorter than a piece, without a newline
};

// Starts `command` on a thread, sleeps `seconds` (not watching any stop flag; 0 does not sleep),
// then interrupts `processName` with KillProcessByName and "-2" and joins the thread. If the kill
// fails the thread still runs and the ending of the function terminates the process. `tag` heads
// the lines.
[[nodiscard]] bool RunCommandThenKill(const std::string& command, std::uint32_t seconds,
                                      const std::string& tag, const std::string& processName,
                                      CommandRunner& runner = SystemCommandRunner());

// Sends the signal of `signalOption`, such as "-2", to the one process of that name. No process, or
// several, is no failure and nothing is killed.
[[nodiscard]] bool KillProcessByName(const std::string& processName, const std::string& tag,
                                     const std::string& signalOption,
                                     CommandRunner& runner = SystemCommandRunner());

// Appends (name, pid text) for each name that `pidof` knows; several pids stay in one
// blank-separated text. Unknown names are left out after a line. Always true.
bool GetProcessIds(const std::string& tag, const std::vector<std::string>& processNames,
                   std::vector<std::pair<std::string, std::string>>& processIds,
                   CommandRunner& runner = SystemCommandRunner());

// A copy without LF and CR, with a backslash before each of #&;,|*?~<>^()[]{}$`! and the backslash.
[[nodiscard]] std::string EscapeShellArgument(const std::string& input);

// ---- Time
// ------------------------------------------------------------------------------------------

// 17 digits: local time "%Y%m%d%H%M%S" and three digits of milliseconds. False, without a line, if
// local time cannot be had.
[[nodiscard]] bool GetCurrentTimeString(std::string& timeString);

// The moment of booting, 14 digits.
[[nodiscard]] bool GetBootTime(std::string& timeString,
                               CommandRunner& runner = SystemCommandRunner());

// Milliseconds since the epoch (below 2147483648000) to 17 digits of local time.
[[nodiscard]] bool TimestampToString(std::uint64_t milliseconds, std::string& timeString);

// 17 digits (or more: all from index 14 on count as milliseconds) to milliseconds since the epoch.
[[nodiscard]] bool TimeStringToTimestamp(const std::string& timeString,
                                         std::uint64_t& milliseconds);

// "MMSSmmm" to minutes * 60 + seconds; the milliseconds do not count.
[[nodiscard]] bool TimestampToSeconds(const std::string& digits, std::uint32_t& seconds);

// The time digits in a raw file's name: ".../cpu_global_1_20230101120000123.log" gives the 17
// digits.
[[nodiscard]] std::string GetFileTimestamp(const std::string& path);

// Sleeps up to `seconds`, one second at a time, ending early when the flag is set.
void SleepSeconds(std::uint32_t seconds, const StopFlag* stopFlag);

// ---- Paths and files
// -------------------------------------------------------------------------------

// realpath(3): the absolute path without links, if `path` exists. Prints nothing.
[[nodiscard]] std::optional<std::string> ResolvePath(const std::string& path);

// The rule for paths given by a user: it exists and resolves to something under /opt/usr/.
[[nodiscard]] bool CheckFilePath(const std::string& path);
[[nodiscard]] bool CheckFileReadable(const std::string& path);
[[nodiscard]] bool CheckFileWritable(const std::string& path);

// Makes the directory with all missing parents. Success at once if the path exists, whatever it is.
[[nodiscard]] bool CreateDirectory(const std::string& path);

// Everything up to and including the last "/"; "./" if there is none.
[[nodiscard]] std::string GetDirectoryOfPath(const std::string& path);

// Reads a whole file. False after its line if it cannot be opened.
[[nodiscard]] bool ReadFileToString(const std::string& path, std::string& text);

// Appends each line with blanks (not tabs) removed at both ends.
[[nodiscard]] bool ReadFileLines(const std::string& path, std::vector<std::string>& lines);

// Appends the compact text of `document` and a newline, whole or not at all.
void SaveJsonToFile(const std::string& path, const JsonValue& document);
// The same for the texts of any number of documents, each with its newline.
void SaveJsonLines(const std::string& path, const rapidjson::StringBuffer& lines);

// The regular files of `directory` (final slash), not recursive, in directory order, as directory +
// name.
[[nodiscard]] std::vector<std::string> ListFiles(const std::string& directory);

// Those whose whole name is prefix, digits, ".", suffix; prefix and suffix are parts of a regular
// expression and case does not count. A pattern that is none prints "[zarn_utils] Error occurs: "
// and why, and finds nothing.
[[nodiscard]] std::vector<std::string> FindIndexedFiles(const std::string& directory,
                                                        const std::string& prefix,
                                                        const std::string& suffix);

// True if `pattern` is found anywhere in the name of a regular file of `directory`. False after a
// line if not, or if it is no regular expression.
[[nodiscard]] bool FileExistsByRegex(const std::string& directory, const std::string& pattern,
                                     const std::string& tag);

// The texts of the whole matches of `pattern`, one per line that has one, passing over lines that
// begin with one of `skipFirstChars`, up to `maxCount` of them (-1: no limit). The file must be
// writable too. Lines beyond the regular expressions' limit count as having none; false after a
// line if the file cannot be opened or the pattern is no regular expression.
[[nodiscard]] bool GetRegexMatchesFromFile(const std::string& path, const std::string& pattern,
                                           std::vector<std::string>& matches,
                                           const std::vector<char>& skipFirstChars, int maxCount);

// Fits a thread's name for a file name: "/" to "_", "(" to "[", ")" to "]", if it has a "/" or "(".
[[nodiscard]] std::string SanitizeProcessName(const std::string& name);

// ---- Strings and numbers
// ---------------------------------------------------------------------------

// Not empty, and every byte is a digit, LF or CR.
[[nodiscard]] bool IsDigitString(std::string_view text);
// Not empty, digits and at most one ".".
[[nodiscard]] bool IsDecimalString(std::string_view text);
[[nodiscard]] bool EqualsIgnoreCase(std::string_view a, std::string_view b);

// Appends the non-empty pieces between occurrences of `delimiter`.
void SplitString(std::string_view text, std::string_view delimiter,
                 std::vector<std::string>& tokens);
// The same as views into `text`, for parsers that do not keep the pieces.
void SplitViews(std::string_view text, std::string_view delimiter,
                std::vector<std::string_view>& tokens);

// The same for one delimiter byte, piece by piece and without a list: for texts of which only the
// first pieces count.
class PieceCursor {
public:
    // `text` must outlive the cursor and the pieces taken from it.
    PieceCursor(std::string_view text, char delimiter) : rest_(text), delimiter_(delimiter) {}

    // Takes the next piece that is not empty; false at the end.
    bool Next(std::string_view& piece);

private:
    std::string_view rest_;
    char delimiter_;
};

// Appends the non-empty pieces between matches; a text beyond the regular expressions' limit stays
// whole.
void SplitByRegex(const std::string& text, const std::regex& pattern,
                  std::vector<std::string>& tokens);

// Removes blanks at both ends; only " " counts.
void TrimSpaces(std::string& text);
[[nodiscard]] std::string_view TrimSpacesView(std::string_view text);
// TrimSpaces, then every run of blanks becomes one.
void CollapseSpaces(std::string& text);
// Replaces the first occurrence, starting over from the front, until there is none, in linear time:
// `to` must not contain `from`, `from` not be empty, or it never ends.
[[nodiscard]] std::string ReplaceAll(const std::string& text, const std::string& from,
                                     const std::string& to);
// Index of the n-th occurrence, counted from 1; npos if there is none; 0 for n = 0.
[[nodiscard]] std::size_t FindNthOccurrence(const std::string& text, const std::string& pattern,
                                            std::size_t n);

// Standard conversions (stod, stoul, stoull); the output is untouched on failure. StringToUint32
// truncates the unsigned long to 32 bits.
[[nodiscard]] bool StringToDouble(const std::string& text, double& value);
// TextToDouble is StringToDouble for views: the same verdict, value and line, and no copy for plain
// decimals such as "12.5".
[[nodiscard]] bool TextToDouble(std::string_view text, double& value);
[[nodiscard]] bool StringToUint32(const std::string& text, std::uint32_t& value);
[[nodiscard]] bool StringToUint64(const std::string& text, std::uint64_t& value);

// Fixed notation with that many decimals.
[[nodiscard]] std::string FloatToString(double value, int precision);

// Appends the number in a stream's default format: six significant digits, no zeros at their end.
void AppendNumber(std::string& text, double value);

// Appends the number in fixed notation with six decimals, as std::to_string gives it.
void AppendFixed(std::string& text, double value);

// Adds a copied string member to the document's root object.
void AddJsonString(const std::string& key, const std::string& value, JsonDocument& document);

// True if the machine has more processors than `core`.
[[nodiscard]] bool CheckCoreId(std::uint32_t core, CommandRunner& runner = SystemCommandRunner());

// ---- Statistics
// ------------------------------------------------------------------------------------

// Arithmetic mean; 0 for an empty list.
void GetAverage(const std::vector<double>& values, double& average);
// All 0 for an empty list.
void GetMaxMinAverage(const std::vector<double>& values, double& maximum, double& minimum,
                      double& average);

// Inserts the indexes of local maxima above reference * ratio: the midpoint of each top that was
// risen to and is fallen from. FindTroughs is the mirror, below reference * ratio.
void FindPeaks(const std::vector<double>& values, double reference, std::set<std::size_t>& indexes,
               double ratio);
void FindTroughs(const std::vector<double>& values, double reference,
                 std::set<std::size_t>& indexes, double ratio);

// Greater value first; equal values in increasing byte order of the name.
[[nodiscard]] bool CompareByValueDescending(const std::pair<std::string, double>& a,
                                            const std::pair<std::string, double>& b);

// ---- Cost log
// --------------------------------------------------------------------------------------

// Appends the stream's text to env_info/time_cost.log below `dataPath`, under the process-wide cost
// lock. A file that cannot be opened is passed over in silence.
void RecordCostTime(const std::string& dataPath, const std::ostringstream& text);

// ---- Templates
// -----------------------------------------------------------------------------------------

template <typename Take>
void CommandLineSplitter::Feed(std::string_view output, Take take) {
    std::string_view line;
    if (!begun_.empty()) {
        const std::size_t size = begun_.size();
        begun_.append(output.substr(0, kCommandLinePiece - size));
        CommandLineCursor first(begun_);
        if (!first.NextWhole(line)) {
            return;
        }
        // What was appended behind the line is read again from `output`.
        output.remove_prefix(begun_.size() - first.Rest().size() - size);
        take(line);
        begun_.clear();
    }
    CommandLineCursor cursor(output);
    while (cursor.NextWhole(line)) {
        take(line);
    }
    begun_ = cursor.Rest();
}

template <typename Take>
void CommandLineSplitter::Finish(Take take) {
    if (!begun_.empty()) {
        take(std::string_view(begun_));
        begun_.clear();
    }
}

}  // namespace zarn
