#include "board/server/questions.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "board/server/board_files.h"
#include "board/server/burst_texts.h"
#include "board/server/cpu_texts.h"
#include "board/server/event_driver.h"
#include "board/server/recorder_texts.h"
#include "board/server/sched_truth.h"
#include "board/setup/scenario_parser.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbers.h"
#include "foundation/text.h"

namespace zarn::board {
namespace {

// Prints lines, the last of which ends with its newline.
int Print(std::string lines) {
    lines.pop_back();
    PrintLine(lines);
    return 0;
}

// Prints what `textOf` makes of the state, for each of the moments.
template <typename TextOf>
int PrintMoments(const Arguments& arguments, const TextOf& textOf) {
    BoardState* state = OpenState(arguments[0]);
    if (state == nullptr) {
        return 1;
    }
    std::string texts;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        std::uint64_t timeMs = 0;
        if (!IsDigitString(arguments[i]) || !StringToUint64(arguments[i], timeMs)) {
            return Fail("no time in milliseconds: " + arguments[i]);
        }
        texts += "time: " + std::to_string(timeMs) + " ms\n" + textOf(*state, timeMs);
    }
    return Print(std::move(texts));
}

// Prints what `textOf` makes of the state, for the time between two moments.
int PrintSpan(const Arguments& arguments,
              std::string (*textOf)(const BoardState& state, const SchedSpan& span)) {
    const BoardState* state = OpenState(arguments[0]);
    if (state == nullptr) {
        return 1;
    }
    SchedSpan span;
    for (const auto& [word, us] :
         {std::pair(&arguments[1], &span.fromUs), {&arguments[2], &span.toUs}}) {
        if (!IsDigitString(*word) || !StringToUint64(*word, *us)) {
            return Fail("no time in microseconds: " + *word);
        }
    }
    if (span.toUs < span.fromUs) {
        return Fail("the time ends before it begins");
    }
    return Print(textOf(*state, span));
}

}  // namespace

int PrintTable(const Arguments& arguments) {
    return PrintMoments(arguments, [](BoardState& state, std::uint64_t timeMs) {
        const BoardLock lock(state);
        return BandwidthTable(state, timeMs);
    });
}

int PrintEvents(const Arguments& arguments) {
    std::optional<EventReplay> replay;
    return PrintMoments(arguments, [&replay](BoardState& state, std::uint64_t timeMs) {
        if (!replay) {
            replay.emplace(state);
        }
        return replay->TextAt(timeMs);
    });
}

int PrintBuffers(const Arguments& arguments) {
    BoardState* state = OpenState(arguments[0]);
    if (state == nullptr) {
        return 1;
    }
    const BoardLock lock(*state);
    std::string text = BufferRecordingText(*state);
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        std::uint64_t timeUs = 0;
        if (!IsDigitString(arguments[i]) || !StringToUint64(arguments[i], timeUs)) {
            return Fail("no time in microseconds: " + arguments[i]);
        }
        text += RecordedBuffersText(*state, timeUs);
    }
    return Print(std::move(text));
}

int PrintSched(const Arguments& arguments) {
    return PrintSpan(arguments, SchedTruthText);
}

int PrintBursts(const Arguments& arguments) {
    return PrintSpan(arguments, BurstsText);
}

int PrintStatus(const Arguments& arguments) {
    BoardState* state = OpenState(arguments[0]);
    if (state == nullptr) {
        return 1;
    }
    const BoardLock lock(*state);
    std::string text = StatusText(*state);
    if (state->scenario.sched.cores > 0) {
        text += SchedStatusText(*state);
    }
    return Print(std::move(text));
}

int PrintAccount(const Arguments& arguments) {
    BoardState* state = OpenState(arguments[0]);
    if (state == nullptr) {
        return 1;
    }
    std::string text = AccountText(*state);
    return text.empty() ? 0 : Print(std::move(text));
}

int PrintTruth(const Arguments& arguments) {
    const auto state = std::make_unique<BoardState>();
    std::string scenario;
    if (ReadFile(arguments[0], scenario) != FileResult::Ok) {
        return Fail("cannot read the scenario " + arguments[0]);
    }
    if (const auto reason = ParseScenario(scenario, *state)) {
        return Fail(arguments[0] + ": " + *reason);
    }
    const std::string word = arguments[2] + (arguments.size() > 5 ? arguments[3] : "");
    const auto target = ReadTarget(*state, word);
    BoardSpan span;
    if (!target || !StringToUint64(arguments[1], state->seed) ||
        !StringToUint64(arguments[arguments.size() - 2], span.fromMs) ||
        !StringToUint64(arguments.back(), span.toMs)) {
        return kWrongCall;
    }
    std::string text = TruthText(*state, *target, span);
    return Print(std::move(text));
}

}  // namespace zarn::board
