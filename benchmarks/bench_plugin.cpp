// What calls between plug-ins cost, in one thread and across two.

#include "Bench.h"

#include "MivoCallActionEvent.h"
#include "MivoPlugin.h"
#include "MivoPluginAction.h"
#include "MivoWait.h"

#include <QCoreApplication>
#include <QSemaphore>
#include <QThread>

Q_DECLARE_METATYPE(MivoArg)

namespace {

/** How many posted calls are on their way at once, so that a wake-up is not paid for each. */
const int batch = 64;

QList<MivoArg> someArguments()
{
    return QList<MivoArg>() << 42 << QString::fromLatin1("a string") << true;
}

} // namespace

/** What is called: as a plug-in, and as the object that it is. */
class Target : public MivoPlugin
{
    Q_OBJECT

public:
    void act(QList<MivoArg>& arguments) { call(arguments); }
    void ask(MivoPlugin*, QList<MivoArg>& arguments) { benchmark::DoNotOptimize(arguments); }

    static MivoPluginAction::Member action()
    {
        return static_cast<MivoPluginAction::Member>(&Target::act);
    }
    static MivoCallSlotEvent::Member slot()
    {
        return static_cast<MivoCallSlotEvent::Member>(&Target::ask);
    }

    QSemaphore called; ///< once a batch

public Q_SLOTS:
    void call(const QList<MivoArg>& arguments)
    {
        benchmark::DoNotOptimize(&arguments);
        if (++calls % batch == 0)
            called.release();
    }

private:
    int calls = 0;
};

namespace {

// What any host has to do, and no more.

class Dispatcher : public QObject
{
public:
    bool event(QEvent* event) override
    {
        if (event->type() != MivoCallActionEvent::EventType)
            return QObject::event(event);
        auto* const call = static_cast<MivoCallActionEvent*>(event);
        MivoPlugin* const plugin = call->plugin;
        const MivoPluginAction::Member member = call->member;
        (plugin->*member)(call->arguments);
        return true;
    }
};

class CalledThread : public QThread
{
public:
    CalledThread() { moveToThread(this); }
    void stop()
    {
        quit();
        wait();
    }
    bool event(QEvent* event) override
    {
        if (event->type() != MivoCallSlotEvent::EventType)
            return QThread::event(event);
        auto* const call = static_cast<MivoCallSlotEvent*>(event);
        MivoPlugin* const target = call->target;
        const MivoCallSlotEvent::Member member = call->member;
        (target->*member)(call->sender, call->arguments);
        call->wait->setRetValue(call->arguments);
        call->wait->wakeUp();
        return true;
    }
};

// The ways of a posted call.

struct ByAction
{
    explicit ByAction(Target& target)
        : action(&target, Target::action(), someArguments())
    {
    }
    void operator()() { action(); }

    MivoPluginAction action;
};

struct ByFunctor
{
    explicit ByFunctor(Target& calledTarget)
        : target(&calledTarget)
    {
    }
    void operator()()
    {
        QMetaObject::invokeMethod(
            target, [called = target, list = arguments] { called->call(list); },
            Qt::QueuedConnection);
    }

    Target* target;
    const QList<MivoArg> arguments = someArguments();
};

struct ByName
{
    explicit ByName(Target& calledTarget)
        : target(&calledTarget)
    {
        qRegisterMetaType<QList<MivoArg>>("QList<MivoArg>");
    }
    void operator()()
    {
        QMetaObject::invokeMethod(target, "call", Qt::QueuedConnection,
                                  Q_ARG(QList<MivoArg>, arguments));
    }

