#include <string>

#include "analyzers/aicpu/aicpu_record_reader.h"
#include "collectors/device/aicpu/aicpu_document.h"
#include "fuzz/fuzz_input.h"

namespace {

std::string Written(const zarn::AicpuRecord& record) {
    rapidjson::StringBuffer buffer;
    zarn::WriteJson(zarn::MakeAicpuRecordDocument(record, "1"), buffer);
    return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace

// The collector's record: what can be read is written and read again as it was.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::RecordResult;
    zarn::AicpuRecord record;
    if (zarn::ReadAicpuRecord(zarn::fuzz::AsText(data, size), record) != RecordResult::Ok) {
        return 0;
    }
    const std::string text = Written(record);
    zarn::AicpuRecord again;
    zarn::fuzz::Require(zarn::ReadAicpuRecord(text, again) == RecordResult::Ok,
                        "what is written can be read");
    zarn::fuzz::Require(Written(again) == text, "and is the same");
    return 0;
}
