#include "MivoWait.h"

#include "MivoCallSlotTimeoutException.h"
#include "MivoWaitEvent.h"

#include "Background.h"
#include "TestPlugin.h"
#include "TestThreads.h"

#include <QtTest>

#include <atomic>
#include <climits>
#include <cstring>
#include <functional>
#include <type_traits>

namespace {

/** What a MivoWait consists of. */
struct Fields
{
    bool woken;
    QWaitCondition condition;
    QMutex mutex;
    QList<MivoArg> retValue;
};

Fields& fieldsOf(MivoWait& wait)
{
    return reinterpret_cast<Fields&>(wait);
}

const QEvent::Type requestType = static_cast<QEvent::Type>(QEvent::User + 77);

std::atomic<int> livingRequests{0};

/** A host's request that tells whether it is still there. */
class Request : public MivoWaitEvent
{
public:
    explicit Request(MivoWait* answeredWait)
        : MivoWaitEvent(requestType, answeredWait)
    {
        ++livingRequests;
    }
    ~Request() override { --livingRequests; }
};

/** Serves a request with a piece of the test. */
class Receiver : public QObject
{
public:
    explicit Receiver(std::function<void(MivoWaitEvent*)> servingPiece)
        : serve(servingPiece)
    {
    }
    bool event(QEvent* event) override
    {
        if (event->type() != requestType)
            return QObject::event(event);
        thread = QThread::currentThread();
        spontaneous = event->spontaneous();
        serve(static_cast<MivoWaitEvent*>(event));
        return true;
    }

    std::function<void(MivoWaitEvent*)> serve;
    QThread* thread = nullptr;
    bool spontaneous = true;
};

/** A thread that serves synchronous calls as is required of a host's, and lives in itself. */
class ServingThread : public QThread
{
public:
    ServingThread()
    {
        moveToThread(this);
        start();
    }
    ~ServingThread() override
    {
        quit();
        if (!wait(testBoundMs))
            qFatal("The serving thread has not ended");
    }
    bool event(QEvent* event) override
    {
        if (int(event->type()) != 1007)
            return QThread::event(event);
        auto* const call = static_cast<MivoCallSlotEvent*>(event);
        ++served;
        mutexWasFree = call->mutex.tryLock();
        call->mutex.unlock();
        MivoPlugin* const target = call->target;
        const MivoCallSlotEvent::Member member = call->member;
        (target->*member)(call->sender, call->arguments);
        call->wait->setRetValue(call->arguments);
        call->wait->wakeUp();
        return true;
    }

    std::atomic<int> served{0};
    std::atomic<bool> mutexWasFree{false};
};

/** Sees what passes through the application object. */
class ApplicationFilter : public QObject
{
public:
    ApplicationFilter() { QCoreApplication::instance()->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override
    {
        requests += event->type() == requestType;
        return false;
    }

    int requests = 0;
};

} // namespace

class tst_MivoWait : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void fieldsTakeTheAgreedRoom();
    void waitAfterWakeUpReturnsAtOnce();
    void waitWithoutWakeUpReturnsFalseAfterItsTime();
    void waitWithoutLimitEndsWithWakeUp();
    void wakeUpWakesAllWaiters();
    void spuriousWakeUpCountsAsOne_data();
    void spuriousWakeUpCountsAsOne();
    void mutexIsNotRecursive();
    void wakeUpTakesTheMutexBeforeItSetsTheFlag();
    void waitTakesTheMutexBeforeItReadsTheFlag();
    void resultIsEmptyAtFirst();
    void resultIsReplacedByAList();
    void resultIsReplacedByOneValue();

    void requestInTheOwnThreadIsDeliveredAtOnce();
    void requestToAnotherThreadIsServedThere();
    void requestAnswersTheFirstValue_data();
    void requestAnswersTheFirstValue();
    void requestFreesTheWaitAndTheEvent_data();
    void requestFreesTheWaitAndTheEvent();
    void requestWhoseHandlerThrowsFreesBoth();
    void requestWhoseHandlerForgetsTheWaitIsAnswered_data();
    void requestWhoseHandlerForgetsTheWaitIsAnswered();

