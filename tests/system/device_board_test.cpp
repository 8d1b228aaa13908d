#include <gmock/gmock.h>
#include <sys/wait.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/command_runner.h"
#include "foundation/json.h"
#include "tests/support/manager_texts.h"
#include "tests/support/temp_dir.h"
#include "tests/system/support/examples.h"
#include "tests/system/support/programs.h"

// Collections from the devices of the virtual board: the AI cores and the image block.
namespace zarn::test {
namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;
using testing::Not;

// A board on which nothing moves.
constexpr const char* kSteady = R"({"masters": {"imgp_vdec": {"demand": 400},
    "imgp_vpc": {"demand": 6000}, "imgp_venc": {"demand": 3000}, "aic_dat": {"demand": 8000}},
    "ai_block": {"cores": 3, "codes": [239, 0, 238]},
    "load": {"aic": 45, "vdec": 8, "vpc": 55, "venc": 40}})";

constexpr const char* kAiCore = R"({"job": ["usage"], "count": 1, "interval": 1})";

std::string Imgp(const std::string& jobs, unsigned duration = 0) {
    return R"({"job": )" + jobs + R"(, "global": {"duration": )" + std::to_string(duration) +
           R"(}, "app": {"path": "/usr/bin", "library": "", "appName": "true", "params": []}})";
}

// The tables' rows, without the heads.
std::vector<std::vector<std::string>> Rows(const std::string& table) {
    std::istringstream lines(table);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream cells(line);
        std::vector<std::string> row;
        for (std::string cell; std::getline(cells, cell, ',');) {
            row.push_back(cell);
        }
        if (row[0].find_first_not_of("0123456789") == std::string::npos) {
            rows.push_back(row);
        }
    }
    return rows;
}

class DeviceBoard : public testing::Test {
protected:
    void SetUp() override {
        if (ProgramStart().size() > 1 || !fs::exists(ProgramPath("zarn-board"))) {
            GTEST_SKIP() << "the board needs programs of this machine's processor";
        }
    }

    // Collects on a board of this scenario; the lines of the collectors on the error stream.
    std::string Collect(const std::string& config, const std::string& scenario = kSteady,
                        const std::string& faults = R"({"faults": []})") {
        fs::remove_all(directory_.Path() + "usr");
        directory_.Write("usr/config.json", config);
        directory_.Write("scenario.json", scenario);
        directory_.Write("faults.json", faults);
        const int status = SystemCommandRunner().Run(
            "cd '" + directory_.Path() + "' && mkdir -p tmp && export TMPDIR=$PWD/tmp && " +
            BoardLauncher() +
            " --scenario $PWD/scenario.json --faults faults.json --opt-usr usr -- zarn "
            "/opt/usr/config.json >out 2>err");
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << directory_.Read("err");
        for (const auto& entry : fs::directory_iterator(directory_.Path() + "usr/mnt/zarn")) {
            tree_ = "usr/mnt/zarn/" + entry.path().filename().string() + "/";
        }
        std::istringstream lines(directory_.Read("err"));
        std::string errors;
        for (std::string line; std::getline(lines, line);) {
            errors += line.rfind("[ZarnManager]", 0) == 0 ? "" : line + "\n";
        }
        return errors;
    }

    static std::string Config(const std::string& mission, const std::string& section) {
        ConfigText config;
        config.serial = "[\"" + mission + "\"]";
        return config.Text({{mission, section}});
    }

