#include "Background.h"
#include "MivoBuddyModel.h"
#include "ShownList.h"

#include <QApplication>
#include <QDir>
#include <QItemSelectionModel>
#include <QPixmap>
#include <QTemporaryDir>
#include <QTreeView>
#include <QtTest>

namespace {

/** A presence type that outlives what points at it. */
MivoPresenceType makeType(const QString& display, quint32 priority, int flag,
                          const QString& icon = QString())
{
    MivoPresenceType type;
    type.display = display;
    type.id = display.toLower();
    type.icon = icon;
    type.priority = priority;
    type.flag = MivoPresence::Flag(flag);
    return type;
}

QImage imageOf(const QVariant& decoration)
{
    return decoration.value<QIcon>().pixmap(16, 16).toImage();
}

/** How often which signal was sent. */
struct Signals
{
    explicit Signals(const QAbstractItemModel& model)
        : changed(&model, &QAbstractItemModel::dataChanged)
        , inserted(&model, &QAbstractItemModel::rowsInserted)
        , removed(&model, &QAbstractItemModel::rowsRemoved)
        , layout(&model, &QAbstractItemModel::layoutChanged)
        , reset(&model, &QAbstractItemModel::modelReset)
    {
    }

    QString counts() const
    {
        return QString("%1 changed, %2 inserted, %3 removed, %4 layouts, %5 resets")
            .arg(changed.count())
            .arg(inserted.count())
            .arg(removed.count())
            .arg(layout.count())
            .arg(reset.count());
    }

    QSignalSpy changed;
    QSignalSpy inserted;
    QSignalSpy removed;
    QSignalSpy layout;
    QSignalSpy reset;
};

} // namespace

class tst_MivoBuddyModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void groupsAndMembersFormATree();
    void aMergedContactShowsAllItsContactsAndTheFirstsIdentity();
    void aMetaContactShowsThePresenceOfWhoIsReachedBest();
    void theRolesAreThoseOfTheContact();
    void theRolesOfATemporaryContact();
    void theRolesFollowQtUserRole();
    void toolTipsTakeNoNameForMarkUp();
    void screenReadersAreToldPresenceAndUnreadMessages();
    void iconsComeFromTheThemeOrAFileOrAreDrawnFromTheFlag();
    void anEntryInTwoPlacesIsShownInBoth();
    void aGroupThatIsGivenTwiceIsShownTwice();
    void whatIsNoMemberOfAContainerByKindIsALeaf();
    void invalidGroupsAreNotShown();
    void groupsAnswersWhatWasSet();

    void nothingIsShownBeforeItIsToldOf();
    void updateTouchesOnlyThatRow();
    void updateShowsTheMembersOfAContainer();
    void updateReachesAllPlaces();
    void updateOfAContactReachesWhatShowsItsPresence();
    void updateOfAStrangerDoesNothing();
    void refreshWithoutAChangeSendsNothing();
    void refreshInsertsRowsWhereTheyBelong();
    void refreshRemovesOnlyWhatHasGone();
    void refreshMovesRowsThatChangePlaces();
    void neighboursThatChangeAreToldOfTogether();
    void selectionCurrentAndExpandedRowsSurvive();
    void aContactThatChangesGroupsStaysSelected();
    void aDissolvedMetaContactLeavesItsContactsSelected();
    void goneRowsAreLetGoOf();
    void aSlotOfASignalMayRefresh();

    void dataDoesNotLookIntoTheEntry();
    void anotherThreadsRefreshIsShownByTheEventLoop();
    void ofManyRefreshesTheLastCounts();
    void anotherThreadsUpdatesAreAllShown();
    void aModelThatGoesForgetsWhatWasToBeShown();
};

void tst_MivoBuddyModel::groupsAndMembersFormATree()
{
    MivoBuddyGroup friends("Friends");
    MivoBuddyGroup family("Family");
    const CycleBreaker<MivoBuddyGroup> end(friends);
    const CycleBreaker<MivoBuddyGroup> endOfFamily(family);
    friends.addBuddy(makeContact("ann"));
    MivoBuddyMeta meta = friends.addMeta("Bob");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    meta.addBuddy(makeContact("bob at home"));
    meta.addBuddy(makeMerged({makeContact("bob at work"), makeContact("bob on tour")}));
    family.addBuddy(makeTemporary("stranger"));

    MivoBuddyModel model;
    const CheckedModel checked(model);
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.columnCount(), 1);
    model.setGroups({friends, family, MivoBuddyGroup("empty")});
    QCOMPARE(outline(model),
             QString("Friends(ann, Bob(bob at home, merged(bob at work, bob on tour))), "
                     "Family(stranger), empty"));
    QVERIFY(!model.index(0, 1).isValid());
    QVERIFY(!model.index(3, 0).isValid());
    QVERIFY(!model.parent(model.index(1, 0)).isValid());
    QCOMPARE(model.parent(model.index(1, 0, model.index(0, 0))), model.index(0, 0));
}

