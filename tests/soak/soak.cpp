// Lives as a messenger does, round after round: makes a host, has its plug-ins call each other in
// circles, post actions, move contacts and hand frames over, loads and unloads a plug-in, and ends
// all of it. Nothing of a round may be left: not an allocation, a thread or a file descriptor. The
// first round is left out of the comparison, since it fills what Qt and the system keep for good.
#include "HeapCount.h"
#include "TestThreads.h"

#include "MivoBuddyContact.h"
#include "MivoBuddyGroup.h"
#include "MivoBuddyMeta.h"
#include "MivoBuddyType.h"
#include "MivoBuffer.h"
#include "MivoGarbageCollector.h"
#include "MivoHost.h"
#include "MivoPlugin.h"
#include "MivoPluginLoader.h"
#include "MivoRingBuffer.h"
#include "MivoSubscriptionType.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QSemaphore>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

const int circles = 100; // a round
const int callsOfCircle = 5; // within one
const int actionsOfWave = 10000; // posted before any of them is waited for
const int contacts = 200;
const int moves = 2000; // of each mover
const int frames = 200;
const int frameSize = 64 * 1024; // bytes
const int ringSize = 4; // frames

void require(bool condition, const char* claim)
{
    if (!condition)
        throw std::runtime_error(claim);
}

void acquire(QSemaphore& semaphore, int count, const char* claim)
{
    require(semaphore.tryAcquire(count, testBoundMs), claim);
}

/** A ring that tells when the collector has let go of it. */
class Ring : public MivoRingBuffer
{
public:
    Ring()
        : MivoRingBuffer(ringSize, frameSize)
    {
    }
    bool isUnused() override
    {
        hasGone = hasGone || MivoRingBuffer::isUnused();
        return hasGone;
    }

    std::atomic<bool> hasGone{false};
};

/** What the plug-ins of one round share; they end before it. */
struct Round
{
    MivoHost* host = nullptr;
    QList<MivoPlugin*> plugins;
    std::atomic<qint64> calls{0};
    int answersToCome = 0; // in the main thread
    QSemaphore circlesDone;
    QSemaphore actionsDone;
    QSemaphore framesDone;
    std::atomic<int> wrongFrames{0};
};

class SoakPlugin : public MivoPlugin
{
    Q_OBJECT

public:
    SoakPlugin(Round& ownRound, int ownIndex)
        : round(ownRound)
        , index(ownIndex)
    {
    }

    QString name() const override { return QString("soak %1").arg(index); }

    MivoPluginAction counting() { return bound(&SoakPlugin::count); }
    MivoPluginAction taking() { return bound(&SoakPlugin::takeFrame); }

public Q_SLOTS:
    /**
     * Calls itself, which is made directly, then the next plug-in, which waits. The last of them
     * closes the circle by an action of the first: a call back would wait for one that waits.
     */
    void circle(MivoPlugin*, QList<MivoArg>& arguments)
    {
        const QList<MivoArg> echoed = round.host->call(this, "echo", arguments, this);
        require(echoed == arguments, "a plug-in that calls itself gets its answer");
        ++round.calls;
        if (index + 1 < round.plugins.size()) {
            arguments = round.host->call(round.plugins.at(index + 1), "circle", arguments, this);
            return;
        }
        round.host->action(round.plugins.first(), "close", arguments)();
        arguments.append(callsOfCircle);
    }
    void echo(MivoPlugin*, QList<MivoArg>&) { ++round.calls; }

    /** Posts the Int of actions to the next plug-in. */
    void post(MivoPlugin*, QList<MivoArg>& arguments)
    {
        MivoPlugin* const next = round.plugins.at((index + 1) % int(round.plugins.size()));
        MivoPluginAction action = static_cast<SoakPlugin*>(next)->counting();
        for (int i = arguments.first().toInt(); i > 0; --i)
            action();
    }

