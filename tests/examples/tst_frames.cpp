#include "FramesConsumer.h"
#include "FramesProducer.h"
#include "TestThreads.h"

#include <MivoBuffer.h>
#include <MivoGarbageCollector.h>
#include <MivoGarbageCollector_p.h>
#include <MivoRemovable.h>
#include <MivoTest.h>

#include <cstring>
#include <limits>

namespace {

const int patienceMs = testBoundMs;

/** Frame @p number of @p size as its definition says: bytes of red, green and blue. */
QByteArray frame(QSize size, quint32 number)
{
    QByteArray bytes;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            bytes.append(char((quint32(x) + number) % 256));
            bytes.append(char((quint32(y) + number / 256) % 256));
            bytes.append(char((quint32(x ^ y) + number / 65536) % 256));
        }
    }
    return bytes;
}

/** A consumer that holds on to the newest frames, at first to as many as come. */
class HoldingConsumer : public MivoFakePlugin
{
public:
    HoldingConsumer()
        : MivoFakePlugin("frames_consumer")
    {
        answer("begin", [](QList<MivoArg>&) {});
        take("takeFrame", [this](QList<MivoArg>& arguments) {
            QMutexLocker locker(&mutex);
            held.append(static_cast<MivoBuffer*>(arguments.at(0).toPointer()));
            releaseOldest();
            arrived.release();
        });
    }

    QSemaphore arrived;

    /** Releases all but the newest @p count frames, now and whenever another one comes. */
    void holdOnly(int count)
    {
        QMutexLocker locker(&mutex);
        most = count;
        releaseOldest();
    }

    QList<MivoBuffer*> heldFrames()
    {
        QMutexLocker locker(&mutex);
        return held;
    }

private:
    void releaseOldest()
    {
        while (held.size() > most)
            held.takeFirst()->release();
    }

    QMutex mutex;
    QList<MivoBuffer*> held;
    int most = std::numeric_limits<int>::max();
};

/** Unused from the beginning; knows when the collector has asked. */
class Witness : public MivoRemovable
{
public:
    bool isUnused() override
    {
        asked = true;
        return true;
    }

    bool asked = false;
};

QList<MivoArg> startArguments(QSize wanted, float ratio)
{
    return {MivoArg(wanted.width()), MivoArg(wanted.height()), MivoArg(ratio)};
}

} // namespace

/** The example plug-ins that make and check frames, each on its own and together. */
class FramesPluginsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void theLargestSizeThatFitsIsChosen_data();
    void theLargestSizeThatFitsIsChosen();
    void aStartThatIsNotPossibleIsRefused();
    void theFramesAreThoseDefined();
    void everyFrameArrivesAgainAfterASecondStart();
    void theConsumerNoticesEveryFault_data();
    void theConsumerNoticesEveryFault();
    void theConsumerFindsNoFaultInRightFrames();
    void theConsumerCountsOnFromTheFrameItFound();
    void theConsumerKeepsTheNextFrameWhenAsked();
    void theConsumerRefusesANullFrame();
    void aSlowConsumerMakesTheProducerWait();
    void theRingStaysUntilTheConsumerHasLetGoOfIt();

private:
    void collectRings(MivoTestHost& host, MivoPlugin* producer);
    void deliver(MivoTestHost& host, MivoPlugin* consumer, QByteArray bytes);

    MivoGarbageCollectorPrivate* collector = nullptr;
};

void FramesPluginsTest::initTestCase()
{
    collector = MivoGarbageCollectorPrivate::get(*MivoGarbageCollector::getInstance());
}

/** Makes the collector's rounds at once, until no ring is left. */
void FramesPluginsTest::collectRings(MivoTestHost& host, MivoPlugin* producer)
{
    for (QDeadlineTimer patience(patienceMs);
         host.call(producer, "rings").values().at(0).toInt() > 0;) {
        QVERIFY(!patience.hasExpired());
        collector->timeout();
        QCoreApplication::processEvents();
    }
}

/** Hands the consumer a frame of @p bytes and waits until it has been released. */
void FramesPluginsTest::deliver(MivoTestHost& host, MivoPlugin* consumer, QByteArray bytes)
{
    MivoBuffer buffer(bytes.size(), true);
    std::memcpy(buffer.getData(), bytes.constData(), size_t(bytes.size()));
    buffer.setInUse();
    host.post(consumer, "takeFrame", mivoValues(static_cast<void*>(&buffer)));
    buffer.waitForRelease(); // by the consumer's own thread, which the action hands it on to
}