    [[nodiscard]] std::vector<std::string> Names(const std::string& folder) const {
        std::vector<std::string> names;
        std::error_code ignored;
        for (const auto& entry :
             fs::directory_iterator(directory_.Path() + tree_ + folder, ignored)) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    [[nodiscard]] std::string OnlyText(const std::string& folder, const std::string& prefix) const {
        return directory_.Read(tree_ + folder + directory_.OnlyFile(tree_ + folder, prefix));
    }

    TempDir directory_;
    std::string tree_;
};

TEST_F(DeviceBoard, TheExampleCollectsFromAllDevices) {
    EXPECT_EQ(Collect(ExampleText("device_collect.json")), "");
    const std::vector<std::string> documents = Names("json");
    EXPECT_EQ(std::count_if(documents.begin(), documents.end(),
                            [](const std::string& name) { return name.rfind("soc_ai_", 0) == 0; }),
              2);
    EXPECT_NE(OnlyText("raw_data/aiCore/", "aiCore_usage_"), "");
    EXPECT_NE(OnlyText("json/", "soc_imgp_utilization_info_"), "");
    EXPECT_NE(OnlyText("csv/", "soc_imgp_global_profiling_"), "");
    EXPECT_NE(OnlyText("csv/", "soc_imgp_app_profiling_"), "");
    EXPECT_EQ(OnlyText("raw_data/mbuf/", "soc_mbuffer_stat_info_"), "");
    for (const char* name : {"vdec", "venc", "vpc"}) {
        EXPECT_EQ(directory_.Read(tree_ + "raw_data/imgp/umap/" + name),
                  ReadText(std::string(ZARN_SOURCE_DIR) + "/board/files/proc/umap/" + name));
    }
}

TEST_F(DeviceBoard, SlicesAndRatesAgree) {
    EXPECT_EQ(Collect(Config("ImgpCollector", Imgp(R"(["vpc","venc","vdec","global","app"])", 1))),
              "");
    JsonDocument document;
    std::string line = OnlyText("json/", "soc_imgp_utilization_info_");
    line.pop_back();
    ASSERT_TRUE(ParseJson(line, document));
    const JsonValue& rates = document["content"];
    const auto us = [&rates](const char* rate) {
        return std::to_string(rates[rate].GetInt() * 1000);
    };
    EXPECT_EQ(rates["vpcRate"].GetInt(), 55);
    for (const char* table : {"soc_imgp_global_profiling_", "soc_imgp_app_profiling_"}) {
        const auto rows = Rows(OnlyText("csv/", table));
        ASSERT_GE(rows.size(), 3U) << table;
        ASSERT_EQ(rows.size() % 3, 0U) << table;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const bool isData = i < rows.size() / 3 * 2;
            const std::string busy = us(!isData             ? "vpcRate"
                                        : rows[i][0] == "0" ? "vdecRate"
                                                            : "vencRate");
            ASSERT_EQ(rows[i].size(), isData ? 10U : 7U);
            for (std::size_t cell = isData ? 7 : 4; cell < rows[i].size(); ++cell) {
                EXPECT_EQ(rows[i][cell], busy) << table << i;
            }
            if (!isData) {
                EXPECT_EQ(rows[i][3], "55");
            }
        }
    }
}

TEST_F(DeviceBoard, CoresWithoutAFigureHaveTheirWords) {
    EXPECT_EQ(Collect(Config("AiCoreCollector", kAiCore)), "");
    EXPECT_THAT(OnlyText("raw_data/aiCore/", "aiCore_usage_"),
                testing::MatchesRegex("@zarn-new:\nDevice id: 0\tCore num: 3\n"
                                      "Aicore 0 usage: NAN%\nAicore 1 usage: [0-9]+%\n"
                                      "Aicore 2 usage: NULL%\nAicore average usage: [0-9]+%\n"));
}

// A rule of the fault plan, and what the collectors say of it.
struct FaultRow {
    const char* rule;
    const char* lines;
};

