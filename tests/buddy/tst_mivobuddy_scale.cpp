#include "InstructionCount.h"
#include "TestBuddies.h"

#include <QtTest>

#include <algorithm>
#include <functional>
#include <memory>

namespace {

QList<MivoBuddyContact> makeContacts(int count)
{
    QList<MivoBuddyContact> contacts;
    contacts.reserve(count);
    for (int i = 0; i < count; ++i)
        contacts << makeContact("a");
    return contacts;
}

/** What is prepared and then counted; the program ends after it. */
using Piece = std::function<void()>;

/** Containers and contacts of a piece. */
struct Prepared
{
    explicit Prepared(int count)
        : contacts(makeContacts(count))
    {
    }

    void fill()
    {
        for (const MivoBuddyContact& contact : std::as_const(contacts))
            group.addBuddy(contact);
        settle();
    }
    /** What look-ups alone have to pay for has been paid. */
    void settle() const
    {
        for (int i = 0; i < 20; ++i)
            group.containsBuddy(MivoBuddy());
    }

    QList<MivoBuddyContact> contacts;
    MivoBuddyGroup group{"group"};
    MivoBuddyGroup other{"other"};
    MivoBuddyMeta meta{"meta"};
};

/** How many times the instructions of @p prepare's piece grow when the group is ten times as large. */
template <class Prepare>
double growth(Prepare prepare)
{
    return tenfoldGrowth(
        [prepare](int size) -> Piece {
            const std::shared_ptr<Prepared> prepared = std::make_shared<Prepared>(size);
            return prepare(prepared);
        },
        1000);
}

using P = std::shared_ptr<Prepared>;

} // namespace

/** Work grows with the number of operations and not with the size of the group. */
class tst_MivoBuddyScale : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void addingTenTimesAsManyIsTenTimesTheWork();
    void lookUpsDoNotGrowWithTheGroup();
    void lookUpsDoNotGrowWithTheGroupAfterSorting();
    void lookUpsInAListFilledByAHostDoNotGrowWithTheGroup();
    void lookUpsBetweenAHostsAppendsDoNotGrowWithTheGroup();
    void lookUpsOfContactsDoNotGrowWithWhatCanHoldNone();
    void aMemberThatCanHoldContactsIsLookedIntoOnce();
    void movingTenTimesAsManyIsTenTimesTheWork_data();
    void movingTenTimesAsManyIsTenTimesTheWork();
    void removingTenTimesAsManyIsTenTimesTheWork_data();
    void removingTenTimesAsManyIsTenTimesTheWork();
    void clearingTenTimesAsManyIsTenTimesTheWork_data();
    void clearingTenTimesAsManyIsTenTimesTheWork();
    void askingForAllMembersDoesNotGrowWithTheGroup();
    void lookUpsDoNotGrowWithTheGroupAfterRemovalsAllOverThePlace();
    void removingByReferenceFromAListFilledByAHostIsNotMuchMore();
};

void tst_MivoBuddyScale::initTestCase()
{
    if (!canCountInstructions())
        QSKIP("Instructions are counted in builds without sanitizers.");
}

void tst_MivoBuddyScale::addingTenTimesAsManyIsTenTimesTheWork()
{
    const double times = growth([](const P& p) {
        return [p] {
            for (const MivoBuddyContact& contact : std::as_const(p->contacts))
                p->group.addBuddy(contact);
        };
    });
    QVERIFY2(times > 5 && times < 12, QByteArray::number(times));
}

void tst_MivoBuddyScale::lookUpsDoNotGrowWithTheGroup()
{
    const double times = growth([](const P& p) {
        p->fill();
        return [p] {
            const MivoBuddyContact stranger = makeContact("s");
            for (int i = 1; i <= 500; ++i) {
                p->group.containsBuddy(p->contacts.at(p->contacts.size() - i));
                p->group.containsContact(p->contacts.at(i));
                p->group.containsBuddy(stranger);
                p->group.containsContact(stranger);
            }
        };
    });
    QVERIFY2(times > 0.5 && times < 1.5, QByteArray::number(times));
}

void tst_MivoBuddyScale::lookUpsDoNotGrowWithTheGroupAfterSorting()
{
    const double times = growth([](const P& p) {
        p->fill();
        p->group.sort();
        return [p] {
            for (int i = 1; i <= 500; ++i)
                p->group.containsBuddy(p->contacts.at(p->contacts.size() - i));
        };
    });
    QVERIFY2(times > 0.5 && times < 1.5, QByteArray::number(times));
}

void tst_MivoBuddyScale::lookUpsInAListFilledByAHostDoNotGrowWithTheGroup()
{
    const double times = growth([](const P& p) {
        for (const MivoBuddyContact& contact : std::as_const(p->contacts))
            childrenOf(p->group) << contact;
        return [p] {
            for (const MivoBuddyContact& contact : std::as_const(p->contacts)) {
                p->group.containsBuddy(contact);
                p->group.containsContact(contact);
            }
        };
    });
    QVERIFY2(times > 5 && times < 12, QByteArray::number(times));
}

void tst_MivoBuddyScale::lookUpsBetweenAHostsAppendsDoNotGrowWithTheGroup()
{
    const double times = growth([](const P& p) {
        p->fill();
        p->contacts = makeContacts(100);
        return [p] {
            for (const MivoBuddyContact& contact : std::as_const(p->contacts)) {
                p->group.containsBuddy(contact);
                childrenOf(p->group) << contact;
                p->group.containsBuddy(contact);
            }
        };
    });
    // Appending may copy the list once.
    QVERIFY2(times > 0 && times < 3, QByteArray::number(times));
}

