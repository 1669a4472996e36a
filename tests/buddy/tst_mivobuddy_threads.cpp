#include "TestBuddies.h"
#include "TestThreads.h"

#include <QtTest>

#include <atomic>
#include <chrono>
#include <future>
#include <random>
#include <thread>
#include <vector>

namespace {

const int threadCount = 4;

/** How long the long test runs; the environment may ask for less or more. */
int durationMs()
{
    const int asked = qEnvironmentVariableIntValue("MIVO_STRESS_MS");
    return asked > 0 ? asked : 10000;
}

/**
 * Runs @p piece(number) in four threads that start together, and waits for all. They are not Qt's:
 * the thread sanitizer understands these without a sanitized Qt.
 */
template <class Piece>
void runInFourThreads(int boundMs, Piece piece)
{
    std::atomic<int> ready{0};
    std::vector<std::future<void>> threads;
    threads.reserve(threadCount);
    for (int number = 0; number < threadCount; ++number) {
        threads.push_back(std::async(std::launch::async, [&ready, &piece, number] {
            ++ready;
            while (ready < threadCount)
                std::this_thread::yield();
            piece(number);
        }));
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(boundMs);
    for (const std::future<void>& thread : threads) {
        if (thread.wait_until(deadline) != std::future_status::ready)
            qFatal("The threads of the test block each other");
    }
}

bool addTo(const MivoBuddy& container, const MivoBuddy& entry)
{
    MivoBuddyGroup group(container);
    return group.isValid() ? group.addBuddy(entry) : MivoBuddyMeta(container).addBuddy(entry);
}

int removeFrom(const MivoBuddy& container, const MivoBuddy& entry)
{
    MivoBuddyGroup group(container);
    return group.isValid() ? group.removeBuddy(entry) : MivoBuddyMeta(container).removeBuddy(entry);
}

QList<MivoBuddy> membersIn(const MivoBuddy& container)
{
    const MivoBuddyGroup group(container);
    return group.isValid() ? childrenOf(group) : childrenOf(MivoBuddyMeta(container));
}

} // namespace

class tst_MivoBuddyThreads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void movesInOppositeDirectionsDoNotBlockEachOther_data();
    void movesInOppositeDirectionsDoNotBlockEachOther();
    void aContactAddedEverywhereAtOnceIsInOnePlace();
    void aGroupMayGoWhileItsContactMoves();
    void namesOfMetaContactsAreLookedUpWhileTheyAreAdded();
    void aContactThatMovesWithinAGroupIsAlwaysFoundInIt();
    void groupsAreClearedWhileContactsMove();
    void sharedContainersStayConsistent();
};

void tst_MivoBuddyThreads::movesInOppositeDirectionsDoNotBlockEachOther_data()
{
    QTest::addColumn<bool>("withMeta");
    QTest::newRow("two groups") << false;
    QTest::newRow("a group and a meta-contact") << true;
}

void tst_MivoBuddyThreads::movesInOppositeDirectionsDoNotBlockEachOther()
{
    QFETCH(bool, withMeta);
    MivoBuddyGroup a("a");
    MivoBuddyGroup b("b");
    MivoBuddyMeta m("m");
    const CycleBreaker<MivoBuddyGroup> endOfA(a);
    const CycleBreaker<MivoBuddyGroup> endOfB(b);
    const CycleBreaker<MivoBuddyMeta> endOfM(m);
    const MivoBuddy other = withMeta ? MivoBuddy(m) : MivoBuddy(b);
    QList<MivoBuddyContact> contacts;
    for (int i = 0; i < threadCount; ++i) {
        contacts << makeContact(QString::number(i));
        addTo(i % 2 ? MivoBuddy(a) : other, contacts.last());
    }
    std::atomic<int> failures{0};
    runInFourThreads(testBoundMs * 3, [&](int number) {
        const MivoBuddyContact contact = contacts.at(number);
        for (int i = number; i < number + 50000; ++i)
            failures += addTo(i % 2 ? other : MivoBuddy(a), contact) ? 0 : 1;
    });
    QCOMPARE(failures.load(), 0);
    QCOMPARE(int(membersIn(a).size() + membersIn(other).size()), threadCount);
}

void tst_MivoBuddyThreads::aContactAddedEverywhereAtOnceIsInOnePlace()
{
    for (int round = 0; round < 3000; ++round) {
        MivoBuddyGroup groups[threadCount]
            = {MivoBuddyGroup("0"), MivoBuddyGroup("1"), MivoBuddyGroup("2"), MivoBuddyGroup("3")};
        const MivoBuddyContact contact = makeContact("c");
        runInFourThreads(testBoundMs,
                         [&](int number) { MivoBuddyGroup(groups[number]).addBuddy(contact); });
        int places = 0;
        for (MivoBuddyGroup& group : groups) {
            if (group.containsBuddy(contact)) {
                ++places;
                QVERIFY(contact.getParent() == group);
            }
            group.removeBuddy(contact);
        }
        QCOMPARE(places, 1);
        QCOMPARE(handlesOf(contact), 1);
    }
}

