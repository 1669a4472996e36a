// races [NAME...]: two threads at a time do what they may do at the same time, to one object after the
// other. Under the thread sanitizer no race must be reported; where a lock has been taken out of the
// sources, one must (check_planted.sh). Without a name all of it is done.

#include "MivoArg.h"
#include "MivoBuddyContact.h"
#include "MivoBuddyGroup.h"
#include "MivoBuddyMeta.h"
#include "MivoBuddyType.h"
#include "MivoBuffer.h"
#include "MivoGarbageCollector.h"
#include "MivoHostLog.h"
#include "MivoPresence.h"
#include "MivoRemovable.h"
#include "MivoSubscriptionType.h"
#include "MivoWait.h"

#include <QCoreApplication>

#include <atomic>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

const int rounds = 1000;

/** Calls both in threads that start together; each is told how often it has been called before. */
void together(const std::function<void(int)>& one, const std::function<void(int)>& other)
{
    std::atomic<int> ready{0};
    const auto repeat = [&ready](const std::function<void(int)>& call) {
        ++ready;
        while (ready < 2)
            std::this_thread::yield();
        for (int round = 0; round < rounds; ++round) {
            call(round);
            if (round % 10 == 0)
                std::this_thread::yield(); // so that they take turns on a busy machine, too
        }
    };
    std::thread first(repeat, one);
    std::thread second(repeat, other);
    first.join();
    second.join();
}

MivoBuddyContact makeContact(const QString& id)
{
    return MivoBuddyContact(nullptr, id, id, MivoBuddyType(), MivoPresence(),
                            MivoSubscriptionType("Both", "both", 1, QString()));
}

void containerRace()
{
    MivoBuddyGroup group("group");
    together([&](int round) { group.addBuddy(makeContact(QString::number(round))); },
             [&](int round) { static_cast<void>(group.buddyAt(round)); });
    while (group.removeAt(0).isValid()) { }
}

void membersRace()
{
    MivoBuddyGroup group("group");
    together([&](int round) { group.addBuddy(makeContact(QString::number(round))); },
             [&](int) { static_cast<void>(group.buddies()); });
    group.clear();
}

void clearingRace()
{
    MivoBuddyGroup group("group");
    const MivoBuddyContact contact = makeContact("contact");
    together(
        [&](int) {
            group.addBuddy(contact);
            group.clear();
        },
        [&](int) { static_cast<void>(group.containsBuddy(contact)); });
}

void metasRace()
{
    MivoBuddyGroup group("group");
    together([&](int round) { group.addMeta(QString::number(round)); },
             [&](int round) { static_cast<void>(group.containsMeta(QString::number(round))); });
    group.clear();
}

void backLinkRace()
{
    MivoBuddyGroup groups[] = {MivoBuddyGroup("one"), MivoBuddyGroup("other")};
    MivoBuddyContact contact = makeContact("contact");
    together([&](int round) { groups[round % 2].addBuddy(contact); },
             [&](int) { static_cast<void>(contact.getParent()); });
    groups[0].removeBuddy(contact);
    groups[1].removeBuddy(contact);
}

void waitRace()
{
    std::vector<MivoWait> waits(rounds);
    together([&](int round) { waits[std::size_t(round)].wakeUp(); },
             [&](int round) { waits[std::size_t(round)].wait(20000); });
}

void bufferRace()
{
    MivoBuffer buffer(16, true);
    together([&](int) { buffer.setInUse(); }, [&](int) { static_cast<void>(buffer.isInUse()); });
}

class Removable : public MivoRemovable
{
public:
    bool isUnused() override { return false; }
};

void collectorRace()
{
    Removable removable;
    MivoGarbageCollector collector;
    together([&](int) { collector.add(&removable); }, [&](int) { collector.add(&removable); });
}

void ignoreLine(const QString&)
{
}

void hostRace()
{
    MivoHostLog::setWriter(ignoreLine);
    together([](int) { MivoHostLog::setWriter(ignoreLine); },
             [](int) { MivoHostLog::write("a line"); });
    MivoHostLog::setWriter(nullptr);
}

void countRace()
{
    const MivoArg value(42);
    const auto copy = [&value](int) { const MivoArg another(value); };
    together(copy, copy);
}

struct Race
{
    const char* name;
    void (*run)();
};

const Race races[]
    = {{"container", containerRace}, {"members", membersRace},     {"clearing", clearingRace},
       {"metas", metasRace},         {"back-link", backLinkRace},  {"wait", waitRace},
       {"buffer", bufferRace},       {"collector", collectorRace}, {"host", hostRace},
       {"count", countRace}};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const std::vector<std::string> wanted(argv + 1, argv + argc);
    std::size_t found = 0;
    for (const Race& race : races) {
        bool isWanted = wanted.empty();
        for (const std::string& name : wanted)
            isWanted = isWanted || name == race.name;
        if (isWanted) {
            ++found;
            race.run();
            std::printf("%s\n", race.name);
        }
    }
    if (found != (wanted.empty() ? std::size(races) : wanted.size())) {
        std::fprintf(stderr, "races: there is no race of this name\n");
        return 2;
    }
    return 0;
}
