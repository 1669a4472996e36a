#include "MivoTimer.h"

#include "MivoTimerReceiver.h"
#include "MivoTimer_p.h"
#include "TestThreads.h"

#include <QtTest>

#include <cstring>
#include <functional>
#include <type_traits>

namespace {

class Receiver : public MivoTimerReceiver
{
public:
    void onTimer(const QString& name) override
    {
        names.append(name);
        nameAddress = &name;
        thread = QThread::currentThread();
        if (onCall)
            onCall();
    }

    QStringList names;
    const void* nameAddress = nullptr;
    QThread* thread = nullptr;
    std::function<void()> onCall;
};

/** Counts the ticks of a QTimer. */
class Ticks : public QObject
{
public:
    explicit Ticks(QTimer* watched)
        : timer(watched)
    {
        timer->installEventFilter(this);
    }
    bool eventFilter(QObject*, QEvent* event) override
    {
        count += event->type() == QEvent::Timer;
        return false;
    }

    /** Waits for @p more ticks from now on. */
    bool wait(int more) const
    {
        const int wanted = count + more;
        return QTest::qWaitFor([&] { return count >= wanted; }, testBoundMs);
    }

    const QPointer<QTimer> timer;
    int count = 0;
};

// Both classes keep their fields to themselves; their places are part of the interface.

MivoTimerPrivate* privateOf(const MivoTimer& timer)
{
    MivoTimerPrivate* d = nullptr;
    memcpy(&d, static_cast<const void*>(&timer), sizeof d);
    return d;
}

template <class T>
T* fieldOf(const MivoTimerPrivate* d, int index)
{
    T* field = nullptr;
    memcpy(&field, reinterpret_cast<const char*>(d) + sizeof(QObject) + index * sizeof(void*),
           sizeof field);
    return field;
}

QTimer* timerOf(const MivoTimer& timer)
{
    return fieldOf<QTimer>(privateOf(timer), 1);
}

/** Runs the event loop for @p ms milliseconds: long enough for what should not happen. */
void letPass(int ms)
{
    QTest::qWait(ms);
}

} // namespace

class tst_MivoTimer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void handleIsOnePointer();
    void privateFieldsStandInTheAgreedOrder();
    void callBackIsTheThirdVirtualEntry();

    void callsOnceWithItsNameAfterItsTime();
    void callsOnceInTheNextRoundForNoMilliseconds();
    void startReturnsBeforeTheCallBack();
    void callBackGetsACopyOfTheName();
    void privateObjectEndsAndItsTimerTicksOn();
    void callsOnceAlsoWhenTheCallBackRunsALongLoop();
    void callsOnceAlsoWhenALoopDelaysTheEndOfThePrivateObject();
    void callBackMayStartTheNextTimer();
    void stoppedTimerNeverCalls();
    void nullReceiverIsNeverCalled();
    void stoppingWithoutATimerDoesNothing();
    void twoTimersOfOneHandleFireEach();
    void stopStopsTheLastTimerOnly();
    void copyOfTheHandleStopsTheSameTimer();
    void endOfTheHandleDoesNotStopTheTimer();
    void callBackRunsInTheThreadThatStartedTheTimer();
};

void tst_MivoTimer::handleIsOnePointer()
{
    static_assert(sizeof(MivoTimer) == sizeof(void*), "");
    static_assert(std::is_trivially_destructible<MivoTimer>::value, "");
    static_assert(std::is_trivially_copyable<MivoTimer>::value, "");
    QVERIFY(!privateOf(MivoTimer()));
}

void tst_MivoTimer::privateFieldsStandInTheAgreedOrder()
{
    struct Fields : QObject
    {
        MivoTimerReceiver* receiver;
        QTimer* timer;
        QString name;
    };
    static_assert(sizeof(MivoTimerPrivate) == sizeof(Fields), "");
    const QMetaObject& meta = MivoTimerPrivate::staticMetaObject;
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    const int slot = meta.indexOfSlot("timeout()");
    QVERIFY(slot >= meta.methodOffset());
    QCOMPARE(meta.method(slot).access(), QMetaMethod::Protected);

    Receiver receiver;
    MivoTimer timer;
    timer.startTimer(&receiver, 60000, "name");
    const MivoTimerPrivate* const d = privateOf(timer);
    QVERIFY(fieldOf<MivoTimerReceiver>(d, 0) == &receiver);
    QVERIFY(!d->parent());
    const QTimer* const running = timerOf(timer);
    QVERIFY(running->isActive());
    QVERIFY(!running->isSingleShot());
    QVERIFY(!running->parent());
    QCOMPARE(running->interval(), 60000);
    timer.stopTimer();
}

