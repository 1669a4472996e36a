// What a value costs on its way between plug-ins: MivoArg beside QVariant and std::variant.

#include "MivoArg.h"

#include <benchmark/benchmark.h>

#include <QVariant>

#include <string>
#include <variant>

namespace {

typedef std::variant<std::monostate, char, unsigned char, int, unsigned int, long long,
                     unsigned long long, float, double, QString, QStringList, bool, void*>
    StdVariant;

/** How each of the three is read; what it is made from is the same. */
struct Mivo
{
    typedef MivoArg Value;
    static int readInt(const Value& value) { return value.toInt(); }
    static QString readString(const Value& value) { return value.toString(); }
};

struct QtVariant
{
    typedef QVariant Value;
    static int readInt(const Value& value) { return value.toInt(); }
    static QString readString(const Value& value) { return value.toString(); }
};

struct Std
{
    typedef StdVariant Value;
    static int readInt(const Value& value) { return std::get<int>(value); }
    static QString readString(const Value& value) { return std::get<QString>(value); }
};

QString someString()
{
    return QString::fromLatin1("a string that is too long for any place in the handle");
}

template <class Peer>
void constructInt(benchmark::State& state)
{
    int number = 0;
    for (auto _ : state) {
        typename Peer::Value value(++number);
        benchmark::DoNotOptimize(value);
    }
}

template <class Peer>
void constructString(benchmark::State& state)
{
    const QString string = someString();
    for (auto _ : state) {
        typename Peer::Value value(string);
        benchmark::DoNotOptimize(value);
    }
}

template <class Peer>
void copyInt(benchmark::State& state)
{
    const typename Peer::Value value(42);
    for (auto _ : state) {
        typename Peer::Value copy(value);
        benchmark::DoNotOptimize(copy);
    }
}

template <class Peer>
void copyString(benchmark::State& state)
{
    const typename Peer::Value value(someString());
    for (auto _ : state) {
        typename Peer::Value copy(value);
        benchmark::DoNotOptimize(copy);
    }
}

template <class Peer>
void copyAndReadList(benchmark::State& state)
{
    QList<typename Peer::Value> list;
    for (int i = 0; i < 16; ++i)
        list.append(typename Peer::Value(i));
    for (auto _ : state) {
        QList<typename Peer::Value> copy = list;
        copy.append(typename Peer::Value(16)); // makes the copy a copy
        int sum = 0;
        for (const auto& value : std::as_const(copy))
            sum += Peer::readInt(value);
        benchmark::DoNotOptimize(sum);
    }
}

template <class Peer>
void readInt(benchmark::State& state)
{
    typename Peer::Value value(42);
    for (auto _ : state) {
        benchmark::DoNotOptimize(value);
        benchmark::DoNotOptimize(Peer::readInt(value));
    }
}

template <class Peer>
void readString(benchmark::State& state)
{
    typename Peer::Value value(someString());
    for (auto _ : state) {
        benchmark::DoNotOptimize(value);
        QString string = Peer::readString(value);
        benchmark::DoNotOptimize(string);
    }
}

} // namespace

// clazy:excludeall=non-pod-global-static -- the macro makes one of each line
BENCHMARK_TEMPLATE(constructInt, Mivo);
BENCHMARK_TEMPLATE(constructInt, QtVariant);
BENCHMARK_TEMPLATE(constructInt, Std);
BENCHMARK_TEMPLATE(constructString, Mivo);
BENCHMARK_TEMPLATE(constructString, QtVariant);
BENCHMARK_TEMPLATE(constructString, Std);
BENCHMARK_TEMPLATE(copyInt, Mivo);
BENCHMARK_TEMPLATE(copyInt, QtVariant);
BENCHMARK_TEMPLATE(copyInt, Std);
BENCHMARK_TEMPLATE(copyString, Mivo);
BENCHMARK_TEMPLATE(copyString, QtVariant);
BENCHMARK_TEMPLATE(copyString, Std);
BENCHMARK_TEMPLATE(copyAndReadList, Mivo);
BENCHMARK_TEMPLATE(copyAndReadList, QtVariant);
BENCHMARK_TEMPLATE(copyAndReadList, Std);
BENCHMARK_TEMPLATE(readInt, Mivo);
BENCHMARK_TEMPLATE(readInt, QtVariant);
BENCHMARK_TEMPLATE(readInt, Std);
BENCHMARK_TEMPLATE(readString, Mivo);
BENCHMARK_TEMPLATE(readString, QtVariant);
BENCHMARK_TEMPLATE(readString, Std);
