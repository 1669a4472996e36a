// What a value costs on its way between plug-ins.

#include "Bench.h"

#include "MivoArg.h"

#include <QAtomicInt>
#include <QVariant>

#include <new>

namespace {

QString someString()
{
    return QString::fromLatin1("a string that is too long for any place in the handle");
}

/** The least that a construction does: a record and a copy of the content, without exceptions. */
template <class Content>
void twoAllocations(benchmark::State& state, const Content& content)
{
    struct Record
    {
        QAtomicInt count;
        int kind;
        void* value;
    };
    for (auto _ : state) {
        Record* record = new (std::nothrow) Record{QAtomicInt(1), 0, nullptr};
        record->value = new (std::nothrow) Content(content);
        benchmark::DoNotOptimize(record);
        delete static_cast<Content*>(record->value);
        delete record;
    }
}

void twoAllocationsOfInt(benchmark::State& state)
{
    twoAllocations(state, 42);
}

void twoAllocationsOfString(benchmark::State& state)
{
    twoAllocations(state, someString());
}

template <class Value, class Content>
void make(benchmark::State& state, const Content& content)
{
    for (auto _ : state) {
        Value value(content);
        benchmark::DoNotOptimize(value);
    }
}

template <class Value>
void makeInt(benchmark::State& state)
{
    make<Value>(state, 42);
}

template <class Value>
void makeString(benchmark::State& state)
{
    make<Value>(state, someString());
}

template <class Value>
void copyString(benchmark::State& state)
{
    const Value value(someString());
    for (auto _ : state) {
        Value copy(value);
        benchmark::DoNotOptimize(copy);
    }
}

void atomicPair(benchmark::State& state)
{
    QAtomicInt count(1);
    for (auto _ : state) {
        count.ref();
        benchmark::DoNotOptimize(count);
        if (!count.deref())
            state.SkipWithError("the count has reached zero");
    }
}

template <class Value>
void readInt(benchmark::State& state)
{
    Value value(42);
    for (auto _ : state) {
        benchmark::DoNotOptimize(value);
        benchmark::DoNotOptimize(value.toInt());
    }
}

template <class Value>
void readString(benchmark::State& state)
{
    Value value(someString());
    for (auto _ : state) {
        benchmark::DoNotOptimize(value);
        QString string = value.toString();
        benchmark::DoNotOptimize(string);
    }
}

template <class Content>
void compare(benchmark::State& state, Content a, Content b)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(b);
        benchmark::DoNotOptimize(a == b);
    }
}

template <class Value>
void compareInts(benchmark::State& state)
{
    compare(state, Value(42), Value(42));
}

template <class Value>
Value separateString()
{
    return Value(QString::fromLatin1("twenty characters ok"));
}

template <class Value>
void compareStrings(benchmark::State& state)
{
    compare(state, separateString<Value>(), separateString<Value>());
}

template <class Value>
QList<Value> separateList()
{
    QList<Value> list;
    for (int i = 0; i < 100; ++i)
        list.append(Value(i));
    return list;
}

template <class Value>
void compareLists(benchmark::State& state)
{
    compare(state, separateList<Value>(), separateList<Value>());
}

template <class Value>
void copyList(benchmark::State& state)
{
    QList<Value> list;
    for (int i = 0; i < state.range(0); ++i)
        list.append(Value(i));
    for (auto _ : state) {
        QList<Value> copy = list;
        copy.append(Value(0)); // makes the copy a copy
        benchmark::DoNotOptimize(copy);
    }
}

} // namespace

void addRows()
{
    bench::row("make and destroy an Int variant")
        .ours(makeInt<MivoArg>)
        .peer("two new/delete pairs", twoAllocationsOfInt)
        .goal(1.2);
    bench::row("make and destroy a String variant")
        .ours(makeString<MivoArg>)
        .peer("two new/delete pairs, QString copy", twoAllocationsOfString)
        .goal(1.2);
    bench::row("copy and destroy a String variant")
        .ours(copyString<MivoArg>)
        .peer("QVariant", copyString<QVariant>)
        .limit("an atomic pair", atomicPair)
        .goal(1.0);
    bench::row("copy and destroy, over the least")
        .ours(copyString<MivoArg>)
        .peer("an atomic pair", atomicPair)
        .goal(1.1);
    bench::row("toInt()").ours(readInt<MivoArg>).peer("QVariant", readInt<QVariant>).goal(0.8);
    bench::row("toString()")
        .ours(readString<MivoArg>)
        .peer("QVariant", readString<QVariant>)
        .goal(1.0);
    bench::row("== of two Int variants")
        .ours(compareInts<MivoArg>)
        .peer("QVariant", compareInts<QVariant>)
        .goal(0.7);
    bench::row("== of two strings of 20")
        .ours(compareStrings<MivoArg>)
        .peer("QVariant", compareStrings<QVariant>)
        .goal(0.7);
    bench::row("== of two lists of 100")
        .ours(compareLists<MivoArg>)
        .peer("QList<QVariant>", compareLists<QVariant>)
        .goal(0.7);
    bench::row("copy a list of values")
        .ours(copyList<MivoArg>)
        .peer("QList<QVariant>", copyList<QVariant>)
        .sizes({16, 256, 4096})
        .per("value");
}
