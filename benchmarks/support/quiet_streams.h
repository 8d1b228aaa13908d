#pragma once

namespace zarn::bench {

// While one lives, what the process prints goes nowhere, so that missions' lines do not stand
// between the rows of a report. The streams are given back at the end.
class QuietStreams {
public:
    QuietStreams();
    QuietStreams(const QuietStreams&) = delete;
    QuietStreams& operator=(const QuietStreams&) = delete;
    ~QuietStreams();

private:
    int savedOut_;
    int savedErr_;
};

}  // namespace zarn::bench
