#include "MivoArg.h"
#include "MivoArg_p.h"

#include "TestThreads.h"

#include <QtTest>

#include <atomic>
#include <cstdlib>
#include <new>
#include <thread>
#include <vector>

namespace {

/**
 * A piece of memory whose deletions are counted. It is held back rather than freed, so that its
 * address cannot come again and a second deletion counts instead of crashing.
 */
struct WatchedMemory
{
    std::atomic<void*> address{nullptr};
    std::atomic<int> deletions{0};
};

WatchedMemory record;
WatchedMemory value;

bool holdBack(WatchedMemory& watched, void* memory)
{
    if (!memory || watched.address.load(std::memory_order_relaxed) != memory)
        return false;
    ++watched.deletions;
    return true;
}

void release(void* memory)
{
    if (!holdBack(record, memory) && !holdBack(value, memory))
        std::free(memory);
}

void watch(WatchedMemory& watched, void* memory)
{
    watched.deletions = 0;
    watched.address = memory;
}

/** Returns how often the memory was deleted, and frees it. */
int endWatch(WatchedMemory& watched)
{
    std::free(watched.address.exchange(nullptr));
    return watched.deletions;
}

const int threadCount = 4;

/**
 * Runs @p piece(number) in four threads that start together. They are not Qt's: the thread
 * sanitizer understands these without a sanitized Qt.
 */
template <class Piece>
void runInFourThreads(Piece piece)
{
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int number = 0; number < threadCount; ++number) {
        threads.emplace_back([&ready, &piece, number] {
            ++ready;
            waitUntil([&] { return ready == threadCount; });
            piece(number);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace

void* operator new(std::size_t size)
{
    if (void* const memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return std::malloc(size ? size : 1);
}

void operator delete(void* memory) noexcept
{
    release(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    release(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    release(memory);
}

class tst_MivoArgThreads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void copiesMayBeMadeReadAndDestroyedInFourThreads();
    void lastCopyMayGoInAnyThread();
};

void tst_MivoArgThreads::copiesMayBeMadeReadAndDestroyedInFourThreads()
{
    const int operationsPerThread = 10000000 / threadCount;
    // Shared with the held list: tells whether that has been destroyed.
    const QStringList strings = QStringList() << QString("shared").repeated(2);
    auto* const arg = new MivoArg(strings);
    const MivoArgPrivate* const shared = MivoArgPrivate::get(*arg);
    watch(record, MivoArgPrivate::get(*arg));
    watch(value, shared->data);
    std::atomic<int> operations{0};
    std::atomic<int> wrong{0};
    {
        std::vector<MivoArg> handles(threadCount, *arg);
        delete arg;
        runInFourThreads([&](int number) {
            const MivoArg own(handles[number]);
            int done = 0;
            for (; done < operationsPerThread; ++done) {
                const MivoArg copy(own);
                if (copy.getType() != MivoArg::StringList || MivoArgPrivate::get(copy) != shared)
                    ++wrong;
                // Reading the text itself costs more than all the rest.
                if (done % 16 == 0 && copy.toStringList().at(0).size() != 12)
                    ++wrong;
            }
            operations += done;
        });
        QCOMPARE(record.deletions.load(), 0);
        QCOMPARE(value.deletions.load(), 0);
        QVERIFY(!strings.isDetached());
    }
    QCOMPARE(operations.load(), 10000000);
    QVERIFY(strings.isDetached());
    QCOMPARE(wrong.load(), 0);
    QCOMPARE(endWatch(value), 1);
    QCOMPARE(endWatch(record), 1);
}

void tst_MivoArgThreads::lastCopyMayGoInAnyThread()
{
    for (int round = 0; round < 500; ++round) {
        const QString text = QString("shared").repeated(2);
        std::vector<MivoArg> handles(threadCount, MivoArg(text));
        QVERIFY(!text.isDetached());
        watch(record, MivoArgPrivate::get(handles[0]));
        watch(value, MivoArgPrivate::get(handles[0])->data);
        runInFourThreads([&](int number) {
            MivoArg last;
            swap(last, handles[number]);
        });
        QVERIFY(text.isDetached());
        QCOMPARE(endWatch(value), 1);
        QCOMPARE(endWatch(record), 1);
    }
}

QTEST_APPLESS_MAIN(tst_MivoArgThreads)

#include "tst_mivoarg_threads.moc"
