#include "Background.h"
#include "ChildOutcome.h"
#include "CountedAllocations.h"
#include "MivoBuffer.h"
#include "MivoRingBuffer.h"

#include <QtTest>

#include <climits>
#include <memory>

namespace {

/** The next @p count buffers in turn, each released at once. */
QList<MivoBuffer*> turn(MivoRingBuffer& ring, int count)
{
    QList<MivoBuffer*> buffers;
    for (int i = 0; i < count; ++i) {
        buffers.append(ring.getBuffer());
        buffers.last()->release();
    }
    return buffers;
}

} // namespace

class tst_MivoRingBuffer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isEmptyByDefault();
    void makesBuffersOfOneSize_data();
    void makesBuffersOfOneSize();
    void makesNoneForACountBelowOne_data();
    void makesNoneForACountBelowOne();
    void handsBuffersOutInStrictTurn_data();
    void handsBuffersOutInStrictTurn();
    void marksWhatItHandsOut();
    void waitsForTheNextInTurnEvenIfOthersAreFree();
    void countsHandedOutBuffers();
    void waitsForEveryBuffer();
    void waitsForBuffersThatAreHandedOutBeforeRemoving();
    void keepsItsNumbersWhenItsBuffersAreRemoved();
    void waitsInItsDestructor();
    void deletesItsBuffersThroughTheInterface();
    void appendsToWhatIsThereAndTurnsOverTheFirst_data();
    void appendsToWhatIsThereAndTurnsOverTheFirst();
    void startsAnewWhenBuffersAreCreated();
    void keepsItsBuffersWhenResizedToTheSame();
    void replacesItsBuffersWhenResized_data();
    void replacesItsBuffersWhenResized();
    void waitsForHandedOutBuffersWhenResized();
    void stillTakesItsNumbersForTrueAfterRemoving();
    void leavesNothingBehindWhereverConstructionFails();
    void isAsItWasAfterAFailedCreate();
    void isEmptyAfterAFailedResize();
    void assertsOrAnswersNullWithoutBuffers_data();
    void assertsOrAnswersNullWithoutBuffers();
};

void tst_MivoRingBuffer::isEmptyByDefault()
{
    MivoRingBuffer ring;
    QCOMPARE(ring.count(), 0);
    QCOMPARE(ring.getSize(), 0);
    QCOMPARE(ring.countUsed(), 0);
    QVERIFY(ring.isUnused());
    ring.waitForRelese();
    ring.remove();
}

void tst_MivoRingBuffer::makesBuffersOfOneSize_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("size");
    QTest::newRow("one") << 1 << 10;
    QTest::newRow("three") << 3 << 1000;
    QTest::newRow("many of no byte") << 100 << 0;
}

void tst_MivoRingBuffer::makesBuffersOfOneSize()
{
    QFETCH(int, count);
    QFETCH(int, size);
    const long arraysBefore = allocations::liveArrays;
    const long before = allocations::live;
    {
        MivoRingBuffer ring(count, size);
        QCOMPARE(ring.count(), count);
        QCOMPARE(ring.getSize(), size);
        QVERIFY(ring.isUnused());
        QCOMPARE(allocations::liveArrays.load(), arraysBefore + count);

        int id = -1;
        for (MivoBuffer* buffer : turn(ring, count)) { // which also needs them synchronised
            QCOMPARE(buffer->getSize(), long(size));
            QCOMPARE(buffer->isValid(), size > 0);
            if (id >= 0)
                QCOMPARE(buffer->getId(), id + 1);
            id = buffer->getId();
        }
    }
    QCOMPARE(allocations::liveArrays.load(), arraysBefore);
    QCOMPARE(allocations::live.load(), before);
}

void tst_MivoRingBuffer::makesNoneForACountBelowOne_data()
{
    QTest::addColumn<int>("count");
    QTest::newRow("0") << 0;
    QTest::newRow("-1") << -1;
    QTest::newRow("smallest number") << INT_MIN;
}

void tst_MivoRingBuffer::makesNoneForACountBelowOne()
{
    QFETCH(int, count);
    const long before = allocations::live;
    MivoRingBuffer ring(count, 10);
    QCOMPARE(allocations::live.load(), before);
    QCOMPARE(ring.count(), count);
    QCOMPARE(ring.getSize(), 10);
    QCOMPARE(ring.countUsed(), 0);
    QVERIFY(ring.isUnused());
}