void tst_MivoBuddyModel::aMergedContactShowsAllItsContactsAndTheFirstsIdentity()
{
    MivoPresenceType away = makeType("Away", 3, 2);
    MivoPresenceType online = makeType("Online", 9, 1);
    const MivoBuddyContact first = makeContact("first", &away);
    MivoBuddyContact second = makeContact("second", &online);
    MivoAccountConnection* const account = reinterpret_cast<MivoAccountConnection*>(quintptr(0x10));
    MivoBuddyContact(first).setAccount(account);
    MivoBuddyMerged merged("Both", {first, second, first});
    merged.setUnreadMessages(4);
    MivoBuddyGroup group("G");
    const CycleBreaker<MivoBuddyGroup> end(group);
    group.addBuddy(merged);

    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({group});
    QCOMPARE(outline(model), QString("G(Both(first, second, first))"));
    const QModelIndex index = model.indexes(merged).value(0);
    QCOMPARE(index.data(MivoBuddyModel::IdRole).toString(), QString("first"));
    QCOMPARE(index.data(MivoBuddyModel::PresenceRole).toString(), QString("Away"));
    QCOMPARE(index.data(MivoBuddyModel::PriorityRole).toUInt(), 3u);
    QCOMPARE(index.data(MivoBuddyModel::UnreadRole).toInt(), 4);
    QCOMPARE(index.data(MivoBuddyModel::AccountRole).value<void*>(), static_cast<void*>(account));
    merged.setContacts({second});
    model.refresh();
    QCOMPARE(outline(model), QString("G(Both(second))"));
    QCOMPARE(index.data(MivoBuddyModel::IdRole).toString(), QString("second"));
    merged.setContacts({});
    model.update(merged);
    QCOMPARE(outline(model), QString("G(Both)"));
    QVERIFY(index.data(MivoBuddyModel::IdRole).toString().isNull());
    QCOMPARE(index.data(MivoBuddyModel::PresenceRole).toString(), QString());
    QCOMPARE(index.data(MivoBuddyModel::UnreadRole).toInt(), 4);
}

void tst_MivoBuddyModel::aMetaContactShowsThePresenceOfWhoIsReachedBest()
{
    MivoPresenceType offline = makeType("Offline", 50, MivoPresence::Offline);
    MivoPresenceType away = makeType("Away", 3, 2);
    MivoPresenceType online = makeType("Online", 9, 1);
    MivoBuddyContact a = makeContact("a", &offline);
    MivoBuddyContact b = makeContact("b", &away);
    MivoBuddyContact c = makeContact("c", &away);
    c.setPresence(MivoPresence(&away, "later"));
    MivoBuddyGroup group("G");
    const CycleBreaker<MivoBuddyGroup> end(group);
    MivoBuddyMeta meta = group.addMeta("M");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({group});
    const QPersistentModelIndex index = model.indexes(meta).value(0);
    QVERIFY(index.isValid());
    QCOMPARE(index.data(MivoBuddyModel::PresenceRole).toString(), QString());
    QVERIFY(index.data(Qt::DecorationRole).isNull());

    meta.addBuddy(a);
    model.refresh();
    QCOMPARE(index.data(MivoBuddyModel::PresenceRole).toString(), QString("Offline"));
    QVERIFY(index.data(MivoBuddyModel::OfflineRole).toBool());
    meta.addBuddy(b);
    meta.addBuddy(c);
    model.refresh();
    QCOMPARE(index.data(MivoBuddyModel::PresenceRole).toString(), QString("Away"));
    QVERIFY(!index.data(MivoBuddyModel::OfflineRole).toBool());
    QVERIFY(!index.data(Qt::ToolTipRole).toString().contains("later"));
    QVERIFY(index.data(MivoBuddyModel::IdRole).toString().isNull());
    c.setPresence(MivoPresence(&online, QString()));
    model.refresh();
    QCOMPARE(index.data(MivoBuddyModel::PriorityRole).toUInt(), 9u);
}