void FramesPluginsTest::theLargestSizeThatFitsIsChosen_data()
{
    QTest::addColumn<QSize>("wanted");
    QTest::addColumn<float>("ratio");
    QTest::addColumn<QSize>("size");
    const float fourToThree = 4.0F / 3;
    QTest::newRow("in between") << QSize(650, 490) << fourToThree << QSize(640, 480);
    QTest::newRow("a step of the ladder") << QSize(640, 480) << fourToThree << QSize(640, 480);
    QTest::newRow("a pixel too narrow") << QSize(639, 480) << fourToThree << QSize(576, 432);
    QTest::newRow("a pixel too low") << QSize(640, 479) << fourToThree << QSize(576, 432);
    QTest::newRow("wide and low") << QSize(700, 400) << fourToThree << QSize(512, 384);
    QTest::newRow("smallest") << QSize(64, 48) << fourToThree << QSize(64, 48);
    QTest::newRow("too small") << QSize(10, 10) << fourToThree << QSize(64, 48);
    QTest::newRow("largest") << QSize(1600, 1200) << fourToThree << QSize(1600, 1200);
    QTest::newRow("below the largest") << QSize(1599, 1200) << fourToThree << QSize(1536, 1152);
    QTest::newRow("beyond the ladder") << QSize(5000, 5000) << fourToThree << QSize(1600, 1200);
    QTest::newRow("16:9") << QSize(1280, 720) << 16.0F / 9 << QSize(1280, 720);
    QTest::newRow("a ladder with heights of 0") << QSize(1600, 16) << 100.0F << QSize(1600, 16);
}

void FramesPluginsTest::theLargestSizeThatFitsIsChosen()
{
    QFETCH(QSize, wanted);
    QFETCH(float, ratio);
    QFETCH(QSize, size);
    MivoTestHost host;
    host.add(new FramesConsumer);
    MivoPlugin* const producer = host.add(new FramesProducer);
    host.start();
    const QList<MivoArg> answer
        = host.call(producer, "start", startArguments(wanted, ratio)).values();
    host.call(producer, "stop");
    collectRings(host, producer);
    QCOMPARE(answer.size(), 2);
    QCOMPARE(QSize(answer.at(0).toInt(), answer.at(1).toInt()), size);
}

void FramesPluginsTest::aStartThatIsNotPossibleIsRefused()
{
    const auto errorOf = [](MivoTestHost& host, MivoPlugin* producer, float ratio) {
        return host.call(producer, "start", startArguments(QSize(640, 480), ratio)).failure();
    };
    {
        MivoTestHost host;
        MivoPlugin* const producer = host.add(new FramesProducer);
        host.start();
        QCOMPARE(errorOf(host, producer, 1),
                 QString("frames_producer: start failed: there is no plug-in frames_consumer"));
    }
    MivoTestHost host;
    host.add(new FramesConsumer);
    MivoPlugin* const producer = host.add(new FramesProducer);
    host.start();
    const float infinity = std::numeric_limits<float>::infinity();
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    for (const float ratio :
         {0.0F, -1.0F, 1e-30F, 1e-6F, infinity, -infinity, notANumber, 100.0F}) {
        const QString error = errorOf(host, producer, ratio);
        QVERIFY2(error.startsWith("frames_producer: start failed: the ladder of the ratio ")
                     && error.endsWith(" has no frame size for 640x480"),
                 qPrintable(error));
    }
    QCOMPARE(host.call(producer, "rings").values().at(0).toInt(), 0);

    QCOMPARE(errorOf(host, producer, 1), QString());
    QCOMPARE(errorOf(host, producer, 1),
             QString("frames_producer: start failed: the frames run already"));
    host.call(producer, "stop");
    collectRings(host, producer);
}

void FramesPluginsTest::theFramesAreThoseDefined()
{
    HoldingConsumer consumer;
    MivoTestHost host;
    host.add(consumer);
    MivoPlugin* const producer = host.add(new FramesProducer);
    host.start();
    host.call(producer, "start", startArguments(QSize(320, 240), 4.0F / 3));
    QVERIFY(consumer.arrived.tryAcquire(3, patienceMs));
    const QList<MivoBuffer*> held = consumer.heldFrames();
    QList<QByteArray> frames;
    for (MivoBuffer* buffer : held)
        frames.append(
            QByteArray(reinterpret_cast<char*>(buffer->getData()), int(buffer->getSize())));
    consumer.holdOnly(0);
    host.call(producer, "stop");
    collectRings(host, producer);

    QCOMPARE(frames.size(), 3);
    for (int number = 0; number < 3; ++number)
        QVERIFY(frames.at(number) == frame(QSize(320, 240), quint32(number)));
}