TEST_F(DeviceBoard, EachCallAboutTheAiCoresFailsInTurn) {
    const std::string failed = "[AiCoreCollector] Failed to process aicore info!\n";
    const FaultRow rows[] = {
        {R"("call": "*", "times": 1, "code": 9)",
         "[AiCoreCollector] Get device count failed, code: 9\n"},
        {R"("call": "*", "skip": 1, "times": 1, "code": -9)",
         "[AiCoreCollector] Get device list failed, code: -9\n"},
        {R"("call": "*", "skip": 2, "times": 1, "code": 9)",
         "[AiCoreCollector] Get aicore usage rate failed, code: 9\n"},
    };
    for (const FaultRow& row : rows) {
        EXPECT_EQ(Collect(Config("AiCoreCollector", kAiCore), kSteady,
                          std::string(R"({"faults": [{)") + row.rule + "}]}"),
                  row.lines + failed);
        EXPECT_THAT(Names("raw_data/aiCore"), IsEmpty());
    }
}

TEST_F(DeviceBoard, ASizeBeyondTheBufferCountsAs32Cores) {
    EXPECT_EQ(Collect(Config("AiCoreCollector", kAiCore), kSteady,
                      R"({"faults": [{"call": "tovi_get_device_info", "size": 2147483647}]})"),
              "");
    EXPECT_THAT(OnlyText("raw_data/aiCore/", "aiCore_usage_"),
                testing::HasSubstr("Core num: 32\n"));
}

TEST_F(DeviceBoard, EachCallAboutTheImageBlockFailsInTurn) {
    const FaultRow rows[] = {
        {R"("call": "*", "times": 1, "code": 9)",
         "[ImgpCollector] Failed to get device count, error code:9\n"
         "[ImgpCollector] Failed to get device info.\n"},
        {R"("call": "*", "skip": 1, "times": 1, "code": -9)",
         "[ImgpCollector] Failed to get device list, error code:-9\n"
         "[ImgpCollector] Failed to get device info.\n"},
        {R"("call": "*", "skip": 2, "times": 1, "code": 9)",
         "[ImgpCollector] Failed to get utilizaton ratio for vpc!\n"},
        {R"("call": "tovi_get_device_info", "skip": 1, "times": 1, "size": 5)",
         "[ImgpCollector] Failed to get utilizaton ratio for venc!\n"},
        {R"("call": "tovi_get_device_info", "skip": 2, "times": 1, "size": 2147483647)",
         "[ImgpCollector] Failed to get utilizaton ratio for vdec!\n"},
    };
    for (const FaultRow& row : rows) {
        EXPECT_EQ(Collect(Config("ImgpCollector", Imgp(R"(["vpc","venc","vdec","umap"])")), kSteady,
                          std::string(R"({"faults": [{)") + row.rule + "}]}"),
                  row.lines);
        EXPECT_THAT(Names("raw_data/imgp/umap"), Not(IsEmpty())) << row.rule;
        EXPECT_EQ(Names("json").size(),
                  std::string(row.lines).find("device") == std::string::npos ? 2U : 1U)
            << row.rule;
    }
}

TEST_F(DeviceBoard, NoDevicesAndTooManyAreTold) {
    const std::string none = R"({"devices": []})";
    const std::string many =
        R"({"devices": [0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16]})";
    EXPECT_EQ(Collect(Config("AiCoreCollector", kAiCore), none),
              "[AiCoreCollector] Find device id in list failed.\n"
              "[AiCoreCollector] Get device info failed.\n"
              "[AiCoreCollector] Failed to process aicore info!\n");
    EXPECT_EQ(Collect(Config("AiCoreCollector", kAiCore), many),
              "[AiCoreCollector] Get device count failed, code: 0\n"
              "[AiCoreCollector] Failed to process aicore info!\n");
    EXPECT_EQ(Collect(Config("ImgpCollector", Imgp(R"(["vpc"])")), none),
              "[ImgpCollector] Failed to find device!\n"
              "[ImgpCollector] Failed to get device info.\n");
    EXPECT_EQ(Collect(Config("ImgpCollector", Imgp(R"(["vpc"])")), many),
              "[ImgpCollector] Failed to get device count, error code:0\n"
              "[ImgpCollector] Failed to get device info.\n");
}

}  // namespace
}  // namespace zarn::test