    /** Fills the frames of a ring, a Pointer, and hands them to the next plug-in. */
    void produce(MivoPlugin*, QList<MivoArg>& arguments)
    {
        Ring* const ring = static_cast<Ring*>(arguments.first().toPointer());
        SoakPlugin* const next
            = static_cast<SoakPlugin*>(round.plugins.at((index + 1) % int(round.plugins.size())));
        MivoPluginAction action = next->taking();
        for (int number = 0; number < frames; ++number) {
            MivoBuffer* const buffer = ring->getBuffer();
            std::memset(buffer->getData(), number % 256, std::size_t(buffer->getSize()));
            QList<MivoArg> frame{MivoArg(static_cast<void*>(buffer)), number};
            action(frame);
        }
    }

    void close(QList<MivoArg>& arguments)
    {
        // In the dispatcher's thread, from which every plug-in may be called.
        const int left = arguments.first().toInt();
        if (left > 1)
            round.host->call(this, "circle", {left - 1}, nullptr);
        else
            round.circlesDone.release();
    }

private:
    template <class Member>
    MivoPluginAction bound(Member member)
    {
        return MivoPluginAction(this, static_cast<MivoPluginAction::Member>(member),
                                {QString("an argument"), index});
    }

    void count(QList<MivoArg>&) { round.actionsDone.release(); }

    void takeFrame(QList<MivoArg>& arguments)
    {
        MivoBuffer* const buffer = static_cast<MivoBuffer*>(arguments.at(0).toPointer());
        const auto byte = static_cast<unsigned char>(arguments.at(1).toInt() % 256);
        const unsigned char* const data = buffer->getData();
        if (buffer->getSize() != frameSize || data[0] != byte
            || std::memcmp(data, data + 1, frameSize - 1) != 0)
            ++round.wrongFrames;
        buffer->release();
        round.framesDone.release();
    }

    Round& round;
    const int index;
};

void callInCircles(Round& round)
{
    for (int i = 0; i < circles / callsOfCircle; ++i) {
        const QList<MivoArg> answer
            = round.host->call(round.plugins.first(), "circle", {callsOfCircle});
        require(answer == QList<MivoArg>({callsOfCircle, callsOfCircle}),
                "the answer comes back through all plug-ins");
    }
    acquire(round.circlesDone, circles / callsOfCircle, "every circle is closed");
    require(round.calls == 2 * circles * round.plugins.size(), "every call is made once");
}

/** All plug-ins post at once; as many of @p count as there are plug-ins for. */
void postActions(Round& round, int count)
{
    const int posters = int(round.plugins.size());
    while (count > 0) {
        const int wave = qMin(count, actionsOfWave);
        for (int i = 0; i < posters; ++i) {
            const int share = wave / posters + (i < wave % posters ? 1 : 0);
            ++round.answersToCome;
            round.host->callLater(
                round.plugins.at(i), "post", {share}, QCoreApplication::instance(),
                [&round](const QList<MivoArg>&, const QString&) { --round.answersToCome; });
        }
        acquire(round.actionsDone, wave, "every action is delivered");
        count -= wave;
    }
    for (QDeadlineTimer patience(testBoundMs); round.answersToCome && !patience.hasExpired();)
        QCoreApplication::processEvents();
    require(round.answersToCome == 0, "every call that nobody waits for is answered");
    require(round.actionsDone.available() == 0, "no action is delivered twice");
}

MivoBuddyContact makeContact(const QString& id)
{
    return MivoBuddyContact(nullptr, id, id, MivoBuddyType(), MivoPresence(),
                            MivoSubscriptionType("Both", "both", 1, QString()));
}