void tst_MivoBuddyModel::theRolesAreThoseOfTheContact()
{
    MivoPresenceType busy = makeType("Busy", 0xFFFFFFFFu, 3);
    MivoAccountConnection* const account = reinterpret_cast<MivoAccountConnection*>(quintptr(0x20));
    MivoBuddyContact contact(account, "ann@example.org", "Ann", MivoBuddyType(),
                             MivoPresence(&busy, "in a meeting"), anySubscription());
    contact.setUnreadMessages(7);
    MivoBuddyGroup group("G");
    const CycleBreaker<MivoBuddyGroup> end(group);
    group.addBuddy(contact);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({group});

    const QModelIndex index = model.indexes(contact).value(0);
    QCOMPARE(index.data().toString(), QString("Ann"));
    QVERIFY(buddyOf(index) == contact);
    QCOMPARE(index.data(MivoBuddyModel::PresenceRole).toString(), QString("Busy"));
    QCOMPARE(index.data(MivoBuddyModel::UnreadRole), QVariant(7));
    QCOMPARE(index.data(MivoBuddyModel::IdRole).toString(), QString("ann@example.org"));
    QCOMPARE(index.data(MivoBuddyModel::AccountRole).value<void*>(), static_cast<void*>(account));
    QCOMPARE(index.data(MivoBuddyModel::KindRole).toInt(), int(MivoBuddy::Contact));
    QCOMPARE(index.data(MivoBuddyModel::OfflineRole), QVariant(false));
    QCOMPARE(index.data(MivoBuddyModel::PriorityRole).toUInt(), 0xFFFFFFFFu);
    QCOMPARE(index.data(Qt::ToolTipRole).toString(),
             QString("<b>Ann</b><br>ann@example.org<br>Busy (in a meeting)<br>7 unread"));
    QVERIFY(!index.data(Qt::DecorationRole).value<QIcon>().isNull());
    QVERIFY(!index.data(Qt::UserRole + 99).isValid());

    const QModelIndex top = model.index(0, 0);
    QVERIFY(buddyOf(top) == group);
    QCOMPARE(top.data(MivoBuddyModel::KindRole).toInt(), int(MivoBuddy::Group));
    QVERIFY(top.data(MivoBuddyModel::IdRole).toString().isNull());
    QVERIFY(!top.data(MivoBuddyModel::AccountRole).value<void*>());
    QVERIFY(top.data(Qt::DecorationRole).isNull());
    QCOMPARE(top.data(Qt::ToolTipRole).toString(), QString("<b>G</b>"));
}

void tst_MivoBuddyModel::theRolesOfATemporaryContact()
{
    MivoPresenceType online = makeType("Online", 9, 1);
    MivoAccountConnection* const account = reinterpret_cast<MivoAccountConnection*>(quintptr(0x30));
    MivoBuddyGroup group("G");
    const CycleBreaker<MivoBuddyGroup> end(group);
    const MivoBuddyTemporary stranger(account, "x@y", MivoPresence(&online, QString()), group);
    group.addBuddy(stranger);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({group});
    const QModelIndex index = model.indexes(stranger).value(0);
    QCOMPARE(index.data().toString(), QString("x@y"));
    QCOMPARE(index.data(MivoBuddyModel::IdRole).toString(), QString("x@y"));
    QCOMPARE(index.data(MivoBuddyModel::PresenceRole).toString(), QString("Online"));
    QCOMPARE(index.data(MivoBuddyModel::AccountRole).value<void*>(), static_cast<void*>(account));
    QCOMPARE(index.data(MivoBuddyModel::KindRole).toInt(), int(MivoBuddy::Temporary));
}

void tst_MivoBuddyModel::theRolesFollowQtUserRole()
{
    QCOMPARE(int(MivoBuddyModel::BuddyRole), int(Qt::UserRole));
    QCOMPARE(int(MivoBuddyModel::PresenceRole), Qt::UserRole + 1);
    QCOMPARE(int(MivoBuddyModel::UnreadRole), Qt::UserRole + 2);
    QCOMPARE(int(MivoBuddyModel::IdRole), Qt::UserRole + 3);
    QCOMPARE(int(MivoBuddyModel::AccountRole), Qt::UserRole + 4);
    const QHash<int, QByteArray> names = MivoBuddyModel().roleNames();
    QCOMPARE(names.value(MivoBuddyModel::UnreadRole), QByteArray("unread"));
    QCOMPARE(names.value(Qt::DisplayRole), QByteArray("display"));
}

void tst_MivoBuddyModel::toolTipsTakeNoNameForMarkUp()
{
    MivoBuddyGroup group("<img src='x'> & Co");
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({group});
    QCOMPARE(model.index(0, 0).data(Qt::ToolTipRole).toString(),
             QString("<b>&lt;img src='x'&gt; &amp; Co</b>"));
    QCOMPARE(model.index(0, 0).data().toString(), QString("<img src='x'> & Co"));
}

void tst_MivoBuddyModel::screenReadersAreToldPresenceAndUnreadMessages()
{
    MivoPresenceType busy = makeType("Busy", 1, 3);
    MivoBuddyContact contact = makeContact("ann");
    MivoBuddyGroup group("G");
    const CycleBreaker<MivoBuddyGroup> end(group);
    group.addBuddy(contact);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({group});
    const QModelIndex index = model.indexes(contact).value(0);
    QCOMPARE(index.data(Qt::AccessibleTextRole).toString(), QString("ann"));
    contact.setPresence(MivoPresence(&busy, "lunch"));
    contact.setUnreadMessages(2);
    model.refresh();
    QCOMPARE(index.data(Qt::AccessibleTextRole).toString(), QString("ann, Busy (lunch), 2 unread"));
}

