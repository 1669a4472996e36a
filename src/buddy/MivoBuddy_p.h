#ifndef MIVOBUDDY_P_H
#define MIVOBUDDY_P_H

#include "MivoBuddy.h"
#include "MivoShared_p.h"

#include <QAtomicInt>
#include <QMutex>

#include <new>
#include <utility>

/**
 * The record that all handles of one entry share. It owns the record of the entry's kind, and with
 * the last handle it goes.
 */
class MIVO_DATA_EXPORT MivoBuddyPrivate
{
public:
    MivoBuddyPrivate(const QString& display, MivoBuddy::Type type);
    ~MivoBuddyPrivate();

    /** The record of @p buddy; null for an invalid handle. It stays owned by its handles. */
    static MivoBuddyPrivate* get(const MivoBuddy& buddy) { return buddy.d; }

    /** The kind record of @p buddy; null when it is not of kind @p type or has none. */
    template <class KindRecord>
    static KindRecord* kindRecord(const MivoBuddy& buddy, MivoBuddy::Type type)
    {
        const MivoBuddyPrivate* const record = buddy.d;
        return record && record->type == type ? static_cast<KindRecord*>(record->kindData)
                                              : nullptr;
    }

    /**
     * Hands @p data, a new kind record, to the new record of @p buddy, which becomes invalid when
     * memory was short for one of them.
     */
    template <class KindRecord>
    static void setKindRecord(MivoBuddy& buddy, KindRecord* data)
    {
        if (buddy.d && data) {
            buddy.d->kindData = data;
        } else {
            delete data;
            buddy = MivoBuddy();
        }
    }

    /** Exchanges the entries of two handles, whatever their classes. */
    static void swap(MivoBuddy& a, MivoBuddy& b) { std::swap(a.d, b.d); }

    /**
     * The group or meta-contact that the entry says holds it; invalid for a kind without a
     * back-link. All operations on the back-link may be called in different threads at once.
     */
    MivoBuddy backLink() const;
    /** The record of backLink(), which may be gone at once: to be compared and not looked into. */
    const MivoBuddyPrivate* backLinkAddress() const;
    /** Returns the back-link so far, for the caller to release when it holds no lock. */
    MivoBuddy setBackLink(const MivoBuddy& container);
    /** Sets the back-link if it is @p expected; returns whether it was. */
    bool replaceBackLink(const MivoBuddy& expected, const MivoBuddy& container);
    /**
     * Sets the back-link, if it does not lead to another group or meta-contact, and returns whether
     * it did not. Exchanges it with @p container, which must not be released while a lock is held.
     */
    bool exchangeBackLinkUnlessElsewhere(MivoBuddy& container);

    QAtomicInt ref;
    QString display;
    MivoBuddy::Type type;
    int unreadMessages;
    void* kindData; ///< owned; of the class that belongs to the kind, or null

private:
    Q_DISABLE_COPY(MivoBuddyPrivate)

    MivoBuddy* link() const;

    /** Guards the back-link. Nothing else is locked, and no handle released, while it is held. */
    mutable QMutex linkLock;
};

#endif
