#include <benchmark/benchmark.h>

#include "foundation/memory.h"

// The main of every benchmark program: memory is handled as the program itself does it.
int main(int argc, char** argv) {
    zarn::KeepFreedMemory();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
