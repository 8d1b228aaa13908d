#include "tests/support/manager_texts.h"

namespace zarn::test {

std::string ConfigText::Text(
    const std::vector<std::pair<std::string, std::string>>& sections) const {
    std::string text = R"({"ManagerParam": {"parallelCollectMode": )" + parallel +
                       R"(, "collectMode": )" + serial + R"(, "analyzeMode": )" + analyze +
                       R"(, "optimizeMode": )" + optimize +
                       R"(, "compareMode": {"comparatorName": )" + compare + R"(, "versionMap": )" +
                       versionMap + "}" + more + "}";
    for (const auto& [name, section] : sections) {
        text.append(", \"").append(name).append("\": ").append(section);
    }
    return text + "}";
}

std::string NoToolVersionLine(const std::string& dataPath) {
    return "[ZarnManager] The qvt_tool_upgrade_display_version file " + dataPath +
           "env_info/qvt_tool_upgrade_display_version does not exist! \n";
}

std::string CreationLines(const std::string& dataPath) {
    return "[ZarnManager] Create env info directory successfully: " + dataPath +
           "env_info\n[ZarnManager] Create raw data directory successfully: " + dataPath +
           "raw_data\n[ZarnManager] Create json directory successfully: " + dataPath +
           "json\n[ZarnManager] Create csv directory successfully: " + dataPath + "csv\n";
}

std::string ListLines(const std::vector<std::vector<std::string>>& lists) {
    const std::vector<std::string> heads{"parallelCollectMode", "collectMode", "analyzeMode",
                                         "optimizeMode", "compareMode"};
    std::string text;
    for (std::size_t i = 0; i < heads.size(); ++i) {
        text += "[ZarnManager] " + heads[i] + ": ";
        for (const std::string& name : lists[i]) {
            text.append(" ").append(name).append(" ");
        }
        text += "\n";
    }
    if (lists[0].empty() && lists[1].empty()) {
        text +=
            "[ZarnManager] collectMode & parallelCollectMode empty, using historyDataPath "
            "instead!\n";
    }
    return text;
}

}  // namespace zarn::test
