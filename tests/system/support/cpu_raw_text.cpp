#include "tests/system/support/cpu_raw_text.h"

#include <gtest/gtest.h>

#include <iterator>
#include <numeric>
#include <regex>
#include <sstream>

namespace zarn::test {
namespace {

std::vector<std::string> Tokens(const std::string& line) {
    std::istringstream stream(line);
    return {std::istream_iterator<std::string>(stream), {}};
}

// The first group of `pattern` in the first line of the sample that has a match.
double FindNumber(const RawCpuSample& sample, const std::string& pattern) {
    const std::regex compiled(pattern);
    std::smatch match;
    for (const std::string& line : sample.lines) {
        if (std::regex_search(line, match, compiled)) {
            return std::stod(match[1]);
        }
    }
    ADD_FAILURE() << "nothing like " << pattern << " in the sample of " << sample.time;
    return -1;
}

std::vector<double> FindNumbers(const std::vector<RawCpuSample>& samples,
                                const std::string& pattern) {
    std::vector<double> numbers;
    numbers.reserve(samples.size());
    for (const RawCpuSample& sample : samples) {
        numbers.push_back(FindNumber(sample, pattern));
    }
    return numbers;
}

}  // namespace

std::vector<RawCpuSample> CutRawLog(const std::string& text) {
    std::vector<RawCpuSample> samples;
    bool inSample = false;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (line.empty()) {
            inSample = false;
        } else if (!inSample) {
            samples.push_back({line, {}});
            inSample = true;
        } else {
            samples.back().lines.push_back(line);
        }
    }
    return samples;
}

std::vector<double> NumbersBefore(const std::vector<RawCpuSample>& samples, const std::string& head,
                                  const std::string& word) {
    return FindNumbers(samples, "^" + head + "[^a-z]*:(?:.*[ ,])?([0-9.]+) +" + word + "(?![a-z])");
}

std::vector<double> LoadAverages(const std::vector<RawCpuSample>& samples, std::size_t which) {
    return FindNumbers(samples,
                       "load average: (?:[0-9.]+, ){" + std::to_string(which) + "}([0-9.]+)");
}

std::vector<std::string> RowTokens(const std::vector<RawCpuSample>& samples,
                                   const std::string& command, std::size_t index) {
    std::vector<std::string> found;
    for (const RawCpuSample& sample : samples) {
        for (const std::string& line : sample.lines) {
            const std::vector<std::string> tokens = Tokens(line);
            if (tokens.size() > index && tokens.back() == command) {
                found.push_back(tokens[index]);
            }
        }
    }
    return found;
}

double Mean(const std::vector<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

std::vector<double> Numbers(const std::vector<std::string>& texts) {
    std::vector<double> numbers;
    numbers.reserve(texts.size());
    for (const std::string& text : texts) {
        numbers.push_back(std::stod(text));
    }
    return numbers;
}

std::string WithoutTimes(const std::string& text) {
    static const std::regex time("[0-9]{17}");
    return std::regex_replace(text, time, "<time>");
}

}  // namespace zarn::test
