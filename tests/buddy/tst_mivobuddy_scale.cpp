#include "TestBuddies.h"

#include <QElapsedTimer>
#include <QtTest>

#include <algorithm>
#include <vector>

namespace {

QList<MivoBuddyContact> makeContacts(int count)
{
    QList<MivoBuddyContact> contacts;
    contacts.reserve(count);
    for (int i = 0; i < count; ++i)
        contacts << makeContact("a");
    return contacts;
}

/** The shortest of several times, in nanoseconds, that @p piece takes. */
template <class Piece>
double bestTime(Piece piece)
{
    double best = 0;
    for (int i = 0; i < 5; ++i) {
        const double taken = piece();
        best = i == 0 ? taken : std::min(best, taken);
    }
    return best;
}

/**
 * Nanoseconds for adding 100,000 contacts to groups of @p size: it is the same contacts whatever
 * the size, so that only the groups make a difference and not the memory that the contacts take.
 */
double timeOfAdding(const QList<MivoBuddyContact>& contacts, int size)
{
    return bestTime([&] {
        std::vector<MivoBuddyGroup> groups;
        for (int i = 0; i < contacts.size(); i += size)
            groups.emplace_back("g");
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < contacts.size(); ++i)
            groups[i / size].addBuddy(contacts.at(i));
        const double taken = timer.nsecsElapsed();
        bool complete = true;
        for (const MivoBuddyGroup& group : groups) {
            complete = complete && group.childCount() == size;
            const CycleBreaker<MivoBuddyGroup> end(group);
        }
        return complete ? taken : -1;
    });
}

/** Nanoseconds for 10,000 look-ups in a group of @p count contacts. */
double timeOfLookUps(int count)
{
    const QList<MivoBuddyContact> contacts = makeContacts(count);
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    for (const MivoBuddyContact& contact : contacts)
        group.addBuddy(contact);
    const MivoBuddyContact stranger = makeContact("a");
    return bestTime([&] {
        QElapsedTimer timer;
        timer.start();
        int found = 0;
        for (int i = 0; i < 2500; ++i) {
            const MivoBuddyContact& member = contacts.at(count - 1 - i);
            found += group.containsBuddy(member) + group.containsContact(member)
                + group.containsBuddy(stranger) + group.containsContact(stranger);
        }
        const double taken = timer.nsecsElapsed();
        return found == 5000 ? taken : -1;
    });
}

} // namespace

/** Time grows with the number of operations and not with the size of the group. */
class tst_MivoBuddyScale : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void addingTenTimesAsManyTakesAtMostTwelveTimesAsLong();
    void lookUpsDoNotSlowDownWithTheGroup();
    void lookUpsInAListFilledByAHostDoNotSlowDown();
    void movingTenThousandContactsTakesLessThanTwoSeconds_data();
    void movingTenThousandContactsTakesLessThanTwoSeconds();
    void removingTenThousandContactsTakesLessThanTwoSeconds_data();
    void removingTenThousandContactsTakesLessThanTwoSeconds();
};

void tst_MivoBuddyScale::addingTenTimesAsManyTakesAtMostTwelveTimesAsLong()
{
    const QList<MivoBuddyContact> contacts = makeContacts(100000);
    double few = 0;
    double many = 0;
    // What else runs on the machine can only make it slower: a few attempts even that out.
    for (int attempt = 0; attempt < 10 && (attempt == 0 || many > 12 * few); ++attempt) {
        const double fewNow = timeOfAdding(contacts, 10000) / 10;
        const double manyNow = timeOfAdding(contacts, 100000);
        few = attempt == 0 ? fewNow : std::min(few, fewNow);
        many = attempt == 0 ? manyNow : std::min(many, manyNow);
    }
    qInfo("10,000: %.1f ms, 100,000: %.1f ms, ratio %.1f", few / 1e6, many / 1e6, many / few);
    QVERIFY(few > 0 && many > 0);
    QVERIFY2(many <= 12 * few, qPrintable(QString::number(many / few)));
}

