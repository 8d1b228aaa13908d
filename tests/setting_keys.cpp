// Prints the keys that the missions declare of their sections, a line of JSON for each class:
// {"class":...,"keys":[{"key":...,"type":...,"limits":...,"default":...,"unit":...,"meaning":...}]}.
// The pages' tables are made of it.

#include <iostream>

#include "foundation/json.h"
#include "mission/factory_tables.h"

namespace zarn {
namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void WriteMember(Writer& writer, const char* name, const std::string& text) {
    writer.Key(name);
    writer.String(text);
}

void WriteKey(Writer& writer, const SettingKey& key) {
    writer.StartObject();
    WriteMember(writer, "key", key.Path());
    WriteMember(writer, "type", key.TypeText());
    WriteMember(writer, "limits", key.LimitsText());
    WriteMember(writer, "default", key.Fallback());
    WriteMember(writer, "unit", key.UnitText());
    WriteMember(writer, "meaning", key.Meaning());
    writer.EndObject();
}

template <class Rows>
void PrintRows(const Rows& rows) {
    for (const auto& row : rows) {
        rapidjson::StringBuffer text;
        Writer writer(text);
        writer.StartObject();
        WriteMember(writer, "class", row.name);
        writer.Key("keys");
        writer.StartArray();
        for (const SettingKey& key : row.keys) {
            WriteKey(writer, key);
        }
        writer.EndArray();
        writer.EndObject();
        std::cout << text.GetString() << '\n';
    }
}

}  // namespace
}  // namespace zarn

int main() {
    const zarn::MissionClasses& missions = zarn::BuiltInMissions();
    zarn::PrintRows(missions.collectors);
    zarn::PrintRows(missions.analyzers);
    zarn::PrintRows(missions.optimizers);
    zarn::PrintRows(missions.comparators);
    return 0;
}
