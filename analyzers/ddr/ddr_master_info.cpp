#include "analyzers/ddr/ddr_master_info.h"

namespace zarn {

DdrInfoMap ddrInfoMap;

}  // namespace zarn
