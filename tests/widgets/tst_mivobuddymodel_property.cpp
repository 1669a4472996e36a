#include "MivoBuddyFilterModel.h"
#include "PropertyGenerators.h"
#include "ShownList.h"

#include <QTreeView>
#include <QtTest>

#include <map>

namespace {

const int groupCount = 4;
const int metaCount = 3;
const int contactCount = 8;

/** A contact list of a few entries that all kinds of things happen to. */
class World
{
public:
    World()
    {
        for (int i = 0; i < 4; ++i) {
            types[i].display = QString("presence %1").arg(i);
            types[i].priority = quint32(i / 2);
            types[i].flag = i == 3 ? MivoPresence::Offline : MivoPresence::Flag(i);
        }
        for (int i = 0; i < groupCount; ++i)
            end.groups << MivoBuddyGroup(QString("G%1").arg(3 - i));
        for (int i = 0; i < metaCount; ++i)
            end.metas << MivoBuddyMeta(QString("M%1").arg(i));
        // Some names twice.
        for (int i = 0; i < contactCount; ++i)
            contacts << MivoBuddyContact(nullptr, QString("id%1").arg(i), QString("c%1").arg(i / 2),
                                         MivoBuddyType(), MivoPresence(&types[i % 4], QString()),
                                         anySubscription());
        members << makeMerged({contacts.at(0), contacts.at(1)}) << makeMerged()
                << makeTemporary("t0") << makeTemporary("t1");
        for (const MivoBuddyMeta& meta : end.metas)
            members << meta;
        for (const MivoBuddyContact& contact : contacts)
            members << contact;
        shownGroups = end.groups;
    }

    /** One of the things that happen, by three numbers. */
    void change(int what, int a, int b)
    {
        MivoBuddyGroup group = end.groups.at(a % groupCount);
        MivoBuddyMeta meta = end.metas.at(a % metaCount);
        const MivoBuddy member = members.at(b % members.size());
        switch (what) {
        case 0:
        case 1:
            group.addBuddy(member);
            break;
        case 2:
            meta.addBuddy(member);
            break;
        case 3:
            group.removeBuddy(member);
            break;
        case 4:
            group.removeAt(b % 5);
            break;
        case 5:
            meta.removeAt(b % 3);
            break;
        case 6:
            group.sort();
            break;
        case 7:
            meta.sort();
            break;
        case 8:
            contacts[a % contactCount].setPresence(
                MivoPresence(&types[b % 4], b % 3 ? QString() : QString("text")));
            break;
        case 9:
            members[b % int(members.size())].setUnreadMessages(a % 3);
            break;
        case 10:
            MivoBuddyMerged(members.at(a % 2))
                .setContacts({contacts.at(b % contactCount), contacts.at((a + b) % contactCount)});
            break;
        case 11: { // as a host may do in the record
            QList<MivoBuddy>& children = childrenOf(group);
            children.insert(b % int(children.size() + 1), member);
            break;
        }
        case 12: {
            QList<MivoBuddy>& children = childrenOf(group);
            if (children.size() > 1)
                children.move(b % int(children.size()), (a + b) % int(children.size()));
            break;
        }
        case 13:
            shownGroups.move(a % int(shownGroups.size()), b % int(shownGroups.size()));
            break;
        case 14:
            if (shownGroups.size() > 1)
                shownGroups.removeAt(b % int(shownGroups.size()));
            break;
        case 15:
            shownGroups.insert(b % int(shownGroups.size() + 1), end.groups.at(a % groupCount));
            break;
        case 16:
            MivoBuddyTemporary(members.at(2 + a % 2))
                .setPresence(MivoPresence(&types[b % 4], QString()));
            break;
        }
    }
    static const int changes = 17;

    const MivoBuddy& entry(int i) const { return members.at(i % members.size()); }

    QList<MivoBuddyGroup> shownGroups;

private:
    MivoPresenceType types[4];
    ContainerEnd end;
    QList<MivoBuddyContact> contacts;
    QList<MivoBuddy> members;
};

void appendIndexes(const QAbstractItemModel& model, const QModelIndex& parent,
                   QList<QPersistentModelIndex>& all)
{
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        all << index;
        appendIndexes(model, index, all);
    }
}

