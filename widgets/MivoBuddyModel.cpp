#include "MivoBuddyModel.h"

#include "MivoBuddyEntry_p.h"
#include "MivoBuddyTreeUpdate_p.h"
#include "MivoPresenceIcon_p.h"

#include <QHash>
#include <QMetaObject>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>

#include <algorithm>

class MivoBuddyModelPrivate
{
public:
    explicit MivoBuddyModelPrivate(MivoBuddyModel* model);

    // In any thread.
    void show(const MivoBuddy& buddy, std::unique_ptr<MivoBuddyEntry> copy);

    // In the model's thread.
    void work();
    void apply(MivoBuddyEntry* shown, MivoBuddyEntry* copy);
    void applyEverywhere(const MivoBuddy& buddy, const MivoBuddyEntry& copy);
    void change(const std::vector<MivoBuddyTreeUpdate::Change>& changes) const;
    void insertNew(const MivoBuddyTreeUpdate::Arrangement& arrangement);
    void moveRows(const std::vector<MivoBuddyTreeUpdate::Arrangement>& arrangements);
    void removeGone(MivoBuddyEntry* container);
    void deriveAncestors(MivoBuddyEntry* place) const;

    void enter(MivoBuddyEntry* place);
    void leave(MivoBuddyEntry* place);

    MivoBuddyEntry* entryOf(const QModelIndex& index);
    QModelIndex indexOf(const MivoBuddyEntry* place) const;

    MivoBuddyModel* const q;

    /** Copies that are to be shown; an invalid handle stands for the whole list. */
    struct Work
    {
        MivoBuddy buddy;
        std::unique_ptr<MivoBuddyEntry> copy;
    };
    mutable QMutex mutex; ///< guards these three
    QList<MivoBuddyGroup> groups;
    std::vector<Work> waiting;
    bool isPosted = false; ///< the model's thread will come

    // Of the model's thread alone.
    MivoBuddyEntry root;
    QMultiHash<MivoBuddy, MivoBuddyEntry*> places;
    bool isWorking = false;
    MivoPresenceIcons icons;
};

namespace {

/** From the root down. */
std::vector<int> pathOf(const MivoBuddyEntry* place)
{
    std::vector<int> path;
    for (; place->parent; place = place->parent)
        path.push_back(place->row());
    std::reverse(path.begin(), path.end());
    return path;
}

QString presenceText(const MivoShownPresence& presence)
{
    return presence.description.isEmpty()
        ? presence.text
        : QStringLiteral("%1 (%2)").arg(presence.text, presence.description);
}

QString unreadText(int count)
{
    return count > 0 ? MivoBuddyModel::tr("%1 unread").arg(count) : QString();
}

/** Marked up, so that nobody's name is taken for mark-up. */
QString toolTip(const MivoShownBuddy& shown, const QString& unread)
{
    QStringList lines(QStringLiteral("<b>%1</b>").arg(shown.name.toHtmlEscaped()));
    for (const QString& line : {shown.id, presenceText(shown.presence), unread}) {
        if (!line.isEmpty())
            lines.append(line.toHtmlEscaped());
    }
    return lines.join(QStringLiteral("<br>"));
}

} // namespace

MivoBuddyModelPrivate::MivoBuddyModelPrivate(MivoBuddyModel* model)
    : q(model)
{
}

void MivoBuddyModelPrivate::show(const MivoBuddy& buddy, std::unique_ptr<MivoBuddyEntry> copy)
{
    const bool isOwnThread = QThread::currentThread() == q->thread();
    {
        const QMutexLocker locker(&mutex);
        if (!buddy.isValid())
            waiting.clear(); // all that is shown next is in the new copy
        waiting.push_back({buddy, std::move(copy)});
        if (!isOwnThread && !isPosted) {
            isPosted = true;
            QMetaObject::invokeMethod(
                q, [this] { work(); }, Qt::QueuedConnection);
        }
    }
    if (isOwnThread)
        work();
}

