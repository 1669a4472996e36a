#ifndef MAINWINDOW_H
#define MAINWINDOW_H

#include "Session.h"

#include <QMainWindow>

class CallsPage;
class ContactsPage;
class FormsPage;
class FramesPage;
class LogPage;
class MessageBar;
class QDockWidget;
class QLabel;
class QMenu;
class QTabWidget;

/** The window on plug-ins: what they offer, to see and to use. */
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow();
    ~MainWindow() override;

    /** Opens plug-ins beside those that run. */
    void open(const QStringList& files);
    /** Reads contacts as soon as there is a plug-in that can. */
    void readContacts(const QString& file);
    /** Shows "contacts", "forms", "calls", "frames" or "log"; false when it is none of them. */
    bool showPage(const QString& name);
    /** Whether there is something on the page that is shown, and nothing on its way. */
    bool isFilled() const;

    /** Whether a call is still running. */
    bool isCalling() const { return session->callsInProgress() > 0; }

    static QStringList pageNames();

public Q_SLOTS:
    void chooseFiles();

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void makeMenus();
    void takePlugins();
    void showRecent();
    void showServices();
    void restoreState();

    Session* const session; ///< owned; it goes before what it shows its answers in
    MessageBar* messages;
    QTabWidget* pages;
    ContactsPage* contacts;
    FormsPage* forms;
    CallsPage* calls;
    FramesPage* frames;
    LogPage* log;
    QDockWidget* logDock;
    QMenu* recentMenu;
    QMenu* servicesMenu;
    QLabel* busy;
    QStringList recent;
    QString contactsFile; ///< to be read
    bool isOpening = false;
};

#endif
