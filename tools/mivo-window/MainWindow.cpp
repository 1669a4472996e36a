#include "MainWindow.h"

#include "CallsPage.h"
#include "ContactsPage.h"
#include "DisplayText.h"
#include "FormsPage.h"
#include "FramesPage.h"
#include "LogPage.h"
#include "MessageBar.h"
#include "ToolTip.h"

#include <MivoGlobal.h>
#include <MivoPluginAction.h>

#include <QAction>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMenuBar>
#include <QMimeData>
#include <QSettings>
#include <QStatusBar>
#include <QTabWidget>
#include <QVBoxLayout>

namespace {

const int mostRecent = 10;

QString menuText(const QString& text)
{
    return oneLine(text).replace('&', "&&");
}

QStringList localFiles(const QMimeData* data)
{
    QStringList files;
    for (const QUrl& url : data->urls()) {
        if (url.isLocalFile())
            files.append(url.toLocalFile());
    }
    return files;
}

} // namespace

MainWindow::MainWindow()
    : host(new BackgroundHost(this))
    , messages(new MessageBar)
    , pages(new QTabWidget)
    , contacts(new ContactsPage(*host))
    , forms(new FormsPage(*host))
    , calls(new CallsPage(*host))
    , frames(new FramesPage(*host))
    , log(new LogPage)
    , logDock(new QDockWidget(tr("Log")))
    , recentMenu(nullptr)
    , servicesMenu(nullptr)
    , busy(new QLabel)
{
    setWindowTitle(tr("Plug-ins"));
    setAcceptDrops(true);
    pages->setObjectName("pages");
    pages->setDocumentMode(true);
    pages->addTab(contacts, tr("Contacts"));
    pages->addTab(forms, tr("Forms"));
    pages->addTab(calls, tr("Calls"));
    pages->addTab(frames, tr("Frames"));
    QWidget* const centre = new QWidget;
    QVBoxLayout* const layout = new QVBoxLayout(centre);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(messages);
    layout->addWidget(pages, 1);
    setCentralWidget(centre);
    logDock->setObjectName("logDock");
    logDock->setWidget(log);
    addDockWidget(Qt::BottomDockWidgetArea, logDock);
    statusBar()->addPermanentWidget(busy);
    busy->setObjectName("callsInProgress");

    makeMenus();
    connect(contacts, &ContactsPage::failed, messages, &MessageBar::add);
    connect(forms, &FormsPage::failed, messages, &MessageBar::add);
    connect(calls, &CallsPage::failed, messages, &MessageBar::add);
    connect(frames, &FramesPage::failed, messages, &MessageBar::add);
    connect(log, &LogPage::failed, messages, &MessageBar::add);
    connect(host, &BackgroundHost::failed, messages, &MessageBar::add);
    connect(host, &BackgroundHost::opened, this, &MainWindow::takePlugins);
    connect(host, &BackgroundHost::leftAsItWas, this, &MainWindow::describe);
    connect(host, &BackgroundHost::closing, this, &MainWindow::clearServices);
    connect(host, &BackgroundHost::callsChanged, this, [this] {
        const int count = host->callsInProgress();
        busy->setText(count > 0 ? tr("%1 running…").arg(count) : QString());
    });
    restoreState();
}

MainWindow::~MainWindow()
{
    delete host; // waits for what it runs, which may be showing something here
}

QStringList MainWindow::pageNames()
{
    return {"contacts", "forms", "calls", "frames", "log"};
}

void MainWindow::makeMenus()
{
    QMenu* const file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("&Open plug-ins…"), this, &MainWindow::chooseFiles)
        ->setShortcut(QKeySequence::Open);
    recentMenu = file->addMenu(tr("Open &recent"));
    recentMenu->setObjectName("recent");
    file->addSeparator();
    file->addAction(tr("Read &contacts…"), contacts, &ContactsPage::choose)
        ->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O));
    file->addSeparator();
    QAction* const quit = file->addAction(tr("&Quit"), this, &QWidget::close);
    quit->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_Q), QKeySequence(QKeySequence::Close)});

    QMenu* const view = menuBar()->addMenu(tr("&View"));
    for (int i = 0; i < pages->count(); ++i) {
        QAction* const action = view->addAction(pages->tabText(i));
        action->setShortcut(QKeySequence(QString("Alt+%1").arg(i + 1)));
        connect(action, &QAction::triggered, this, [this, i] {
            pages->setCurrentIndex(i);
            pages->currentWidget()->setFocus();
        });
    }
    view->addAction(logDock->toggleViewAction());
    logDock->toggleViewAction()->setShortcut(QKeySequence("Alt+5"));
    view->addSeparator();
    QAction* const find = view->addAction(tr("&Search contacts"));
    find->setShortcut(QKeySequence::Find);
    connect(find, &QAction::triggered, this, [this] {
        pages->setCurrentWidget(contacts);
        contacts->search();
    });

    servicesMenu = menuBar()->addMenu(tr("&Services"));
    servicesMenu->setObjectName("services");
    servicesMenu->setToolTipsVisible(true);
}