void FramesPluginsTest::everyFrameArrivesAgainAfterASecondStart()
{
    MivoTestHost host;
    MivoPlugin* const consumer = host.add(new FramesConsumer);
    MivoPlugin* const producer = host.add(new FramesProducer);
    host.start();
    for (const QSize size : {QSize(64, 48), QSize(640, 480)}) {
        host.call(producer, "start", startArguments(size, 4.0F / 3));
        for (QDeadlineTimer patience(patienceMs);
             host.call(consumer, "statistics").values().at(0).toInt64() < 300;)
            QVERIFY(!patience.hasExpired());
        host.call(producer, "stop");
        collectRings(host, producer);

        const QList<MivoArg> received = host.call(consumer, "statistics").values();
        const QList<MivoArg> made = host.call(producer, "statistics").values();
        QCOMPARE(received.at(0).toInt64(), made.at(0).toInt64());
        QCOMPARE(received.at(1).toInt64(), 0LL);
        QCOMPARE(received.at(3).toString(), QString());
        QVERIFY(received.at(2).toInt64() > 0);
    }
}

void FramesPluginsTest::theConsumerNoticesEveryFault_data()
{
    QTest::addColumn<QByteArray>("second"); // after frame 0, where frame 1 should come
    QTest::addColumn<QString>("fault");
    const QSize size(64, 48);
    const QByteArray right = frame(size, 1);

    QTest::newRow("stale") << frame(size, 0) << "found frame 0; expected frame 1";
    QTest::newRow("one is lost") << frame(size, 2) << "found frame 2; expected frame 1";
    QTest::newRow("differs in the second byte of the number")
        << frame(size, 257) << "found frame 257; expected frame 1";
    QTest::newRow("differs in the third byte of the number")
        << frame(size, 65537) << "found frame 65537; expected frame 1";
    const int half = int(right.size()) / 2;
    QTest::newRow("torn in the middle") << right.left(half) + frame(size, 0).mid(half)
                                        << "found another picture in row 24 of frame 1";
    QTest::newRow("torn from the frame after it")
        << right.left(3) + frame(size, 2).mid(3) << "found another picture in row 0 of frame 1";
    QTest::newRow("torn in the last pixel") << right.chopped(3) + frame(size, 0).right(3)
                                            << "found another picture in row 47 of frame 1";
    QTest::newRow("two rows exchanged")
        << right.left(192) + right.mid(384, 192) + right.mid(192, 192) + right.mid(576)
        << "found another picture in row 1 of frame 1";
    QTest::newRow("too short") << right.chopped(1)
                               << "found a frame of 9215 bytes; expected 64x48 pixels";
    QTest::newRow("empty") << QByteArray() << "found a frame of 0 bytes; expected 64x48 pixels";
}

void FramesPluginsTest::theConsumerNoticesEveryFault()
{
    QFETCH(QByteArray, second);
    QFETCH(QString, fault);
    MivoTestHost host;
    MivoPlugin* const consumer = host.add(new FramesConsumer);
    host.start();
    host.call(consumer, "begin", mivoValues(64, 48));
    deliver(host, consumer, frame(QSize(64, 48), 0));
    deliver(host, consumer, second);
    const QList<MivoArg> statistics = host.call(consumer, "statistics").values();
    QCOMPARE(statistics.at(0).toInt64(), 2LL);
    QCOMPARE(statistics.at(1).toInt64(), 1LL);
    QCOMPARE(statistics.at(3).toString(), fault);
}

void FramesPluginsTest::theConsumerFindsNoFaultInRightFrames()
{
    MivoTestHost host;
    MivoPlugin* const consumer = host.add(new FramesConsumer);
    host.start();
    host.call(consumer, "begin", mivoValues(16, 16));
    for (quint32 number = 0; number < 600; ++number)
        deliver(host, consumer, frame(QSize(16, 16), number));
    QCOMPARE(host.call(consumer, "statistics").values().at(0).toInt64(), 600LL);
    QCOMPARE(host.call(consumer, "statistics").values().at(1).toInt64(), 0LL);
    QCOMPARE(host.call(consumer, "statistics").values().at(3).toString(), QString());
}

void FramesPluginsTest::theConsumerCountsOnFromTheFrameItFound()
{
    MivoTestHost host;
    MivoPlugin* const consumer = host.add(new FramesConsumer);
    host.start();
    host.call(consumer, "begin", mivoValues(16, 16));
    const quint32 last = 256 * 256 * 256 - 1;
    for (const quint32 number : {0U, 65535U, 65536U, 65537U, last, last + 1, last + 2})
        deliver(host, consumer, frame(QSize(16, 16), number));
    const QList<MivoArg> statistics = host.call(consumer, "statistics").values();
    QCOMPARE(statistics.at(0).toInt64(), 7LL);
    QCOMPARE(statistics.at(1).toInt64(), 2LL); // two gaps, and right frames around them
    QCOMPARE(statistics.at(3).toString(), QString("found frame 65535; expected frame 1"));
}