void tst_MivoBuddyScale::lookUpsDoNotSlowDownWithTheGroup()
{
    const double few = timeOfLookUps(2500);
    const double many = timeOfLookUps(100000);
    qInfo("in 2,500: %.2f ms, in 100,000: %.2f ms", few / 1e6, many / 1e6);
    QVERIFY(few > 0 && many > 0);
    // Caches alone cost a factor; a walk through the list would cost forty.
    QVERIFY2(many <= 12 * few, qPrintable(QString::number(many / few)));
}

void tst_MivoBuddyScale::lookUpsInAListFilledByAHostDoNotSlowDown()
{
    const QList<MivoBuddyContact> contacts = makeContacts(50000);
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    for (const MivoBuddyContact& contact : contacts)
        childrenOf(group) << contact;
    QElapsedTimer timer;
    timer.start();
    int found = 0;
    for (const MivoBuddyContact& contact : contacts)
        found += group.containsBuddy(contact) && group.containsContact(contact);
    QCOMPARE(found, 50000);
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
}

void tst_MivoBuddyScale::movingTenThousandContactsTakesLessThanTwoSeconds_data()
{
    QTest::addColumn<bool>("fromTheEnd");
    QTest::addColumn<bool>("toMeta");
    for (const bool fromTheEnd : {false, true}) {
        for (const bool toMeta : {false, true}) {
            QTest::addRow("%s, to a %s", fromTheEnd ? "last first" : "first first",
                          toMeta ? "meta-contact" : "group")
                << fromTheEnd << toMeta;
        }
    }
}

void tst_MivoBuddyScale::movingTenThousandContactsTakesLessThanTwoSeconds()
{
    QFETCH(bool, fromTheEnd);
    QFETCH(bool, toMeta);
    QList<MivoBuddyContact> contacts = makeContacts(10000);
    MivoBuddyGroup from("from");
    MivoBuddyGroup group("to");
    MivoBuddyMeta meta("to");
    const CycleBreaker<MivoBuddyGroup> endOfFrom(from);
    const CycleBreaker<MivoBuddyGroup> endOfGroup(group);
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    for (const MivoBuddyContact& contact : std::as_const(contacts))
        from.addBuddy(contact);
    for (const MivoBuddyContact& contact : makeContacts(10000))
        toMeta ? meta.addBuddy(contact) : group.addBuddy(contact);
    if (fromTheEnd)
        std::reverse(contacts.begin(), contacts.end());
    QElapsedTimer timer;
    timer.start();
    for (const MivoBuddyContact& contact : std::as_const(contacts))
        toMeta ? meta.addBuddy(contact) : group.addBuddy(contact);
    qInfo("%lld ms", static_cast<long long>(timer.elapsed()));
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(from.childCount(), 0);
    QCOMPARE(toMeta ? meta.childCount() : group.childCount(), 20000);
}

void tst_MivoBuddyScale::removingTenThousandContactsTakesLessThanTwoSeconds_data()
{
    QTest::addColumn<int>("step");
    QTest::newRow("first first") << 1;
    QTest::newRow("last first") << -1;
    QTest::newRow("all over the place") << 7919;
}

void tst_MivoBuddyScale::removingTenThousandContactsTakesLessThanTwoSeconds()
{
    QFETCH(int, step);
    const int count = 10000;
    const QList<MivoBuddyContact> contacts = makeContacts(count);
    MivoBuddyGroup group("g");
    const CycleBreaker<MivoBuddyGroup> end(group);
    for (const MivoBuddyContact& contact : contacts)
        group.addBuddy(contact);
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < count; ++i)
        group.removeBuddy(contacts.at(((i + 1) * step % count + count) % count));
    qInfo("%lld ms", static_cast<long long>(timer.elapsed()));
    QCOMPARE(group.childCount(), 0);
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(tst_MivoBuddyScale)
#include "tst_mivobuddy_scale.moc"
