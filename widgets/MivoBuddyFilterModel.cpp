#include "MivoBuddyFilterModel.h"

#include "MivoBuddyModel.h"
#include "MivoBuddy_p.h"

#include <functional>

namespace {

bool isGroup(const QModelIndex& source)
{
    return source.data(MivoBuddyModel::KindRole).toInt() == MivoBuddy::Group;
}

bool isOffline(const QModelIndex& source)
{
    return source.data(MivoBuddyModel::OfflineRole).toBool();
}

quint32 priorityOf(const QModelIndex& source)
{
    return source.data(MivoBuddyModel::PriorityRole).toUInt();
}

QString nameOf(const QModelIndex& source)
{
    return source.data(Qt::DisplayRole).toString();
}

QString idOf(const QModelIndex& source)
{
    return source.data(MivoBuddyModel::IdRole).toString();
}

const MivoBuddyPrivate* recordOf(const QModelIndex& source)
{
    return MivoBuddyPrivate::get(source.data(MivoBuddyModel::BuddyRole).value<MivoBuddy>());
}

} // namespace

MivoBuddyFilterModel::MivoBuddyFilterModel(QObject* parent)
    : QSortFilterProxyModel(parent)
    , hidesOffline(false)
{
    // A group itself is never accepted: it is shown for those in it.
    setRecursiveFilteringEnabled(true);
    sort(0);
}

MivoBuddyFilterModel::~MivoBuddyFilterModel() = default;

QString MivoBuddyFilterModel::searchText() const
{
    return text;
}

void MivoBuddyFilterModel::setSearchText(const QString& newText)
{
    const QString trimmed = newText.trimmed();
    if (text == trimmed)
        return;
    text = trimmed;
    invalidateFilter();
    Q_EMIT searchTextChanged(text);
}

bool MivoBuddyFilterModel::isOfflineHidden() const
{
    return hidesOffline;
}

void MivoBuddyFilterModel::setOfflineHidden(bool hidden)
{
    if (hidesOffline == hidden)
        return;
    hidesOffline = hidden;
    invalidateFilter();
    Q_EMIT offlineHiddenChanged(hidden);
}

bool MivoBuddyFilterModel::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const
{
    const QModelIndex source = sourceModel()->index(sourceRow, 0, sourceParent);
    if (isGroup(source) || (hidesOffline && isOffline(source)))
        return false;
    if (text.isEmpty())
        return true;
    for (QModelIndex at = source; at.isValid() && !isGroup(at); at = at.parent()) {
        if (fitsText(at))
            return true;
    }
    return false;
}

bool MivoBuddyFilterModel::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    if (isOffline(left) != isOffline(right))
        return isOffline(right);
    if (priorityOf(left) != priorityOf(right))
        return priorityOf(left) > priorityOf(right);
    const int names = collator.compare(nameOf(left), nameOf(right));
    if (names != 0)
        return names < 0;
    const int ids = idOf(left).compare(idOf(right));
    if (ids != 0)
        return ids < 0;
    return std::less<>()(recordOf(left), recordOf(right));
}

bool MivoBuddyFilterModel::fitsText(const QModelIndex& source) const
{
    return nameOf(source).contains(text, Qt::CaseInsensitive)
        || idOf(source).contains(text, Qt::CaseInsensitive);
}
