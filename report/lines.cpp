#include "report/lines.h"

namespace zarn::report {

void ReadLines(Files& files, const RunFile& file, const OnLine& onLine) {
    NumberedLines lines(file.path);
    if (!lines.IsOpen()) {
        files.Trouble(file.index, "it cannot be opened");
        return;
    }
    bool isEmpty = true;
    while (lines.Next()) {
        isEmpty = false;
        if (lines.IsCut()) {
            files.Trouble(file.index,
                          "line " + std::to_string(lines.Number()) + " is too long to be read");
        } else {
            onLine(lines.Text(), lines.Number());
        }
    }
    if (isEmpty) {
        files.Trouble(file.index, "it is empty");
    }
}

}  // namespace zarn::report
