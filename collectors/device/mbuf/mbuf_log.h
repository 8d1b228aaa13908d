#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "collectors/device/mbuf/mbuf_records.h"

namespace zarn {

// The log of a query, ten lines for each record, handed on in large pieces.
void WriteMbufLog(const std::vector<MbufRecord>& records,
                  const std::function<void(std::string_view)>& take);

}  // namespace zarn