    Target* target;
    const QList<MivoArg> arguments = someArguments();
};

template <class Way>
void postInOneThread(benchmark::State& state)
{
    Target target;
    Dispatcher dispatcher;
    MivoCallActionEvent::dispatcher = &dispatcher;
    Way call(target);
    while (state.KeepRunningBatch(batch)) {
        for (int i = 0; i < batch; ++i)
            call();
        QCoreApplication::sendPostedEvents();
        if (!target.called.tryAcquire())
            state.SkipWithError("a call is missing");
    }
    MivoCallActionEvent::dispatcher = nullptr;
}

template <class Way>
void postToAnotherThread(benchmark::State& state)
{
    CalledThread thread;
    Target target;
    Dispatcher dispatcher;
    MivoCallActionEvent::dispatcher = &dispatcher;
    target.moveToThread(&thread);
    dispatcher.moveToThread(&thread);
    thread.start();
    Way call(target);
    while (state.KeepRunningBatch(batch)) {
        for (int i = 0; i < batch; ++i)
            call();
        target.called.acquire();
    }
    thread.stop();
    MivoCallActionEvent::dispatcher = nullptr;
}

// Synchronous calls, which answer a list.

void callSlotInOneThread(benchmark::State& state)
{
    Target target;
    QThread* const thread = target.thread();
    const QList<MivoArg> arguments = someArguments();
    for (auto _ : state) {
        const QList<MivoArg> answer
            = MivoWait::callSlot(&target, Target::slot(), nullptr, arguments, thread);
        benchmark::DoNotOptimize(&answer);
    }
}

void callDirectly(benchmark::State& state)
{
    Target target;
    MivoPlugin* const plugin = &target;
    MivoCallSlotEvent::Member member = Target::slot();
    benchmark::DoNotOptimize(member);
    const QList<MivoArg> arguments = someArguments();
    for (auto _ : state) {
        QList<MivoArg> answer = arguments;
        (plugin->*member)(nullptr, answer);
        benchmark::DoNotOptimize(answer);
    }
}

void callSlotInAnotherThread(benchmark::State& state)
{
    CalledThread thread;
    Target target;
    target.moveToThread(&thread);
    thread.start();
    const QList<MivoArg> arguments = someArguments();
    for (auto _ : state) {
        const QList<MivoArg> answer
            = MivoWait::callSlot(&target, Target::slot(), nullptr, arguments, &thread);
        benchmark::DoNotOptimize(&answer);
    }
    thread.stop();
}

void callBlocking(benchmark::State& state)
{
    CalledThread thread;
    Target target;
    target.moveToThread(&thread);
    thread.start();
    const QList<MivoArg> arguments = someArguments();
    for (auto _ : state) {
        QList<MivoArg> answer = arguments;
        QMetaObject::invokeMethod(
            &target, [&] { target.ask(nullptr, answer); }, Qt::BlockingQueuedConnection);
        benchmark::DoNotOptimize(answer);
    }
    thread.stop();
}

} // namespace

void addRows()
{
    bench::row("run an action, same thread")
        .ours(postInOneThread<ByAction>)
        .peer("queued functor", postInOneThread<ByFunctor>)
        .goal(0.9);
    bench::row("run an action, same thread, and a slot by name")
        .ours(postInOneThread<ByAction>)
        .peer("queued by name", postInOneThread<ByName>)
        .goal(0.6);
    bench::row("run an action, other thread")
        .ours(postToAnotherThread<ByAction>)
        .peer("queued functor", postToAnotherThread<ByFunctor>)
        .counted(bench::Counted::ProcessTime)
        .goal(0.9);
    bench::row("run an action, other thread, and a slot by name")
        .ours(postToAnotherThread<ByAction>)
        .peer("queued by name", postToAnotherThread<ByName>)
        .counted(bench::Counted::ProcessTime)
        .goal(0.6);
    bench::row("callSlot() in the same thread")
        .ours(callSlotInOneThread)
        .peer("member call, list copy", callDirectly)
        .goal(1.3);
    bench::row("callSlot() into another thread")
        .ours(callSlotInAnotherThread)
        .peer("Qt::BlockingQueuedConnection", callBlocking)
        .counted(bench::Counted::ProcessTime)
        .goal(1.3);
}

#include "bench_plugin.moc"