void MivoBuddyModelPrivate::work()
{
    if (isWorking)
        return; // a slot of a signal that is sent further up; the loop there comes to it
    isWorking = true;
    for (;;) {
        std::vector<Work> next;
        {
            const QMutexLocker locker(&mutex);
            next.swap(waiting);
            if (next.empty()) {
                isPosted = false;
                break;
            }
        }
        for (const Work& piece : next) {
            if (piece.buddy.isValid())
                applyEverywhere(piece.buddy, *piece.copy);
            else
                apply(&root, piece.copy.get());
        }
    }
    isWorking = false;
}

void MivoBuddyModelPrivate::applyEverywhere(const MivoBuddy& buddy, const MivoBuddyEntry& copy)
{
    const QList<MivoBuddyEntry*> all = places.values(buddy);
    for (MivoBuddyEntry* const place : all) {
        if (!places.contains(buddy, place))
            continue; // has gone with what was in the place before
        const std::unique_ptr<MivoBuddyEntry> own = copy.clone();
        if (place->rank == MivoBuddyEntry::Leaf)
            own->dropChildren();
        apply(place, own.get());
        deriveAncestors(place);
    }
}

void MivoBuddyModelPrivate::apply(MivoBuddyEntry* shown, MivoBuddyEntry* copy)
{
    const MivoBuddyTreeUpdate update(shown, copy);
    change(update.changes);
    for (const MivoBuddyTreeUpdate::Arrangement& arrangement : update.arrangements)
        insertNew(arrangement);
    moveRows(update.arrangements);
    for (const MivoBuddyTreeUpdate::Arrangement& arrangement : update.arrangements)
        removeGone(arrangement.container);
}

void MivoBuddyModelPrivate::change(const std::vector<MivoBuddyTreeUpdate::Change>& changes) const
{
    // Neighbours are told of together, and nothing is changed before it is told of: whoever sorts the
    // rows finds all others in order.
    for (std::size_t first = 0; first < changes.size();) {
        std::size_t end = first;
        do {
            changes[end].place->shown = changes[end].copy->shown;
            ++end;
        } while (end < changes.size() && changes[end].place->parent == changes[first].place->parent
                 && changes[end].place->row() == changes[end - 1].place->row() + 1);
        Q_EMIT q->dataChanged(indexOf(changes[first].place), indexOf(changes[end - 1].place));
        first = end;
    }
}

void MivoBuddyModelPrivate::insertNew(const MivoBuddyTreeUpdate::Arrangement& arrangement)
{
    MivoBuddyEntry* const container = arrangement.container;
    const std::vector<MivoBuddyEntry*>& rows = arrangement.rows;
    // Slots of the signals may ask for rows in between, hence all at once.
    std::vector<int> oldRows;
    oldRows.reserve(rows.size());
    for (const MivoBuddyEntry* const place : rows)
        oldRows.push_back(place->parent == container ? place->row() : -1);

    int position = 0;
    int inserted = 0;
    for (std::size_t i = 0; i < rows.size();) {
        if (rows[i]->parent) {
            if (oldRows[i] >= 0)
                position = oldRows[i] + 1 + inserted;
            ++i;
            continue;
        }
        std::size_t end = i;
        while (end < rows.size() && !rows[end]->parent)
            ++end;
        const int count = int(end - i);
        q->beginInsertRows(indexOf(container), position, position + count - 1);
        for (std::size_t j = i; j < end; ++j) {
            rows[j]->parent = container;
            enter(rows[j]);
        }
        container->children.insert(container->children.begin() + position,
                                   rows.begin() + std::ptrdiff_t(i),
                                   rows.begin() + std::ptrdiff_t(end));
        q->endInsertRows();
        position += count;
        inserted += count;
        i = end;
    }
}

