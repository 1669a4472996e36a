#ifndef MIVOBUDDYENTRY_P_H
#define MIVOBUDDYENTRY_P_H

#include "MivoBuddy.h"

#include <QString>

#include <memory>
#include <vector>

class MivoAccountConnection;
class MivoBuddyGroup;
class MivoPresence;

/** What is shown of a presence. */
struct MivoShownPresence
{
    QString text;
    QString description;
    QString icon; ///< the one that comes first: the subscription's, if that has one
    QString ownIcon; ///< the presence type's
    int flag = 0;
    quint32 priority = 0;
    bool isValid = false;

    bool isOffline() const;
};

/** What a row shows, copied from the entry. */
struct MivoShownBuddy
{
    QString name;
    QString id;
    MivoAccountConnection* account = nullptr;
    int unread = 0;
    MivoShownPresence presence;

    bool operator==(const MivoShownBuddy& other) const;
};

/**
 * One place in the tree of a MivoBuddyModel, with the places below it, which it owns. The handle
 * tells entries apart; what it leads to is read only where a place is made.
 */
class MivoBuddyEntry
{
public:
    /**
     * How far down a place may stand. What a container holds ranks below it, so that a tree is
     * never deeper than this, whatever a host has put into a container: an entry that does not rank
     * below its container is shown as a leaf.
     */
    enum Rank { Root, Group, Meta, Merged, Leaf };

    /** The root of a tree. */
    MivoBuddyEntry();
    /** Copies what is shown of @p buddy and of all below it: reads the entries. */
    MivoBuddyEntry(const MivoBuddy& buddy, Rank container);
    ~MivoBuddyEntry();

    /** Copies of all groups that are valid, below a new root. */
    static std::unique_ptr<MivoBuddyEntry> copyOf(const QList<MivoBuddyGroup>& groups);
    /** A second copy of a place, without reading the entries again. */
    std::unique_ptr<MivoBuddyEntry> clone() const;
    /** Makes it a leaf. */
    void dropChildren();

    /** Which of its container's rows it is. */
    int row() const;
    /**
     * Takes over what it shows of the places below it: the first one of a merged contact, the one
     * that is reached best of a meta-contact. Returns whether that is something else than before.
     */
    bool derive();

    MivoBuddy buddy;
    MivoBuddy::Type kind = MivoBuddy::Invalid;
    Rank rank = Root;
    MivoShownBuddy shown;
    MivoBuddyEntry* parent = nullptr;
    std::vector<MivoBuddyEntry*> children;

    // For a MivoBuddyTreeUpdate.
    MivoBuddyEntry* match = nullptr; ///< of a copy: the place that shows it already
    bool isGone = false; ///< of a shown place: nothing in the copy is it

private:
    Q_DISABLE_COPY(MivoBuddyEntry)

    void append(std::unique_ptr<MivoBuddyEntry> child);
    template <class Container>
    void copyMembers(const Container& container);

    mutable int lastRow = 0; ///< where it was found last
};

#endif