void MainWindow::chooseFiles()
{
    QFileDialog* const dialog = new QFileDialog(this, tr("Open plug-ins"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setNameFilters({tr("Plug-ins (*.so *.dll *.dylib)"), tr("All files (*)")});
    if (!recent.isEmpty())
        dialog->setDirectory(QFileInfo(recent.first()).absolutePath());
    connect(dialog, &QFileDialog::filesSelected, this, &MainWindow::open);
    dialog->open();
}

void MainWindow::open(const QStringList& files)
{
    if (files.isEmpty())
        return;
    QStringList absolute;
    for (const QString& file : files)
        absolute.append(QFileInfo(file).absoluteFilePath());
    statusBar()->showMessage(host->callsInProgress() > 0
                                 ? tr("Opening when the calls that run have ended…")
                                 : tr("Opening…"));
    host->open(absolute);
}

void MainWindow::readContacts(const QString& file)
{
    contactsFile = file;
    if (!host->isOpening())
        takePlugins();
}

void MainWindow::takePlugins()
{
    for (const PluginInfo& plugin : host->plugins()) {
        recent.removeAll(plugin.file);
        recent.prepend(plugin.file);
    }
    recent = recent.mid(0, mostRecent);
    describe();
    showRecent();
    askForServices();
    if (!contactsFile.isEmpty()) {
        contacts->read(contactsFile);
        contactsFile.clear();
    }
}

void MainWindow::describe()
{
    QStringList names;
    for (const PluginInfo& plugin : host->plugins())
        names.append(oneLine(plugin.name));
    statusBar()->showMessage(names.isEmpty() ? tr("No plug-in is open.")
                                             : tr("Open: %1").arg(names.join(", ")));
}

void MainWindow::showRecent()
{
    recentMenu->clear();
    for (const QString& file : qAsConst(recent))
        recentMenu->addAction(menuText(file), this, [this, file] { open({file}); });
    recentMenu->setEnabled(!recent.isEmpty());
}

void MainWindow::askForServices()
{
    clearServices();
    const QList<PluginInfo> plugins = host->plugins();
    for (int place = 0; place < plugins.size(); ++place) {
        const PluginInfo plugin = plugins.at(place);
        host->services(plugin, this, [this, plugin, place](const QList<MivoService>& offered) {
            if (host->plugins().value(place).plugin == plugin.plugin)
                showServices(plugin, place, offered);
        });
    }
}

void MainWindow::showServices(const PluginInfo& plugin, int place,
                              const QList<MivoService>& offered)
{
    QList<QAction*>& own = services[place];
    for (const MivoService& service : offered) {
        const QString name
            = service.getDisplayName().isEmpty() ? service.getName() : service.getDisplayName();
        QAction* const action = new QAction(menuText(name), servicesMenu);
        action->setToolTip(
            toolTipText(oneLine(tr("%1 of %2").arg(service.getName(), plugin.name))));
        action->setEnabled(service.getAction().isValid());
        connect(action, &QAction::triggered, this, [this, plugin, service] {
            host->run(plugin, [service] { service.getAction()(); });
        });
        own.append(action);
    }
    // In the order of the plug-ins, whichever answers first.
    for (const QList<QAction*>& each : qAsConst(services)) {
        for (QAction* const action : each) {
            servicesMenu->removeAction(action);
            servicesMenu->addAction(action);
        }
    }
    servicesMenu->setEnabled(!servicesMenu->isEmpty());
}

void MainWindow::clearServices()
{
    services.clear();
    servicesMenu->clear(); // deletes them
    servicesMenu->setEnabled(false);
}

bool MainWindow::showPage(const QString& name)
{
    if (name == log->objectName()) {
        logDock->show();
        logDock->raise();
        return true;
    }
    QWidget* const page = pages->findChild<QWidget*>(name);
    const int index = pages->indexOf(page);
    if (index < 0)
        return false;
    pages->setCurrentIndex(index);
    if (page == frames)
        frames->start();
    return true;
}

QString MainWindow::failures() const
{
    return messages->text();
}

bool MainWindow::isFilled() const
{
    if (host->isOpening() || !contactsFile.isEmpty())
        return false;
    const QWidget* const page = pages->currentWidget();
    if (page == contacts)
        return contacts->isFilled();
    if (page == forms)
        return forms->isFilled();
    if (page == frames)
        return frames->isFilled();
    return host->callsInProgress() == 0;
}

void MainWindow::restoreState()
{
    const QSettings settings;
    recent = settings.value("recent").toStringList();
    showRecent();
    clearServices();
    if (!restoreGeometry(settings.value("geometry").toByteArray()))
        resize(900, 700);
    resizeDocks({logDock}, {160}, Qt::Vertical);
    QMainWindow::restoreState(settings.value("docks").toByteArray());
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    QSettings settings;
    settings.setValue("recent", recent);
    settings.setValue("geometry", saveGeometry());
    settings.setValue("docks", saveState());
    event->accept();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event)
{
    if (!localFiles(event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event)
{
    event->acceptProposedAction();
    open(localFiles(event->mimeData()));
}
