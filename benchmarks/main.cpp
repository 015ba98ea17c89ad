#include "uci/startup.h"

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    initEngine();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
