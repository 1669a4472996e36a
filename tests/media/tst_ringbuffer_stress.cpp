#include "Background.h"
#include "MivoBuffer.h"
#include "MivoGarbageCollector.h"
#include "MivoGarbageCollector_p.h"
#include "MivoRingBuffer.h"

#include <QtTest>

#include <cstring>

namespace {

/** The way on which a producer tells the consumer about frames; null says that there is no more. */
class Channel
{
public:
    void send(MivoBuffer* buffer)
    {
        QMutexLocker locker(&mutex);
        sent.append(buffer);
        condition.wakeOne();
    }

    MivoBuffer* receive()
    {
        QMutexLocker locker(&mutex);
        while (sent.isEmpty())
            condition.wait(&mutex);
        return sent.takeFirst();
    }

private:
    QList<MivoBuffer*> sent;
    QMutex mutex;
    QWaitCondition condition;
};

/** The word at place @p word of frame @p frame: any two frames differ in all their words. */
quint64 pattern(quint64 frame, long word)
{
    return frame * Q_UINT64_C(0x9e3779b97f4a7c15) ^ quint64(word);
}

void fill(MivoBuffer& buffer, quint64 frame)
{
    for (long word = 0; word < buffer.getSize() / 8; ++word) {
        const quint64 value = pattern(frame, word);
        std::memcpy(buffer.getData() + 8 * word, &value, 8);
    }
}

bool holds(MivoBuffer& buffer, quint64 frame)
{
    for (long word = 0; word < buffer.getSize() / 8; ++word) {
        quint64 value;
        std::memcpy(&value, buffer.getData() + 8 * word, 8);
        if (value != pattern(frame, word))
            return false;
    }
    return true;
}

/** Receives frames, each of which must be the whole of the next one. */
class Consumer
{
public:
    explicit Consumer(Channel& channel)
        : thread([this, &channel] {
            while (MivoBuffer* buffer = channel.receive()) {
                if (!holds(*buffer, received))
                    ++wrong;
                ++received;
                buffer->release();
            }
        })
    {
    }

    bool ends() { return thread.ends(); }

    std::atomic<quint64> received{0};
    std::atomic<quint64> wrong{0};

private:
    Background thread; // last: it uses the counters
};

} // namespace

class tst_RingBufferStress : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void losesTearsAndReordersNoFrameAtFullSpeed_data();
    void losesTearsAndReordersNoFrameAtFullSpeed();
    void survivesResizesWhileTheConsumerIsBehind();
    void leavesTheCollectorOnlyWhenEveryFrameIsReleased();
};

void tst_RingBufferStress::losesTearsAndReordersNoFrameAtFullSpeed_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<quint64>("frames");
    QTest::newRow("frames of 4 KiB") << 4096 << quint64(100000);
    QTest::newRow("frames of 8 bytes") << 8 << quint64(100000);
    QTest::newRow("frames of 640x480 RGB") << 640 * 480 * 3 << quint64(1000);
}

void tst_RingBufferStress::losesTearsAndReordersNoFrameAtFullSpeed()
{
    QFETCH(int, size);
    QFETCH(quint64, frames);
    MivoRingBuffer ring(3, size);
    Channel channel;
    Consumer consumer(channel);

    for (quint64 frame = 0; frame < frames; ++frame) {
        MivoBuffer* buffer = ring.getBuffer();
        fill(*buffer, frame);
        channel.send(buffer);
    }
    channel.send(nullptr);
    ring.waitForRelese();
    QVERIFY(consumer.ends());

    QCOMPARE(consumer.wrong.load(), quint64(0));
    QCOMPARE(consumer.received.load(), frames);
    QVERIFY(ring.isUnused());
}

void tst_RingBufferStress::survivesResizesWhileTheConsumerIsBehind()
{
    MivoRingBuffer ring;
    Channel channel;
    Consumer consumer(channel);

    quint64 frames = 0;
    for (int round = 0; round < 2000; ++round) {
        ring.resize(1 + round % 5, 64 * (1 + round % 7));
        for (int i = 0; i < round % 11; ++i) {
            MivoBuffer* buffer = ring.getBuffer();
            fill(*buffer, frames++);
            channel.send(buffer);
        }
    }
    channel.send(nullptr);
    QVERIFY(consumer.ends());
    QCOMPARE(consumer.wrong.load(), quint64(0));
    QCOMPARE(consumer.received.load(), frames);
}

void tst_RingBufferStress::leavesTheCollectorOnlyWhenEveryFrameIsReleased()
{
    MivoGarbageCollector collector;
    MivoGarbageCollectorPrivate* d = MivoGarbageCollectorPrivate::get(collector);
    for (int round = 0; round < 200; ++round) {
        MivoRingBuffer ring(3, 64);
        Channel channel;
        Consumer consumer(channel);
        for (int frame = 0; frame < 3; ++frame) {
            MivoBuffer* buffer = ring.getBuffer();
            fill(*buffer, quint64(frame));
            channel.send(buffer);
        }
        collector.add(&ring);
        channel.send(nullptr);
        for (QDeadlineTimer patience(testBoundMs); !d->removables.isEmpty();) {
            QVERIFY(!patience.hasExpired());
            d->timeout();
        }
        QCOMPARE(ring.countUsed(), 0);
        QVERIFY(consumer.ends());
        QCOMPARE(consumer.wrong.load(), quint64(0));
        QCOMPARE(consumer.received.load(), quint64(3));
    }
}

QTEST_GUILESS_MAIN(tst_RingBufferStress)

#include "tst_ringbuffer_stress.moc"
