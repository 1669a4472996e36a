#ifndef BENCH_H
#define BENCH_H

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

/** @file
 * The rows of a benchmark program. A row sets an operation of the library beside a peer's: both are
 * Google Benchmark functions, they take turns in one process, and their ratio has a goal. A program is
 * one bench_SUBSYSTEM.cpp that defines addRows(); ./bench runs them all and prints one table.
 */
namespace bench {

typedef std::function<void(benchmark::State&)> Function;

/** What is counted of an iteration. */
enum class Counted {
    ThreadTime, /**< CPU time of the calling thread; the default. */
    ProcessTime, /**< CPU time of all threads, for what crosses them. */
    OwnTime, /**< Seconds that the function hands to State::SetIterationTime(). */
    Bytes, /**< What the function leaves in State::counters["bytes"]; it runs one iteration. */
};

/** A row of the table. All that is set is kept until the program ends. */
class Row
{
public:
    explicit Row(std::string what)
        : name(std::move(what))
    {
    }

    Row& ours(Function function);
    /** What a user would do otherwise; the ratio is ours / peer, of the minima. */
    Row& peer(std::string what, Function function);
    /** Least that any solution has to do (two allocations, a pair of atomic operations); shown only. */
    Row& limit(std::string what, Function function);
    /** The ratio to stay at or below. */
    Row& goal(double ratio);
    /** For a row without a peer: the seconds or bytes to stay at or below. */
    Row& atMost(double amount);
    Row& counted(Counted what);
    /** A row of the table for each size, which the functions read as State::range(0). */
    Row& sizes(std::vector<long> sizes);
    /** With sizes: figures are divided by the size, and ./bench --plot draws them over it. */
    Row& per(std::string item);
    /** Repetitions of a row that takes long; without it as many as ./bench is told (9). */
    Row& repetitions(int number);
    /** Not part of a brief run, which only shows that the functions still work. */
    Row& notBriefly();

    struct Side
    {
        const char* key;
        std::string what;
        Function function;
    };

    std::string name;
    std::vector<Side> sides;
    double ratioGoal = 0; /**< 0: none. */
    double amountGoal = 0; /**< 0: none. */
    Counted count = Counted::ThreadTime;
    std::vector<long> sizeList;
    std::string item;
    int repetitionNumber = 0; /**< 0: the default. */
    bool brief = true;
};

/** Adds a row; @p name says what is done, in a few words. The reference stays valid. */
Row& row(std::string name);

/** Bytes that are allocated from the heap now, with the allocator's own. */
double heapBytes();

/**
 * Most bytes that the process holds in memory during @p call above what it held before, measured in a
 * child process that has a heap of its own.
 */
double peakBytes(const std::function<void()>& call);

/**
 * CPU seconds, user and system, of a run of @p command with all that it starts; its output is dropped.
 * Negative when it cannot be started or does not exit with 0.
 */
double childSeconds(const std::vector<std::string>& command);

} // namespace bench

/** Defined by each benchmark program: adds its rows. */
void addRows();

#endif