    void callEventHas1007AndNullPointers();
    void callEventFieldsStandInTheAgreedOrder();
    void callEventNeverDeletesTheWait();
    void callFromTheOwnThreadIsMadeDirectly();
    void callFromAnotherThreadIsMadeThere();
    void callLeavesTheCallersArgumentsAlone();
    void callFreesTheWaitAndTheEvent();
    void whatTheMemberThrowsPassesThroughADirectCall();
    void callsFromManyThreadsAreAnsweredEachWithItsOwn();
    void callFromInsideTheServingThreadDoesNotBlock();

    void timeoutExceptionAddsNothingToItsBase();
};

void tst_MivoWait::cleanup()
{
    QCOMPARE(livingRequests.load(), 0);
}

void tst_MivoWait::fieldsTakeTheAgreedRoom()
{
    static_assert(sizeof(MivoWait) == sizeof(Fields), "");
    static_assert(!std::is_polymorphic<MivoWait>::value, "");

    MivoWait wait;
    bool woken = true;
    memcpy(&woken, static_cast<const void*>(&wait), sizeof woken);
    QVERIFY(!woken);
    wait.wakeUp();
    memcpy(&woken, static_cast<const void*>(&wait), sizeof woken);
    QVERIFY(woken);
}

void tst_MivoWait::waitAfterWakeUpReturnsAtOnce()
{
    MivoWait wait;
    wait.wakeUp();
    QVERIFY(wait.wait(ULONG_MAX));
    QVERIFY(wait.wait(60000));
    QVERIFY(wait.wait(0));
    wait.wakeUp();
    QVERIFY(wait.wait(ULONG_MAX));
}

void tst_MivoWait::waitWithoutWakeUpReturnsFalseAfterItsTime()
{
    MivoWait wait;
    QVERIFY(!wait.wait(0));
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!wait.wait(200));
    const qint64 elapsed = timer.elapsed();
    QVERIFY2(elapsed >= 190, qPrintable(QString::number(elapsed)));
    QVERIFY2(elapsed < testBoundMs, qPrintable(QString::number(elapsed)));
    wait.wakeUp();
    QVERIFY(wait.wait(0));
}

void tst_MivoWait::waitWithoutLimitEndsWithWakeUp()
{
    MivoWait wait;
    std::atomic<bool> woken{false};
    QSemaphore waiting;
    std::atomic<bool> result{false};
    const QScopedPointer<QThread> thread(QThread::create([&] {
        waiting.release();
        result = wait.wait(ULONG_MAX);
        woken = true;
    }));
    thread->start();
    QVERIFY(waiting.tryAcquire(1, testBoundMs));
    QVERIFY(!thread->wait(50));
    QVERIFY(!woken);
    wait.wakeUp();
    QVERIFY(thread->wait(testBoundMs));
    QVERIFY(result);
}

void tst_MivoWait::wakeUpWakesAllWaiters()
{
    MivoWait wait;
    QSemaphore waiting;
    std::atomic<int> woken{0};
    std::vector<std::unique_ptr<QThread>> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back(QThread::create([&] {
            waiting.release();
            woken += wait.wait(testBoundMs);
        }));
        threads.back()->start();
    }
    QVERIFY(waiting.tryAcquire(3, testBoundMs));
    QVERIFY(!threads.front()->wait(50));
    wait.wakeUp();
    for (const auto& thread : threads)
        QVERIFY(thread->wait(2UL * testBoundMs));
    QCOMPARE(woken.load(), 3);
}

void tst_MivoWait::spuriousWakeUpCountsAsOne_data()
{
    QTest::addColumn<unsigned long>("limit");
    QTest::newRow("limited") << 6ul * testBoundMs;
    QTest::newRow("without limit") << ULONG_MAX;
}