/** Threads move the same contacts between groups and meta-contacts. */
void moveContacts()
{
    std::vector<MivoBuddyGroup> groups;
    std::vector<MivoBuddyMeta> metas;
    for (int i = 0; i < 3; ++i) {
        groups.emplace_back(QString("group %1").arg(i));
        metas.push_back(groups.back().addMeta("meta"));
    }
    QList<MivoBuddyContact> all;
    for (int i = 0; i < contacts; ++i) {
        all << makeContact(QString("contact %1").arg(i));
        groups.front().addBuddy(all.last());
    }
    std::vector<std::thread> movers;
    for (int mover = 0; mover < 3; ++mover) {
        movers.emplace_back([&, mover] {
            for (int i = 0; i < moves; ++i) {
                const MivoBuddyContact& contact = all.at((i * 7 + mover) % contacts);
                const std::size_t place = std::size_t(i + mover) % 6;
                if (place < 3)
                    groups[place].addBuddy(contact);
                else
                    metas[place - 3].addBuddy(contact);
            }
        });
    }
    for (std::thread& mover : movers)
        mover.join();
    int members = 0;
    for (std::size_t i = 0; i < 3; ++i)
        members += groups[i].childCount() - 1 + metas[i].childCount();
    for (MivoBuddyGroup& group : groups)
        group.clear();
    require(members == contacts, "every contact is in one place");
}

void handFramesOver(Round& round)
{
    Ring ring;
    round.host->call(round.plugins.last(), "produce", {MivoArg(static_cast<void*>(&ring))});
    acquire(round.framesDone, frames, "every frame arrives");
    require(round.wrongFrames == 0, "every frame arrives whole");
    MivoGarbageCollector collector;
    collector.add(&ring);
    // It looks once a second.
    for (QDeadlineTimer patience(testBoundMs); !ring.hasGone && !patience.hasExpired();)
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    require(ring.hasGone, "the collector lets go of the ring");
}

void loadAndUnload()
{
    for (int i = 0; i < 5; ++i) {
        MivoPluginLoader loader(ECHO_PLUGIN);
        MivoPlugin* const plugin = loader.load();
        require(plugin, "the plug-in is loaded");
        QList<MivoArg> arguments{QString("sum"), 3, 4};
        plugin->callByName(nullptr, arguments);
        require(arguments == QList<MivoArg>({true, 7}), "the loaded plug-in answers");
        require(loader.unload(), "the plug-in is unloaded");
    }
}

