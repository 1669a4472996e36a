// What the debug text of values costs.

#include "Bench.h"

#include "MivoArg.h"

#include <QDebug>
#include <QVariant>

namespace {

template <class List>
void print(benchmark::State& state, const List& list)
{
    for (auto _ : state) {
        QString text;
        QDebug(&text) << list;
        benchmark::DoNotOptimize(text);
    }
}

template <class Value>
QList<Value> strings()
{
    QList<Value> list;
    for (int i = 0; i < 1000; ++i)
        list.append(Value(QString::fromLatin1("the value number %1").arg(i)));
    return list;
}

void printArgs(benchmark::State& state)
{
    print(state, MivoArg(strings<MivoArg>()));
}

void printVariants(benchmark::State& state)
{
    print(state, QVariantList(strings<QVariant>()));
}

} // namespace

void addRows()
{
    bench::row("print 1,000 strings").ours(printArgs).peer("QVariantList", printVariants).goal(1.1);
}