void tst_MivoWait::spuriousWakeUpCountsAsOne()
{
    QFETCH(unsigned long, limit);
    MivoWait wait;
    Fields& fields = fieldsOf(wait);
    std::atomic<bool> result{false};
    bool ended = false;
    {
        Background waiter([&] { result = wait.wait(limit); });
        ended = waitUntil([&] {
            const QMutexLocker locker(&fields.mutex);
            fields.condition.wakeAll();
            return waiter.isFinished();
        });
        if (!ended)
            wait.wakeUp();
    }
    QVERIFY(ended);
    QVERIFY(result);
    QVERIFY(!fields.woken);
    QVERIFY(!wait.wait(0));
}

void tst_MivoWait::mutexIsNotRecursive()
{
    MivoWait wait;
    QMutex& mutex = fieldsOf(wait).mutex;
    QVERIFY(mutex.tryLock());
    const bool again = mutex.tryLock();
    mutex.unlock();
    QVERIFY(!again);
}

void tst_MivoWait::wakeUpTakesTheMutexBeforeItSetsTheFlag()
{
    MivoWait wait;
    Fields& fields = fieldsOf(wait);
    fields.mutex.lock();
    Background waker([&] { wait.wakeUp(); });
    const bool blocked = waker.blocks();
    const bool wokenTooEarly = fields.woken;
    fields.mutex.unlock();
    QVERIFY(waker.ends());
    QVERIFY(blocked);
    QVERIFY(!wokenTooEarly);
    QVERIFY(fields.woken);
}

void tst_MivoWait::waitTakesTheMutexBeforeItReadsTheFlag()
{
    MivoWait wait;
    wait.wakeUp();
    Fields& fields = fieldsOf(wait);
    std::atomic<bool> result{false};
    fields.mutex.lock();
    Background waiter([&] { result = wait.wait(0); });
    const bool blocked = waiter.blocks();
    fields.mutex.unlock();
    QVERIFY(waiter.ends());
    QVERIFY(blocked);
    QVERIFY(result);
}

void tst_MivoWait::resultIsEmptyAtFirst()
{
    QVERIFY(MivoWait().getRetValue().isEmpty());
}

void tst_MivoWait::resultIsReplacedByAList()
{
    MivoWait wait;
    const QList<MivoArg> first = QList<MivoArg>() << 1 << 2;
    wait.setRetValue(first);
    QVERIFY(wait.getRetValue().isSharedWith(first));
    wait.setRetValue(QList<MivoArg>() << QString("a"));
    QCOMPARE(wait.getRetValue(), QList<MivoArg>() << QString("a"));
    wait.setRetValue(QList<MivoArg>());
    QVERIFY(wait.getRetValue().isEmpty());
    QVERIFY(!wait.wait(0));
}

void tst_MivoWait::resultIsReplacedByOneValue()
{
    MivoWait wait;
    wait.setRetValue(QList<MivoArg>() << 1 << 2);
    wait.setRetValue(MivoArg(QString("a")));
    QCOMPARE(wait.getRetValue(), QList<MivoArg>() << QString("a"));
    wait.setRetValue(MivoArg());
    QCOMPARE(wait.getRetValue().size(), 1);
    QCOMPARE(wait.getRetValue().at(0).getType(), MivoArg::None);
}

void tst_MivoWait::requestInTheOwnThreadIsDeliveredAtOnce()
{
    ApplicationFilter filter;
    Receiver receiver([](MivoWaitEvent* event) { event->wait->setRetValue(MivoArg(5)); });
    QCOMPARE(MivoWait::sendMessage(new Request(new MivoWait), &receiver).toInt(), 5);
    QCOMPARE(receiver.thread, QThread::currentThread());
    QVERIFY(!receiver.spontaneous);
    QCOMPARE(filter.requests, 1);
}

void tst_MivoWait::requestToAnotherThreadIsServedThere()
{
    QThread thread;
    Receiver receiver([](MivoWaitEvent* event) {
        event->wait->setRetValue(MivoArg(5));
        event->wait->wakeUp();
    });
    receiver.moveToThread(&thread);
    thread.start();
    const ThreadEnd end(thread);
    QCOMPARE(MivoWait::sendMessage(new Request(new MivoWait), &receiver).toInt(), 5);
    QCOMPARE(receiver.thread, &thread);
}

