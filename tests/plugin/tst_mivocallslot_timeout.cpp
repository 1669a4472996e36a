#include "MivoWait.h"

#include "MivoCallSlotTimeoutException.h"
#include "MivoWaitEvent.h"
#include "TestPlugin.h"
#include "TestThreads.h"

#include <QtTest>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

namespace {

/** For what takes the 30 s of a call. */
const int longBoundMs = 30000 + testBoundMs;

/** A thread that lives in itself and serves calls with a piece of the test. */
class CalledThread : public QThread
{
public:
    explicit CalledThread(std::function<void(MivoCallSlotEvent*)> servingPiece)
        : serve(servingPiece)
    {
        moveToThread(this);
        start();
    }
    ~CalledThread() override { end(); }

    void end()
    {
        quit();
        if (!wait(longBoundMs))
            qFatal("The called thread has not ended");
    }

    bool event(QEvent* event) override
    {
        if (event->type() != MivoCallSlotEvent::EventType)
            return QThread::event(event);
        serve(static_cast<MivoCallSlotEvent*>(event));
        served.release();
        return true;
    }

    std::function<void(MivoCallSlotEvent*)> serve;
    QSemaphore served;
};

/** Answers as is required of a host. */
void answer(MivoCallSlotEvent* call)
{
    MivoPlugin* const target = call->target;
    const MivoCallSlotEvent::Member member = call->member;
    (target->*member)(call->sender, call->arguments);
    call->wait->setRetValue(call->arguments);
    call->wait->wakeUp();
}

/** A call from a thread of its own, and how it ended. */
class Caller
{
public:
    Caller(TestPlugin& target, const QList<MivoArg>& arguments, QThread& called)
        : thread(QThread::create([this, &target, arguments, &called] {
            QElapsedTimer timer;
            timer.start();
            try {
                MivoWait::callSlot(&target, TestPlugin::slot(&TestPlugin::ask), nullptr, arguments,
                                   &called);
            } catch (const MivoCallSlotTimeoutException&) {
                timedOut = true;
            }
            elapsedMs = timer.elapsed();
        }))
    {
        thread->start();
    }
    ~Caller() { finish(); }

    void finish()
    {
        if (!thread->wait(longBoundMs))
            qFatal("A caller is still blocked");
    }

    bool timedOut = false; ///< read after finish()
    qint64 elapsedMs = 0; ///< read after finish()

private:
    const std::unique_ptr<QThread> thread;
};

/** Answers requests with 5, 31 s after they have come unless they have been given up before. */
class SlowReceiver : public QObject
{
public:
    bool event(QEvent* event) override
    {
        if (event->type() != QEvent::User)
            return QObject::event(event);
        MivoWait* const wait = static_cast<MivoWaitEvent*>(event)->wait;
        if (!givenUp.tryAcquire(1, 31000)) {
            wait->setRetValue(MivoArg(5));
            wait->wakeUp();
        }
        return true;
    }

    QSemaphore givenUp;
};

} // namespace

class tst_MivoCallSlotTimeout : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void callWithoutAnAnswerThrowsAfter30000MsAndARequestWaitsOn();
};

// All cases wait at the same time, so that the time passes once.
void tst_MivoCallSlotTimeout::callWithoutAnAnswerThrowsAfter30000MsAndARequestWaitsOn()
{
    const MivoArg witness(1);
    const QList<MivoArg> arguments = QList<MivoArg>() << witness;
    QSemaphore gate;

    // The event is under way when the time is up; the answer comes afterwards.
    TestPlugin slow;
    bool woken = false;
    QList<MivoArg> lateResult;
    CalledThread slowThread([&](MivoCallSlotEvent* call) {
        gate.acquire();
        MivoWait* const wait = call->wait;
        answer(call);
        woken = wait->wait(0);
        lateResult = wait->getRetValue();
    });

    // The event is still in the queue when the time is up: another one blocks the thread.
    TestPlugin queued;
    QSemaphore blocked;
    CalledThread busyThread([&](MivoCallSlotEvent* call) {
        if (call->wait) {
            answer(call);
            return;
        }
        blocked.release();
        gate.acquire();
    });
    QCoreApplication::postEvent(&busyThread, new MivoCallSlotEvent);
    QVERIFY(blocked.tryAcquire(1, testBoundMs));

    // The thread is stopped while the call is pending.
    TestPlugin stopped;
    CalledThread stoppedThread([](MivoCallSlotEvent*) { QThread::currentThread()->quit(); });

    // The thread has ended before the call.
    TestPlugin unreachable;
    auto endedThread = std::unique_ptr<CalledThread>(new CalledThread(answer));
    endedThread->end();

    // A request to another thread has no limit.
    QThread receiverThread;
    SlowReceiver receiver;
    receiver.moveToThread(&receiverThread);
    receiverThread.start();
    const ThreadEnd receiverEnd(receiverThread);
    MivoArg requestAnswer;
    const std::unique_ptr<QThread> requester(QThread::create([&] {
        MivoArg received
            = MivoWait::sendMessage(new MivoWaitEvent(QEvent::User, new MivoWait), &receiver);
        swap(requestAnswer, received);
        receiver.givenUp.release();
    }));
    requester->start();

    std::vector<std::unique_ptr<Caller>> callers;
    callers.emplace_back(new Caller(slow, arguments, slowThread));
    callers.emplace_back(new Caller(queued, arguments, busyThread));
    callers.emplace_back(new Caller(stopped, arguments, stoppedThread));
    callers.emplace_back(new Caller(unreachable, arguments, *endedThread));
    for (const auto& caller : callers)
        caller->finish();
    if (!requester->wait(longBoundMs))
        qFatal("A request is still blocked");

    gate.release(2);
    QVERIFY(slowThread.served.tryAcquire(1, testBoundMs));
    QVERIFY(busyThread.served.tryAcquire(2, testBoundMs));
    slowThread.end();
    busyThread.end();
    QVERIFY(stoppedThread.wait(testBoundMs));
    endedThread.reset();

    for (const auto& caller : callers) {
        const QByteArray elapsed = QByteArray::number(caller->elapsedMs);
        QVERIFY2(caller->timedOut, elapsed);
        QVERIFY2(caller->elapsedMs >= 29990, elapsed);
        QVERIFY2(caller->elapsedMs < longBoundMs, elapsed);
    }
    QCOMPARE(requestAnswer.getType(), MivoArg::Int);
    QCOMPARE(requestAnswer.toInt(), 5);
    QCOMPARE(slow.calls, 1);
    QVERIFY(woken);
    QCOMPARE(lateResult, QList<MivoArg>() << 1 << 7);
    QCOMPARE(queued.calls, 1);
    QCOMPARE(stopped.calls, 0);
    QCOMPARE(unreachable.calls, 0);
    // Only the late answers still hold the argument: every event is gone, and the two wait objects
    // that were answered late are lost with what they hold.
    lateResult.clear();
    QCOMPARE(handlesOf(witness), 1 + 1 + 2);
}

QTEST_GUILESS_MAIN(tst_MivoCallSlotTimeout)

#include "tst_mivocallslot_timeout.moc"