void tst_MivoBuddyModel::iconsComeFromTheThemeOrAFileOrAreDrawnFromTheFlag()
{
    QTemporaryDir folder;
    const QString theme = folder.filePath("mytheme");
    QVERIFY(QDir().mkpath(theme + "/16x16/status"));
    QFile index(theme + "/index.theme");
    QVERIFY(index.open(QIODevice::WriteOnly));
    index.write("[Icon Theme]\nName=mytheme\nDirectories=16x16/status\n\n"
                "[16x16/status]\nSize=16\nType=Fixed\n");
    index.close();
    QPixmap red(16, 16);
    red.fill(Qt::red);
    QVERIFY(red.save(theme + "/16x16/status/user-red.png"));
    QPixmap blue(16, 16);
    blue.fill(Qt::blue);
    const QString file = folder.filePath("blue.png");
    QVERIFY(blue.save(file));
    QIcon::setThemeSearchPaths(QIcon::themeSearchPaths() << folder.path());
    QIcon::setThemeName("mytheme");

    MivoPresenceType themed = makeType("themed", 1, 1, "user-red");
    MivoPresenceType filed = makeType("filed", 1, 1, file);
    MivoPresenceType drawn = makeType("drawn", 1, 1, "no-such-icon");
    MivoPresenceType other = makeType("other", 1, 2);
    MivoPresenceType negative = makeType("negative", 1, -5);
    MivoPresenceType offline = makeType("offline", 1, MivoPresence::Offline);
    const MivoSubscriptionType asking("Asking", "asking", 1, "no-such-icon-either");
    const MivoSubscriptionType blueOne("Blue", "blue", 1, file);
    MivoBuddyGroup group("G");
    const CycleBreaker<MivoBuddyGroup> end(group);
    for (MivoPresenceType* const type : {&themed, &filed, &drawn, &other, &negative, &offline})
        group.addBuddy(makeContact(type->display, type));
    group.addBuddy(MivoBuddyContact(nullptr, "asked", "asked", MivoBuddyType(),
                                    MivoPresence(&themed, QString()), asking));
    group.addBuddy(MivoBuddyContact(nullptr, "blue", "blue", MivoBuddyType(),
                                    MivoPresence(&themed, QString()), blueOne));
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({group});
    QList<QImage> images;
    for (int row = 0; row < 8; ++row)
        images << imageOf(model.index(row, 0, model.index(0, 0)).data(Qt::DecorationRole));

    QCOMPARE(images.at(0).pixelColor(8, 8), QColor(Qt::red));
    QCOMPARE(images.at(1).pixelColor(8, 8), QColor(Qt::blue));
    QVERIFY(images.at(2).pixelColor(8, 8).green() > images.at(2).pixelColor(8, 8).red());
    QVERIFY(images.at(3) != images.at(2));
    QVERIFY(images.at(4) != images.at(3) && !images.at(4).isNull());
    QCOMPARE(images.at(5).pixelColor(8, 8).alpha(), 0); // a ring
    QVERIFY(images.at(5).pixelColor(8, 2).alpha() > 0);
    QCOMPARE(images.at(2).pixelColor(0, 0).alpha(), 0);
    // The subscription's icon comes first, where there is one.
    QCOMPARE(images.at(6).pixelColor(8, 8), QColor(Qt::red));
    QCOMPARE(images.at(7).pixelColor(8, 8), QColor(Qt::blue));
}

void tst_MivoBuddyModel::anEntryInTwoPlacesIsShownInBoth()
{
    MivoBuddyGroup a("A");
    MivoBuddyGroup b("B");
    const CycleBreaker<MivoBuddyGroup> end(a);
    const CycleBreaker<MivoBuddyGroup> endOfB(b);
    const MivoBuddyMerged merged = makeMerged({makeContact("x")});
    a.addBuddy(merged);
    b.addBuddy(makeContact("first"));
    b.addBuddy(merged);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a, b});
    QCOMPARE(outline(model), QString("A(merged(x)), B(first, merged(x))"));
    const QModelIndexList places = model.indexes(merged);
    QCOMPARE(places.size(), 2);
    QCOMPARE(places.at(0), model.index(0, 0, model.index(0, 0)));
    QCOMPARE(places.at(1), model.index(1, 0, model.index(1, 0)));
    model.setGroups({b, a});
    QCOMPARE(model.indexes(merged).at(0), model.index(1, 0, model.index(0, 0)));
    b.removeBuddy(merged);
    model.refresh();
    QCOMPARE(outline(model), QString("B(first), A(merged(x))"));
    QCOMPARE(model.indexes(merged).size(), 1);
    QVERIFY(model.indexes(makeContact("stranger")).isEmpty());
    QVERIFY(model.indexes(MivoBuddy()).isEmpty());
}

