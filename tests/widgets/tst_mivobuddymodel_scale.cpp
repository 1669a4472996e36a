#include "MivoBuddyFilterModel.h"
#include "ShownList.h"

#include <QTreeView>
#include <QtTest>

#include <cstdlib>
#include <new>

namespace {

/** How much memory was asked for, by this thread; it counts work without a clock. */
thread_local qint64 allocations = 0;

} // namespace

void* operator new(std::size_t size)
{
    ++allocations;
    if (void* const memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    ++allocations;
    return std::malloc(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace {

/** A list of that many groups of 100 contacts each. */
class LargeList
{
public:
    explicit LargeList(int groups)
    {
        types[0].display = "Online";
        types[0].flag = MivoPresence::Flag(1);
        types[1].display = "Offline";
        types[1].flag = MivoPresence::Offline;
        for (int i = 0; i < groups; ++i) {
            MivoBuddyGroup group(QString("group %1").arg(i));
            for (int j = 0; j < 100; ++j)
                group.addBuddy(makeContact(QString("contact %1").arg(j), &types[j % 2]));
            end.groups << group;
        }
    }

    const QList<MivoBuddyGroup>& groups() const { return end.groups; }

private:
    MivoPresenceType types[2];
    ContainerEnd end;
};

/** What @p piece allocates. */
template <class Piece>
qint64 allocationsOf(Piece piece)
{
    const qint64 before = allocations;
    piece();
    return allocations - before;
}

/** What a refresh of a list of that many groups allocates, in which one contact has changed. */
qint64 allocationsOfRefresh(int groups)
{
    const LargeList list(groups);
    MivoBuddyModel model;
    model.setGroups(list.groups());
    list.groups().at(groups / 2).buddyAt(50).setUnreadMessages(1);
    const qint64 made = allocationsOf([&] { model.refresh(); });
    const CheckedModel checked(model); // allocates too
    list.groups().at(groups / 2).buddyAt(51).setUnreadMessages(1);
    model.refresh();
    return made;
}

} // namespace

/** 100,000 contacts in 1,000 groups. */
class tst_MivoBuddyModelScale : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theWholeListIsShownByOneSignal();
    void aRefreshAfterOneChangeTellsOfOneRow();
    void aRefreshTakesOnePassThroughTheList();
    void anUpdateTakesNoPassAtAll();
    void movingAHalfOfAllIsOneChangeOfLayout();
    void aFilterShowsTheListSortedAndFollowsOneChange();
};

void tst_MivoBuddyModelScale::theWholeListIsShownByOneSignal()
{
    const LargeList list(1000);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    QTreeView view;
    view.setModel(&model);
    const QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    const QSignalSpy layout(&model, &QAbstractItemModel::layoutChanged);
    model.setGroups(list.groups());
    QCOMPARE(inserted.count(), 1);
    QCOMPARE(layout.count(), 0);
    QCOMPARE(model.rowCount(), 1000);
    QCOMPARE(model.rowCount(model.index(999, 0)), 100);
    QCOMPARE(model.index(99, 0, model.index(999, 0)).data().toString(), QString("contact 99"));
}

void tst_MivoBuddyModelScale::aRefreshAfterOneChangeTellsOfOneRow()
{
    const LargeList list(1000);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups(list.groups());
    const QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    const QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    const QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
    const QSignalSpy layout(&model, &QAbstractItemModel::layoutChanged);
    list.groups().at(500).buddyAt(50).setUnreadMessages(1);
    model.refresh();
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed.at(0).at(0).toModelIndex(), model.index(50, 0, model.index(500, 0)));
    QCOMPARE(changed.at(0).at(1), changed.at(0).at(0));
    MivoBuddyGroup group = list.groups().at(700);
    group.removeBuddy(group.buddyAt(3));
    model.refresh();
    QCOMPARE(removed.count(), 1);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(inserted.count() + layout.count(), 0);
}

void tst_MivoBuddyModelScale::aRefreshTakesOnePassThroughTheList()
{
    const qint64 few = allocationsOfRefresh(100);
    const qint64 many = allocationsOfRefresh(1000);
    qInfo("10,000 contacts: %lld allocations, 100,000: %lld", (long long)few, (long long)many);
    // A place for each entry, a list for each group, and a fixed rest.
    QVERIFY2(many <= 101 * 1000 + 3 * 1000, qPrintable(QString::number(many)));
    QVERIFY2(many <= 10 * few, qPrintable(QString::number(double(many) / double(few))));
}

void tst_MivoBuddyModelScale::anUpdateTakesNoPassAtAll()
{
    const LargeList list(1000);
    MivoBuddyModel model;
    model.setGroups(list.groups());
    MivoBuddy contact = list.groups().at(500).buddyAt(50);
    contact.setUnreadMessages(1);
    const qint64 made = allocationsOf([&] { model.update(contact); });
    QVERIFY2(made < 50, qPrintable(QString::number(made)));
    const CheckedModel checked(model); // allocates too
    contact.setUnreadMessages(2);
    model.update(contact);
    contact.setUnreadMessages(1);
    model.update(contact);
    QCOMPARE(model.indexes(contact).value(0).data(MivoBuddyModel::UnreadRole).toInt(), 1);
}

void tst_MivoBuddyModelScale::movingAHalfOfAllIsOneChangeOfLayout()
{
    const LargeList list(1000);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups(list.groups());
    const QSignalSpy layout(&model, &QAbstractItemModel::layoutChanged);
    const QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    const QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
    for (int i = 0; i < 1000; i += 2) {
        MivoBuddyGroup to = list.groups().at(i);
        MivoBuddyGroup from = list.groups().at(i + 1);
        while (from.childCount() > 0)
            to.addBuddy(from.buddyAt(0));
    }
    model.refresh();
    QCOMPARE(layout.count(), 1);
    QCOMPARE(inserted.count() + removed.count(), 0);
    QCOMPARE(model.rowCount(model.index(0, 0)), 200);
    QCOMPARE(model.rowCount(model.index(1, 0)), 0);
}

void tst_MivoBuddyModelScale::aFilterShowsTheListSortedAndFollowsOneChange()
{
    const LargeList list(1000);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    MivoBuddyFilterModel filter;
    filter.setSourceModel(&model);
    filter.setOfflineHidden(true);
    model.setGroups(list.groups());
    QCOMPARE(filter.rowCount(), 1000);
    QCOMPARE(filter.rowCount(filter.index(0, 0)), 50);
    const QSignalSpy changed(&filter, &QAbstractItemModel::dataChanged);
    const QSignalSpy layout(&filter, &QAbstractItemModel::layoutChanged);
    list.groups().at(0).buddyAt(0).setUnreadMessages(1);
    model.refresh();
    QVERIFY(changed.count() >= 1);
    QCOMPARE(layout.count(), 0);
    filter.setSearchText("contact 98");
    QCOMPARE(filter.rowCount(), 1000);
    QCOMPARE(filter.rowCount(filter.index(999, 0)), 1);
}

QTEST_MAIN(tst_MivoBuddyModelScale)
#include "tst_mivobuddymodel_scale.moc"
