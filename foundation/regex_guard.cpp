#include "foundation/regex_guard.h"

#include <pthread.h>

#include <exception>
#include <functional>

namespace zarn {
namespace {

using Work = std::function<void()>;

// Does `work`, keeping what it throws to itself. True if it threw nothing.
bool DoQuietly(const Work& work, std::string& error) noexcept {
    try {
        work();
        return true;
    } catch (const std::exception& failure) {
        error = failure.what();
        return false;
    }
}

// What a thread of its own works on.
struct Errand {
    const Work& work;
    std::string& error;
    bool done;
};

void* DoErrand(void* argument) {
    auto* errand = static_cast<Errand*>(argument);
    errand->done = DoQuietly(errand->work, errand->error);
    return nullptr;
}

// Does `work` on a thread with kRegexStack bytes of stack. False if there is none, or it threw.
bool DoOnLargeStack(const Work& work, std::string& error) {
    Errand errand{work, error, false};
    pthread_attr_t attributes;
    if (::pthread_attr_init(&attributes) != 0) {
        error = "no thread";
        return false;
    }
    pthread_t thread{};
    const bool started = ::pthread_attr_setstacksize(&attributes, kRegexStack) == 0 &&
                         ::pthread_create(&thread, &attributes, DoErrand, &errand) == 0;
    ::pthread_attr_destroy(&attributes);
    if (!started) {
        error = "no thread";
        return false;
    }
    ::pthread_join(thread, nullptr);
    return errand.done;
}

// Does `action`, whose need of stack grows with `size`, where there is enough. False if it is
// refused or fails; `error` says why.
template <typename Action>
bool DoGuarded(std::size_t size, std::string& error, Action action) {
    if (size > kMaxRegexText) {
        error = "too long";
        return false;
    }
    const Work work = std::ref(action);  // a reference, so that nothing is allocated per match
    return size > kMaxRegexTextInPlace ? DoOnLargeStack(work, error) : DoQuietly(work, error);
}

template <typename Action>
bool DoGuarded(std::size_t size, Action action) {
    std::string unused;
    return DoGuarded(size, unused, action);
}

}  // namespace

bool SearchGuarded(std::string_view text, const std::regex& pattern, ViewMatch& match) {
    bool found = false;
    const bool done = DoGuarded(
        text.size(), [&] { found = std::regex_search(text.begin(), text.end(), match, pattern); });
    return done && found;
}

bool SearchGuarded(std::string_view text, const std::regex& pattern) {
    ViewMatch match;
    return SearchGuarded(text, pattern, match);
}

bool MatchGuarded(std::string_view text, const std::regex& pattern, ViewMatch& match) {
    bool matched = false;
    const bool done = DoGuarded(
        text.size(), [&] { matched = std::regex_match(text.begin(), text.end(), match, pattern); });
    return done && matched;
}

void SplitGuarded(std::string_view text, const std::regex& pattern,
                  std::vector<std::string_view>& pieces) {
    using Pieces = std::regex_token_iterator<std::string_view::const_iterator>;
    std::vector<std::string_view> found;
    const bool done = DoGuarded(text.size(), [&] {
        for (Pieces piece(text.begin(), text.end(), pattern, -1); piece != Pieces(); ++piece) {
            found.push_back(text.substr(static_cast<std::size_t>(piece->first - text.begin()),
                                        static_cast<std::size_t>(piece->length())));
        }
    });
    if (done) {
        pieces.insert(pieces.end(), found.begin(), found.end());
    } else {
        pieces.push_back(text);
    }
}

std::optional<std::regex> CompileGuarded(const std::string& pattern, std::string& error,
                                         std::regex::flag_type flags) {
    std::optional<std::regex> compiled;
    (void)DoGuarded(pattern.size(), error, [&] { compiled.emplace(pattern, flags); });
    return compiled;
}

std::optional<std::regex> CompileWithoutBacktracking(const std::string& pattern,
                                                     std::string& error) {
    return CompileGuarded(pattern, error,
                          std::regex::ECMAScript | std::regex_constants::__polynomial);
}

void SplitByRegex(const std::string& text, const std::regex& pattern,
                  std::vector<std::string>& tokens) {
    std::vector<std::string_view> pieces;
    SplitGuarded(text, pattern, pieces);
    for (const std::string_view piece : pieces) {
        if (!piece.empty()) {
            tokens.emplace_back(piece);
        }
    }
}

}  // namespace zarn
