#include "tests/support/mem_lines.h"

namespace zarn::test {
namespace {

const char* const kSystemColumns[] = {"total",  "used",        "free",      "shared",   "cache",
                                      "avail",  "pss",         "pagetable", "slabInfo", "hugetlb",
                                      "kermod", "kernelStack", "sum"};
const char* const kSizeColumns[] = {"HugePages", "RSS",   "PSS",   "USS",   "SP_ALLOC", "VSS",
                                    "VmData",    "VmStk", "VmExe", "VmLib", "VmPTE"};

std::string Head(const std::string& object, const std::string& time) {
    return R"({"objectId":")" + object + R"(","happenTime":")" + time +
           R"(","eventId":"962201576","content":[{)";
}

void AddMember(const std::string& name, const std::string& text, std::string& line) {
    line.append(line.back() == '{' ? "\"" : ",\"").append(name).append("\":\"");
    line.append(text).append("\"");
}

std::string TextIn(const MemCells& cells, const std::string& name, const std::string& otherwise) {
    const auto found = cells.find(name);
    return found == cells.end() ? otherwise : found->second;
}

}  // namespace

std::string MemSystemLine(const std::string& time, const MemCells& cells) {
    std::string line = Head("soc_gea_memory_info", time) + R"("memInfo":{)";
    for (const char* column : kSystemColumns) {
        AddMember(column, TextIn(cells, column, "1"), line);
    }
    return line + "}}]}\n";
}

std::string MemSystemLines(const std::string& column, const std::vector<std::string>& values) {
    std::string lines;
    for (std::size_t i = 0; i < values.size(); ++i) {
        lines += MemSystemLine(MemMoment(i), {{column, values[i]}});
    }
    return lines;
}

std::string MemProcessLine(const std::string& time, const std::vector<MemRow>& rows) {
    std::string line = Head("soc_gea_process_mem_rawdata_info", time) + R"("process":[)";
    for (const MemRow& row : rows) {
        line += line.back() == '[' ? "{" : ",{";
        AddMember("PID", row.pid, line);
        for (const char* column : kSizeColumns) {
            AddMember(column, TextIn(row.cells, column, "8K"), line);
        }
        AddMember("Threads", TextIn(row.cells, "Threads", "1"), line);
        AddMember("FDSize", TextIn(row.cells, "FDSize", "1"), line);
        AddMember("COMMAND", row.command, line);
        line += "}";
    }
    return line + "]}]}\n";
}

std::string MemProcessLines(const MemRow& process, const std::string& column,
                            const std::vector<std::string>& values) {
    std::string lines;
    for (std::size_t i = 0; i < values.size(); ++i) {
        MemRow row = process;
        row.cells[column] = values[i];
        lines += MemProcessLine(MemMoment(i), {row});
    }
    return lines;
}

std::string MemMoment(std::size_t index) {
    const std::string seconds = std::to_string(100000 + index);  // leading 1 keeps the zeros
    return "2023010112" + seconds.substr(2) + "000";
}

std::string With(std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
}

}  // namespace zarn::test