QList<QPersistentModelIndex> allIndexes(const QAbstractItemModel& model)
{
    QList<QPersistentModelIndex> all;
    appendIndexes(model, QModelIndex(), all);
    return all;
}

std::map<const MivoBuddyPrivate*, int> countsOf(const QList<MivoBuddy>& buddies)
{
    std::map<const MivoBuddyPrivate*, int> counts;
    for (const MivoBuddy& buddy : buddies)
        ++counts[MivoBuddyPrivate::get(buddy)];
    return counts;
}

QStringList shownIn(const QModelIndex& index)
{
    QStringList shown;
    for (int role : {int(Qt::DisplayRole), int(Qt::ToolTipRole), int(MivoBuddyModel::IdRole),
                     int(MivoBuddyModel::OfflineRole), int(MivoBuddyModel::PriorityRole)})
        shown << index.data(role).toString();
    return shown;
}

/** What a view would have noted of a model, and whether it still holds. */
class Follower
{
public:
    explicit Follower(const QAbstractItemModel& followedModel)
        : model(followedModel)
        , indexes(allIndexes(model))
        , changed(&model, &QAbstractItemModel::dataChanged)
    {
        for (const QPersistentModelIndex& index : indexes) {
            buddies << buddyOf(index);
            shown << shownIn(index);
            parents << index.parent();
        }
        connection = QObject::connect(&model, &QAbstractItemModel::dataChanged,
                                      [this](const QModelIndex& first, const QModelIndex& last) {
                                          for (int row = first.row(); row <= last.row(); ++row)
                                              told << first.sibling(row, 0);
                                      });
    }
    ~Follower() { QObject::disconnect(connection); }

    void check() const
    {
        QList<MivoBuddy> after;
        for (const QPersistentModelIndex& index : allIndexes(model))
            after << buddyOf(index);
        std::map<const MivoBuddyPrivate*, int> left = countsOf(after);
        const std::map<const MivoBuddyPrivate*, int> before = countsOf(buddies);
        std::map<const MivoBuddyPrivate*, int> followed;
        for (int i = 0; i < indexes.size(); ++i) {
            const QPersistentModelIndex& index = indexes.at(i);
            if (!index.isValid())
                continue;
            RC_ASSERT(buddyOf(index) == buddies.at(i));
            RC_ASSERT(model.index(index.row(), 0, index.parent()) == QModelIndex(index));
            ++followed[MivoBuddyPrivate::get(buddies.at(i))];
            // Told of exactly when something else is shown.
            RC_ASSERT((shownIn(index) != shown.at(i)) == told.contains(index));
        }
        // As many places of an entry are followed as there are before and after.
        for (const auto& count : before)
            RC_ASSERT(followed[count.first] == std::min(count.second, left[count.first]));
        // Who is still in a container that is followed is followed there.
        for (int i = 0; i < indexes.size(); ++i) {
            const QPersistentModelIndex& container = parents.at(i);
            if (!container.isValid())
                continue;
            int inside = 0;
            for (int row = 0; row < model.rowCount(container); ++row)
                inside += buddyOf(model.index(row, 0, container)) == buddies.at(i);
            int noted = 0;
            int stayed = 0;
            for (int j = 0; j < indexes.size(); ++j) {
                if (parents.at(j) != container || buddies.at(j) != buddies.at(i))
                    continue;
                ++noted;
                stayed += indexes.at(j).isValid() && indexes.at(j).parent() == container;
            }
            RC_ASSERT(stayed >= std::min(inside, noted));
        }
    }

private:
    Q_DISABLE_COPY(Follower)

    const QAbstractItemModel& model;
    const QList<QPersistentModelIndex> indexes;
    QSignalSpy changed;
    QList<MivoBuddy> buddies;
    QList<QStringList> shown;
    QList<QPersistentModelIndex> parents;
    QList<QPersistentModelIndex> told;
    QMetaObject::Connection connection;
};

using Step = std::tuple<int, int, int>;

rc::Gen<std::vector<Step>> anySteps()
{
    return rc::gen::container<std::vector<Step>>(rc::gen::tuple(
        rc::gen::inRange(0, World::changes), rc::gen::inRange(0, 24), rc::gen::inRange(0, 24)));
}

