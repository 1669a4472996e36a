#ifndef CONTACTSPAGE_H
#define CONTACTSPAGE_H

#include "BackgroundHost.h"

#include <MivoBuddyFilterModel.h>
#include <MivoBuddyModel.h>

#include <QHash>
#include <QTimer>
#include <QWidget>

#include <memory>
#include <vector>

class Conversation;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;
class QTreeView;

/**
 * The contact lists of the plug-ins with a call "roster", one at a time. A list that the plug-in
 * answers without an argument is shown at once; the others are read from a file. Both follow the
 * plug-in's signals. Beside the list is the conversation with the entry that has been chosen, if its
 * plug-in has conversations.
 */
class ContactsPage : public QWidget
{
    Q_OBJECT

public:
    explicit ContactsPage(BackgroundHost& host, QWidget* parent = nullptr);
    ~ContactsPage() override;

    /** Reads the contacts from a server export, by the plug-in that is chosen. */
    void read(const QString& file);
    /** Whether all lists that have been asked for are shown. */
    bool isFilled() const { return awaited == 0; }

public Q_SLOTS:
    /** Asks for the file. */
    void choose();
    void search();

Q_SIGNALS:
    void failed(const QString& message);

private:
    struct Link;
    struct Roster;

    void takePlugins();
    void clear();
    void switchTo(int index);
    void ask(Roster& roster);
    void show(Roster& roster, const QString& file, const CallAnswer& answer);
    void report(const PluginInfo& plugin);
    void update(MivoPlugin* plugin, const QList<MivoBuddy>& entries);
    void askAgain(MivoPlugin* plugin);
    void open(const QModelIndex& index);
    void close(Conversation* conversation);
    void dispatch(MivoPlugin* plugin, const QList<MivoArg>& event);
    void describe();
    Roster* chosen() const;
    Roster* rosterOf(const MivoPlugin* plugin) const;

    BackgroundHost& host;
    MivoBuddyModel none;
    MivoBuddyFilterModel filter;
    std::vector<std::unique_ptr<Roster>> rosters;
    QHash<QString, QString> exports; ///< what has been read, by the plug-in's file
    int awaited = 0;
    QTimer describing;

    QComboBox* const plugins;
    QLineEdit* const searchLine;
    QPushButton* const readButton;
    QTreeView* const tree;
    QStackedWidget* const conversations;
    QLabel* const status;
};

#endif