void tst_MivoBuddyModel::aGroupThatIsGivenTwiceIsShownTwice()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    const MivoBuddyContact contact = makeContact("x");
    a.addBuddy(contact);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a, a});
    QCOMPARE(outline(model), QString("A(x), A(x)"));
    QCOMPARE(model.indexes(contact).size(), 2);
    childrenOf(a) << contact; // as a host may have done
    model.refresh();
    QCOMPARE(outline(model), QString("A(x, x), A(x, x)"));
    model.setGroups({a});
    QCOMPARE(outline(model), QString("A(x, x)"));
    childrenOf(a).removeLast();
    model.update(a);
    QCOMPARE(outline(model), QString("A(x)"));
}

void tst_MivoBuddyModel::whatIsNoMemberOfAContainerByKindIsALeaf()
{
    MivoBuddyGroup a("A");
    MivoBuddyGroup b("B");
    const CycleBreaker<MivoBuddyGroup> end(a);
    const CycleBreaker<MivoBuddyGroup> endOfB(b);
    MivoBuddyMeta meta("M");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    a.addBuddy(meta);
    // What only a host can do, in the records: containers that hold each other and themselves.
    childrenOf(a) << b << a << MivoBuddy("other", MivoBuddy::Other);
    childrenOf(b) << a;
    childrenOf(meta) << meta;
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a, b});
    QCOMPARE(outline(model), QString("A(M(M), B, A, other), B(A)"));
    childrenOf(b).clear();
    model.update(meta);
    model.update(a);
    model.update(b);
    QCOMPARE(outline(model), QString("A(M(M), B, A, other), B"));
    childrenOf(meta).clear();
    model.update(meta);
    QCOMPARE(outline(model), QString("A(M, B, A, other), B"));
}

void tst_MivoBuddyModel::invalidGroupsAreNotShown()
{
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({MivoBuddyGroup(), MivoBuddyGroup("A"), MivoBuddyGroup()});
    QCOMPARE(outline(model), QString("A"));
    QCOMPARE(model.groups().size(), 3);
}

void tst_MivoBuddyModel::groupsAnswersWhatWasSet()
{
    MivoBuddyModel model;
    const CheckedModel checked(model);
    QVERIFY(model.groups().isEmpty());
    const QList<MivoBuddyGroup> groups = {MivoBuddyGroup("A"), MivoBuddyGroup("B")};
    model.setGroups(groups);
    QVERIFY(model.groups() == groups);
    model.setGroups({});
    QVERIFY(model.groups().isEmpty());
    QCOMPARE(model.rowCount(), 0);
}

void tst_MivoBuddyModel::nothingIsShownBeforeItIsToldOf()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    MivoBuddyContact contact = makeContact("x");
    a.addBuddy(contact);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a});
    contact.setUnreadMessages(3);
    a.addBuddy(makeContact("y"));
    QCOMPARE(outline(model), QString("A(x)"));
    QCOMPARE(model.indexes(contact).value(0).data(MivoBuddyModel::UnreadRole).toInt(), 0);
    model.refresh();
    QCOMPARE(outline(model), QString("A(x, y)"));
    QCOMPARE(model.indexes(contact).value(0).data(MivoBuddyModel::UnreadRole).toInt(), 3);
}

void tst_MivoBuddyModel::updateTouchesOnlyThatRow()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    MivoBuddyContact x = makeContact("x");
    MivoBuddyContact y = makeContact("y");
    a.addBuddy(x);
    a.addBuddy(y);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a});
    const Signals sent(model);
    x.setUnreadMessages(1);
    y.setUnreadMessages(2);
    model.update(y);
    QCOMPARE(sent.counts(), QString("1 changed, 0 inserted, 0 removed, 0 layouts, 0 resets"));
    QCOMPARE(sent.changed.at(0).at(0).toModelIndex(), model.indexes(y).value(0));
    QCOMPARE(sent.changed.at(0).at(1).toModelIndex(), model.indexes(y).value(0));
    QCOMPARE(model.indexes(x).value(0).data(MivoBuddyModel::UnreadRole).toInt(), 0);
    model.update(y);
    QCOMPARE(sent.changed.count(), 1);
}

void tst_MivoBuddyModel::updateShowsTheMembersOfAContainer()
{
    MivoBuddyGroup a("A");
    MivoBuddyGroup b("B");
    const CycleBreaker<MivoBuddyGroup> end(a);
    const CycleBreaker<MivoBuddyGroup> endOfB(b);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a, b});
    a.addBuddy(makeContact("x"));
    b.addBuddy(makeContact("y"));
    model.update(b);
    QCOMPARE(outline(model), QString("A, B(y)"));
    model.update(a);
    QCOMPARE(outline(model), QString("A(x), B(y)"));
}