void tst_MivoBuddyThreads::aGroupMayGoWhileItsContactMoves()
{
    const Witness name("short-lived");
    const MivoBuddyContact contact = makeContact("c");
    runInFourThreads(testBoundMs * 3, [&](int) {
        for (int i = 0; i < 20000; ++i)
            MivoBuddyGroup(name.name()).addBuddy(contact);
    });
    QVERIFY(name.sees());
    MivoBuddyGroup(contact.getParent()).removeBuddy(contact);
    QVERIFY(!name.sees());
    QCOMPARE(handlesOf(contact), 1);
}

void tst_MivoBuddyThreads::namesOfMetaContactsAreLookedUpWhileTheyAreAdded()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const int count = 2000;
    std::atomic<int> added{0};
    std::atomic<int> wrong{0};
    runInFourThreads(testBoundMs, [&](int number) {
        MivoBuddyGroup own(group);
        if (number == 0) {
            for (; added < count; ++added)
                wrong += !own.addMeta(QString::number(added)).isValid();
            return;
        }
        while (added < count) {
            const int known = added;
            wrong += known > 0 && !own.containsMeta(QString::number(known - 1));
            wrong += own.containsMeta(QString::number(count + number));
            own.containsMeta(QString::number(known));
        }
    });
    QCOMPARE(wrong.load(), 0);
    QCOMPARE(group.childCount(), count);
}

void tst_MivoBuddyThreads::aContactThatMovesWithinAGroupIsAlwaysFoundInIt()
{
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyMeta meta = group.addMeta("m");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    const MivoBuddyContact contact = makeContact("c");
    group.addBuddy(contact);
    std::atomic<int> missed{0};
    std::atomic<int> moves{0};
    const int count = 20000;
    runInFourThreads(testBoundMs, [&](int number) {
        if (number == 0) {
            for (; moves < count; ++moves)
                addTo(moves % 2 ? MivoBuddy(group) : MivoBuddy(meta), contact);
            return;
        }
        while (moves < count)
            missed += !group.containsContact(contact);
    });
    QCOMPARE(missed.load(), 0);
    QVERIFY(contact.getParent() == group);
    QCOMPARE(meta.childCount(), 0);
}

void tst_MivoBuddyThreads::groupsAreClearedWhileContactsMove()
{
    const Witness name("entry");
    {
        QList<MivoBuddy> containers;
        QList<MivoBuddyGroup> groups;
        for (int i = 0; i < 3; ++i) {
            groups << MivoBuddyGroup(name.name());
            containers << groups.last();
        }
        // Each a member of one group or of none, while it is added and cleared.
        QList<MivoBuddyMeta> metas;
        for (int i = 0; i < 3; ++i) {
            metas << MivoBuddyMeta(name.name());
            containers << metas.last();
        }
        QList<MivoBuddyContact> contacts;
        for (int i = 0; i < 8; ++i)
            contacts << makeContact(name.name());
        runInFourThreads(testBoundMs * 3, [&](int number) {
            std::mt19937 random(number + 1);
            for (int i = 0; i < 20000; ++i) {
                MivoBuddyGroup group = groups.at(int(random() % groups.size()));
                if (number == 0) {
                    group.clear();
                    continue;
                }
                if (random() % 8 == 0)
                    group.addBuddy(metas.at(int(random() % metas.size())));
                addTo(containers.at(int(random() % containers.size())),
                      contacts.at(int(random() % contacts.size())));
            }
        });
        for (const MivoBuddyContact& contact : std::as_const(contacts)) {
            int places = 0;
            for (const MivoBuddy& container : std::as_const(containers)) {
                const auto count = int(membersIn(container).count(contact));
                places += count;
                if (count > 0)
                    QVERIFY2(contact.getParent() == container, "a member that leads elsewhere");
            }
            QVERIFY2(places <= 1, "a contact in two containers");
            QCOMPARE(contact.getParent().isValid(), places == 1);
            QCOMPARE(handlesOf(contact), 1 + places);
        }
        for (const MivoBuddyMeta& meta : std::as_const(metas)) {
            if (meta.getGroup().isValid())
                QVERIFY(meta.getGroup().containsBuddy(meta));
        }
        for (MivoBuddyGroup& group : groups)
            group.clear();
        for (MivoBuddyMeta& meta : metas)
            meta.clear(); // one that was in two groups has its members still
    }
    QVERIFY(!name.sees());
}

