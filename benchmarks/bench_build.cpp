// What a clean build of the library and of the two stand-ins that it takes costs.

#include "Bench.h"

namespace {

void buildLibraries(benchmark::State& state)
{
    const std::string folder = BUILD_FOLDER;
    // Without a cache of compilers' results, whatever the environment says.
    const bool configured
        = bench::childSeconds({"cmake", "-G", "Ninja", "-S", SOURCE_FOLDER, "-B", folder,
                               "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_CXX_COMPILER_LAUNCHER=",
                               "-DMIVO_BUILD_TESTS=OFF", "-DMIVO_BUILD_EXAMPLES=OFF",
                               std::string("-DMIVO_QT_MAJOR=") + QT_MAJOR})
        >= 0;
    for (auto _ : state) {
        const bool clean = configured
            && bench::childSeconds({"cmake", "--build", folder, "--target", "clean"}) >= 0;
        const double seconds
            = bench::childSeconds({"cmake", "--build", folder, "--target", "mivo_data"});
        if (!clean || seconds < 0)
            state.SkipWithError("the build has failed");
        state.SetIterationTime(seconds);
    }
}

} // namespace

void addRows()
{
    bench::row("clean build of the three libraries")
        .ours(buildLibraries)
        .counted(bench::Counted::OwnTime)
        .atMost(20)
        .repetitions(3)
        .notBriefly();
}
