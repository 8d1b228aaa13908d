#include "benchmarks/support/cpu_time.h"

#include <sys/resource.h>

#include <initializer_list>

namespace zarn::bench {

double SecondsWithChildren() {
    double seconds = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        ::getrusage(who, &usage);
        seconds += static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                   static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    }
    return seconds;
}

}  // namespace zarn::bench