void tst_MivoBuddyModel::updateReachesAllPlaces()
{
    MivoBuddyGroup a("A");
    MivoBuddyGroup b("B");
    const CycleBreaker<MivoBuddyGroup> end(a);
    const CycleBreaker<MivoBuddyGroup> endOfB(b);
    MivoBuddyMeta meta("M");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    a.addBuddy(meta);
    b.addBuddy(meta);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a, b});
    meta.addBuddy(makeContact("x"));
    meta.setUnreadMessages(5);
    model.update(meta);
    QCOMPARE(outline(model), QString("A(M(x)), B(M(x))"));
    for (const QModelIndex& index : model.indexes(meta))
        QCOMPARE(index.data(MivoBuddyModel::UnreadRole).toInt(), 5);
}

void tst_MivoBuddyModel::updateOfAContactReachesWhatShowsItsPresence()
{
    MivoPresenceType online = makeType("Online", 9, 1);
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    MivoBuddyMeta meta = a.addMeta("M");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    MivoBuddyContact contact = makeContact("x");
    const MivoBuddyMerged merged = makeMerged({contact});
    meta.addBuddy(merged);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a});
    const Signals sent(model);
    contact.setPresence(MivoPresence(&online, QString()));
    model.update(contact);
    for (const MivoBuddy& shown : QList<MivoBuddy>({contact, merged, meta}))
        QCOMPARE(model.indexes(shown).value(0).data(MivoBuddyModel::PresenceRole).toString(),
                 QString("Online"));
    QCOMPARE(sent.counts(), QString("3 changed, 0 inserted, 0 removed, 0 layouts, 0 resets"));
}

void tst_MivoBuddyModel::updateOfAStrangerDoesNothing()
{
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({MivoBuddyGroup("A")});
    const Signals sent(model);
    model.update(makeContact("x"));
    model.update(MivoBuddyGroup("B"));
    model.update(MivoBuddy());
    QCOMPARE(sent.counts(), QString("0 changed, 0 inserted, 0 removed, 0 layouts, 0 resets"));
    QCOMPARE(outline(model), QString("A"));
}

void tst_MivoBuddyModel::refreshWithoutAChangeSendsNothing()
{
    MivoPresenceType online = makeType("Online", 9, 1);
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    a.addBuddy(makeContact("x", &online));
    a.addBuddy(makeMerged({makeContact("y", &online)}));
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a});
    const Signals sent(model);
    model.refresh();
    model.setGroups({a});
    model.update(a);
    QCOMPARE(sent.counts(), QString("0 changed, 0 inserted, 0 removed, 0 layouts, 0 resets"));
}

void tst_MivoBuddyModel::refreshInsertsRowsWhereTheyBelong()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    for (const char* const name : {"1", "2", "3"})
        a.addBuddy(makeContact(name));
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a});
    const Signals sent(model);
    QList<MivoBuddy>& children = childrenOf(a);
    children.insert(2, makeContact("2b"));
    children.insert(2, makeContact("2a"));
    children.insert(0, makeContact("0"));
    children << makeContact("4");
    model.refresh();
    QCOMPARE(outline(model), QString("A(0, 1, 2, 2a, 2b, 3, 4)"));
    QCOMPARE(sent.counts(), QString("0 changed, 3 inserted, 0 removed, 0 layouts, 0 resets"));
    QCOMPARE(sent.inserted.at(1).at(1).toInt(), 3);
    QCOMPARE(sent.inserted.at(1).at(2).toInt(), 4);
}

void tst_MivoBuddyModel::refreshRemovesOnlyWhatHasGone()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    for (const char* const name : {"1", "2", "3", "4", "5", "6"})
        a.addBuddy(makeContact(name));
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a});
    const Signals sent(model);
    for (const int row : {4, 2, 1})
        a.removeBuddy(a.buddyAt(row));
    model.refresh();
    QCOMPARE(outline(model), QString("A(1, 4, 6)"));
    QCOMPARE(sent.counts(), QString("0 changed, 0 inserted, 2 removed, 0 layouts, 0 resets"));
}

void tst_MivoBuddyModel::refreshMovesRowsThatChangePlaces()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    for (const char* const name : {"1", "2", "3", "4"})
        a.addBuddy(makeContact(name));
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a});
    const QPersistentModelIndex third = model.index(2, 0, model.index(0, 0));
    const Signals sent(model);
    a.sort();
    model.refresh();
    QCOMPARE(outline(model), QString("A(4, 3, 2, 1)"));
    QCOMPARE(sent.counts(), QString("0 changed, 0 inserted, 0 removed, 1 layouts, 0 resets"));
    QCOMPARE(third.row(), 1);
    QCOMPARE(third.data().toString(), QString("3"));
    // With others that come and go in between.
    QList<MivoBuddy>& children = childrenOf(a);
    children.move(0, 2);
    children.removeLast();
    children.insert(1, makeContact("new"));
    model.refresh();
    QCOMPARE(outline(model), QString("A(3, new, 2, 4)"));
    QCOMPARE(third.row(), 0);
}