void tst_MivoWait::requestAnswersTheFirstValue_data()
{
    QTest::addColumn<bool>("sameThread");
    QTest::addColumn<int>("values"); // -1: none is set
    QTest::addColumn<int>("answer"); // 0: an empty value

    for (const bool sameThread : {true, false}) {
        const char* const where = sameThread ? "own thread" : "another thread";
        QTest::addRow("%s, no result", where) << sameThread << -1 << 0;
        QTest::addRow("%s, empty list", where) << sameThread << 0 << 0;
        QTest::addRow("%s, one value", where) << sameThread << 1 << 1;
        QTest::addRow("%s, three values", where) << sameThread << 3 << 1;
    }
}

void tst_MivoWait::requestAnswersTheFirstValue()
{
    QFETCH(bool, sameThread);
    QFETCH(int, values);
    QFETCH(int, answer);

    QThread thread;
    Receiver receiver([values](MivoWaitEvent* event) {
        QList<MivoArg> result;
        for (int i = 1; i <= values; ++i)
            result.append(i);
        if (values >= 0)
            event->wait->setRetValue(result);
        event->wait->wakeUp();
    });
    if (!sameThread)
        receiver.moveToThread(&thread);
    thread.start();
    const ThreadEnd end(thread);
    const MivoArg received = MivoWait::sendMessage(new Request(new MivoWait), &receiver);
    if (answer)
        QCOMPARE(received.toInt(), answer);
    else
        QCOMPARE(received.getType(), MivoArg::None);
}

void tst_MivoWait::requestFreesTheWaitAndTheEvent_data()
{
    QTest::addColumn<bool>("sameThread");
    QTest::newRow("own thread") << true;
    QTest::newRow("another thread") << false;
}

void tst_MivoWait::requestFreesTheWaitAndTheEvent()
{
    QFETCH(bool, sameThread);
    // The second value of the answer lives in the wait object alone.
    const MivoArg witness(1);
    {
        QThread thread;
        Receiver receiver([&witness](MivoWaitEvent* event) {
            MivoWait* const wait = event->wait;
            wait->setRetValue(QList<MivoArg>() << 5 << witness);
            wait->wakeUp();
        });
        if (!sameThread)
            receiver.moveToThread(&thread);
        thread.start();
        const ThreadEnd end(thread);
        QCOMPARE(MivoWait::sendMessage(new Request(new MivoWait), &receiver).toInt(), 5);
    }
    QCOMPARE(handlesOf(witness), 1);
    QCOMPARE(livingRequests.load(), 0);
}

void tst_MivoWait::requestWhoseHandlerThrowsFreesBoth()
{
    const MivoArg witness(1);
    Receiver receiver([&witness](MivoWaitEvent* event) {
        event->wait->setRetValue(witness);
        throw std::domain_error("refused");
    });
    // Qt itself does not promise to survive this in a posted event; a direct delivery passes it on.
    QVERIFY_EXCEPTION_THROWN(MivoWait::sendMessage(new Request(new MivoWait), &receiver),
                             std::domain_error);
    QCOMPARE(handlesOf(witness), 1);
    QCOMPARE(livingRequests.load(), 0);
}

void tst_MivoWait::requestWhoseHandlerForgetsTheWaitIsAnswered_data()
{
    requestFreesTheWaitAndTheEvent_data();
}

void tst_MivoWait::requestWhoseHandlerForgetsTheWaitIsAnswered()
{
    QFETCH(bool, sameThread);
    const MivoArg witness(1);
    {
        QThread thread;
        Receiver receiver([&witness](MivoWaitEvent* event) {
            MivoWait* const wait = event->wait;
            event->wait = nullptr;
            wait->setRetValue(QList<MivoArg>() << 5 << witness);
            wait->wakeUp();
        });
        if (!sameThread)
            receiver.moveToThread(&thread);
        thread.start();
        const ThreadEnd end(thread);
        QCOMPARE(MivoWait::sendMessage(new Request(new MivoWait), &receiver).toInt(), 5);
    }
    QCOMPARE(handlesOf(witness), 1);
}

