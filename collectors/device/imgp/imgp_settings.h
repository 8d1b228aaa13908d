#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "kit/setting_key.h"

namespace zarn {

// The jobs that are no engine's.
inline constexpr const char* kImgpGlobalJob = "global";
inline constexpr const char* kImgpAppJob = "app";
inline constexpr const char* kImgpUmapJob = "umap";

// An engine of the block: the job that asks how busy it is, and the sub command that tells.
struct ImgpEngine {
    const char* job;
    std::uint32_t selector;
};
inline constexpr std::array<ImgpEngine, 3> kImgpEngines{{{"vpc", 2}, {"venc", 3}, {"vdec", 1}}};

// The section `ImgpCollector`.
struct ImgpSettings {
    std::set<std::string> jobs;
    std::uint32_t duration = 0;  // seconds, of the device's profile
    // The application to profile: its folder, a folder of libraries, its name, its arguments.
    std::string path;
    std::string library;
    std::string appName;
    std::vector<std::string> params;

    [[nodiscard]] bool Has(const char* job) const { return jobs.count(job) != 0; }
};

[[nodiscard]] const SettingKeys& ImgpCollectorKeys();

// Replaces `settings` by those of `config`, an object. False after its two lines on the error
// stream; `settings` is untouched then. A section, `global` or `app` that is no object trips the
// JSON library's assertion.
[[nodiscard]] bool ReadImgpSettings(const JsonDocument& config, ImgpSettings& settings);

}  // namespace zarn
