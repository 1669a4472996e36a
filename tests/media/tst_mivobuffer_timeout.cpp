#include <QMutex>
#include <QMutexLocker>
#include <QWaitCondition>
#include <QtTest>

#include <functional>

/** A wait condition whose waits end as the test says, after it has done what falls into them. */
class ScriptedCondition
{
public:
    bool wait(QMutex* mutex, unsigned long ms = ULONG_MAX)
    {
        waits.append(ms);
        mutex->unlock();
        const std::function<bool()> end = script.value(waits.size() - 1, [] { return true; });
        const bool woken = end();
        mutex->lock();
        return woken;
    }
    void wakeAll() { ++wakeUps; }

    static QList<unsigned long> waits;
    static QList<std::function<bool()>> script;
    static int wakeUps;
};

QList<unsigned long> ScriptedCondition::waits;
QList<std::function<bool()>> ScriptedCondition::script;
int ScriptedCondition::wakeUps = 0;

// The library's source once more, on the scripted condition and as a class of its own.
#define QWaitCondition ScriptedCondition
#define MivoBuffer ScriptedBuffer
#include "MivoBuffer.cpp"

class tst_MivoBufferTimeout : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void waitsAgainWhenTheTimeIsUp();
    void doesNotWaitForAReleaseThatFallsBetweenTheTwoWaits();
    void returnsWhenWokenAlthoughMarkedAnew();
};

void tst_MivoBufferTimeout::init()
{
    ScriptedCondition::waits.clear();
    ScriptedCondition::script.clear();
    ScriptedCondition::wakeUps = 0;
}

void tst_MivoBufferTimeout::waitsAgainWhenTheTimeIsUp()
{
    MivoBuffer buffer(4, true);
    buffer.setInUse();
    ScriptedCondition::script << [] { return false; } << [] { return true; };
    buffer.waitForRelease();
    QCOMPARE(ScriptedCondition::waits, QList<unsigned long>() << 20000 << ULONG_MAX);
    QVERIFY(buffer.isInUse()); // the second wait's end is not doubted
}

void tst_MivoBufferTimeout::doesNotWaitForAReleaseThatFallsBetweenTheTwoWaits()
{
    MivoBuffer buffer(4, true);
    buffer.setInUse();
    ScriptedCondition::script << [&buffer] {
        buffer.release(); // before the waiter has the mutex again
        return false;
    };
    buffer.waitForRelease();
    QCOMPARE(ScriptedCondition::waits, QList<unsigned long>() << 20000);
    QCOMPARE(ScriptedCondition::wakeUps, 1);
}

void tst_MivoBufferTimeout::returnsWhenWokenAlthoughMarkedAnew()
{
    MivoBuffer buffer(4, true);
    buffer.setInUse();
    ScriptedCondition::script << [&buffer] {
        buffer.release();
        buffer.setInUse();
        return true;
    };
    buffer.waitForRelease();
    QCOMPARE(ScriptedCondition::waits, QList<unsigned long>() << 20000);
}

QTEST_APPLESS_MAIN(tst_MivoBufferTimeout)

#include "tst_mivobuffer_timeout.moc"
