#include "collectors/device/mbuf/mbuf_documents.h"

namespace zarn {
namespace {

constexpr const char* kEventId = "222210170";
constexpr const char* kObjectId = "mbuf_timeout_info";
constexpr const char* kDomain = "GEA";

void WriteNumber(const char* name, std::uint32_t number, EventWriter& events) {
    events.Key(name);
    events.Integer(number);
}

void WriteFinding(const MbufFinding& finding, EventWriter& events) {
    const MbufRecord& record = finding.record;
    std::string id(MbufPointer(record.mbuf).Text());
    id += ' ';
    id += std::to_string(record.timeStamp);
    events.BeginObject();
    events.Text("domain", kDomain);
    events.Text("id", id);
    WriteNumber("alloc", record.allocPid, events);
    events.Text("allocName", finding.allocName);
    WriteNumber("use", record.usePid, events);
    events.Text("useName", finding.useName);
    WriteNumber("useTime", record.useTime, events);
    events.Text("group", finding.useGroups);
    events.Text("pool", record.poolName);
    WriteNumber("blockSize", record.blkSize, events);
    WriteNumber("blockNum", record.totalBlkNum, events);
    events.EndObject();
}

}  // namespace

void WriteMbufDocument(const std::vector<MbufFinding>& findings, const std::string& happenTime,
                       EventWriter& events) {
    events.BeginEventList(kEventId, happenTime, kObjectId);
    for (const MbufFinding& finding : findings) {
        WriteFinding(finding, events);
    }
    events.EndEventList();
}

}  // namespace zarn
