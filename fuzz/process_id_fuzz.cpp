#include <string>

#include "foundation/command_runner.h"
#include "foundation/text.h"
#include "fuzz/fuzz_input.h"
#include "kit/process_id.h"

namespace {

// Gives the bytes for any answer of `pidof`.
class AnsweringRunner final : public zarn::CommandRunner {
public:
    explicit AnsweringRunner(std::string_view answer) : answer_(answer) {}

    int Run(const std::string& /*command*/) override { return 0; }
    [[nodiscard]] bool Capture(const std::string& /*command*/, std::string& output) override {
        output += answer_;
        return true;
    }

private:
    std::string_view answer_;
};

}  // namespace

// An answer of `pidof`, from which missions make commands and names of files: what is taken for a
// pid holds digits alone, and stands at the answer's begin.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    const std::string_view answer = zarn::fuzz::AsText(data, size);
    AnsweringRunner runner(answer);
    const auto pid = zarn::FindProcessId("name", {{"", ""}, {"", ""}}, runner);
    if (pid) {
        Require(pid->find_first_not_of("0123456789") == std::string::npos, "digits alone");
        Require(answer.substr(0, pid->size()) == *pid, "the answer begins with it");
    }
    return 0;
}