void MivoBuddyModelPrivate::moveRows(
    const std::vector<MivoBuddyTreeUpdate::Arrangement>& arrangements)
{
    struct Order
    {
        MivoBuddyEntry* container;
        std::vector<MivoBuddyEntry*> rows;
    };
    std::vector<Order> orders;
    std::vector<MivoBuddyEntry*> moved;
    for (const MivoBuddyTreeUpdate::Arrangement& arrangement : arrangements) {
        const std::vector<MivoBuddyEntry*>& children = arrangement.container->children;
        std::vector<MivoBuddyEntry*> staying;
        std::vector<MivoBuddyEntry*> gone;
        for (MivoBuddyEntry* const place : children)
            (place->isGone ? gone : staying).push_back(place);
        if (staying == arrangement.rows)
            continue;
        Order order = {arrangement.container, arrangement.rows};
        order.rows.insert(order.rows.end(), gone.begin(), gone.end());
        for (MivoBuddyEntry* const place : arrangement.rows) {
            if (place->parent != arrangement.container)
                moved.push_back(place);
        }
        orders.push_back(std::move(order));
    }
    if (orders.empty())
        return;

    Q_EMIT q->layoutAboutToBeChanged();
    std::vector<MivoBuddyEntry*> sources;
    sources.reserve(moved.size());
    for (MivoBuddyEntry* const place : moved)
        sources.push_back(place->parent);
    for (const Order& order : orders) {
        for (MivoBuddyEntry* const place : order.rows)
            place->parent = order.container;
    }
    std::sort(sources.begin(), sources.end());
    sources.erase(std::unique(sources.begin(), sources.end()), sources.end());
    for (MivoBuddyEntry* const source : sources) {
        std::vector<MivoBuddyEntry*>& children = source->children;
        children.erase(std::remove_if(children.begin(), children.end(),
                                      [source](const MivoBuddyEntry* place) {
                                          return place->parent != source;
                                      }),
                       children.end());
    }
    for (Order& order : orders)
        order.container->children.swap(order.rows);

    QModelIndexList from;
    QModelIndexList to;
    const QModelIndexList held = q->persistentIndexList();
    for (const QModelIndex& index : held) {
        const QModelIndex now = indexOf(entryOf(index));
        if (now.row() != index.row()) {
            from.append(index);
            to.append(now);
        }
    }
    q->changePersistentIndexList(from, to);
    Q_EMIT q->layoutChanged();
}

void MivoBuddyModelPrivate::removeGone(MivoBuddyEntry* container)
{
    std::vector<MivoBuddyEntry*>& children = container->children;
    // From the end, so that a run that goes does not shift those that are still to go.
    for (std::size_t end = children.size(); end > 0;) {
        if (!children[end - 1]->isGone) {
            --end;
            continue;
        }
        std::size_t first = end - 1;
        while (first > 0 && children[first - 1]->isGone)
            --first;
        q->beginRemoveRows(indexOf(container), int(first), int(end) - 1);
        const auto from = children.begin() + std::ptrdiff_t(first);
        const auto to = children.begin() + std::ptrdiff_t(end);
        const std::vector<MivoBuddyEntry*> gone(from, to);
        children.erase(from, to);
        for (MivoBuddyEntry* const place : gone)
            leave(place);
        q->endRemoveRows();
        for (const MivoBuddyEntry* const place : gone)
            delete place;
        end = first;
    }
}

void MivoBuddyModelPrivate::deriveAncestors(MivoBuddyEntry* place) const
{
    for (MivoBuddyEntry* ancestor = place->parent; ancestor; ancestor = ancestor->parent) {
        if (ancestor->derive()) {
            const QModelIndex index = indexOf(ancestor);
            Q_EMIT q->dataChanged(index, index);
        }
    }
}

void MivoBuddyModelPrivate::enter(MivoBuddyEntry* place)
{
    places.insert(place->buddy, place);
    for (MivoBuddyEntry* const child : place->children)
        enter(child);
}

void MivoBuddyModelPrivate::leave(MivoBuddyEntry* place)
{
    places.remove(place->buddy, place);
    for (MivoBuddyEntry* const child : place->children)
        leave(child);
}

MivoBuddyEntry* MivoBuddyModelPrivate::entryOf(const QModelIndex& index)
{
    return index.isValid() ? static_cast<MivoBuddyEntry*>(index.internalPointer()) : &root;
}

