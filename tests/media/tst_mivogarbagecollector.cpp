#include "Background.h"
#include "ChildOutcome.h"
#include "CountedAllocations.h"
#include "MivoBuffer.h"
#include "MivoGarbageCollector.h"
#include "MivoGarbageCollector_p.h"
#include "MivoRemovable.h"
#include "MivoRingBuffer.h"

#include <QPointer>
#include <QTimer>
#include <QtTest>

#include <cstring>
#include <functional>
#include <memory>
#include <vector>

namespace {

/** A removable that counts how often it is asked, and does something when it is. */
class Removable : public MivoRemovable
{
public:
    explicit Removable(bool isUnusedNow = false)
        : unused(isUnusedNow)
    {
    }

    ~Removable() override { ++destroyed; }

    bool isUnused() override
    {
        ++asked;
        if (whenAsked)
            whenAsked();
        return unused;
    }

    std::atomic<bool> unused;
    int asked = 0;
    std::function<void()> whenAsked;
    static int destroyed;
};

int Removable::destroyed = 0;

MivoGarbageCollectorPrivate* record(const MivoGarbageCollector& collector)
{
    return MivoGarbageCollectorPrivate::get(collector);
}

using List = QList<MivoRemovable*>;

/** Has objects delete themselves that have asked for it. */
void returnToEventLoop()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

class tst_MivoGarbageCollector : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isNotMadeWithoutMemory();
    void leavesNothingBehindWhereverConstructionFails();
    void isOneForTheProcess();
    void asksRemovablesThroughTheFirstVirtualOperation();
    void isNothingButAPointer();
    void ticksEverySecond();
    void letsGoWhenItsTimerTicks();
    void keepsRemovablesInTheOrderOfAdding();
    void ignoresNull();
    void keepsWhatIsInUse();
    void letsGoOfOneARound();
    void asksNobodyBehindTheOneThatLeaves();
    void takesTheFirstOccurrenceOff();
    void neverDeletesARemovable();
    void holdsItsMutexWhileItAsks();
    void endsInTheNextRoundWhenEmpty();
    void endsOnlyOnceItsListIsEmpty();
    void runsOnWhileNobodyAsksForItsEnd();
    void canBeDestroyedAtAnyTime_data();
    void canBeDestroyedAtAnyTime();
    void assertsOrIgnoresCallsAfterItsEnd_data();
    void assertsOrIgnoresCallsAfterItsEnd();
    void keepsARingUntilItsLastBufferIsReleased();
    void letsGoOfTenThousandOneByOne();
    void noticesThoseThatBecomeUnusedWhileItWalks();
    void takesRemovablesFromAnyThread();
};

void tst_MivoGarbageCollector::isNotMadeWithoutMemory()
{
    allocations::untilFailure = 0;
    QVERIFY(!MivoGarbageCollector::getInstance());
    QVERIFY(MivoGarbageCollector::getInstance()); // the failure is not remembered
}

