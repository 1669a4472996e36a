#include "MivoWait.h"
#include "MivoWaitEvent.h"

#include <QtTest>

namespace {

int livingRequests = 0;

class Request : public MivoWaitEvent
{
public:
    explicit Request(MivoWait* answeredWait)
        : MivoWaitEvent(QEvent::User, answeredWait)
    {
        ++livingRequests;
    }
    ~Request() override { --livingRequests; }
};

/** Answers what comes with 5. */
class Receiver : public QObject
{
public:
    bool event(QEvent* event) override
    {
        if (event->type() != QEvent::User)
            return QObject::event(event);
        ++received;
        static_cast<MivoWaitEvent*>(event)->wait->setRetValue(MivoArg(5));
        return true;
    }

    int received = 0;
};

} // namespace

/** A synchronous call before the application object is there, or after it has gone. */
class tst_MivoWaitAppless : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void requestIsNotDeliveredAndFreed();
};

void tst_MivoWaitAppless::requestIsNotDeliveredAndFreed()
{
    QVERIFY(!QCoreApplication::instance());
    // An empty list with room of its own, which the wait object shares as long as it lives.
    QList<MivoArg> witness;
    witness.reserve(1);
    QVERIFY(witness.isDetached());
    auto* const wait = new MivoWait;
    wait->setRetValue(witness);
    QVERIFY(!witness.isDetached());

    Receiver receiver;
    QCOMPARE(MivoWait::sendMessage(new Request(wait), &receiver).getType(), MivoArg::None);
    QCOMPARE(receiver.received, 0);
    QCOMPARE(livingRequests, 0);
    QVERIFY(witness.isDetached());
}

QTEST_APPLESS_MAIN(tst_MivoWaitAppless)

#include "tst_mivowait_appless.moc"
