#ifndef MAINWINDOW_H
#define MAINWINDOW_H

#include "BackgroundHost.h"

#include <QMainWindow>
#include <QMap>

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
    /** Whether all is shown that the page can show, and nothing on its way. */
    bool isFilled() const;
    /** The sentences on what has failed that stand in the bar. */
    QString failures() const;
    /** Whether a call is still running. */
    bool isCalling() const { return host->callsInProgress() > 0; }

    /** Stops the plug-ins, for good: see BackgroundHost::finish(). */
    bool finish() { return host->finish(); }

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
    void askForServices();
    void showServices(const PluginInfo& plugin, int place, const QList<MivoService>& offered);
    void clearServices();
    void describe();
    void restoreState();

    BackgroundHost* const host; ///< owned; it goes before what it shows its answers in
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
    QMap<int, QList<QAction*>> services; ///< by the plug-in's place
};

#endif
