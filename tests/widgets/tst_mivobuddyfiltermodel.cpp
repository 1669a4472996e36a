#include "MivoBuddyFilterModel.h"
#include "ShownList.h"

#include <QLocale>
#include <QTreeView>
#include <QtTest>

class tst_MivoBuddyFilterModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void groupsStandByName();
    void membersStandByPriorityThenNameWithThoseOfflineLast();
    void namesSortAsTheUsersLanguageDoes();
    void equalNamesStandById();
    void thereAreOnlyGroupsWithSomebodyToShow();
    void whoIsOfflineIsHiddenOnDemand();
    void onlyTheFlagMakesSomebodyOffline();
    void theTextIsLookedForInNameAndId();
    void itTellsWhenItFiltersOtherwise();
    void aMergedContactIsFoundByThoseBelowIt();
    void allBelowAFittingMetaContactAreShown();
    void aChangeOfPresenceMovesAndHides();
    void selectionSurvivesSorting();
    void aSettingThatStaysChangesNothing();

private:
    MivoPresenceType type(const QString& display, quint32 priority, int flag) const
    {
        MivoPresenceType made;
        made.display = display;
        made.priority = priority;
        made.flag = MivoPresence::Flag(flag);
        return made;
    }
    MivoBuddyContact add(MivoBuddyGroup& group, const QString& name,
                         MivoPresenceType* presence = nullptr, const QString& id = QString())
    {
        const MivoBuddyContact contact(nullptr, id.isNull() ? name : id, name, MivoBuddyType(),
                                       MivoPresence(presence, QString()), anySubscription());
        group.addBuddy(contact);
        return contact;
    }

    MivoPresenceType away = type("Away", 3, 2);
    MivoPresenceType online = type("Online", 9, 1);
    MivoPresenceType offline = type("Offline", 100, MivoPresence::Offline);
    std::unique_ptr<MivoBuddyModel> model;
    std::unique_ptr<MivoBuddyFilterModel> filter;
    std::unique_ptr<CheckedModel> checked;
};

void tst_MivoBuddyFilterModel::init()
{
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    model = std::make_unique<MivoBuddyModel>();
    filter = std::make_unique<MivoBuddyFilterModel>();
    filter->setSourceModel(model.get());
    checked = std::make_unique<CheckedModel>(*filter);
}

void tst_MivoBuddyFilterModel::cleanup()
{
    checked.reset();
    filter.reset();
    model.reset();
}

void tst_MivoBuddyFilterModel::groupsStandByName()
{
    ContainerEnd end;
    for (const char* const name : {"work", "Family", "aunts", "Zoo"}) {
        MivoBuddyGroup group(name);
        add(group, "x");
        end.groups << group;
    }
    model->setGroups(end.groups);
    QCOMPARE(outline(*filter), QString("aunts(x), Family(x), work(x), Zoo(x)"));
}

void tst_MivoBuddyFilterModel::membersStandByPriorityThenNameWithThoseOfflineLast()
{
    MivoBuddyGroup group("G");
    const CycleBreaker<MivoBuddyGroup> end(group);
    add(group, "none");
    add(group, "gone", &offline);
    add(group, "later", &away);
    add(group, "dora", &online);
    add(group, "carl", &online);
    add(group, "also gone", &offline);
    model->setGroups({group});
    QCOMPARE(outline(*filter), QString("G(carl, dora, later, none, also gone, gone)"));
}

void tst_MivoBuddyFilterModel::namesSortAsTheUsersLanguageDoes()
{
    const QLocale before;
    MivoBuddyGroup group("G");
    const CycleBreaker<MivoBuddyGroup> end(group);
    for (const char* const name : {"Zoe", "Åsa", "Ole", "ole", "Özil", "aron"})
        add(group, QString::fromUtf8(name));
    const auto shown = [&](const QLocale& locale) {
        QLocale::setDefault(locale);
        MivoBuddyFilterModel localFilter;
        localFilter.setSourceModel(model.get());
        const QString result = outline(localFilter);
        QLocale::setDefault(before);
        return result;
    };
    model->setGroups({group});
    QCOMPARE(shown(QLocale(QLocale::German, QLocale::Germany)),
             QString::fromUtf8("G(aron, Åsa, ole, Ole, Özil, Zoe)"));
    QCOMPARE(shown(QLocale(QLocale::Swedish, QLocale::Sweden)),
             QString::fromUtf8("G(aron, ole, Ole, Zoe, Åsa, Özil)"));
}

