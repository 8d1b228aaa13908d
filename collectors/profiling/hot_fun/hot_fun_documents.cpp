#include "collectors/profiling/hot_fun/hot_fun_documents.h"

#include <cmath>

#include "formats/hot_fun.h"
#include "foundation/numbers.h"

namespace zarn {
namespace {

constexpr int kDecimals = 2;

void WriteRows(const ReportRows& rows, EventWriter& events) {
    events.BeginArray();
    rows.ForEach([&events](const ReportRow& row) {
        events.BeginObject();
        events.Text("percentage", row.percentage);
        events.Text("command", row.command);
        events.Text("shared_object", row.sharedObject);
        events.Text("symbol", row.symbol);
        events.EndObject();
    });
    events.EndArray();
}

// Of what is not a number the sign depends on the processor.
std::string PercentText(double percent) {
    return (std::isnan(percent) ? "nan" : FloatToString(percent, kDecimals)) + "%";
}

}  // namespace

void WriteRowsDocument(const ReportRows& rows, const std::string& objectId,
                       const std::string& happenTime, EventWriter& events) {
    events.BeginEvent(kHotFunEventId, happenTime, objectId);
    WriteRows(rows, events);
    events.End();
}

void WriteProcessDocument(const std::map<std::string, ReportRows>& rows,
                          const std::string& objectId, const std::string& happenTime,
                          EventWriter& events) {
    events.BeginEvent(kHotFunEventId, happenTime, objectId);
    events.BeginObject();
    for (const auto& [process, processRows] : rows) {
        events.Key(process);
        WriteRows(processRows, events);
    }
    events.EndObject();
    events.End();
}

void WriteFunctionSetDocument(const std::map<std::string, FunctionShares>& sets,
                              const std::string& objectId, const std::string& happenTime,
                              EventWriter& events) {
    events.BeginEvent(kHotFunEventId, happenTime, objectId);
    events.BeginObject();
    for (const auto& [set, shares] : sets) {
        events.Key(set);
        events.BeginObject();
        events.Text("SET_TOTAL", PercentText(shares.total));
        for (const auto& [function, percent] : shares.functions) {
            events.Text(function, PercentText(percent));
        }
        events.EndObject();
    }
    events.EndObject();
    events.End();
}

}  // namespace zarn
