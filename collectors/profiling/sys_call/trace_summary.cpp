#include "collectors/profiling/sys_call/trace_summary.h"

#include "formats/sys_call.h"
#include "foundation/commands.h"
#include "foundation/text.h"

namespace zarn {

SummaryRow ParseSummaryRow(std::string_view line) {
    SummaryRow row;
    SplitString(line, " ", row);
    if (!row.empty() && row.size() < sys_call_files::kColumnCount) {
        row.emplace_back("0");
    }
    return row;
}

void TraceSummary::Add(std::string_view piece) {
    const bool beginsALine = !goesOn_;
    goesOn_ = piece.size() == kCommandLinePiece;
    SummaryRow row = beginsALine ? ParseSummaryRow(piece) : SummaryRow();
    if (!row.empty()) {
        rows_.push_back(std::move(row));
    }
}

}  // namespace zarn
