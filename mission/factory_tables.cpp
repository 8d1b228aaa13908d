#include "mission/factory_tables.h"

#include "comparators/cpu_comparator.h"
