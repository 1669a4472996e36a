#ifndef SHOWNLIST_H
#define SHOWNLIST_H

#include "MivoBuddyModel.h"
#include "TestBuddies.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

/** @file
 * A contact list as models show it.
 */

/** Checks a model all the time; a failure is one of the test. */
class CheckedModel
{
public:
    explicit CheckedModel(QAbstractItemModel& model)
        : tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest)
    {
    }

private:
    QAbstractItemModelTester tester;
};

/** "A(ann, mark(m1, m2)), B()": the names in a model, with those below each in brackets. */
inline QString outline(const QAbstractItemModel& model, const QModelIndex& parent = QModelIndex())
{
    QStringList pieces;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        const QString below = outline(model, index);
        const QString name = index.data().toString();
        pieces << (below.isEmpty() ? name : QString("%1(%2)").arg(name, below));
    }
    return pieces.join(", ");
}

/** Everything that a model shows, a line for each row. */
inline QStringList contents(const QAbstractItemModel& model,
                            const QModelIndex& parent = QModelIndex(), int depth = 0)
{
    QStringList lines;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        QString line(depth, ' ');
        const MivoBuddy buddy = index.data(MivoBuddyModel::BuddyRole).value<MivoBuddy>();
        line += QString::number(quintptr(MivoBuddyPrivate::get(buddy)), 16);
        for (int role : {int(Qt::DisplayRole), int(Qt::ToolTipRole), int(Qt::AccessibleTextRole)})
            line += " | " + index.data(role).toString();
        for (int role = MivoBuddyModel::PresenceRole; role <= MivoBuddyModel::PriorityRole;
             ++role) {
            line += role == MivoBuddyModel::AccountRole
                ? QString::number(quintptr(index.data(role).value<void*>()), 16)
                : index.data(role).toString();
            line += " | ";
        }
        lines << line << contents(model, index, depth + 1);
    }
    return lines;
}

inline MivoBuddy buddyOf(const QModelIndex& index)
{
    return index.data(MivoBuddyModel::BuddyRole).value<MivoBuddy>();
}

/** Lets go of all that the containers hold, so that nothing is leaked. */
class ContainerEnd
{
public:
    ContainerEnd() = default;
    ~ContainerEnd()
    {
        for (const MivoBuddyGroup& group : groups)
            const CycleBreaker<MivoBuddyGroup> end(group);
        for (const MivoBuddyMeta& meta : metas)
            const CycleBreaker<MivoBuddyMeta> end(meta);
    }

    QList<MivoBuddyGroup> groups;
    QList<MivoBuddyMeta> metas;

private:
    Q_DISABLE_COPY(ContainerEnd)
};

#endif
