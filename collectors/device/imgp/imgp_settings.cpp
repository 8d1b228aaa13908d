#include "collectors/device/imgp/imgp_settings.h"

#include "foundation/console.h"

namespace zarn {
namespace {

constexpr const char* kSection = "ImgpCollector";

const std::vector<std::string>& KnownJobs() {
    static const std::vector<std::string> jobs = [] {
        std::vector<std::string> names{kImgpGlobalJob, kImgpAppJob, kImgpUmapJob};
        for (const ImgpEngine& engine : kImgpEngines) {
            names.emplace_back(engine.job);
        }
        return names;
    }();
    return jobs;
}

// The member `key` of `object` if it has that type; otherwise nullptr after `words`.
const JsonValue* FindTyped(const JsonValue& object, KeyRule key, const char* words) {
    const JsonValue* value = FindMember(object, key.key);
    if (value == nullptr || !HasType(*value, key.type)) {
        PrintError(words);
        return nullptr;
    }
    return value;
}

const JsonValue* FindObject(const JsonValue& object, const char* key, const char* words) {
    const JsonValue* value = FindMember(object, key);
    if (value == nullptr) {
        PrintError(words);
    }
    return value;
}

bool ReadText(const JsonValue& object, const char* key, const char* words, std::string& text) {
    const JsonValue* value = FindTyped(object, {key, JsonType::String}, words);
    if (value == nullptr) {
        return false;
    }
    text = TextOf(*value);
    return true;
}

bool ReadJobsOf(const JsonDocument& config, ImgpSettings& settings) {
    const JsonValue* section =
        FindObject(config, kSection, "[ImgpCollector] Failed to find ImgpCollector!");
    const JsonValue* list =
        section == nullptr
            ? nullptr
            : FindTyped(*section, {"job", JsonType::Array},
                        "[ImgpCollector] Failed to find job parameter or parameter's type is not "
                        "array!");
    if (list == nullptr) {
        return false;
    }
    constexpr JobWords kWords = {
        nullptr, "[ImgpCollector] Illegal job type! Should be string type!",
        "[ImgpCollector] Illegal job! Should be choosen from [global, app, umap, vpc, venc, vdec]!",
        nullptr};
    return ReadJobs(*list, KnownJobs(), kWords, settings.jobs);
}

bool ReadGlobal(const JsonValue& section, ImgpSettings& settings) {
    const JsonValue* global =
        FindObject(section, "global", "[ImgpCollector] Failed to find global parameter");
    const JsonValue* duration =
        global == nullptr
            ? nullptr
            : FindTyped(*global, {"duration", JsonType::Unsigned},
                        "[ImgpCollector] Failed to find duration parameter or parameter's type is "
                        "not uint!");
    if (duration == nullptr) {
        return false;
    }
    settings.duration = duration->GetUint();
    return true;
}

bool ReadApp(const JsonValue& section, ImgpSettings& settings) {
    const JsonValue* app =
        FindObject(section, "app", "[ImgpCollector] Failed to find app parameter");
    if (app == nullptr ||
        !ReadText(*app, "path",
                  "[ImgpCollector] Failed to find path parameter or parameter's type is not "
                  "string!",
                  settings.path) ||
        !ReadText(*app, "library",
                  "[ImgpCollector] Failed to find library parameter or parameter's type is not "
                  "string!",
                  settings.library) ||
        !ReadText(*app, "appName",
                  "[ImgpCollector] Failed to find appName parameter or parameter's type is not "
                  "string!",
                  settings.appName)) {
        return false;
    }
    const JsonValue* params = FindTyped(
        *app, {"params", JsonType::Array},
        "[ImgpCollector] Failed to find params parameter or parameter's type is not array!");
    return params != nullptr &&
           ReadStrings(*params, "[ImgpCollector] Illegal params type! Should be string type!",
                       settings.params);
}

}  // namespace

const SettingKeys& ImgpCollectorKeys() {
    using Outside = SettingKey::Outside;
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .Words(KnownJobs(), Outside::Refused)
            .Means("what to collect: a profile of the device, a profile while an application "
                   "runs, the kernel's statistics, how busy the pre-processing core, the encoder "
                   "and the decoder are"),
        SettingKey::Required("global.duration", JsonType::Unsigned)
            .Unit("s")
            .Means("for \"global\": how long to trace"),
        SettingKey::Required("app.path", JsonType::String)
            .Means("for \"app\": the application's folder, in which it is started"),
        SettingKey::Required("app.library", JsonType::String)
            .Means("for \"app\": a folder to look for its libraries in first"),
        SettingKey::Required("app.appName", JsonType::String)
            .Means("for \"app\": its file in `app.path`"),
        SettingKey::Required("app.params", JsonType::Array)
            .Of(JsonType::String)
            .Means("for \"app\": its arguments; characters special to the shell are escaped, "
                   "blanks are not"),
    };
    return keys;
}

bool ReadImgpSettings(const JsonDocument& config, ImgpSettings& settings) {
    ImgpSettings read;
    if (!ReadJobsOf(config, read)) {
        return PrintFailure("[ImgpCollector] Failed to parse job params!");
    }
    const JsonValue& section = config[kSection];
    if (!ReadGlobal(section, read)) {
        return PrintFailure("[ImgpCollector] Failed to parse global params!");
    }
    if (!ReadApp(section, read)) {
        return PrintFailure("[ImgpCollector] Failed to parse app params!");
    }
    settings = std::move(read);
    return true;
}

}  // namespace zarn
