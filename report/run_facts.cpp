#include "report/run_facts.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <map>
#include <utility>

#include "foundation/files.h"
#include "report/lines.h"

namespace zarn::report {
namespace {

// Nobody writes a configuration of that size.
constexpr std::uint64_t kLargestConfiguration = std::uint64_t{4} << 20;

constexpr std::array<const char*, 4> kModes = {"parallelCollectMode", "collectMode", "analyzeMode",
                                               "optimizeMode"};
constexpr const char* kCompareMode = "compareMode";

[[nodiscard]] std::string CompactText(const JsonValue& value) {
    const auto text = TextOf(&value);
    if (text && !text->empty()) {
        return std::string(*text);
    }
    rapidjson::StringBuffer buffer;
    WriteJson(value, buffer);
    return {buffer.GetString(), buffer.GetSize()};
}

// The names of the missions in the configuration, with the stage that they are named in.
[[nodiscard]] std::vector<std::pair<std::string, std::string>> NamedMissions(
    const JsonValue& root) {
    std::vector<std::pair<std::string, std::string>> named;
    const JsonValue* param = MemberOf(&root, "ManagerParam");
    const auto take = [&named](const char* stage, const JsonValue* list) {
        for (const JsonValue* name : ElementsOf(list)) {
            if (const auto text = TextOf(name)) {
                named.emplace_back(stage, ShortText(*text));
            }
        }
    };
    for (const char* mode : kModes) {
        take(mode, MemberOf(param, mode));
    }
    take(kCompareMode, MemberOf(param, {kCompareMode, "comparatorName"}));
    return named;
}

void TakeVersions(const JsonValue& root, RunFacts& facts) {
    const JsonValue* map = MemberOf(&root, {"ManagerParam", kCompareMode, "versionMap"});
    if (map == nullptr || !map->IsObject()) {
        return;
    }
    for (const auto& version : map->GetObject()) {
        if (const auto directory = TextOf(&version.value)) {
            facts.versions[ShortText(*TextOf(&version.name))] = std::string(*directory);
        }
    }
}

void AddSettings(const JsonValue& root, const Source& source, RunFacts& facts) {
    TableBlock table;
    table.head = {"Configuration", "", source};
    table.columns = {{"section", "", false}, {"key", "", false}, {"value", "", false}};
    const auto add = [&](std::string_view section, std::string_view key, const JsonValue& value) {
        AddRow(table, {TextCellOf(section, source), TextCellOf(key, source),
                       TextCellOf(CompactText(value), source)});
    };
    const auto nameOf = [](const auto& member) {
        return std::string_view(member.name.GetString(), member.name.GetStringLength());
    };
    for (const auto& section : root.GetObject()) {
        if (!section.value.IsObject()) {
            add(nameOf(section), "", section.value);
            continue;
        }
        for (const auto& setting : section.value.GetObject()) {
            add(nameOf(section), nameOf(setting), setting.value);
            if (const auto text = TextOf(&setting.value)) {
                facts.settings[std::string(nameOf(section)) + "." + std::string(nameOf(setting))] =
                    std::string(*text);
            }
        }
    }
    facts.blocks.emplace_back(std::move(table));
}

// Reads the configuration: what it names, and its settings as a block.
[[nodiscard]] std::vector<std::pair<std::string, std::string>> ReadConfiguration(Run& run,
                                                                                 Files& files,
                                                                                 RunFacts& facts) {
    const auto file = run.FindOne(std::string(run_tree::kEnvInfo) + run_tree::kConfigCopy);
    std::string text;
    JsonDocument document;
    if (!file) {
        return {};
    }
    if (files.All()[file->index].bytes > kLargestConfiguration) {
        files.Trouble(file->index, "it is too large to be read");
    } else if (ReadFile(file->path, text) != FileResult::Ok) {
        files.Trouble(file->index, "it cannot be opened");
    } else if (!ParseJson(text, document) || !document.IsObject()) {
        files.Trouble(file->index, "it is no JSON object");
    } else {
        AddSettings(document, files.At(file->index, 0), facts);
        TakeVersions(document, facts);
        return NamedMissions(document);
    }
    return {};
}

// A line of the cost log, "[<mission>] cost time: <seconds>s"; some missions write "Cost".
struct CostLine {
    std::string_view mission;
    std::string_view seconds;
};
[[nodiscard]] std::optional<CostLine> CostIn(std::string_view line) {
    constexpr std::string_view kWords = "ost time: ";
    const std::size_t words = line.find(']');
    const std::string_view said = line.substr(std::min(words, line.size()));
    const bool isCost = said.substr(0, 3) == "] c" || said.substr(0, 3) == "] C";
    if (!isCost || said.substr(3, kWords.size()) != kWords || line.front() != '[' ||
        line.back() != 's') {
        return std::nullopt;
    }
    const std::string_view rest = said.substr(3 + kWords.size());
    return CostLine{line.substr(1, words - 1), rest.substr(0, rest.size() - 1)};
}

void ReadCosts(Run& run, Files& files, RunFacts& facts) {
    const auto file = run.FindOne(run_tree::kCostLog);
    if (!file) {
        return;
    }
    ReadLines(files, *file, [&](std::string_view text, std::uint64_t line) {
        const auto cost = text.empty() ? std::nullopt : CostIn(text);
        if (!cost) {
            files.Trouble(file->index, "line " + std::to_string(line) + " tells no cost");
        } else if (facts.missions.size() < kMostRows) {
            const Source source = files.At(file->index, line);
            facts.missions.push_back(
                {"", ShortText(cost->mission), NumberCellOf(cost->seconds, source)});
        }
    });
}

// The stages of those that ended, and behind them those that did not.
void JoinMissions(const std::vector<std::pair<std::string, std::string>>& named, RunFacts& facts) {
    const std::size_t ended = facts.missions.size();
    std::vector<bool> isTaken(ended, false);
    for (const auto& [stage, name] : named) {
        std::size_t i = 0;
        while (i < ended && (isTaken[i] || facts.missions[i].name != name)) {
            ++i;
        }
        if (i < ended) {
            isTaken[i] = true;
            facts.missions[i].stage = stage;
        } else if (facts.missions.size() < 2 * kMostRows) {
            facts.missions.push_back({stage, name, EmptyCell(Reason::NotInFile)});
        }
    }
    for (const RunFacts::Mission& mission : facts.missions) {
        facts.names.insert(mission.name);
    }
}

// What the version files say, line by line: all that is in the folder beside what has its own form.
void AddVersions(Run& run, Files& files, std::vector<Block>& blocks) {
    constexpr std::size_t kMostLines = 20;
    TableBlock table;
    table.head = {"Versions", "", {}};
    table.columns = {{"file", "", false}, {"text", "", false}};
    const std::string folder = std::string(run_tree::kEnvInfo) + "/";
    for (const std::string& name : run.NamesIn(folder)) {
        if ("/" + name == run_tree::kConfigCopy || folder + name == run_tree::kCostLog) {
            continue;
        }
        const auto file = run.FindOne(folder + name);
        NumberedLines lines(file ? file->path : "");
        while (file && lines.Number() < kMostLines && lines.Next()) {
            const Source source = files.At(file->index, lines.Number());
            if (!lines.Text().empty()) {
                AddRow(table, {TextCellOf(name, source), TextCellOf(lines.Text(), source)});
            }
        }
    }
    if (!table.rows.empty()) {
        blocks.emplace_back(std::move(table));
    }
}

void ReadTimes(Run& run, Files& files, RunFacts& facts) {
    const auto file = run.FindOne(std::string(run_tree::kJsonDir) + run_tree::kCollectorTimes);
    if (!file) {
        return;
    }
    ReadDocuments(files, *file, [&](const JsonValue& document, std::uint64_t line) {
        facts.from = MomentOf(MemberOf(&document, "startCollectorTime"));
        facts.to = MomentOf(MemberOf(&document, "endCollectorTime"));
        if (!facts.from || !facts.to) {
            files.Trouble(file->index, "line " + std::to_string(line) + " tells no moments");
        }
    });
}

}  // namespace

RunFacts ReadRunFacts(Run& run, Files& files) {
    RunFacts facts;
    const auto named = ReadConfiguration(run, files, facts);
    ReadCosts(run, files, facts);
    JoinMissions(named, facts);
    AddVersions(run, files, facts.blocks);
    ReadTimes(run, files, facts);
    return facts;
}

}  // namespace zarn::report