void FramesPluginsTest::theConsumerKeepsTheNextFrameWhenAsked()
{
    MivoTestHost host;
    MivoPlugin* const consumer = host.add(new FramesConsumer);
    host.start();
    const QSize size(32, 16);
    host.call(consumer, "begin", mivoValues(32, 16));
    deliver(host, consumer, frame(size, 0));
    QCOMPARE(host.call(consumer, "keptFrame").values().size(), 0);
    host.call(consumer, "keepFrame");
    QCOMPARE(host.call(consumer, "keptFrame").values().size(), 0);
    deliver(host, consumer, frame(size, 1));
    deliver(host, consumer, frame(size, 2));

    const QList<MivoArg> kept = host.call(consumer, "keptFrame").values();
    QCOMPARE(kept.size(), 4);
    const int bytes = 32 * 16 * 3;
    QCOMPARE(QByteArray(static_cast<char*>(kept.at(0).toPointer()), bytes), frame(size, 1));
    QCOMPARE(kept.at(1).toInt(), 32);
    QCOMPARE(kept.at(2).toInt(), 16);
    QCOMPARE(kept.at(3).toInt64(), 1LL);

    host.call(consumer, "begin", mivoValues(32, 16));
    QCOMPARE(host.call(consumer, "keptFrame").values().size(), 0);
}

void FramesPluginsTest::theConsumerRefusesANullFrame()
{
    MivoTestHost host;
    MivoPlugin* const consumer = host.add(new FramesConsumer);
    host.start();
    QCOMPARE(host.post(consumer, "takeFrame", mivoValues(static_cast<void*>(nullptr))).failure(),
             QString("frames_consumer: an action failed: found a null frame; expected the Pointer "
                     "to a MivoBuffer"));
    QCOMPARE(host.call(consumer, "statistics").values().at(0).toInt64(), 0LL);
}

void FramesPluginsTest::aSlowConsumerMakesTheProducerWait()
{
    HoldingConsumer consumer;
    MivoTestHost host;
    host.add(consumer);
    MivoPlugin* const producer = host.add(new FramesProducer);
    host.start();
    host.call(producer, "start", startArguments(QSize(64, 48), 4.0F / 3));
    QVERIFY(consumer.arrived.tryAcquire(3, patienceMs));
    const bool isAhead = consumer.arrived.tryAcquire(1, 400);
    consumer.holdOnly(0);
    const bool goesOn = consumer.arrived.tryAcquire(10, patienceMs);
    host.call(producer, "stop");
    collectRings(host, producer);

    QVERIFY(!isAhead); // three frames are the ring
    QVERIFY(goesOn);
    const QList<MivoArg> statistics = host.call(producer, "statistics").values();
    QVERIFY(statistics.at(0).toInt64() >= 13);
    const qint64 waited = statistics.at(1).toInt64();
    const qint64 longest = statistics.at(2).toInt64();
    QVERIFY2(longest > 200 * 1000000LL, qPrintable(QString::number(longest)));
    QVERIFY2(longest <= waited, qPrintable(QString::number(waited)));
}

void FramesPluginsTest::theRingStaysUntilTheConsumerHasLetGoOfIt()
{
    const auto rings = [](MivoTestHost& host, MivoPlugin* producer) {
        return host.call(producer, "rings").values().at(0).toInt();
    };
    HoldingConsumer consumer;
    MivoTestHost host;
    host.add(consumer);
    MivoPlugin* const producer = host.add(new FramesProducer);
    host.start();
    QCOMPARE(rings(host, producer), 0);
    host.call(producer, "start", startArguments(QSize(64, 48), 4.0F / 3));
    QVERIFY(consumer.arrived.tryAcquire(3, patienceMs));
    QCOMPARE(collector->removables.size(), 0);
    // A producer that waits for a frame cannot stop.
    consumer.holdOnly(1);
    host.call(producer, "stop");
    QCOMPARE(collector->removables.size(), 1);

    Witness witness;
    MivoGarbageCollector::getInstance()->add(&witness);
    QTRY_VERIFY_WITH_TIMEOUT(witness.asked, patienceMs); // the round came past the ring
    QCoreApplication::processEvents();
    QCOMPARE(rings(host, producer), 1);
    QCOMPARE(collector->removables.size(), 1);

    consumer.holdOnly(0);
    QTRY_COMPARE_WITH_TIMEOUT(rings(host, producer), 0, patienceMs);
    QCOMPARE(collector->removables.size(), 0);
}

QTEST_GUILESS_MAIN(FramesPluginsTest)
#include "tst_frames.moc"
