#ifndef MIVOBUDDYFILTERMODEL_H
#define MIVOBUDDYFILTERMODEL_H

#include "MivoWidgetsGlobal.h"

#include <QCollator>
#include <QSortFilterProxyModel>

/**
 * A MivoBuddyModel in the order and selection in which people want to see it.
 *
 * Groups stand by name; members by the priority of their presence, highest first, with those who
 * are offline last, then by name as the user's language sorts; equals by id, then by their records'
 * addresses. Groups in which nobody is left to show are hidden. A meta-contact or merged contact is
 * shown when one of those below it is, and all below one that fits the text are.
 */
class MIVO_WIDGETS_EXPORT MivoBuddyFilterModel : public QSortFilterProxyModel
{
    Q_OBJECT
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(
        bool offlineHidden READ isOfflineHidden WRITE setOfflineHidden NOTIFY offlineHiddenChanged)

public:
    explicit MivoBuddyFilterModel(QObject* parent = nullptr);
    ~MivoBuddyFilterModel() override;

    QString searchText() const;
    bool isOfflineHidden() const;

public Q_SLOTS:
    /**
     * Shows only entries whose name or id contains @p text, in upper or lower case; blanks around
     * it do not count. All when it is empty, as at first.
     */
    void setSearchText(const QString& text);
    /** Whether to hide those whose presence has the flag Offline; false at first. */
    void setOfflineHidden(bool hidden);

Q_SIGNALS:
    void searchTextChanged(const QString& text);
    void offlineHiddenChanged(bool hidden);

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    Q_DISABLE_COPY(MivoBuddyFilterModel)

    bool fitsText(const QModelIndex& source) const;

    QString text;
    bool hidesOffline;
    QCollator collator;
};

#endif
