#ifndef MIVOBUDDYMODEL_H
#define MIVOBUDDYMODEL_H

#include "MivoBuddyGroup.h"
#include "MivoWidgetsGlobal.h"

#include <QAbstractItemModel>

#include <memory>

class MivoBuddyModelPrivate;

/**
 * The contact list as a tree of one column: groups, below them their members, below meta-contacts
 * and merged contacts theirs. An entry that stands in two places is shown in both.
 *
 * Entries are plain data, which nothing guards while they are read. So setGroups(), update() and
 * refresh() copy what is shown, in the thread that calls them: that is to be the one thread that
 * changes the entries, and may be any. Comparing the copy with what is shown, and signalling, is
 * done in the model's thread, at once if that is the caller and by its event loop otherwise. All
 * else belongs to the model's thread and never looks into an entry. The model keeps handles of what
 * it shows, and so the entries alive.
 *
 * A row whose entry stays is only touched where it shows something else, so that selection, current
 * entry and expanded rows survive; they follow an entry that is moved, to another group as well. A
 * slot of the model's signals may call update() or refresh(): it is done when the change that is
 * being signalled is complete.
 */
class MIVO_WIDGETS_EXPORT MivoBuddyModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    /**
     * What data() answers besides the name (DisplayRole), the presence's icon (DecorationRole: from
     * the icon theme or a file, drawn from the flag when there is neither), a tool tip and a text
     * for screen readers. A merged contact shows its first contact's presence, id and account, a
     * meta-contact the presence of the member that comes first: who is not offline, then the
     * highest priority.
     */
    enum Role {
        BuddyRole = Qt::UserRole, ///< the MivoBuddy
        PresenceRole, ///< the status as a text, a QString; empty without a presence
        UnreadRole, ///< the number of the entry's own unread messages, an int
        IdRole, ///< the identifier within the account, a QString; null for groups, meta-contacts
        AccountRole, ///< the MivoAccountConnection*, as a void*; null for groups, meta-contacts
        KindRole, ///< the MivoBuddy::Type, as an int
        OfflineRole, ///< whether the presence's flag is Offline, a bool
        PriorityRole ///< the presence's priority, a quint32
    };

    explicit MivoBuddyModel(QObject* parent = nullptr);
    ~MivoBuddyModel() override;

    /** What was given to setGroups() last. May be called in any thread. */
    QList<MivoBuddyGroup> groups() const;
    /** Shows these groups in this order; an invalid handle is not shown. */
    void setGroups(const QList<MivoBuddyGroup>& groups);
    /** Shows what has changed in @p buddy and below it, in all its places. */
    void update(const MivoBuddy& buddy);
    /** Shows what has changed anywhere. */
    void refresh();

    /** The places where @p buddy is shown, from top to bottom. */
    QModelIndexList indexes(const MivoBuddy& buddy) const;

    QModelIndex index(int row, int column,
                      const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    Q_DISABLE_COPY(MivoBuddyModel)
    friend class MivoBuddyModelPrivate;

    const std::unique_ptr<MivoBuddyModelPrivate> d;
};

#endif