void tst_MivoRingBuffer::handsBuffersOutInStrictTurn_data()
{
    QTest::addColumn<int>("count");
    QTest::newRow("one") << 1;
    QTest::newRow("two") << 2;
    QTest::newRow("three") << 3;
    QTest::newRow("seven") << 7;
}

void tst_MivoRingBuffer::handsBuffersOutInStrictTurn()
{
    QFETCH(int, count);
    const int firstId = MivoBuffer().getId() + 1;
    MivoRingBuffer ring(count, 10);
    for (int i = 0; i < 3 * count + 1; ++i) {
        MivoBuffer* buffer = ring.getBuffer();
        QCOMPARE(buffer->getId(), firstId + i % count);
        buffer->release();
    }
}

void tst_MivoRingBuffer::marksWhatItHandsOut()
{
    MivoRingBuffer ring(3, 10);
    MivoBuffer* buffer = ring.getBuffer();
    QVERIFY(buffer->isInUse());
    buffer->release();
    QVERIFY(!buffer->isInUse());
}

void tst_MivoRingBuffer::waitsForTheNextInTurnEvenIfOthersAreFree()
{
    MivoRingBuffer ring(3, 10);
    MivoBuffer* first = ring.getBuffer();
    ring.getBuffer()->release();
    ring.getBuffer()->release();

    MivoBuffer* fourth = nullptr;
    Background producer([&] { fourth = ring.getBuffer(); });
    QVERIFY(producer.blocks());
    QCOMPARE(ring.countUsed(), 1);
    first->release();
    QVERIFY(producer.ends());
    QCOMPARE(fourth, first);
    QVERIFY(first->isInUse());
    first->release();
}

void tst_MivoRingBuffer::countsHandedOutBuffers()
{
    MivoRingBuffer ring(3, 10);
    QList<MivoBuffer*> buffers;
    for (int used = 0; used < 3; ++used) {
        QCOMPARE(ring.countUsed(), used);
        QCOMPARE(ring.isUnused(), used == 0);
        buffers.append(ring.getBuffer());
    }
    QCOMPARE(ring.countUsed(), 3);
    buffers.at(1)->release();
    QCOMPARE(ring.countUsed(), 2);
    buffers.at(0)->release();
    QCOMPARE(ring.countUsed(), 1);
    QVERIFY(!ring.isUnused()); // the last of the ring
    buffers.at(2)->release();
    QCOMPARE(ring.countUsed(), 0);
    QVERIFY(ring.isUnused());
}

void tst_MivoRingBuffer::waitsForEveryBuffer()
{
    MivoRingBuffer ring(3, 10);
    MivoBuffer* first = ring.getBuffer();
    ring.getBuffer()->release();
    MivoBuffer* last = ring.getBuffer();

    Background waiter([&] { ring.waitForRelese(); });
    QVERIFY(waiter.blocks());
    first->release();
    QVERIFY(!waiter.ends(50));
    QVERIFY(waiter.blocks());
    last->release();
    QVERIFY(waiter.ends());
    QCOMPARE(turn(ring, 1).constFirst(), first); // nothing but waited
}

void tst_MivoRingBuffer::waitsForBuffersThatAreHandedOutBeforeRemoving()
{
    const long before = allocations::liveArrays;
    MivoRingBuffer ring(3, 10);
    MivoBuffer* first = ring.getBuffer();
    Background remover([&] { ring.remove(); });
    QVERIFY(remover.blocks());
    QCOMPARE(allocations::liveArrays.load(), before + 3);
    first->release();
    QVERIFY(remover.ends());
    QCOMPARE(allocations::liveArrays.load(), before);
}

void tst_MivoRingBuffer::keepsItsNumbersWhenItsBuffersAreRemoved()
{
    MivoRingBuffer ring(3, 10);
    ring.remove();
    QCOMPARE(ring.count(), 3);
    QCOMPARE(ring.getSize(), 10);
    QCOMPARE(ring.countUsed(), 0);
    QVERIFY(ring.isUnused());

    ring.create(2, 20);
    QCOMPARE(ring.count(), 2);
    QCOMPARE(ring.getSize(), 20);
    const QList<MivoBuffer*> buffers = turn(ring, 3);
    QCOMPARE(buffers.at(0)->getSize(), 20L);
    QVERIFY(buffers.at(0) != buffers.at(1));
    QCOMPARE(buffers.at(0), buffers.at(2));
}