/** The contents of a model made anew, which shows @p groups. */
QStringList contentsAnew(const QList<MivoBuddyGroup>& groups)
{
    MivoBuddyModel fresh;
    fresh.setGroups(groups);
    return contents(fresh);
}

} // namespace

class tst_MivoBuddyModelProperty : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aRefreshedModelIsLikeOneMadeAnewAndIndexesFollow();
    void anUpdatedEntryIsShownAsInAModelMadeAnew();
    void aFilterOnARefreshedModelIsLikeOneMadeAnew();
};

void tst_MivoBuddyModelProperty::aRefreshedModelIsLikeOneMadeAnewAndIndexesFollow()
{
    QVERIFY(rc::check([] {
        World world;
        MivoBuddyModel model;
        const CheckedModel checked(model);
        QTreeView view;
        view.setModel(&model);
        for (int round = 0; round < 4; ++round) {
            for (const Step& step : *anySteps())
                world.change(std::get<0>(step), std::get<1>(step), std::get<2>(step));
            const Follower follower(model);
            model.setGroups(world.shownGroups);
            RC_ASSERT(contents(model) == contentsAnew(world.shownGroups));
            follower.check();
            view.expandAll();
        }
    }));
}

void tst_MivoBuddyModelProperty::anUpdatedEntryIsShownAsInAModelMadeAnew()
{
    QVERIFY(rc::check([] {
        World world;
        for (const Step& step : *anySteps())
            world.change(std::get<0>(step), std::get<1>(step), std::get<2>(step));
        MivoBuddyModel model;
        const CheckedModel checked(model);
        model.setGroups(world.shownGroups);
        const QList<MivoBuddyGroup> groups = world.shownGroups;
        for (const Step& step : *anySteps())
            world.change(std::get<0>(step), std::get<1>(step), std::get<2>(step));
        // Each of the groups updated is all of the list updated.
        const MivoBuddy entry = world.entry(*rc::gen::inRange(0, 24));
        model.update(entry);
        MivoBuddyModel fresh;
        fresh.setGroups(groups);
        const QModelIndexList places = model.indexes(entry);
        const QModelIndexList freshPlaces = fresh.indexes(entry);
        if (!places.isEmpty() && !freshPlaces.isEmpty())
            RC_ASSERT(contents(model, places.at(0)) == contents(fresh, freshPlaces.at(0)));
        for (const MivoBuddyGroup& group : groups)
            model.update(group);
        RC_ASSERT(contents(model) == contents(fresh));
    }));
}

void tst_MivoBuddyModelProperty::aFilterOnARefreshedModelIsLikeOneMadeAnew()
{
    QVERIFY(rc::check([] {
        World world;
        MivoBuddyModel model;
        MivoBuddyFilterModel filter;
        filter.setSourceModel(&model);
        const CheckedModel checked(filter);
        QTreeView view;
        view.setModel(&filter);
        for (int round = 0; round < 4; ++round) {
            filter.setOfflineHidden(*rc::gen::arbitrary<bool>());
            filter.setSearchText(*rc::gen::element(QString(), QString("c1"), QString("ID"),
                                                   QString("m"), QString("5"), QString("zzz")));
            for (const Step& step : *anySteps())
                world.change(std::get<0>(step), std::get<1>(step), std::get<2>(step));
            model.setGroups(world.shownGroups);
            MivoBuddyModel fresh;
            fresh.setGroups(world.shownGroups);
            MivoBuddyFilterModel freshFilter;
            freshFilter.setOfflineHidden(filter.isOfflineHidden());
            freshFilter.setSearchText(filter.searchText());
            freshFilter.setSourceModel(&fresh);
            RC_ASSERT(contents(filter).join('\n').toStdString()
                      == contents(freshFilter).join('\n').toStdString());
            for (int row = 0; row < filter.rowCount(); ++row)
                RC_ASSERT(filter.rowCount(filter.index(row, 0)) > 0);
            view.expandAll();
        }
    }));
}

QTEST_MAIN(tst_MivoBuddyModelProperty)
#include "tst_mivobuddymodel_property.moc"