void tst_MivoTimer::callBackIsTheThirdVirtualEntry()
{
#ifdef __x86_64__
    // There a pointer to a virtual member is the offset of its table entry, plus 1.
    const auto member = &MivoTimerReceiver::onTimer;
    std::ptrdiff_t entry = 0;
    memcpy(&entry, &member, sizeof entry);
    QCOMPARE(entry, std::ptrdiff_t(2 * sizeof(void*) + 1));
#else
    QSKIP("The layout of the table is known for x86-64 only");
#endif
}

void tst_MivoTimer::callsOnceWithItsNameAfterItsTime()
{
    Receiver receiver;
    MivoTimer timer;
    QString name = QString::fromUtf8("n\xc3\xa4me");
    QElapsedTimer elapsed;
    elapsed.start();
    timer.startTimer(&receiver, 100, name);
    name.append("changed");
    Ticks ticks(timerOf(timer));
    QVERIFY(ticks.wait(1));
    QVERIFY(elapsed.elapsed() >= 90);
    QCOMPARE(receiver.names, QStringList() << QString::fromUtf8("n\xc3\xa4me"));
    QVERIFY(ticks.wait(2));
    QCOMPARE(receiver.names.size(), 1);
}

void tst_MivoTimer::callsOnceInTheNextRoundForNoMilliseconds()
{
    Receiver receiver;
    MivoTimer timer;
    timer.startTimer(&receiver, 0, QString());
    const QScopedPointer<QTimer> ticking(timerOf(timer));
    Ticks ticks(ticking.data());
    QVERIFY(receiver.names.isEmpty());
    QVERIFY(ticks.wait(3));
    QCOMPARE(receiver.names, QStringList() << QString());
}

void tst_MivoTimer::startReturnsBeforeTheCallBack()
{
    Receiver receiver;
    MivoTimer timer;
    timer.startTimer(&receiver, 1, "a");
    QVERIFY(receiver.names.isEmpty());
    QTRY_COMPARE(receiver.names.size(), 1);
}

void tst_MivoTimer::callBackGetsACopyOfTheName()
{
    Receiver receiver;
    MivoTimer timer;
    timer.startTimer(&receiver, 1, "a");
    const auto* const begin = reinterpret_cast<const char*>(privateOf(timer));
    QTRY_COMPARE(receiver.names, QStringList() << "a");
    const auto* const address = static_cast<const char*>(receiver.nameAddress);
    const std::less<const char*> before;
    QVERIFY(before(address, begin) || !before(address, begin + sizeof(MivoTimerPrivate)));
}

void tst_MivoTimer::privateObjectEndsAndItsTimerTicksOn()
{
    Receiver receiver;
    MivoTimer timer;
    timer.startTimer(&receiver, 10, "a");
    const QPointer<MivoTimerPrivate> d(privateOf(timer));
    Ticks ticks(timerOf(timer));
    bool alive = false;
    receiver.onCall = [&] { alive = d; };
    QTRY_VERIFY(!d);
    QVERIFY(alive);
    QVERIFY(ticks.timer);
    QVERIFY(ticks.timer->isActive());
    QVERIFY(ticks.wait(3));
    QCOMPARE(receiver.names.size(), 1);
    // The handle is not cleared, so that a later start begins anew.
    timer.startTimer(&receiver, 10, "b");
    QTRY_COMPARE(receiver.names,
                 QStringList() << "a"
                               << "b");
}

void tst_MivoTimer::callsOnceAlsoWhenTheCallBackRunsALongLoop()
{
    Receiver receiver;
    MivoTimer timer;
    timer.startTimer(&receiver, 10, "a");
    const QPointer<MivoTimerPrivate> d(privateOf(timer));
    bool alive = false;
    receiver.onCall = [&] {
        QEventLoop loop;
        QTimer::singleShot(60, &loop, &QEventLoop::quit);
        loop.exec();
        alive = d;
    };
    QTRY_VERIFY(!d);
    QVERIFY(alive);
    QCOMPARE(receiver.names.size(), 1);
}

void tst_MivoTimer::callsOnceAlsoWhenALoopDelaysTheEndOfThePrivateObject()
{
    Receiver receiver;
    MivoTimer timer;
    timer.startTimer(&receiver, 10, "a");
    const QPointer<MivoTimerPrivate> d(privateOf(timer));
    Ticks ticks(timerOf(timer));
    bool ticked = false;
    bool alive = false;
    receiver.onCall = [&] {
        // Posted before the deletion is: its loop is an inner one, in which the deletion has to
        // wait and the QTimer ticks.
        QMetaObject::invokeMethod(
            this,
            [&] {
                receiver.onCall = nullptr;
                QEventLoop loop;
                QTimer poll;
                connect(&poll, &QTimer::timeout, &loop, [&] {
                    if (ticks.count >= 4)
                        loop.quit();
                });
                QTimer::singleShot(testBoundMs, &loop, &QEventLoop::quit);
                poll.start(1);
                loop.exec();
                ticked = ticks.count >= 4;
                alive = d;
            },
            Qt::QueuedConnection);
    };
    QTRY_VERIFY_WITH_TIMEOUT(ticked && !d, 2 * testBoundMs);
    QVERIFY(alive);
    QCOMPARE(receiver.names.size(), 1);
}

