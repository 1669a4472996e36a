#include "MivoCallActionEvent.h"
#include "MivoField.h"
#include "MivoHost.h"
#include "MivoPlugin.h"
#include "MivoPluginThread.h"
#include "MivoWait.h"
#include "MivoXmlNode.h"

#include <QSemaphore>
#include <QtTest>

#include <memory>
#include <stdexcept>

// What the pages in docs/ quote, run.

namespace {

const int boundMs = 60000;

/** Counts words, and has a form. */
class CounterPlugin : public MivoPlugin
{
    Q_OBJECT

public:
    QString name() const override { return "counter"; }
    QList<MivoField> fields() const override
    {
        return {MivoField(MivoField::LineEdit, "Name", "name", "Ann", 20, "You"),
                MivoField("Age", "age", 150, 0, 30, "You")};
    }

public Q_SLOTS:
    void count(MivoPlugin*, QList<MivoArg>& arguments)
    {
        const int words = int(arguments.value(0).toString().split(' ').size());
        arguments.clear();
        arguments.append(words);
    }
    void keep(QList<MivoArg>& arguments)
    {
        kept = arguments.value(0).toString();
        keptInThread = QThread::currentThread()->objectName();
        done.release();
    }

public:
    QString kept;
    QString keptInThread;
    QSemaphore done;
};

/** Asks the plug-in that asks it, without waiting for the answer. */
class ReaderPlugin : public MivoPlugin
{
    Q_OBJECT

public:
    QString name() const override { return "reader"; }
    bool initialise(MivoHost& ownHost) override
    {
        host = &ownHost;
        return true;
    }

public Q_SLOTS:
    void read(MivoPlugin* sender, QList<MivoArg>& arguments)
    {
        host->callLater(
            sender, "title", {}, this,
            [this](const QList<MivoArg>& values, const QString& failure) {
                title = failure.isEmpty() ? values.at(0).toString() : failure;
                answered.release();
            },
            this);
        arguments.clear();
    }

public:
    MivoHost* host = nullptr;
    QString title;
    QSemaphore answered;
};

/** Calls the reader from within a call of its own. */
class WriterPlugin : public MivoPlugin
{
    Q_OBJECT

public:
    QString name() const override { return "writer"; }
    bool initialise(MivoHost& ownHost) override
    {
        host = &ownHost;
        return true;
    }

public Q_SLOTS:
    void write(MivoPlugin*, QList<MivoArg>& arguments)
    {
        arguments = host->call(host->findPlugin("reader"), "read", {}, this);
    }
    void title(MivoPlugin*, QList<MivoArg>& arguments)
    {
        arguments.clear();
        arguments.append(QString("A letter"));
    }

private:
    MivoHost* host = nullptr;
};

/** The receiver of all actions of a messenger. */
class OwnDispatcher : public QObject
{
public:
    bool event(QEvent* event) override
    {
        if (event->type() != MivoCallActionEvent::EventType)
            return QObject::event(event);
        MivoCallActionEvent* const action = static_cast<MivoCallActionEvent*>(event);
        MivoPlugin* const plugin = action->plugin;
        const MivoPluginAction::Member member = action->member;
        try {
            (plugin->*member)(action->arguments);
        } catch (const std::exception& error) {
            qWarning("an action failed: %s", error.what());
        }
        return true; // Qt deletes the event
    }
};

/** The thread of a plug-in, which lives in itself. */
class OwnThread : public QThread
{
public:
    OwnThread() { moveToThread(this); }

    bool event(QEvent* event) override
    {
        if (event->type() != MivoCallSlotEvent::EventType)
            return QThread::event(event);
        MivoCallSlotEvent* const call = static_cast<MivoCallSlotEvent*>(event);
        MivoPlugin* const target = call->target;
        const MivoCallSlotEvent::Member member = call->member;
        try {
            (target->*member)(call->sender, call->arguments);
        } catch (const std::exception& error) {
            qWarning("a call failed: %s", error.what());
        }
        call->wait->setRetValue(call->arguments);
        call->wait->wakeUp(); // the caller deletes it: nothing of it may be used from here on
        return true;
    }
};

} // namespace

class SamplesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void valuesAreReadAsTheirKind();
    void aValueKeepsItsKind();
    void listsOfMixedKindsChangeByInsertion();
    void aCallAnswersItsCaller();
    void anActionRunsInTheDispatchersThread();
    void whoAsksBackDoesNotWait();
    void aFormIsXml();
    void aHostOfOnesOwnServesTwoEvents();
};

void SamplesTest::valuesAreReadAsTheirKind()
{
    const QList<MivoArg> arguments = {MivoArg(42), MivoArg(QString("forty-two")), MivoArg(true)};
    QCOMPARE(arguments.at(0).toInt(), 42);
    QCOMPARE(arguments.at(1).toString(), QString("forty-two"));
    QCOMPARE(arguments.at(2).getType(), MivoArg::Bool);
    QString refusal;
    try {
        arguments.at(0).toInt64(); // an Int is no Int64: nothing is widened
    } catch (const std::runtime_error& error) {
        refusal = error.what();
    }
    QCOMPARE(refusal, QString("MivoArg: cannot convert MivoArg::Int to MivoArg::Int64"));
}