void tst_MivoBuddyThreads::sharedContainersStayConsistent()
{
    MivoPresenceType offline{"", "", "", 0, MivoPresence::Offline};
    const Witness name("entry");
    {
        QList<MivoBuddy> containers;
        QList<MivoBuddy> entries;
        for (int i = 0; i < 3; ++i)
            containers << MivoBuddyGroup(name.name()) << MivoBuddyMeta(name.name());
        for (int i = 0; i < 30; ++i)
            entries << makeContact(name.name(), i % 2 ? &offline : nullptr);
        const MivoBuddyContact merged = makeContact(name.name());
        for (int i = 0; i < 4; ++i) {
            entries << makeTemporary(name.name())
                    << MivoBuddyMerged(name.name(), QList<MivoBuddyContact>() << merged);
        }
        entries << MivoBuddyMeta(name.name());

        std::atomic<int> wrong{0};
        const QDeadlineTimer end(durationMs());
        runInFourThreads(durationMs() + testBoundMs, [&](int number) {
            std::mt19937 random(number + 1);
            for (qint64 step = 0; step % 64 || !end.hasExpired(); ++step) {
                const MivoBuddy container = containers.at(int(random() % containers.size()));
                const MivoBuddy entry = entries.at(int(random() % entries.size()));
                MivoBuddyGroup group(container);
                MivoBuddyMeta meta(container);
                switch (random() % 13) {
                case 0:
                    wrong += removeFrom(container, entry) > 1;
                    break;
                case 1:
                    group.sort();
                    meta.sort();
                    break;
                case 2:
                    wrong += group.isValid()
                        && (group.onlineChildCount() < 0
                            || group.statusChildCount(MivoPresence::Offline) < 0);
                    break;
                case 3:
                    wrong += (group.isValid() ? group.childCount() : meta.childCount()) < 0;
                    break;
                case 4:
                    group.containsBuddy(entry);
                    group.containsContact(entry);
                    meta.containsContact(entry);
                    break;
                case 5:
                    group.buddyAt(int(random() % 40)).getDisplay();
                    meta.buddyAt(int(random() % 40)).getDisplay();
                    break;
                case 6:
                    if (group.isValid()) {
                        // Another thread may clear the group, and so forget the name.
                        wrong += !group.addMeta("m").isValid();
                        group.containsMeta("m");
                    }
                    break;
                case 8:
                    if (random() % 16 == 0) {
                        group.clear();
                        meta.clear();
                    } else {
                        const QList<MivoBuddy> members
                            = group.isValid() ? group.buddies() : meta.buddies();
                        for (const MivoBuddy& member : members)
                            wrong += !member.isValid();
                    }
                    break;
                case 7:
                    MivoBuddyContact(entry).getParent();
                    MivoBuddyMerged(entry).getParent();
                    MivoBuddyTemporary(entry).getGroup();
                    MivoBuddyMeta(entry).getGroup();
                    break;
                default:
                    addTo(container, entry);
                    break;
                }
            }
        });
        QCOMPARE(wrong.load(), 0);

        for (const MivoBuddy& entry : std::as_const(entries)) {
            const MivoBuddyContact contact(entry);
            int places = 0;
            for (const MivoBuddy& container : std::as_const(containers)) {
                const auto count = membersIn(container).count(entry);
                QVERIFY2(count <= 1, "the same entry twice in one container");
                if (contact.isValid() && count == 1)
                    QVERIFY(contact.getParent() == container);
                places += int(count);
            }
            if (!contact.isValid())
                continue;
            QVERIFY2(places <= 1, "a contact in two containers");
            if (contact.getParent().getType() == MivoBuddy::Group)
                QVERIFY2(places == 1, "a contact that its parent has lost");
            QCOMPARE(handlesOf(contact), 2 + places);
        }
        for (const MivoBuddy& container : std::as_const(containers)) {
            if (container.getType() == MivoBuddy::Group)
                const CycleBreaker<MivoBuddyGroup> breaker(container);
            else
                const CycleBreaker<MivoBuddyMeta> breaker(container);
        }
        for (const MivoBuddy& entry : std::as_const(entries)) {
            MivoBuddyPrivate::get(entry)->setBackLink(MivoBuddy());
            QCOMPARE(handlesOf(entry), 1);
        }
    }
    QVERIFY(!name.sees());
}

QTEST_GUILESS_MAIN(tst_MivoBuddyThreads)
#include "tst_mivobuddy_threads.moc"