void tst_MivoBuddyScale::lookUpsOfContactsDoNotGrowWithWhatCanHoldNone()
{
    const double times = growth([](const P& p) {
        p->fill();
        p->meta.addBuddy(makeContact("m"));
        p->group.addBuddy(p->meta);
        p->group.addBuddy(makeMerged({makeContact("n")}));
        p->settle();
        return [p] {
            const MivoBuddyContact stranger = makeContact("s");
            for (int i = 0; i < 500; ++i)
                p->group.containsContact(stranger);
        };
    });
    QVERIFY2(times > 0.5 && times < 1.5, QByteArray::number(times));
}

void tst_MivoBuddyScale::aMemberThatCanHoldContactsIsLookedIntoOnce()
{
    // A contact that names the meta-contact as its parent and is not in it any more.
    const auto prepare = [](int which) -> Piece {
        const P p = std::make_shared<Prepared>(0);
        p->meta.addBuddy(makeMerged(makeContacts(5000)));
        p->group.addBuddy(p->meta);
        const MivoBuddyContact contact = makeContact("c");
        p->meta.addBuddy(contact);
        p->meta.removeBuddy(contact);
        if (which == 1)
            return [p, contact] { p->meta.containsContact(contact); };
        return [p, contact] { p->group.containsContact(contact); };
    };
    const qint64 inMeta = instructionsOf(prepare, 1);
    const qint64 inGroup = instructionsOf(prepare, 2);
    QVERIFY(inMeta > 5000);
    QVERIFY2(inGroup < inMeta * 3 / 2, QByteArray::number(double(inGroup) / double(inMeta)));
}

void tst_MivoBuddyScale::movingTenTimesAsManyIsTenTimesTheWork_data()
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

void tst_MivoBuddyScale::movingTenTimesAsManyIsTenTimesTheWork()
{
    QFETCH(bool, fromTheEnd);
    QFETCH(bool, toMeta);
    const double times = growth([=](const P& p) {
        p->fill();
        if (fromTheEnd)
            std::reverse(p->contacts.begin(), p->contacts.end());
        return [=] {
            for (const MivoBuddyContact& contact : std::as_const(p->contacts))
                toMeta ? p->meta.addBuddy(contact) : p->other.addBuddy(contact);
        };
    });
    QVERIFY2(times > 5 && times < 12, QByteArray::number(times));
}

void tst_MivoBuddyScale::removingTenTimesAsManyIsTenTimesTheWork_data()
{
    QTest::addColumn<bool>("fromTheEnd");
    QTest::newRow("first first") << false;
    QTest::newRow("last first") << true;
}

void tst_MivoBuddyScale::removingTenTimesAsManyIsTenTimesTheWork()
{
    QFETCH(bool, fromTheEnd);
    const double times = growth([=](const P& p) {
        p->fill();
        if (fromTheEnd)
            std::reverse(p->contacts.begin(), p->contacts.end());
        return [p] {
            for (const MivoBuddyContact& contact : std::as_const(p->contacts))
                p->group.removeBuddy(contact);
        };
    });
    QVERIFY2(times > 5 && times < 12, QByteArray::number(times));
}

void tst_MivoBuddyScale::clearingTenTimesAsManyIsTenTimesTheWork_data()
{
    QTest::addColumn<int>("form");
    QTest::newRow("contacts") << 0;
    QTest::newRow("contacts in one meta-contact") << 1;
    QTest::newRow("a meta-contact for each contact") << 2;
}

void tst_MivoBuddyScale::clearingTenTimesAsManyIsTenTimesTheWork()
{
    QFETCH(int, form);
    const double times = growth([form](const P& p) {
        for (int i = 0; i < p->contacts.size(); ++i) {
            MivoBuddyMeta meta = form == 1 ? p->group.addMeta("m")
                : form == 2                ? p->group.addMeta(QString::number(i))
                                           : MivoBuddyMeta();
            if (!meta.addBuddy(p->contacts.at(i)))
                p->group.addBuddy(p->contacts.at(i));
        }
        return [p] { p->group.clear(); };
    });
    QVERIFY2(times > 5 && times < 15, QByteArray::number(times));
}

void tst_MivoBuddyScale::askingForAllMembersDoesNotGrowWithTheGroup()
{
    const double times = growth([](const P& p) {
        p->fill();
        return [p] {
            qint64 members = 0;
            for (int i = 0; i < 500; ++i)
                members += p->group.buddies().size();
            if (members == 0)
                qFatal("the group has no members");
        };
    });
    QVERIFY2(times > 0.5 && times < 1.5, QByteArray::number(times));
}

void tst_MivoBuddyScale::lookUpsDoNotGrowWithTheGroupAfterRemovalsAllOverThePlace()
{
    const double times = growth([](const P& p) {
        p->fill();
        QList<MivoBuddyContact> left;
        for (int i = 0; i < p->contacts.size(); ++i) {
            if (i % 3 == 0)
                p->group.removeBuddy(p->contacts.at(i));
            else
                left << p->contacts.at(i);
        }
        p->contacts = left;
        return [p] {
            for (const MivoBuddyContact& contact : std::as_const(p->contacts))
                p->group.containsBuddy(contact);
        };
    });
    QVERIFY2(times > 0 && times < 15, QByteArray::number(times));
}

void tst_MivoBuddyScale::removingByReferenceFromAListFilledByAHostIsNotMuchMore()
{
    const double times = growth([](const P& p) {
        for (const MivoBuddyContact& contact : std::as_const(p->contacts))
            childrenOf(p->group) << contact;
        return [p] {
            while (!childrenOf(p->group).isEmpty())
                p->group.removeBuddy(std::as_const(childrenOf(p->group)).last());
        };
    });
    QVERIFY2(times > 5 && times < 15, QByteArray::number(times));
}

QTEST_GUILESS_MAIN(tst_MivoBuddyScale)
#include "tst_mivobuddy_scale.moc"
