// What the command that calls a plug-in costs, from its start to its end.

#include "Bench.h"

namespace {

void run(benchmark::State& state, const std::vector<std::string>& command)
{
    for (auto _ : state) {
        const double seconds = bench::childSeconds(command);
        if (seconds < 0)
            state.SkipWithError("the program has failed");
        state.SetIterationTime(seconds);
    }
}

void runMivoHost(benchmark::State& state)
{
    run(state, {MIVO_HOST, "call", ECHO_PLUGIN, "echo", "int:42"});
}

void runMinimalProgram(benchmark::State& state)
{
    run(state, {MINIMAL_CALL, ECHO_PLUGIN});
}

} // namespace

void addRows()
{
    bench::row("mivo-host call, the whole process")
        .ours(runMivoHost)
        .peer("QPluginLoader and one call", runMinimalProgram)
        .counted(bench::Counted::OwnTime)
        .goal(1.2);
}