void tst_MivoBuddyModel::neighboursThatChangeAreToldOfTogether()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    for (const char* const name : {"1", "2", "3", "4", "5"})
        a.addBuddy(makeContact(name));
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a});
    const Signals sent(model);
    for (const int row : {0, 1, 2, 4})
        a.buddyAt(row).setUnreadMessages(1);
    model.refresh();
    QCOMPARE(sent.changed.count(), 2);
    QCOMPARE(sent.changed.at(0).at(0).toModelIndex().row(), 0);
    QCOMPARE(sent.changed.at(0).at(1).toModelIndex().row(), 2);
    QCOMPARE(sent.changed.at(1).at(0).toModelIndex().row(), 4);
}

void tst_MivoBuddyModel::selectionCurrentAndExpandedRowsSurvive()
{
    MivoBuddyGroup a("A");
    MivoBuddyGroup b("B");
    const CycleBreaker<MivoBuddyGroup> end(a);
    const CycleBreaker<MivoBuddyGroup> endOfB(b);
    for (const char* const name : {"1", "2", "3", "4"})
        a.addBuddy(makeContact(name));
    b.addBuddy(makeContact("5"));
    MivoBuddyModel model;
    const CheckedModel checked(model);
    QTreeView view;
    view.setModel(&model);
    model.setGroups({a, b});
    view.expand(model.index(0, 0));
    const MivoBuddy current = a.buddyAt(2);
    view.setCurrentIndex(model.indexes(current).value(0));

    a.removeBuddy(a.buddyAt(0));
    a.sort();
    a.buddyAt(0).setUnreadMessages(3);
    MivoBuddyGroup c("C");
    model.setGroups({c, b, a});
    QCOMPARE(outline(model), QString("C, B(5), A(4, 3, 2)"));
    QVERIFY(view.isExpanded(model.index(2, 0)));
    QVERIFY(!view.isExpanded(model.index(1, 0)));
    QVERIFY(buddyOf(view.currentIndex()) == current);
    QCOMPARE(view.selectionModel()->selectedIndexes(), model.indexes(current));
}

void tst_MivoBuddyModel::aContactThatChangesGroupsStaysSelected()
{
    MivoBuddyGroup a("A");
    MivoBuddyGroup b("B");
    const CycleBreaker<MivoBuddyGroup> end(a);
    const CycleBreaker<MivoBuddyGroup> endOfB(b);
    const MivoBuddyContact contact = makeContact("x");
    a.addBuddy(contact);
    a.addBuddy(makeContact("y"));
    MivoBuddyModel model;
    const CheckedModel checked(model);
    QTreeView view;
    view.setModel(&model);
    model.setGroups({a, b});
    view.setCurrentIndex(model.indexes(contact).value(0));
    b.addBuddy(contact);
    model.refresh();
    QCOMPARE(outline(model), QString("A(y), B(x)"));
    QVERIFY(buddyOf(view.currentIndex()) == contact);
    // Into a group that comes at the same time.
    MivoBuddyGroup c("C");
    const CycleBreaker<MivoBuddyGroup> endOfC(c);
    c.addBuddy(makeContact("z"));
    c.addBuddy(contact);
    model.setGroups({c, a});
    QCOMPARE(outline(model), QString("C(z, x), A(y)"));
    QVERIFY(buddyOf(view.currentIndex()) == contact);
    QCOMPARE(view.currentIndex(), model.indexes(contact).value(0));
}

void tst_MivoBuddyModel::aDissolvedMetaContactLeavesItsContactsSelected()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    MivoBuddyMeta meta("M");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    const MivoBuddyContact contact = makeContact("x");
    a.addBuddy(meta);
    meta.addBuddy(contact);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a});
    const QPersistentModelIndex index = model.indexes(contact).value(0);
    a.addBuddy(contact);
    a.removeBuddy(meta);
    model.refresh();
    QCOMPARE(outline(model), QString("A(x)"));
    QVERIFY(index.isValid() && index.parent() == model.index(0, 0));
    a.addBuddy(meta);
    meta.addBuddy(contact);
    model.refresh();
    QCOMPARE(outline(model), QString("A(M(x))"));
    QVERIFY(index.isValid() && index.parent() == model.indexes(meta).value(0));
}

void tst_MivoBuddyModel::goneRowsAreLetGoOf()
{
    const Witness witness("x");
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    {
        const MivoBuddyContact contact = makeContact(witness.name());
        a.addBuddy(contact);
        model.setGroups({a});
        a.removeBuddy(contact);
    }
    QVERIFY(witness.sees()); // it is still shown
    model.refresh();
    QVERIFY(!witness.sees());
}

