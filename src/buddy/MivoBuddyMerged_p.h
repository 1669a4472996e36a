#ifndef MIVOBUDDYMERGED_P_H
#define MIVOBUDDYMERGED_P_H

#include "MivoBuddyContact.h"
#include "MivoBuddyMerged.h"
#include "MivoBuddy_p.h"

/** The kind record of a merged contact. */
class MIVO_DATA_EXPORT MivoBuddyMergedPrivate
{
public:
    explicit MivoBuddyMergedPrivate(const QList<MivoBuddyContact>& contacts);
    ~MivoBuddyMergedPrivate();

    /** The record of @p merged; null for an invalid handle and for one of another kind. */
    static MivoBuddyMergedPrivate* get(const MivoBuddy& merged)
    {
        return MivoBuddyPrivate::kindRecord<MivoBuddyMergedPrivate>(merged, MivoBuddy::Merged);
    }

    /** Whether @p merged has @p contact itself; false for what is no merged contact. */
    static bool contains(const MivoBuddy& merged, const MivoBuddyContact& contact);

    MivoBuddy parent; ///< in a list that threads share, use MivoBuddyPrivate::backLink()
    QList<MivoBuddyContact> contacts; ///< the first one speaks for all

private:
    Q_DISABLE_COPY(MivoBuddyMergedPrivate)
};

#endif
