#pragma once

// The utilities by topic, for those that want them all.
#include "foundation/commands.h"
#include "foundation/file_search.h"
#include "foundation/files.h"
#include "foundation/numbers.h"
#include "foundation/paths.h"
#include "foundation/regex_guard.h"
#include "foundation/statistics.h"
#include "foundation/text.h"
#include "foundation/time.h"