void tst_MivoWait::callEventHas1007AndNullPointers()
{
    QCOMPARE(int(MivoCallSlotEvent::EventType), 1007);
    MivoCallSlotEvent event;
    QCOMPARE(int(event.type()), 1007);
    QVERIFY(!event.wait);
    QVERIFY(!event.sender);
    QVERIFY(!event.target);
    QVERIFY(!event.member);
    QVERIFY(event.arguments.isEmpty());
    QVERIFY(event.mutex.tryLock());
    QVERIFY(!event.mutex.tryLock());
    event.mutex.unlock();
}

void tst_MivoWait::callEventFieldsStandInTheAgreedOrder()
{
    struct Fields : QEvent
    {
        MivoWait* wait;
        QList<MivoArg> arguments;
        MivoPlugin* sender;
        MivoPlugin* target;
        MivoCallSlotEvent::Member member;
        QMutex mutex;
    };
    static_assert(sizeof(MivoCallSlotEvent) == sizeof(Fields), "");
    MivoCallSlotEvent event;
    const QList<const void*> fields = QList<const void*>()
        << &event << &event.wait << &event.arguments << &event.sender << &event.target
        << &event.member << &event.mutex;
    for (int i = 1; i < fields.size(); ++i)
        QVERIFY2(std::less<const void*>()(fields.at(i - 1), fields.at(i)),
                 qPrintable(QString::number(i)));
    QCOMPARE(reinterpret_cast<char*>(&event.wait) - reinterpret_cast<char*>(&event),
             qptrdiff(sizeof(QEvent)));
}

void tst_MivoWait::callEventNeverDeletesTheWait()
{
    const MivoArg witness(1);
    const QScopedPointer<MivoWait> wait(new MivoWait);
    wait->setRetValue(witness);
    {
        MivoCallSlotEvent event;
        event.wait = wait.data();
        event.arguments.append(witness);
        QCOMPARE(handlesOf(witness), 3);
    }
    QCOMPARE(handlesOf(witness), 2);
    QVERIFY(!wait->wait(0));
}

void tst_MivoWait::callFromTheOwnThreadIsMadeDirectly()
{
    TestPlugin sender;
    TestPlugin target;
    const QList<MivoArg> answer
        = MivoWait::callSlot(&target, TestPlugin::slot(&TestPlugin::ask), &sender,
                             QList<MivoArg>() << 1 << QString("a"), QThread::currentThread());
    QCOMPARE(answer, QList<MivoArg>() << QString("a") << 1 << 7);
    QCOMPARE(target.calls, 1);
    QCOMPARE(target.thread, QThread::currentThread());
    QCOMPARE(target.sender, static_cast<MivoPlugin*>(&sender));
    QCOMPARE(sender.calls, 0);
}

void tst_MivoWait::callFromAnotherThreadIsMadeThere()
{
    TestPlugin sender;
    TestPlugin target;
    ServingThread thread;
    const QList<MivoArg> answer
        = MivoWait::callSlot(&target, TestPlugin::slot(&TestPlugin::ask), &sender,
                             QList<MivoArg>() << 1 << QString("a"), &thread);
    QCOMPARE(answer, QList<MivoArg>() << QString("a") << 1 << 7);
    QCOMPARE(target.calls, 1);
    QCOMPARE(target.thread, static_cast<QThread*>(&thread));
    QCOMPARE(target.sender, static_cast<MivoPlugin*>(&sender));
    QVERIFY(thread.mutexWasFree);
    // No sender and no argument are a call like any other.
    QCOMPARE(MivoWait::callSlot(&target, TestPlugin::slot(&TestPlugin::ask), nullptr,
                                QList<MivoArg>(), &thread),
             QList<MivoArg>() << 7);
    QVERIFY(!target.sender);
}

void tst_MivoWait::callLeavesTheCallersArgumentsAlone()
{
    TestPlugin target;
    ServingThread thread;
    const QList<MivoArg> arguments = QList<MivoArg>() << 1 << 2;
    for (QThread* const called : {static_cast<QThread*>(&thread), QThread::currentThread()}) {
        MivoWait::callSlot(&target, TestPlugin::slot(&TestPlugin::ask), nullptr, arguments, called);
        QCOMPARE(arguments, QList<MivoArg>() << 1 << 2);
    }
}