void tst_MivoBuddyFilterModel::equalNamesStandById()
{
    MivoBuddyGroup group("G");
    const CycleBreaker<MivoBuddyGroup> end(group);
    for (const char* const id : {"c@x", "a@x", "b@x"})
        add(group, "Ann", nullptr, id);
    const MivoBuddyContact one = add(group, "Ann", nullptr, "d@x");
    const MivoBuddyContact other = add(group, "Ann", nullptr, "d@x");
    model->setGroups({group});
    QStringList ids;
    for (int row = 0; row < 5; ++row)
        ids << filter->index(row, 0, filter->index(0, 0)).data(MivoBuddyModel::IdRole).toString();
    QCOMPARE(ids, QStringList({"a@x", "b@x", "c@x", "d@x", "d@x"}));
    const bool isOneFirst = std::less<>()(MivoBuddyPrivate::get(one), MivoBuddyPrivate::get(other));
    QVERIFY(buddyOf(filter->index(3, 0, filter->index(0, 0))) == (isOneFirst ? one : other));
}

void tst_MivoBuddyFilterModel::thereAreOnlyGroupsWithSomebodyToShow()
{
    MivoBuddyGroup a("A");
    MivoBuddyGroup b("B");
    const CycleBreaker<MivoBuddyGroup> end(a);
    const CycleBreaker<MivoBuddyGroup> endOfB(b);
    model->setGroups({a, b});
    QCOMPARE(outline(*filter), QString());
    const MivoBuddyContact contact = add(b, "x");
    model->refresh();
    QCOMPARE(outline(*filter), QString("B(x)"));
    a.addBuddy(contact);
    model->refresh();
    QCOMPARE(outline(*filter), QString("A(x)"));
    a.removeBuddy(contact);
    model->refresh();
    QCOMPARE(outline(*filter), QString());
}

void tst_MivoBuddyFilterModel::whoIsOfflineIsHiddenOnDemand()
{
    MivoBuddyGroup a("A");
    MivoBuddyGroup b("B");
    const CycleBreaker<MivoBuddyGroup> end(a);
    const CycleBreaker<MivoBuddyGroup> endOfB(b);
    add(a, "on", &online);
    add(a, "off", &offline);
    add(b, "off", &offline);
    MivoBuddyMeta meta = a.addMeta("meta");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    meta.addBuddy(makeContact("off", &offline));
    meta.addBuddy(makeContact("on", &away));
    a.addBuddy(makeMerged({makeContact("off", &offline), makeContact("on", &away)}));
    model->setGroups({a, b});
    QVERIFY(!filter->isOfflineHidden());
    QCOMPARE(outline(*filter), QString("A(on, meta(on, off), merged(on, off), off), B(off)"));
    filter->setOfflineHidden(true);
    QVERIFY(filter->isOfflineHidden());
    QCOMPARE(outline(*filter), QString("A(on, meta(on), merged(on))"));
    filter->setOfflineHidden(false);
    QCOMPARE(outline(*filter), QString("A(on, meta(on, off), merged(on, off), off), B(off)"));
}

void tst_MivoBuddyFilterModel::onlyTheFlagMakesSomebodyOffline()
{
    MivoPresenceType last = type("Offline", 0, 5);
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    add(a, "without");
    add(a, "named so", &last);
    filter->setOfflineHidden(true);
    model->setGroups({a});
    QCOMPARE(outline(*filter), QString("A(named so, without)"));
}

void tst_MivoBuddyFilterModel::theTextIsLookedForInNameAndId()
{
    MivoBuddyGroup a("Anna's");
    MivoBuddyGroup b("B");
    const CycleBreaker<MivoBuddyGroup> end(a);
    const CycleBreaker<MivoBuddyGroup> endOfB(b);
    add(a, "Anna", nullptr, "x@y");
    add(a, "Bob", nullptr, "bob@y");
    add(b, "Carl", nullptr, "joanna@y");
    add(b, "A+", nullptr, "plus@y");
    model->setGroups({a, b});
    filter->setSearchText("ANN");
    QCOMPARE(outline(*filter), QString("Anna's(Anna), B(Carl)"));
    filter->setSearchText("  a+ ");
    QCOMPARE(filter->searchText(), QString("a+"));
    QCOMPARE(outline(*filter), QString("B(A+)"));
    filter->setSearchText("nobody");
    QCOMPARE(outline(*filter), QString());
    filter->setSearchText(" ");
    QCOMPARE(outline(*filter), QString("Anna's(Anna, Bob), B(A+, Carl)"));
}