void tst_MivoTimer::callBackMayStartTheNextTimer()
{
    Receiver receiver;
    MivoTimer timer;
    receiver.onCall = [&] {
        if (receiver.names.size() < 3)
            timer.startTimer(&receiver, 1, QString::number(receiver.names.size()));
    };
    timer.startTimer(&receiver, 1, "0");
    QTRY_COMPARE(receiver.names,
                 QStringList() << "0"
                               << "1"
                               << "2");
}

void tst_MivoTimer::stoppedTimerNeverCalls()
{
    Receiver receiver;
    MivoTimer timer;
    timer.startTimer(&receiver, 10, "a");
    const QPointer<MivoTimerPrivate> d(privateOf(timer));
    const QPointer<QTimer> ticking(timerOf(timer));
    timer.stopTimer();
    QVERIFY(!ticking);
    QVERIFY(d);
    QCOMPARE(privateOf(timer), d.data());
    QTRY_VERIFY(!d);
    letPass(60);
    QVERIFY(receiver.names.isEmpty());
}

void tst_MivoTimer::nullReceiverIsNeverCalled()
{
    MivoTimer timer;
    timer.startTimer(nullptr, 1, "a");
    const QPointer<MivoTimerPrivate> d(privateOf(timer));
    QVERIFY(d);
    QVERIFY(!timerOf(timer));
    letPass(30);
    // Idle, not ended.
    QVERIFY(d);
    timer.stopTimer();
    QTRY_VERIFY(!d);
}

void tst_MivoTimer::stoppingWithoutATimerDoesNothing()
{
    MivoTimer timer;
    timer.stopTimer();
    timer.stopTimer();
    QVERIFY(!privateOf(timer));
}

void tst_MivoTimer::twoTimersOfOneHandleFireEach()
{
    Receiver receiver;
    MivoTimer timer;
    timer.startTimer(&receiver, 30, "first");
    const QPointer<MivoTimerPrivate> first(privateOf(timer));
    timer.startTimer(&receiver, 10, "second");
    QVERIFY(first);
    QVERIFY(first != privateOf(timer));
    QTRY_COMPARE(receiver.names.size(), 2);
    QVERIFY(receiver.names.contains("first"));
    QVERIFY(receiver.names.contains("second"));
}

void tst_MivoTimer::stopStopsTheLastTimerOnly()
{
    Receiver receiver;
    MivoTimer timer;
    timer.startTimer(&receiver, 30, "first");
    timer.startTimer(&receiver, 10, "second");
    timer.stopTimer();
    QTRY_COMPARE(receiver.names.size(), 1);
    letPass(60);
    QCOMPARE(receiver.names, QStringList() << "first");
}

void tst_MivoTimer::copyOfTheHandleStopsTheSameTimer()
{
    Receiver receiver;
    MivoTimer timer;
    timer.startTimer(&receiver, 10, "a");
    const QPointer<MivoTimerPrivate> d(privateOf(timer));
    MivoTimer copy(timer);
    copy.stopTimer();
    QTRY_VERIFY(!d);
    letPass(40);
    QVERIFY(receiver.names.isEmpty());
}

void tst_MivoTimer::endOfTheHandleDoesNotStopTheTimer()
{
    Receiver receiver;
    QPointer<MivoTimerPrivate> d;
    {
        MivoTimer timer;
        timer.startTimer(&receiver, 10, "a");
        d = privateOf(timer);
    }
    QVERIFY(d);
    QTRY_COMPARE(receiver.names, QStringList() << "a");
    QTRY_VERIFY(!d);
}

void tst_MivoTimer::callBackRunsInTheThreadThatStartedTheTimer()
{
    Receiver receiver;
    QThread* starter = nullptr;
    QThread* owner = nullptr;
    runInThread([&] {
        starter = QThread::currentThread();
        QEventLoop loop;
        receiver.onCall = [&] { loop.quit(); };
        MivoTimer timer;
        timer.startTimer(&receiver, 10, "a");
        owner = privateOf(timer)->thread();
        loop.exec();
    });
    QCOMPARE(receiver.names, QStringList() << "a");
    QCOMPARE(receiver.thread, starter);
    QCOMPARE(owner, starter);
}

QTEST_GUILESS_MAIN(tst_MivoTimer)

#include "tst_mivotimer.moc"
