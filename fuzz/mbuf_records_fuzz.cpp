#include <algorithm>
#include <string>
#include <vector>

#include "collectors/device/mbuf/mbuf_documents.h"
#include "collectors/device/mbuf/mbuf_groups.h"
#include "collectors/device/mbuf/mbuf_log.h"
#include "collectors/device/mbuf/mbuf_records.h"
#include "foundation/json.h"
#include "fuzz/fuzz_input.h"

// Answers of the buffer library: the first half of the input is that of a cycle's first query, all
// of it that of the second. What is new stands once in the document, with names of any bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    const std::string_view answer = zarn::fuzz::AsText(data, size);
    const auto first = zarn::ParseMbufRecords(answer.substr(0, size / 2));
    const auto second = zarn::ParseMbufRecords(answer);
    Require(second.size() == size / zarn::kMbufRecordSize, "each whole record counts");
    std::string log;
    zarn::WriteMbufLog(second, [&log](std::string_view piece) { log += piece; });
    const auto lines = std::count(log.begin(), log.end(), '\n');
    Require(lines >= static_cast<std::ptrdiff_t>(10 * second.size()), "a record has its lines");

    zarn::MbufCycle cycle;
    cycle.Add(first);
    cycle.Add(second);
    Require(cycle.NewRecords().size() <= second.size() - first.size(), "what was there is not new");
    std::vector<std::string> words;
    for (const zarn::MbufRecord& record : second) {
        Require(record.poolName.size() <= 160, "a name ends with its record");
        words.push_back(record.poolName);
    }
    const std::string groups = zarn::JoinMbufGroups(words, static_cast<int>(size % 8));
    std::vector<zarn::MbufFinding> findings;
    std::string last;
    for (const zarn::MbufRecord* record : cycle.NewRecords()) {
        Require(last < zarn::MbufKey(*record).Text(), "each stands once, in the order of the keys");
        last = zarn::MbufKey(*record).Text();
        findings.push_back({*record, record->poolName, groups, groups});
    }
    zarn::EventWriter events;
    zarn::WriteMbufDocument(findings, "20230101120000000", events);
    zarn::JsonDocument document;
    Require(zarn::ParseJson(events.Lines(), document), "the document is JSON");
    Require(document["content"].Size() == findings.size(), "each finding has its object");
    return 0;
}