void tst_MivoBuddyFilterModel::itTellsWhenItFiltersOtherwise()
{
    QSignalSpy text(filter.get(), &MivoBuddyFilterModel::searchTextChanged);
    filter->setSearchText(" bob ");
    filter->setSearchText("bob");
    QCOMPARE(text, QList<QVariantList>() << QVariantList({"bob"}));
    QSignalSpy hidden(filter.get(), &MivoBuddyFilterModel::offlineHiddenChanged);
    filter->setOfflineHidden(true);
    filter->setOfflineHidden(true);
    QCOMPARE(hidden, QList<QVariantList>() << QVariantList({true}));
}

void tst_MivoBuddyFilterModel::aMergedContactIsFoundByThoseBelowIt()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    a.addBuddy(makeMerged({makeContact("home"), makeContact("work")}));
    add(a, "other");
    model->setGroups({a});
    filter->setSearchText("work");
    QCOMPARE(outline(*filter), QString("A(merged(work))"));
}

void tst_MivoBuddyFilterModel::allBelowAFittingMetaContactAreShown()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    MivoBuddyMeta meta = a.addMeta("Bob");
    const CycleBreaker<MivoBuddyMeta> endOfMeta(meta);
    meta.addBuddy(makeContact("home"));
    meta.addBuddy(makeMerged({makeContact("work")}));
    model->setGroups({a});
    filter->setSearchText("bob");
    QCOMPARE(outline(*filter), QString("A(Bob(home, merged(work)))"));
    filter->setSearchText("merged");
    QCOMPARE(outline(*filter), QString("A(Bob(merged(work)))"));
}

void tst_MivoBuddyFilterModel::aChangeOfPresenceMovesAndHides()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    MivoBuddyContact ann = add(a, "ann", &away);
    MivoBuddyContact bob = add(a, "bob", &away);
    filter->setOfflineHidden(true);
    model->setGroups({a});
    QCOMPARE(outline(*filter), QString("A(ann, bob)"));
    bob.setPresence(MivoPresence(&online, QString()));
    model->update(bob);
    QCOMPARE(outline(*filter), QString("A(bob, ann)"));
    bob.setPresence(MivoPresence(&offline, QString()));
    model->update(bob);
    QCOMPARE(outline(*filter), QString("A(ann)"));
    ann.setPresence(MivoPresence(&offline, QString()));
    model->refresh();
    QCOMPARE(outline(*filter), QString());
    bob.setPresence(MivoPresence(&away, QString()));
    model->refresh();
    QCOMPARE(outline(*filter), QString("A(bob)"));
}

void tst_MivoBuddyFilterModel::selectionSurvivesSorting()
{
    MivoBuddyGroup a("A");
    MivoBuddyGroup b("B");
    const CycleBreaker<MivoBuddyGroup> end(a);
    const CycleBreaker<MivoBuddyGroup> endOfB(b);
    MivoBuddyContact ann = add(a, "ann", &away);
    add(a, "bob", &away);
    add(b, "carl", &away);
    QTreeView view;
    view.setModel(filter.get());
    model->setGroups({a, b});
    view.expandAll();
    view.setCurrentIndex(filter->mapFromSource(model->indexes(ann).value(0)));
    QCOMPARE(view.currentIndex().row(), 0);
    ann.setPresence(MivoPresence(&offline, QString()));
    model->refresh();
    QCOMPARE(view.currentIndex().row(), 1);
    QVERIFY(buddyOf(view.currentIndex()) == ann);
    b.addBuddy(ann);
    model->refresh();
    QCOMPARE(outline(*filter), QString("A(bob), B(carl, ann)"));
    QVERIFY(buddyOf(view.currentIndex()) == ann);
    QVERIFY(view.isExpanded(filter->index(0, 0)) && view.isExpanded(filter->index(1, 0)));
}

void tst_MivoBuddyFilterModel::aSettingThatStaysChangesNothing()
{
    MivoBuddyGroup a("A");
    const CycleBreaker<MivoBuddyGroup> end(a);
    add(a, "ann", &away);
    model->setGroups({a});
    filter->setSearchText("a");
    const QSignalSpy layout(filter.get(), &QAbstractItemModel::layoutChanged);
    const QSignalSpy removed(filter.get(), &QAbstractItemModel::rowsRemoved);
    filter->setSearchText(" a");
    filter->setOfflineHidden(false);
    QCOMPARE(layout.count() + removed.count(), 0);
    QCOMPARE(outline(*filter), QString("A(ann)"));
}

QTEST_MAIN(tst_MivoBuddyFilterModel)
#include "tst_mivobuddyfiltermodel.moc"