QModelIndex MivoBuddyModelPrivate::indexOf(const MivoBuddyEntry* place) const
{
    return place->parent
        ? q->createIndex(place->row(), 0, const_cast<MivoBuddyEntry*>(place)) // NOLINT
        : QModelIndex();
}

MivoBuddyModel::MivoBuddyModel(QObject* parent)
    : QAbstractItemModel(parent)
    , d(new MivoBuddyModelPrivate(this))
{
}

MivoBuddyModel::~MivoBuddyModel() = default;

QList<MivoBuddyGroup> MivoBuddyModel::groups() const
{
    const QMutexLocker locker(&d->mutex);
    return d->groups;
}

void MivoBuddyModel::setGroups(const QList<MivoBuddyGroup>& groups)
{
    {
        const QMutexLocker locker(&d->mutex);
        d->groups = groups;
    }
    refresh();
}

void MivoBuddyModel::update(const MivoBuddy& buddy)
{
    if (buddy.isValid())
        d->show(buddy, std::make_unique<MivoBuddyEntry>(buddy, MivoBuddyEntry::Root));
}

void MivoBuddyModel::refresh()
{
    d->show(MivoBuddy(), MivoBuddyEntry::copyOf(groups()));
}

QModelIndexList MivoBuddyModel::indexes(const MivoBuddy& buddy) const
{
    QList<MivoBuddyEntry*> places = d->places.values(buddy);
    std::sort(places.begin(), places.end(), [](const MivoBuddyEntry* a, const MivoBuddyEntry* b) {
        return pathOf(a) < pathOf(b);
    });
    QModelIndexList result;
    for (const MivoBuddyEntry* const place : std::as_const(places))
        result.append(d->indexOf(place));
    return result;
}

QModelIndex MivoBuddyModel::index(int row, int column, const QModelIndex& parent) const
{
    if (!hasIndex(row, column, parent))
        return QModelIndex();
    return createIndex(row, column, d->entryOf(parent)->children[std::size_t(row)]);
}

QModelIndex MivoBuddyModel::parent(const QModelIndex& child) const
{
    return child.isValid() ? d->indexOf(d->entryOf(child)->parent) : QModelIndex();
}

int MivoBuddyModel::rowCount(const QModelIndex& parent) const
{
    return int(d->entryOf(parent)->children.size());
}

int MivoBuddyModel::columnCount(const QModelIndex&) const
{
    return 1;
}

QVariant MivoBuddyModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return QVariant();
    const MivoBuddyEntry& entry = *d->entryOf(index);
    const MivoShownBuddy& shown = entry.shown;
    switch (role) {
    case Qt::DisplayRole:
        return shown.name;
    case Qt::DecorationRole: {
        const QIcon icon = d->icons.icon(shown.presence);
        return icon.isNull() ? QVariant() : icon;
    }
    case Qt::ToolTipRole:
        return toolTip(shown, unreadText(shown.unread));
    case Qt::AccessibleTextRole: {
        QStringList pieces(shown.name);
        if (shown.presence.isValid)
            pieces.append(presenceText(shown.presence));
        if (shown.unread > 0)
            pieces.append(unreadText(shown.unread));
        return pieces.join(QStringLiteral(", "));
    }
    case BuddyRole:
        return QVariant::fromValue(entry.buddy);
    case PresenceRole:
        return shown.presence.text;
    case UnreadRole:
        return shown.unread;
    case IdRole:
        return shown.id;
    case AccountRole:
        return QVariant::fromValue(static_cast<void*>(shown.account));
    case KindRole:
        return int(entry.kind);
    case OfflineRole:
        return shown.presence.isOffline();
    case PriorityRole:
        return shown.presence.priority;
    default:
        return QVariant();
    }
}

QHash<int, QByteArray> MivoBuddyModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractItemModel::roleNames();
    names.insert(BuddyRole, "buddy");
    names.insert(PresenceRole, "presence");
    names.insert(UnreadRole, "unread");
    names.insert(IdRole, "id");
    names.insert(AccountRole, "account");
    names.insert(KindRole, "kind");
    names.insert(OfflineRole, "offline");
    names.insert(PriorityRole, "priority");
    return names;
}
