// zarn-report: one HTML page of what runs of zarn left. docs/report.md tells how to use it.

#include <string>
#include <vector>

#include "foundation/memory.h"
#include "report/page_template.h"
#include "report/program.h"

int main(int argc, char** argv) {
    zarn::KeepFreedMemory();
    return zarn::report::RunProgram(std::vector<std::string>(argv + 1, argv + argc),
                                    zarn::report::PageTemplate());
}
