// What it costs to hand blocks of bytes from a producer to a consumer.

#include "Bench.h"

#include "MivoBuffer.h"
#include "MivoRingBuffer.h"

#include <QMutex>
#include <QMutexLocker>
#include <QSemaphore>
#include <QThread>
#include <QWaitCondition>

#include <cstring>
#include <memory>
#include <vector>

namespace {

const int ringCount = 4;

/**
 * What a user would write instead of a MivoRingBuffer: a mutex and a condition for each block. It waits
 * and marks in the two locked steps that a buffer offers, or in one.
 */
template <bool inOneStep>
class PeerRing
{
public:
    class Block
    {
    public:
        explicit Block(int size)
            : bytes(new unsigned char[size])
        {
        }
        unsigned char* getData() { return bytes.get(); }
        void take()
        {
            QMutexLocker locker(&mutex);
            while (inUse)
                condition.wait(&mutex);
            if (!inOneStep) {
                locker.unlock();
                locker.relock();
            }
            inUse = true;
        }
        void release()
        {
            QMutexLocker locker(&mutex);
            inUse = false;
            condition.wakeAll();
        }

    private:
        QMutex mutex;
        QWaitCondition condition;
        bool inUse = false;
        const std::unique_ptr<unsigned char[]> bytes;
    };

    PeerRing(int count, int size)
    {
        for (int i = 0; i < count; ++i)
            blocks.emplace_back(new Block(size));
    }
    Block* getBuffer()
    {
        Block* const block = blocks[next].get();
        next = (next + 1) % blocks.size();
        block->take();
        return block;
    }

private:
    std::vector<std::unique_ptr<Block>> blocks;
    std::size_t next = 0;
};

template <class Ring>
void getAndRelease(benchmark::State& state)
{
    Ring ring(ringCount, 4096);
    for (auto _ : state) {
        auto* const buffer = ring.getBuffer();
        benchmark::DoNotOptimize(buffer);
        buffer->release();
    }
}

/** The producer fills each block, and the consumer, in a thread of its own, reads it. */
template <class Ring>
void handOver(benchmark::State& state)
{
    const auto size = static_cast<std::size_t>(state.range(0));
    Ring ring(ringCount, int(size));
    decltype(ring.getBuffer()) handed[ringCount];
    QSemaphore filled;
    bool ended = false;
    const std::unique_ptr<QThread> consumer(QThread::create([&] {
        std::vector<unsigned char> read(size);
        for (int turn = 0;; turn = (turn + 1) % ringCount) {
            filled.acquire();
            if (ended)
                return;
            std::memcpy(read.data(), handed[turn]->getData(), size);
            benchmark::DoNotOptimize(read.data());
            handed[turn]->release();
        }
    }));
    consumer->start();
    int turn = 0;
    for (auto _ : state) {
        auto* const buffer = ring.getBuffer();
        std::memset(buffer->getData(), turn, size);
        handed[turn] = buffer;
        turn = (turn + 1) % ringCount;
        filled.release();
    }
    for (int i = 0; i < ringCount; ++i)
        ring.getBuffer()->release(); // until all have been read
    ended = true;
    filled.release();
    consumer->wait();
}

} // namespace

void addRows()
{
    const char* const peer = "a ring of QMutex and QWaitCondition";
    const char* const limit = "the same, one lock less";
    bench::row("ring: get and release a buffer")
        .ours(getAndRelease<MivoRingBuffer>)
        .peer(peer, getAndRelease<PeerRing<false>>)
        .limit(limit, getAndRelease<PeerRing<true>>)
        .goal(1.1);
    bench::row("ring: hand buffers to another thread")
        .ours(handOver<MivoRingBuffer>)
        .peer(peer, handOver<PeerRing<false>>)
        .limit(limit, handOver<PeerRing<true>>)
        .counted(bench::Counted::ProcessTime)
        .sizes({4096, 900L * 1024})
        .goal(1.1);
}