void tst_MivoRingBuffer::waitsInItsDestructor()
{
    const long before = allocations::liveArrays;
    auto ring = std::make_unique<MivoRingBuffer>(3, 10);
    ring->getBuffer()->release();
    MivoBuffer* second = ring->getBuffer();
    Background destroyer([&] { ring.reset(); });
    QVERIFY(destroyer.blocks());
    QCOMPARE(allocations::liveArrays.load(), before + 3);
    second->release();
    QVERIFY(destroyer.ends());
    QCOMPARE(allocations::liveArrays.load(), before);
}

void tst_MivoRingBuffer::deletesItsBuffersThroughTheInterface()
{
    const long before = allocations::live;
    std::unique_ptr<MivoRemovable> removable(new MivoRingBuffer(3, 10));
    QVERIFY(removable->isUnused());
    removable.reset();
    QCOMPARE(allocations::live.load(), before);
}

void tst_MivoRingBuffer::appendsToWhatIsThereAndTurnsOverTheFirst_data()
{
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("second");
    QTest::newRow("fewer") << 3 << 2;
    QTest::newRow("as many") << 3 << 3;
    QTest::newRow("more") << 3 << 5;
}

void tst_MivoRingBuffer::appendsToWhatIsThereAndTurnsOverTheFirst()
{
    QFETCH(int, first);
    QFETCH(int, second);
    const long before = allocations::liveArrays;
    {
        const int firstId = MivoBuffer().getId() + 1;
        MivoRingBuffer ring(first, 10);
        ring.create(second, 20);
        QCOMPARE(ring.count(), second);
        QCOMPARE(ring.getSize(), 20);
        QCOMPARE(allocations::liveArrays.load(), before + first + second);

        for (int i = 0; i < 2 * second + 1; ++i) {
            MivoBuffer* buffer = turn(ring, 1).constFirst();
            QCOMPARE(buffer->getId(), firstId + i % second);
            QCOMPARE(buffer->getSize(), i % second < first ? 10L : 20L);
        }
    }
    QCOMPARE(allocations::liveArrays.load(), before);
}

void tst_MivoRingBuffer::startsAnewWhenBuffersAreCreated()
{
    MivoRingBuffer ring(3, 10);
    MivoBuffer* first = turn(ring, 2).constFirst();
    ring.create(3, 10);
    QCOMPARE(turn(ring, 1).constFirst(), first);
}

void tst_MivoRingBuffer::keepsItsBuffersWhenResizedToTheSame()
{
    MivoRingBuffer ring(3, 10);
    const QList<MivoBuffer*> buffers = turn(ring, 3);
    MivoBuffer* used = ring.getBuffer();
    const int nextId = MivoBuffer().getId() + 1;
    ring.resize(3, 10); // does not even wait
    QCOMPARE(MivoBuffer().getId(), nextId);
    QVERIFY(used->isInUse());
    used->release();
    QCOMPARE(turn(ring, 3), (QList<MivoBuffer*>{buffers.at(1), buffers.at(2), buffers.at(0)}));
}

void tst_MivoRingBuffer::replacesItsBuffersWhenResized_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("size");
    QTest::newRow("another size") << 3 << 20;
    QTest::newRow("another count") << 5 << 10;
    QTest::newRow("fewer") << 2 << 10;
    QTest::newRow("both") << 1 << 5;
    QTest::newRow("none") << 0 << 10;
}

void tst_MivoRingBuffer::replacesItsBuffersWhenResized()
{
    QFETCH(int, count);
    QFETCH(int, size);
    const long before = allocations::liveArrays;
    {
        MivoRingBuffer ring(3, 10);
        turn(ring, 2);
        const int firstId = MivoBuffer().getId() + 1;
        ring.resize(count, size);
        QCOMPARE(ring.count(), count);
        QCOMPARE(ring.getSize(), size);
        QCOMPARE(allocations::liveArrays.load(), before + count);
        for (int i = 0; i < 2 * count; ++i) {
            MivoBuffer* buffer = turn(ring, 1).constFirst();
            QCOMPARE(buffer->getId(), firstId + i % count);
            QCOMPARE(buffer->getSize(), long(size));
        }
    }
    QCOMPARE(allocations::liveArrays.load(), before);
}