void tst_MivoWait::callFreesTheWaitAndTheEvent()
{
    const MivoArg witness(1);
    TestPlugin target;
    {
        ServingThread thread;
        for (QThread* const called : {static_cast<QThread*>(&thread), QThread::currentThread()})
            MivoWait::callSlot(&target, TestPlugin::slot(&TestPlugin::ask), nullptr,
                               QList<MivoArg>() << witness, called);
    }
    // Both the arguments in the event and the answer in the wait object held it.
    QCOMPARE(target.calls, 2);
    QCOMPARE(handlesOf(witness), 1);
}

void tst_MivoWait::whatTheMemberThrowsPassesThroughADirectCall()
{
    const MivoArg witness(1);
    TestPlugin target;
    QVERIFY_EXCEPTION_THROWN(MivoWait::callSlot(&target, TestPlugin::slot(&TestPlugin::askInVain),
                                                nullptr, QList<MivoArg>() << witness,
                                                QThread::currentThread()),
                             std::domain_error);
    QCOMPARE(handlesOf(witness), 1);
}

void tst_MivoWait::callsFromManyThreadsAreAnsweredEachWithItsOwn()
{
    const int callsPerThread = 500;
    TestPlugin target;
    ServingThread serving;
    std::atomic<int> wrong{0};
    std::vector<std::unique_ptr<QThread>> callers;
    for (int caller = 0; caller < 4; ++caller) {
        callers.emplace_back(QThread::create([&, caller] {
            for (int i = 0; i < callsPerThread; ++i) {
                const QList<MivoArg> answer
                    = MivoWait::callSlot(&target, TestPlugin::slot(&TestPlugin::ask), nullptr,
                                         QList<MivoArg>() << caller << i, &serving);
                wrong += answer != (QList<MivoArg>() << i << caller << 7);
            }
        }));
        callers.back()->start();
    }
    for (const auto& caller : callers)
        QVERIFY(caller->wait(3UL * testBoundMs));
    QCOMPARE(wrong.load(), 0);
    QCOMPARE(serving.served.load(), 4 * callsPerThread);
}

void tst_MivoWait::callFromInsideTheServingThreadDoesNotBlock()
{
    /** Calls itself once more in the thread in which it runs. */
    class Nested : public TestPlugin
    {
    public:
        void askTwice(MivoPlugin* caller, QList<MivoArg>& arguments)
        {
            arguments = MivoWait::callSlot(this, TestPlugin::slot(&TestPlugin::ask), caller,
                                           arguments, QThread::currentThread());
        }
    };
    Nested target;
    ServingThread thread;
    QCOMPARE(MivoWait::callSlot(&target, static_cast<MivoCallSlotEvent::Member>(&Nested::askTwice),
                                nullptr, QList<MivoArg>() << 1, &thread),
             QList<MivoArg>() << 1 << 7);
    QCOMPARE(target.thread, static_cast<QThread*>(&thread));
    QCOMPARE(thread.served.load(), 1);
}

void tst_MivoWait::timeoutExceptionAddsNothingToItsBase()
{
    static_assert(std::is_base_of<std::exception, MivoCallSlotTimeoutException>::value, "");
    static_assert(sizeof(MivoCallSlotTimeoutException) == sizeof(std::exception), "");
    static_assert(std::is_nothrow_destructible<MivoCallSlotTimeoutException>::value, "");
    static_assert(std::is_nothrow_copy_constructible<MivoCallSlotTimeoutException>::value, "");
    static_assert(std::is_nothrow_copy_assignable<MivoCallSlotTimeoutException>::value, "");
    try {
        throw MivoCallSlotTimeoutException();
    } catch (const std::exception& error) {
        QCOMPARE(error.what(), std::exception().what());
    }
    // The type is found again across the library's boundary.
    QVERIFY_EXCEPTION_THROWN(throw MivoCallSlotTimeoutException(), MivoCallSlotTimeoutException);
}

QTEST_GUILESS_MAIN(tst_MivoWait)

#include "tst_mivowait.moc"