void runRound(int actions)
{
    Round round;
    MivoHost host;
    round.host = &host;
    for (int i = 0; i < 3; ++i) {
        round.plugins << new SoakPlugin(round, i);
        host.add(round.plugins.last());
    }
    QString error;
    require(host.start(&error), "the host starts");
    callInCircles(round);
    postActions(round, actions);
    moveContacts();
    handFramesOver(round);
    loadAndUnload();
    require(host.shutdown(), "the host ends");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

/** What a process has of what can be lost. */
struct Counts
{
    qint64 allocations;
    qint64 threads;
    qint64 descriptors;

    bool isWithin(const Counts& other) const
    {
        return allocations <= other.allocations && threads <= other.threads
            && descriptors <= other.descriptors;
    }
};

qint64 entriesOf(const char* folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}

Counts counts()
{
    Counts counted{0, entriesOf("/proc/self/task"), entriesOf("/proc/self/fd")};
    counted.allocations = HeapCount::liveBlocks;
    return counted;
}

/**
 * What is there when the threads that have ended have gone, which the system takes a moment for.
 * Waits for @p expected, but not for ever.
 */
Counts countsAtRest(const Counts& expected, int patienceMs)
{
    Counts counted = counts();
    for (QDeadlineTimer patience(patienceMs);
         !counted.isWithin(expected) && !patience.hasExpired();) {
        usleep(1000);
        counted = counts();
    }
    return counted;
}

/** Keeps some of what is counted, for good. */
void keep(const QString& what)
{
    if (what == "allocation") {
        static void* volatile kept = nullptr;
        for (int i = 0; i < 16; ++i)
            kept = std::malloc(1);
        static_cast<void>(kept);
    } else if (what == "thread") {
        std::thread([] { pause(); }).detach();
    } else if (what == "descriptor") {
        require(dup(STDOUT_FILENO) >= 0, "there is a descriptor to keep");
    }
}

/** Later rounds may leave less than the first did, and never more. */
bool isNoMore(const char* what, qint64 before, qint64 after)
{
    if (after <= before)
        return true;
    std::fprintf(stderr, "soak: %s: %lld after the first round, %lld at the end\n", what,
                 static_cast<long long>(before), static_cast<long long>(after));
    return false;
}

struct Options
{
    int minutes = 0; // 0: as many as the rounds take
    int rounds = 2; // at least
    int actions = 50000; // a round
    int patienceMs = testBoundMs;
    QString kept;
};

[[noreturn]] void refuse(const QString& reason)
{
    std::fprintf(stderr, "soak: %s\n", qPrintable(reason));
    std::exit(2);
}

int numberOf(const QCommandLineParser& parser, const QString& option, int least, int fallback)
{
    if (!parser.isSet(option))
        return fallback;
    bool isNumber = false;
    const int number = parser.value(option).toInt(&isNumber);
    if (!isNumber || number < least || number > 1000000)
        refuse(QString("--%1 takes a number from %2 to 1000000, not \"%3\"")
                   .arg(option)
                   .arg(least)
                   .arg(parser.value(option)));
    return number;
}

Options optionsOf(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addOptions({{"minutes", "", "N"},
                       {"rounds", "", "N"},
                       {"actions", "", "N"},
                       {"patience", "", "SECONDS"},
                       {"keep", "", "WHAT"}});
    if (!parser.parse(arguments))
        refuse(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        refuse(QString("there is no argument \"%1\"").arg(parser.positionalArguments().first()));
    Options options;
    options.minutes = numberOf(parser, "minutes", 1, 0);
    options.rounds = numberOf(parser, "rounds", 2, options.rounds);
    options.actions = numberOf(parser, "actions", 1, options.actions);
    options.patienceMs = 1000 * numberOf(parser, "patience", 1, options.patienceMs / 1000);
    options.kept = parser.value("keep");
    if (parser.isSet("keep")
        && !QStringList({"allocation", "thread", "descriptor"}).contains(options.kept))
        refuse("--keep takes allocation, thread or descriptor, not \"" + options.kept + '"');
    return options;
}

void say(int rounds, const Options& options, qint64 seconds)
{
    std::printf("soak: %lld s%s, %d rounds, %lld actions\n", static_cast<long long>(seconds),
                options.minutes ? qPrintable(QString(" of %1").arg(options.minutes * 60)) : "",
                rounds, static_cast<long long>(rounds) * options.actions);
    std::fflush(stdout);
}

int soak(const Options& options)
{
    QElapsedTimer clock;
    clock.start();
    const qint64 threads = entriesOf("/proc/self/task");
    runRound(options.actions);
    // Threads of the round that have ended may not yet have gone.
    for (QDeadlineTimer patience(options.patienceMs);
         entriesOf("/proc/self/task") > threads && !patience.hasExpired();)
        usleep(1000);
    const Counts first = counts();

    int rounds = 1;
    qint64 said = 0;
    while (rounds < options.rounds || clock.elapsed() < qint64(options.minutes) * 60 * 1000) {
        runRound(options.actions);
        keep(options.kept);
        ++rounds;
        if (clock.elapsed() - said >= 10000) {
            said = clock.elapsed();
            say(rounds, options, said / 1000);
        }
    }

    const Counts last = countsAtRest(first, options.patienceMs);
    say(rounds, options, clock.elapsed() / 1000);
    if (!canCountHeap())
        std::printf("soak: allocations are not counted in a build with sanitizers\n");
    const bool areNoMore[] = {isNoMore("live allocations", first.allocations, last.allocations),
                              isNoMore("threads", first.threads, last.threads),
                              isNoMore("file descriptors", first.descriptors, last.descriptors)};
    return areNoMore[0] && areNoMore[1] && areNoMore[2] ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    try {
        return soak(optionsOf(QCoreApplication::arguments()));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 1;
    }
}

#include "soak.moc"
