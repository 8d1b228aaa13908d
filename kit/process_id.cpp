#include "kit/process_id.h"

#include "foundation/commands.h"
#include "foundation/console.h"
#include "foundation/text.h"

namespace zarn {
namespace {

std::optional<std::string> PassOver(const ProcessIdWords::Halves& line, const std::string& name) {
    PrintError(line.before + name + line.behind);
    return std::nullopt;
}

}  // namespace

std::optional<std::string> FindProcessId(const std::string& name, const ProcessIdWords& words,
                                         CommandRunner& runner) {
    std::string answer;
    if (!ExecuteCommand("pidof " + name, answer, runner)) {
        return PassOver(words.failed, name);
    }
    if (!answer.empty()) {
        answer.pop_back();  // the newline
    }
    if (!IsDigitString(answer)) {
        return PassOver(words.absent, name);
    }
    return answer.substr(0, answer.find_first_of("\r\n"));
}

}  // namespace zarn
