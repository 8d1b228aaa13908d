#include "tests/unit/report/unpack.h"

#include <cmath>
#include <string_view>

namespace zarn::test {
namespace {

// Puts values in the places of what is packed.
class Unpacker {
public:
    explicit Unpacker(JsonDocument& data) : data_(data), allocator_(data.GetAllocator()) {}

    void Run() {
        for (JsonValue& page : data_["pages"].GetArray()) {
            for (JsonValue& block : page["blocks"].GetArray()) {
                Expand(block);
            }
        }
        for (JsonValue& page : data_["pages"].GetArray()) {
            for (JsonValue& block : page["blocks"].GetArray()) {
                FillLikeLines(block);
            }
        }
    }

private:
    [[nodiscard]] static bool IsOf(const JsonValue& block, std::string_view kind) {
        return block["kind"].GetString() == kind;
    }

    void Expand(JsonValue& block) {
        if (IsOf(block, "text")) {
            ExpandCells(block["lines"]);
        } else if (IsOf(block, "series")) {
            ExpandLines(block["series"]);
        } else if (block.HasMember("rows")) {
            for (JsonValue& row : block["rows"].GetArray()) {
                if (IsOf(block, "timeline")) {
                    ExpandSpans(row);
                } else {
                    ExpandCells(row.IsObject() ? row["cells"] : row);
                }
            }
        }
    }

    void ExpandCells(JsonValue& cells) {
        const JsonValue* place = nullptr;
        for (JsonValue& cell : cells.GetArray()) {
            if (!cell.IsObject()) {
                JsonValue full(rapidjson::kObjectType);
                full.AddMember("v", cell, allocator_);
                full.AddMember("src", Copy(*place), allocator_);
                cell = full;
            } else if (cell.HasMember("src")) {
                place = &cell["src"];
            }
        }
    }

    void ExpandLines(JsonValue& lines) {
        const JsonValue* before = nullptr;
        for (JsonValue& line : lines.GetArray()) {
            if (line.HasMember("t")) {
                ExpandMoments(line["t"]);
                if (line.HasMember("src")) {
                    ExpandSteps(line["src"]["lines"]);
                }
            } else if (!line.HasMember("like")) {
                line.AddMember("t", Copy((*before)["t"]), allocator_);
                if (before->HasMember("src")) {
                    line.AddMember("src", Copy((*before)["src"]), allocator_);
                }
            }
            before = &line;
        }
    }

    void ExpandSpans(JsonValue& row) {
        ExpandMoments(row["from"]);
        ExpandSteps(row["src"]["lines"]);
        JsonValue spans(rapidjson::kArrayType);
        for (rapidjson::SizeType i = 0; i < row["from"].Size(); ++i) {
            const double from = row["from"][i].GetDouble();
            JsonValue place(rapidjson::kArrayType);
            place.PushBack(Copy(row["src"]["file"]), allocator_);
            place.PushBack(Copy(row["src"]["lines"][i]), allocator_);
            JsonValue span(rapidjson::kObjectType);
            span.AddMember("from", from, allocator_);
            const double end = std::round(from * 1000.0) + row["us"][i].GetDouble();
            span.AddMember("to", end / 1000.0, allocator_);
            span.AddMember("src", place, allocator_);
            spans.PushBack(span, allocator_);
        }
        row.AddMember("spans", spans, allocator_);
    }

    static void ExpandMoments(JsonValue& moments) {
        double micros = 0.0;
        for (rapidjson::SizeType i = 0; i < moments.Size(); ++i) {
            const double step = moments[i].GetDouble();
            micros = i == 0 ? std::round(step * 1000.0) : micros + step;
            moments[i].SetDouble(micros / 1000.0);
        }
    }

    static void ExpandSteps(JsonValue& steps) {
        std::int64_t sum = 0;
        for (JsonValue& step : steps.GetArray()) {
            sum += step.GetInt64();
            step.SetInt64(sum);
        }
    }

    void FillLikeLines(JsonValue& block) {
        if (!IsOf(block, "series")) {
            return;
        }
        for (JsonValue& line : block["series"].GetArray()) {
            if (line.HasMember("like")) {
                const JsonValue& other = LineAt(line["like"]);
                for (const char* name : {"t", "v", "counts", "means", "src", "srcs"}) {
                    if (other.HasMember(name)) {
                        line.AddMember(JsonValue(name, allocator_), Copy(other[name]), allocator_);
                    }
                }
            }
        }
    }

    [[nodiscard]] const JsonValue& LineAt(const JsonValue& place) const {
        for (const JsonValue& page : data_["pages"].GetArray()) {
            if (page["id"] == place[0]) {
                return page["blocks"][place[1].GetUint()]["series"][place[2].GetUint()];
            }
        }
        return place;
    }

    [[nodiscard]] JsonValue Copy(const JsonValue& value) { return {value, allocator_}; }

    JsonDocument& data_;
    JsonDocument::AllocatorType& allocator_;
};

}  // namespace

void Unpack(JsonDocument& data) {
    Unpacker(data).Run();
}

}  // namespace zarn::test
