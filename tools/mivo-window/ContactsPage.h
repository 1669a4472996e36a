#ifndef CONTACTSPAGE_H
#define CONTACTSPAGE_H

#include "Session.h"

#include <MivoBuddyFilterModel.h>
#include <MivoBuddyModel.h>

#include <QWidget>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeView;

/** The contact list of a plug-in with a call "roster", read from a file. */
class ContactsPage : public QWidget
{
    Q_OBJECT

public:
    ContactsPage(Session& session, QWidget* parent = nullptr);

    /** Reads the contacts from a server export. */
    void read(const QString& file);
    /** Whether what was to be read is shown. */
    bool isFilled() const { return hasRead; }

public Q_SLOTS:
    /** Asks for the file. */
    void choose();
    void search();

Q_SIGNALS:
    void failed(const QString& message);
    void filled();

private:
    void takePlugins();
    void clear();
    void show(const PluginInfo& plugin, const CallAnswer& answer);
    void describe();
    PluginInfo chosen() const;

    Session& session;
    MivoBuddyModel model;
    MivoBuddyFilterModel filter;
    QList<PluginInfo> rosters;
    bool hasRead = false;

    QComboBox* const plugins;
    QLineEdit* const searchLine;
    QPushButton* const readButton;
    QTreeView* const tree;
    QLabel* const status;
};

#endif