void tst_MivoGarbageCollector::leavesNothingBehindWhereverConstructionFails()
{
    const auto construct = [] { const MivoGarbageCollector collector; };
    construct(); // what Qt makes once for the thread, it keeps
    int failures = 0;
    for (bool failed = true; failed; ++failures) {
        const long before = allocations::live;
        allocations::untilFailure = failures;
        failed = false;
        try {
            construct();
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        allocations::untilFailure = -1; // comparing takes memory too
        QCOMPARE(allocations::live.load(), before);
    }
    QVERIFY(failures > 3); // the private object, the timer and what Qt adds to them
}

void tst_MivoGarbageCollector::isOneForTheProcess()
{
    MivoGarbageCollector* collector = MivoGarbageCollector::getInstance();
    QVERIFY(collector);
    QCOMPARE(MivoGarbageCollector::getInstance(), collector);
    MivoGarbageCollector* elsewhere = nullptr;
    Background other([&] { elsewhere = MivoGarbageCollector::getInstance(); });
    QVERIFY(other.ends());
    QCOMPARE(elsewhere, collector);

    const QPointer<MivoGarbageCollectorPrivate> d = record(*collector);
    QCOMPARE(d->thread(), QThread::currentThread());
    collector->remove();
    d->timeout();
    returnToEventLoop();
    QVERIFY(!d);
    QCOMPARE(MivoGarbageCollector::getInstance(), collector); // although it has ended
}

void tst_MivoGarbageCollector::asksRemovablesThroughTheFirstVirtualOperation()
{
    // In the Itanium ABI a pointer to a virtual member is 1 plus its offset in the table.
    bool (MivoRemovable::*operation)() = &MivoRemovable::isUnused;
    qptrdiff representation[2];
    static_assert(sizeof operation == sizeof representation, "another ABI");
    std::memcpy(representation, &operation, sizeof representation);
    QCOMPARE(representation[0], qptrdiff(1));
}

void tst_MivoGarbageCollector::isNothingButAPointer()
{
    QCOMPARE(sizeof(MivoGarbageCollector), sizeof(void*));
}

void tst_MivoGarbageCollector::ticksEverySecond()
{
    MivoGarbageCollector collector;
    const QTimer* timer = record(collector)->timer;
    QVERIFY(timer->isActive());
    QCOMPARE(timer->interval(), 1000);
    QVERIFY(!timer->isSingleShot());
    QVERIFY(!timer->parent());
    QVERIFY(!record(collector)->parent());
}

void tst_MivoGarbageCollector::letsGoWhenItsTimerTicks()
{
    MivoGarbageCollector collector;
    Removable first(true);
    Removable second(true);
    collector.add(&first);
    collector.add(&second);
    QTRY_COMPARE_WITH_TIMEOUT(record(collector)->removables.size(), 1, testBoundMs);
    QCOMPARE(record(collector)->removables.first(), &second);
    QTRY_VERIFY_WITH_TIMEOUT(record(collector)->removables.isEmpty(), testBoundMs);
    const QPointer<MivoGarbageCollectorPrivate> d = record(collector);
    collector.remove();
    QTRY_VERIFY_WITH_TIMEOUT(!d, testBoundMs);
}

void tst_MivoGarbageCollector::keepsRemovablesInTheOrderOfAdding()
{
    MivoGarbageCollector collector;
    QVERIFY(record(collector)->removables.isEmpty());
    QVERIFY(!record(collector)->removeRequested);
    Removable a;
    Removable b;
    collector.add(&b);
    collector.add(&a);
    collector.add(&b);
    QCOMPARE(record(collector)->removables, (List{&b, &a, &b}));
    collector.remove();
    QVERIFY(record(collector)->removeRequested);
    collector.add(&a);
    QCOMPARE(record(collector)->removables, (List{&b, &a, &b, &a}));
}

void tst_MivoGarbageCollector::ignoresNull()
{
    MivoGarbageCollector collector;
    Removable inUse;
    collector.add(nullptr);
    collector.add(&inUse);
    collector.add(nullptr);
    QCOMPARE(record(collector)->removables, List{&inUse});
    record(collector)->timeout();
}

void tst_MivoGarbageCollector::keepsWhatIsInUse()
{
    MivoGarbageCollector collector;
    Removable inUse;
    collector.add(&inUse);
    for (int round = 1; round <= 3; ++round) {
        record(collector)->timeout();
        QCOMPARE(record(collector)->removables, List{&inUse});
        QCOMPARE(inUse.asked, round);
    }
    inUse.unused = true;
    record(collector)->timeout();
    QVERIFY(record(collector)->removables.isEmpty());
    record(collector)->timeout();
    QCOMPARE(inUse.asked, 4);
}

void tst_MivoGarbageCollector::letsGoOfOneARound()
{
    MivoGarbageCollector collector;
    Removable inUse;
    Removable first(true);
    Removable second(true);
    collector.add(&inUse);
    collector.add(&first);
    collector.add(&second);
    record(collector)->timeout();
    QCOMPARE(record(collector)->removables, (List{&inUse, &second}));
    record(collector)->timeout();
    QCOMPARE(record(collector)->removables, List{&inUse});
}

void tst_MivoGarbageCollector::asksNobodyBehindTheOneThatLeaves()
{
    MivoGarbageCollector collector;
    Removable inUse;
    Removable leaving(true);
    Removable behind(true);
    collector.add(&inUse);
    collector.add(&leaving);
    collector.add(&behind);
    record(collector)->timeout();
    QCOMPARE(inUse.asked, 1);
    QCOMPARE(leaving.asked, 1);
    QCOMPARE(behind.asked, 0);
}

void tst_MivoGarbageCollector::takesTheFirstOccurrenceOff()
{
    MivoGarbageCollector collector;
    Removable twice;
    Removable between;
    between.whenAsked = [&] { twice.unused = true; };
    collector.add(&twice);
    collector.add(&between);
    collector.add(&twice);
    record(collector)->timeout(); // says so only where it stands for the second time
    QCOMPARE(twice.asked, 2);
    QCOMPARE(record(collector)->removables, (List{&between, &twice}));
    record(collector)->timeout();
    QCOMPARE(record(collector)->removables, List{&between});
}

void tst_MivoGarbageCollector::neverDeletesARemovable()
{
    const int before = Removable::destroyed;
    auto leaving = std::make_unique<Removable>(true);
    auto staying = std::make_unique<Removable>(false);
    {
        MivoGarbageCollector collector;
        collector.add(leaving.get());
        collector.add(staying.get());
        record(collector)->timeout();
        returnToEventLoop();
        QCOMPARE(Removable::destroyed, before);
    }
    QCOMPARE(Removable::destroyed, before);
}

void tst_MivoGarbageCollector::holdsItsMutexWhileItAsks()
{
    MivoGarbageCollector collector;
    Removable removable(true);
    bool locked = false;
    removable.whenAsked = [&] {
        locked = !record(collector)->mutex.tryLock();
        if (!locked)
            record(collector)->mutex.unlock();
    };
    collector.add(&removable);
    record(collector)->timeout();
    QCOMPARE(removable.asked, 1);
    QVERIFY(locked);

    record(collector)->timeout(); // with nothing left to take off
    QVERIFY(record(collector)->mutex.tryLock());
    Removable late;
    Background adder([&] { collector.add(&late); });
    QVERIFY(adder.blocks());
    record(collector)->mutex.unlock();
    QVERIFY(adder.ends());

    QVERIFY(record(collector)->mutex.tryLock());
    Background remover([&] { collector.remove(); });
    QVERIFY(remover.blocks());
    record(collector)->mutex.unlock();
    QVERIFY(remover.ends());

    QVERIFY(waitsForLock(record(collector)->mutex, [&] { record(collector)->timeout(); }));
}

void tst_MivoGarbageCollector::endsInTheNextRoundWhenEmpty()
{
    MivoGarbageCollector collector;
    const QPointer<MivoGarbageCollectorPrivate> d = record(collector);
    const QPointer<QTimer> timer = d->timer;
    collector.remove();
    returnToEventLoop();
    QVERIFY(d);
    d->timeout();
    QVERIFY(d); // not amid its own round
    returnToEventLoop();
    QVERIFY(!d);
    QVERIFY(!timer);
    QVERIFY(!record(collector));
}

void tst_MivoGarbageCollector::endsOnlyOnceItsListIsEmpty()
{
    MivoGarbageCollector collector;
    const QPointer<MivoGarbageCollectorPrivate> d = record(collector);
    Removable removable;
    collector.add(&removable);
    collector.remove();
    d->timeout();
    returnToEventLoop();
    QVERIFY(d);

    removable.unused = true;
    d->timeout(); // takes it off, which is all that this round does
    returnToEventLoop();
    QVERIFY(d);
    QVERIFY(d->removables.isEmpty());
    d->timeout();
    returnToEventLoop();
    QVERIFY(!d);
}

void tst_MivoGarbageCollector::runsOnWhileNobodyAsksForItsEnd()
{
    MivoGarbageCollector collector;
    const QPointer<MivoGarbageCollectorPrivate> d = record(collector);
    d->timeout();
    returnToEventLoop();
    QVERIFY(d);
}

void tst_MivoGarbageCollector::canBeDestroyedAtAnyTime_data()
{
    QTest::addColumn<int>("progress");
    QTest::newRow("running") << 0;
    QTest::newRow("asked to end") << 1;
    QTest::newRow("about to end") << 2;
    QTest::newRow("ended") << 3;
}

void tst_MivoGarbageCollector::canBeDestroyedAtAnyTime()
{
    QFETCH(int, progress);
    const auto live = [&] {
        MivoGarbageCollector collector;
        const QPointer<MivoGarbageCollectorPrivate> d = record(collector);
        if (progress >= 1)
            collector.remove();
        if (progress >= 2)
            d->timeout();
        if (progress >= 3)
            returnToEventLoop();
        QCOMPARE(!d, progress >= 3);
    };
    live(); // Qt keeps some memory for the next time
    const long before = allocations::live;
    live();
    returnToEventLoop();
    QCOMPARE(allocations::live.load(), before);
}

void tst_MivoGarbageCollector::assertsOrIgnoresCallsAfterItsEnd_data()
{
    QTest::addColumn<bool>("adds");
    QTest::newRow("add") << true;
    QTest::newRow("remove") << false;
}

void tst_MivoGarbageCollector::assertsOrIgnoresCallsAfterItsEnd()
{
    QFETCH(bool, adds);
    MivoGarbageCollector collector;
    collector.remove();
    record(collector)->timeout();
    returnToEventLoop();
    QVERIFY(!record(collector));
    const ChildOutcome outcome = outcomeInChild([&] {
        Removable removable;
        if (adds)
            collector.add(&removable);
        else
            collector.remove();
        return !record(collector);
    });
    QCOMPARE(int(outcome), int(misuseOutcome));
}

void tst_MivoGarbageCollector::keepsARingUntilItsLastBufferIsReleased()
{
    MivoGarbageCollector collector;
    MivoRingBuffer ring(3, 10);
    QList<MivoBuffer*> buffers{ring.getBuffer(), ring.getBuffer(), ring.getBuffer()};
    collector.add(&ring);
    while (!buffers.isEmpty()) {
        record(collector)->timeout();
        QCOMPARE(record(collector)->removables, List{&ring});
        buffers.takeFirst()->release();
    }
    record(collector)->timeout();
    QVERIFY(record(collector)->removables.isEmpty());
    QCOMPARE(ring.count(), 3);
    ring.getBuffer()->release(); // let go, not destroyed
}

void tst_MivoGarbageCollector::letsGoOfTenThousandOneByOne()
{
    const int count = 10000;
    MivoGarbageCollector collector;
    std::vector<Removable> removables(count);
    List expected;
    for (int i = 0; i < count; ++i) {
        removables[size_t(i)].unused = i % 2 == 1;
        collector.add(&removables[size_t(i)]);
        expected.append(&removables[size_t(i)]);
    }
    for (int i = 1; i < count; i += 2) {
        record(collector)->timeout();
        expected.removeAt(i / 2 + 1);
        QCOMPARE(record(collector)->removables.size(), expected.size());
        if (i % 1000 == 999)
            QCOMPARE(record(collector)->removables, expected);
    }
    record(collector)->timeout();
    QCOMPARE(record(collector)->removables, expected);
    QCOMPARE(expected.size(), count / 2);
}

void tst_MivoGarbageCollector::noticesThoseThatBecomeUnusedWhileItWalks()
{
    const int count = 10000;
    MivoGarbageCollector collector;
    std::vector<Removable> removables(count);
    for (Removable& removable : removables)
        collector.add(&removable);
    Removable& behind = removables[2500];
    Removable& amid = removables[5000];
    Removable& ahead = removables[7500];
    amid.whenAsked = [&] {
        behind.unused = true;
        ahead.unused = true;
    };

    record(collector)->timeout(); // has passed one of them by then
    QCOMPARE(record(collector)->removables.size(), count - 1);
    QVERIFY(!record(collector)->removables.contains(&ahead));
    record(collector)->timeout();
    QCOMPARE(record(collector)->removables.size(), count - 2);
    QVERIFY(!record(collector)->removables.contains(&behind));
    record(collector)->timeout();
    QCOMPARE(record(collector)->removables.size(), count - 2);
}

void tst_MivoGarbageCollector::takesRemovablesFromAnyThread()
{
    const int each = 2500;
    MivoGarbageCollector collector;
    std::vector<Removable> removables(size_t(4) * each);
    std::vector<std::unique_ptr<Background>> adders;
    adders.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        adders.push_back(std::make_unique<Background>([&, thread] {
            for (int i = thread * each; i < (thread + 1) * each; ++i) {
                collector.add(&removables[size_t(i)]);
                if (i % 10 == 0)
                    removables[size_t(i)].unused = true; // while rounds are under way
            }
        }));
    }
    int rounds = 0;
    for (bool running = true; running; ++rounds) {
        running = false;
        for (const auto& adder : adders)
            running = running || !adder->isFinished();
        record(collector)->timeout();
    }
    for (; record(collector)->removables.size() > 4 * each * 9 / 10; ++rounds) {
        const auto before = record(collector)->removables.size();
        record(collector)->timeout();
        QCOMPARE(record(collector)->removables.size(), before - 1);
    }
    QVERIFY(rounds >= 4 * each / 10);
    for (MivoRemovable* removable : std::as_const(record(collector)->removables))
        QVERIFY(!static_cast<Removable*>(removable)->unused);
    record(collector)->timeout();
    QCOMPARE(record(collector)->removables.size(), 4 * each * 9 / 10);
}

QTEST_GUILESS_MAIN(tst_MivoGarbageCollector)

#include "tst_mivogarbagecollector.moc"