void tst_MivoBuddyModel::aSlotOfASignalMayRefresh()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a});
    int rounds = 0;
    connect(&model, &QAbstractItemModel::rowsInserted, this, [&] {
        if (++rounds < 4) {
            a.addBuddy(makeContact(QString::number(rounds)));
            model.refresh();
        }
    });
    a.addBuddy(makeContact("first"));
    a.addBuddy(makeMerged());
    model.refresh();
    QCOMPARE(outline(model), QString("A(first, merged, 1, 2, 3)"));
}

void tst_MivoBuddyModel::dataDoesNotLookIntoTheEntry()
{
    MivoPresenceType online = makeType("Online", 9, 1, "user-online");
    MivoBuddyContact contact = makeContact("x", &online);
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    a.addBuddy(contact);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a});
    const QStringList before = contents(model);
    // All of what is shown comes from a copy: the record and what it points at may change.
    online.display = "changed";
    online.icon = "changed";
    online.priority = 1;
    online.flag = MivoPresence::Offline;
    contact.setUnreadMessages(9);
    MivoBuddyContactPrivate::get(contact)->id = "changed";
    QCOMPARE(contents(model), before);
    // A thread that writes meanwhile is no race either, which the sanitizer would tell.
    Background writer([&] {
        for (int i = 0; i < 1000; ++i) {
            contact.setUnreadMessages(i);
            MivoBuddyContactPrivate::get(contact)->id = QString::number(i);
            online.display = QString::number(i);
        }
    });
    for (int i = 0; i < 100; ++i)
        QCOMPARE(contents(model), before);
}

void tst_MivoBuddyModel::anotherThreadsRefreshIsShownByTheEventLoop()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    MivoBuddyContact contact = makeContact("x");
    MivoBuddyModel model;
    const CheckedModel checked(model);
    QThread* signalThread = nullptr;
    connect(
        &model, &QAbstractItemModel::rowsInserted, &model,
        [&] { signalThread = QThread::currentThread(); }, Qt::DirectConnection);
    Background first([&] {
        a.addBuddy(contact);
        model.setGroups({a});
        contact.setUnreadMessages(3); // what is shown was copied before
    });
    QVERIFY(first.ends());
    QCOMPARE(model.rowCount(), 0);
    QVERIFY(model.groups() == QList<MivoBuddyGroup>({a}));
    QTRY_COMPARE(outline(model), QString("A(x)"));
    QCOMPARE(signalThread, QThread::currentThread());
    QCOMPARE(model.indexes(contact).value(0).data(MivoBuddyModel::UnreadRole).toInt(), 0);
    Background second([&] { model.refresh(); });
    QVERIFY(second.ends());
    QTRY_COMPARE(model.indexes(contact).value(0).data(MivoBuddyModel::UnreadRole).toInt(), 3);
}

void tst_MivoBuddyModel::ofManyRefreshesTheLastCounts()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a});
    const Signals sent(model);
    Background other([&] {
        for (int i = 0; i < 100; ++i) {
            a.addBuddy(makeContact(QString::number(i)));
            model.update(a);
            model.refresh();
        }
    });
    QVERIFY(other.ends());
    QTRY_COMPARE(model.rowCount(model.index(0, 0)), 100);
    // The event loop did not run meanwhile: those before the last were never shown.
    QCOMPARE(sent.counts(), QString("0 changed, 1 inserted, 0 removed, 0 layouts, 0 resets"));
}

void tst_MivoBuddyModel::anotherThreadsUpdatesAreAllShown()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    for (int i = 0; i < 20; ++i)
        a.addBuddy(makeContact(QString::number(i)));
    MivoBuddyModel model;
    const CheckedModel checked(model);
    model.setGroups({a});
    std::atomic<bool> ended{false};
    Background other([&] {
        for (int i = 0; i < 2000; ++i) {
            MivoBuddy buddy = a.buddyAt(i % 20);
            buddy.setUnreadMessages(i);
            if (i % 7 == 0)
                model.refresh();
            else
                model.update(buddy);
        }
        ended = true;
    });
    QTRY_VERIFY_WITH_TIMEOUT(ended, 60000);
    QTRY_COMPARE(model.index(19, 0, model.index(0, 0)).data(MivoBuddyModel::UnreadRole).toInt(),
                 1999);
    for (int i = 0; i < 20; ++i)
        QCOMPARE(model.index(i, 0, model.index(0, 0)).data(MivoBuddyModel::UnreadRole).toInt(),
                 1980 + i);
}

void tst_MivoBuddyModel::aModelThatGoesForgetsWhatWasToBeShown()
{
    const Witness witness("A");
    {
        MivoBuddyModel model;
        const CheckedModel checked(model);
        Background other([&] { model.setGroups({MivoBuddyGroup(witness.name())}); });
        QVERIFY(other.ends());
    }
    QVERIFY(!witness.sees());
    QCoreApplication::processEvents();
}

QTEST_MAIN(tst_MivoBuddyModel)
#include "tst_mivobuddymodel.moc"
