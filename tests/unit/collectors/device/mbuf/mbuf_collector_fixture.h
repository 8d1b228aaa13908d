#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "collectors/device/mbuf/mbuf_collector.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {

// A record as the buffer library lays it out; the bytes that nobody reads are 0xEE.
[[nodiscard]] std::string MbufBytes(const MbufRecord& record);

// A record of the buffer with that number, held by process 10 + number % 2, allocated by 10.
[[nodiscard]] MbufRecord MbufOf(unsigned number);
[[nodiscard]] std::string MbufAnswer(const std::vector<unsigned>& numbers);

// An MbufCollector in a run tree of its own, on a fake host whose processes 10 and 11 have names
// and groups.
class MbufCollectorTest : public testing::Test {
protected:
    MbufCollectorTest();

    // Checks the options and starts the collector; what it printed.
    Captured Run(unsigned count = 1, unsigned interval = 1);

    // The files of a folder of the run and their texts.
    [[nodiscard]] std::vector<std::string> Files(const std::string& folder) const;
    [[nodiscard]] std::vector<std::string> Texts(const std::string& folder) const;
    [[nodiscard]] std::vector<std::string> Logs() const { return Texts("raw_data/mbuf"); }
    [[nodiscard]] std::vector<std::string> Documents() const { return Texts("json"); }

    // A line of the documents, and an entry of its content for a buffer of MbufOf.
    [[nodiscard]] static std::string Document(const std::string& time, const std::string& content);
    [[nodiscard]] static std::string Entry(unsigned number);

    TempDir dir;
    FakeHost host;
    StopFlag stopFlag{0};
    bool result = false;
};

}  // namespace zarn::test
