#include <string>
#include <vector>

#include "collectors/profiling/sys_call/call_details.h"
#include "foundation/commands.h"
#include "foundation/text.h"
#include "fuzz/fuzz_input.h"

// The calls of a trace: those of the lines whose last word is a number between two bytes, as
// cutting each into a list of words has them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    zarn::CallDetails details;
    std::vector<std::string> expected;
    zarn::CommandLineCursor lines(zarn::fuzz::AsText(data, size));
    for (std::string_view line; lines.Next(line);) {
        details.Add(line);
        std::vector<std::string> words;
        zarn::SplitString(line, " ", words);
        if (words.size() < 2 || words.back().size() < 2) {
            continue;
        }
        const std::string cost = words.back().substr(1, words.back().size() - 2);
        if (zarn::IsDecimalString(cost)) {
            expected.push_back(words.front());
            expected.push_back(cost);
        }
    }
    std::vector<std::string> found;
    details.ForEach([&found](std::string_view begin, std::string_view cost) {
        found.emplace_back(begin);
        found.emplace_back(cost);
    });
    Require(found == expected, "the calls are those of the words");
    Require(details.IsEmpty() == expected.empty(), "it knows whether there are any");
    return 0;
}