void tst_MivoRingBuffer::waitsForHandedOutBuffersWhenResized()
{
    MivoRingBuffer ring(3, 10);
    MivoBuffer* used = ring.getBuffer();
    Background producer([&] { ring.resize(3, 20); });
    QVERIFY(producer.blocks());
    QCOMPARE(used->getSize(), 10L);
    used->release();
    QVERIFY(producer.ends());
    QCOMPARE(turn(ring, 1).constFirst()->getSize(), 20L);
}

void tst_MivoRingBuffer::stillTakesItsNumbersForTrueAfterRemoving()
{
    const long before = allocations::liveArrays;
    MivoRingBuffer ring(3, 10);
    ring.remove();
    ring.resize(3, 10); // changes nothing, for nothing changed
    QCOMPARE(allocations::liveArrays.load(), before);
    ring.resize(3, 11);
    QCOMPARE(allocations::liveArrays.load(), before + 3);
}

void tst_MivoRingBuffer::leavesNothingBehindWhereverConstructionFails()
{
    int failures = 0;
    for (bool made = false; !made; ++failures) {
        const long before = allocations::live;
        allocations::untilFailure = failures;
        try {
            MivoRingBuffer ring(3, 64);
            allocations::untilFailure = -1;
            made = true;
        } catch (const std::bad_alloc&) {
        }
        QCOMPARE(allocations::live.load(), before);
    }
    QVERIFY(failures > 3 * 4);

    const long before = allocations::live;
    QVERIFY_EXCEPTION_THROWN(MivoRingBuffer(3, -1), std::bad_alloc);
    QCOMPARE(allocations::live.load(), before);
}

void tst_MivoRingBuffer::isAsItWasAfterAFailedCreate()
{
    const long before = allocations::liveArrays;
    MivoRingBuffer ring(3, 10);
    const QList<MivoBuffer*> buffers = turn(ring, 4);
    QVERIFY_EXCEPTION_THROWN(ring.create(2, INT_MIN), std::bad_alloc);

    allocations::untilFailure = 10; // some of the buffers exist by then
    QVERIFY_EXCEPTION_THROWN(ring.create(8, 10), std::bad_alloc);

    QCOMPARE(ring.count(), 3);
    QCOMPARE(ring.getSize(), 10);
    QCOMPARE(allocations::liveArrays.load(), before + 3);
    QCOMPARE(turn(ring, 3), (QList<MivoBuffer*>{buffers.at(1), buffers.at(2), buffers.at(0)}));
}

void tst_MivoRingBuffer::isEmptyAfterAFailedResize()
{
    const long before = allocations::liveArrays;
    MivoRingBuffer ring(3, 10);
    QVERIFY_EXCEPTION_THROWN(ring.resize(3, -1), std::bad_alloc);
    QCOMPARE(ring.count(), 0);
    QCOMPARE(ring.getSize(), 0);
    QCOMPARE(allocations::liveArrays.load(), before);
    QVERIFY_EXCEPTION_THROWN(ring.resize(3, -1), std::bad_alloc);

    ring.resize(3, 10); // its former extent is as good as any other
    QCOMPARE(allocations::liveArrays.load(), before + 3);
    QCOMPARE(turn(ring, 4).constLast()->getSize(), 10L);
}

void tst_MivoRingBuffer::assertsOrAnswersNullWithoutBuffers_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("turns");
    QTest::newRow("never created") << 0 << 0;
    QTest::newRow("negative count") << -2 << 0;
    QTest::newRow("removed at the first") << 3 << 0;
    QTest::newRow("removed amid the turn") << 3 << 2;
    QTest::newRow("removed at the end of the turn") << 3 << 3;
}

void tst_MivoRingBuffer::assertsOrAnswersNullWithoutBuffers()
{
    QFETCH(int, count);
    QFETCH(int, turns);
    const ChildOutcome outcome = outcomeInChild([&] {
        MivoRingBuffer ring;
        if (count != 0)
            ring.create(count, 10);
        turn(ring, turns);
        ring.remove();
        const bool null = !ring.getBuffer() && !ring.getBuffer();
        ring.create(1, 10);
        return null && turn(ring, 1).constFirst();
    });
    QCOMPARE(int(outcome), int(misuseOutcome));
}

QTEST_APPLESS_MAIN(tst_MivoRingBuffer)

#include "tst_mivoringbuffer.moc"
