#ifndef TESTBUDDIES_H
#define TESTBUDDIES_H

#include "MivoArg.h"
#include "MivoBuddyContact_p.h"
#include "MivoBuddyGroup_p.h"
#include "MivoBuddyMerged_p.h"
#include "MivoBuddyMeta_p.h"
#include "MivoBuddyTemporary_p.h"
#include "MivoPresenceType.h"
#include "MivoQt_p.h"

#include <QtTest>

/** @file
 * Entries of the contact list as the tests need them.
 */

inline MivoSubscriptionType anySubscription()
{
    return MivoSubscriptionType("Both", "both", 1, QString());
}

/** A contact of no account, without contact type and with an invalid presence. */
inline MivoBuddyContact makeContact(const QString& id, MivoPresenceType* presenceType = nullptr)
{
    return MivoBuddyContact(nullptr, id, id, MivoBuddyType(), MivoPresence(presenceType, QString()),
                            anySubscription());
}

inline MivoBuddyMerged makeMerged(const QList<MivoBuddyContact>& contacts = {})
{
    return MivoBuddyMerged("merged", contacts);
}

inline MivoBuddyTemporary makeTemporary(const QString& id)
{
    return MivoBuddyTemporary(nullptr, id, MivoPresence(), MivoBuddyGroup());
}

/** How many handles share the entry of @p buddy, @p buddy included. */
inline int handlesOf(const MivoBuddy& buddy)
{
    return mivoLoadAcquire(MivoBuddyPrivate::get(buddy)->ref);
}

/** Tells whether entries that were called by its text still exist: their strings share it. */
class Witness
{
public:
    explicit Witness(const QString& name)
        : text(name)
    {
        text.detach();
    }
    QString name() const { return text; }
    bool sees() const { return !text.isDetached(); }

private:
    QString text;
};

/** The members of a group or meta-contact, asked for one by one. */
template <class Container>
QList<MivoBuddy> membersOf(const Container& container)
{
    QList<MivoBuddy> members;
    for (int i = 0; i < container.childCount(); ++i)
        members << container.buddyAt(i);
    return members;
}

/** The list as it stands in the record, for what a host does to it. */
inline QList<MivoBuddy>& childrenOf(const MivoBuddyGroup& group)
{
    return MivoBuddyGroupPrivate::get(group)->children;
}
inline QList<MivoBuddy>& childrenOf(const MivoBuddyMeta& meta)
{
    return MivoBuddyMetaPrivate::get(meta)->children;
}

/**
 * Breaks the cycles in which a container and its members keep each other alive, at the end of the
 * scope.
 */
template <class Container>
class CycleBreaker
{
public:
    explicit CycleBreaker(const Container& brokenContainer)
        : container(brokenContainer)
    {
    }
    ~CycleBreaker()
    {
        const QList<MivoBuddy> members = childrenOf(container);
        childrenOf(container).clear();
        for (const MivoBuddy& member : members) {
            if (member.isValid())
                MivoBuddyPrivate::get(member)->replaceBackLink(container, MivoBuddy());
        }
        MivoBuddyPrivate::get(container)->setBackLink(MivoBuddy());
        clearMetas(container);
    }

private:
    Q_DISABLE_COPY(CycleBreaker)

    static void clearMetas(const MivoBuddyGroup& group)
    {
        QHash<QString, MivoBuddyMeta>& metas = MivoBuddyGroupPrivate::get(group)->metas;
        for (const MivoBuddyMeta& meta : std::as_const(metas))
            MivoBuddyMetaPrivate::get(meta)->group = MivoBuddyGroup();
        metas.clear();
    }
    static void clearMetas(const MivoBuddyMeta&) { }

    const Container container;
};

#endif