void SamplesTest::aValueKeepsItsKind()
{
    MivoArg value; // empty: takes any kind
    value = MivoArg(1);
    value = MivoArg(2); // the same kind
    bool isRefused = false;
    try {
        value = MivoArg(QString("three"));
    } catch (const std::runtime_error&) {
        isRefused = true; // and the value is still 2
    }
    MivoArg other(QString("three"));
    swap(value, other); // exchanges the values whatever their kinds
    QVERIFY(isRefused);
    QCOMPARE(value.toString(), QString("three"));
    QCOMPARE(other.toInt(), 2);
}

void SamplesTest::listsOfMixedKindsChangeByInsertion()
{
    QList<MivoArg> list = {MivoArg(1), MivoArg(QString("two")), MivoArg(3.0)};
    list.removeAt(1);
    list.insert(1, MivoArg(2)); // not list[1] = MivoArg(2), which would throw
    QCOMPARE(list.at(1).toInt(), 2);
}

void SamplesTest::aCallAnswersItsCaller()
{
    MivoHost host;
    CounterPlugin* const counter = new CounterPlugin;
    host.add(counter);
    QVERIFY(host.start());

    const QList<MivoArg> answer = host.call(counter, "count", {MivoArg(QString("one two three"))});
    QCOMPARE(answer.at(0).toInt(), 3);

    QString failure;
    try {
        host.call(counter, "count", {MivoArg(7)});
    } catch (const MivoHostError& error) {
        failure = error.message();
    }
    QCOMPARE(failure,
             QString("counter: count failed: MivoArg: cannot convert MivoArg::Int to "
                     "MivoArg::String (argument 1)"));
}

void SamplesTest::anActionRunsInTheDispatchersThread()
{
    MivoHost host;
    CounterPlugin* const counter = new CounterPlugin;
    host.add(counter);
    QVERIFY(host.start());

    MivoPluginAction keep = host.action(counter, "keep", {MivoArg(QString("this"))});
    keep(); // posts it and returns

    QVERIFY(counter->done.tryAcquire(1, boundMs));
    QCOMPARE(counter->kept, QString("this"));
    QCOMPARE(counter->keptInThread, QString("dispatcher"));
}

void SamplesTest::whoAsksBackDoesNotWait()
{
    MivoHost host;
    ReaderPlugin* const reader = new ReaderPlugin;
    WriterPlugin* const writer = new WriterPlugin;
    host.add(reader);
    host.add(writer);
    QVERIFY(host.start());
    host.call(writer, "write", {});
    QVERIFY(reader->answered.tryAcquire(1, boundMs));
    QCOMPARE(reader->title, QString("A letter"));
}

void SamplesTest::aFormIsXml()
{
    const CounterPlugin counter;
    QList<MivoField> form = counter.fields();
    form[0].setText("Bea");
    const QByteArray saved = MivoField::toXml(form).toXml();
    QFile expected(MIVO_TEST_DATA_DIR "/form.xml");
    QVERIFY(expected.open(QIODevice::ReadOnly));
    QCOMPARE(saved, expected.readAll());

    QString error;
    const MivoXmlNode document = MivoXmlNode::parse(saved, &error);
    if (document.isNull())
        QFAIL(qPrintable(error)); // begins with the line and the column
    const QList<MivoField> restored = MivoField::fromXml(counter.fields(), document);
    QCOMPARE(restored.at(0).getText(), QString("Bea"));
}

void SamplesTest::aHostOfOnesOwnServesTwoEvents()
{
    OwnDispatcher dispatcher; // lives in this thread
    MivoCallActionEvent::dispatcher = &dispatcher; // before any thread that runs actions
    CounterPlugin counter;
    OwnThread thread;
    counter.moveToThread(&thread);
    thread.start();

    const QList<MivoArg> answer = MivoWait::callSlot(
        &counter, static_cast<MivoCallSlotEvent::Member>(&CounterPlugin::count), nullptr,
        {MivoArg(QString("one two"))}, &thread);
    QCOMPARE(answer.at(0).toInt(), 2);

    MivoPluginAction keep(&counter, static_cast<MivoPluginAction::Member>(&CounterPlugin::keep),
                          {MivoArg(QString("that"))});
    keep();
    QVERIFY(counter.kept.isEmpty()); // posted, not called
    QCoreApplication::processEvents();
    QCOMPARE(counter.kept, QString("that"));

    thread.quit();
    thread.wait();
    MivoCallActionEvent::dispatcher = nullptr;
}

QTEST_GUILESS_MAIN(SamplesTest)
#include "tst_samples.moc"
