#include "ContactsPage.h"

#include "Conversation.h"
#include "DisplayText.h"

#include <MivoBuddyGroup.h>
#include <MivoHostLog.h>

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMutex>
#include <QPainter>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QStyledItemDelegate>
#include <QTreeView>

namespace {

/** Puts the number of unread messages behind the name. */
class UnreadDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override
    {
        const int unread = index.data(MivoBuddyModel::UnreadRole).toInt();
        if (unread <= 0) {
            QStyledItemDelegate::paint(painter, option, index);
            return;
        }
        QStyleOptionViewItem bold = option;
        bold.font.setBold(true);
        QStyledItemDelegate::paint(painter, bold, index);
        const QString text = QString::number(unread);
        const QFontMetrics metrics(bold.font);
        const int height = metrics.height();
        QRect badge(0, 0, qMax(height, metrics.horizontalAdvance(text) + height / 2), height);
        badge.moveCenter(option.rect.center());
        badge.moveRight(option.rect.right() - 4);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        painter->setBrush(option.palette.link());
        painter->drawRoundedRect(badge, height / 2.0, height / 2.0);
        painter->setFont(bold.font);
        painter->setPen(option.palette.color(QPalette::Base));
        painter->drawText(badge, Qt::AlignCenter, text);
        painter->restore();
    }
};

/** Contacts below @p parent, and how many of them are not offline. */
void count(const QAbstractItemModel& model, const QModelIndex& parent, int& all, int& online)
{
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        const int kind = index.data(MivoBuddyModel::KindRole).toInt();
        if (kind == MivoBuddy::Contact || kind == MivoBuddy::Temporary) {
            ++all;
            online += !index.data(MivoBuddyModel::OfflineRole).toBool();
        }
        count(model, index, all, online);
    }
}

const int describeMs = 50; // for changes that come in great numbers

} // namespace

/** The way from a plug-in's thread to a model, which may go at any time. */
struct ContactsPage::Link
{
    QMutex mutex;
    MivoBuddyModel* model; ///< null when it has gone
};

/** The contact list of one plug-in. */
struct ContactsPage::Roster
{
    explicit Roster(const PluginInfo& listed)
        : plugin(listed)
        , link(std::make_shared<Link>())
    {
        link->model = &model;
    }
    ~Roster()
    {
        const QMutexLocker locker(&link->mutex);
        link->model = nullptr;
    }

    const PluginInfo plugin;
    MivoBuddyModel model;
    const std::shared_ptr<Link> link;
    QString exportFile; ///< that is to be read; empty for none
    QString refusal; ///< why there is nothing to show
    bool isAsked = false;
    bool isStale = false; ///< to be asked once more
};

ContactsPage::ContactsPage(BackgroundHost& usedHost, QWidget* parent)
    : QWidget(parent)
    , host(usedHost)
    , plugins(new QComboBox)
    , searchLine(new QLineEdit)
    , readButton(new QPushButton(tr("&Read contacts…")))
    , tree(new QTreeView)
    , conversations(new QStackedWidget)
    , status(new QLabel)
{
    setObjectName("contacts");
    filter.setSourceModel(&none);
    plugins->setObjectName("rosters");
    plugins->setAccessibleName(tr("Plug-in"));
    searchLine->setObjectName("search");
    searchLine->setPlaceholderText(tr("Search names and ids"));
    searchLine->setAccessibleName(tr("Search names and ids"));
    searchLine->setClearButtonEnabled(true);
    readButton->setObjectName("read");
    tree->setObjectName("tree");
    tree->setAccessibleName(tr("Contacts"));
    tree->setModel(&filter);
    tree->setHeaderHidden(true);
    tree->setUniformRowHeights(true);
    tree->setItemDelegate(new UnreadDelegate(tree));
    status->setObjectName("contactsStatus");
    status->setTextFormat(Qt::PlainText);
    QCheckBox* const offline = new QCheckBox(tr("&Hide who is offline"));
    offline->setObjectName("hideOffline");

    QHBoxLayout* const top = new QHBoxLayout;
    top->addWidget(readButton);
    top->addWidget(plugins);
    top->addWidget(searchLine, 1);
    top->addWidget(offline);
    QVBoxLayout* const layout = new QVBoxLayout(this);
    layout->addLayout(top);
    QSplitter* const both = new QSplitter;
    both->setChildrenCollapsible(false);
    both->addWidget(tree);
    both->addWidget(conversations);
    both->setStretchFactor(1, 1);
    conversations->hide();
    layout->addWidget(both, 1);
    layout->addWidget(status);

    connect(readButton, &QPushButton::clicked, this, &ContactsPage::choose);
    connect(plugins, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &ContactsPage::switchTo);
    connect(searchLine, &QLineEdit::textChanged, &filter, &MivoBuddyFilterModel::setSearchText);
    connect(searchLine, &QLineEdit::textChanged, tree, &QTreeView::expandAll);
    connect(offline, &QCheckBox::toggled, &filter, &MivoBuddyFilterModel::setOfflineHidden);
    for (const auto signal : {&QTreeView::clicked, &QTreeView::activated})
        connect(tree, signal, this, &ContactsPage::open);
    connect(&host, &BackgroundHost::messageCame, this, &ContactsPage::dispatch);
    connect(&host, &BackgroundHost::opened, this, &ContactsPage::takePlugins);
    connect(&host, &BackgroundHost::closing, this, &ContactsPage::clear);
    connect(&host, &BackgroundHost::entriesChanged, this, &ContactsPage::update);
    connect(&host, &BackgroundHost::contactListChanged, this, &ContactsPage::askAgain);
    describing.setSingleShot(true);
    describing.setInterval(describeMs);
    connect(&describing, &QTimer::timeout, this, &ContactsPage::describe);
    const auto describeSoon = [this] {
        if (!describing.isActive())
            describing.start();
    };
    connect(&filter, &QAbstractItemModel::rowsInserted, this, describeSoon);
    connect(&filter, &QAbstractItemModel::rowsRemoved, this, describeSoon);
    connect(&filter, &QAbstractItemModel::dataChanged, this, describeSoon);
    // Groups that come are open; the others stay as the user has them.
    connect(&filter, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex& above, int first, int last) {
                for (int row = first; !above.isValid() && row <= last; ++row)
                    tree->expandRecursively(filter.index(row, 0));
            });
    takePlugins();
}

ContactsPage::~ContactsPage()
{
    filter.setSourceModel(&none);
}

ContactsPage::Roster* ContactsPage::chosen() const
{
    const int index = plugins->currentIndex();
    return index >= 0 && index < int(rosters.size()) ? rosters[std::size_t(index)].get() : nullptr;
}

ContactsPage::Roster* ContactsPage::rosterOf(const MivoPlugin* plugin) const
{
    for (const auto& roster : rosters) {
        if (roster->plugin.plugin == plugin)
            return roster.get();
    }
    return nullptr;
}

void ContactsPage::takePlugins()
{
    clear();
    for (const PluginInfo& plugin : host.plugins()) {
        if (!plugin.calls.contains("roster"))
            continue;
        rosters.push_back(std::make_unique<Roster>(plugin));
        rosters.back()->exportFile = exports.value(plugin.file);
    }
    for (const auto& roster : rosters) {
        plugins->addItem(oneLine(roster->plugin.name));
        ask(*roster);
    }
    plugins->setVisible(rosters.size() > 1);
    readButton->setEnabled(!rosters.empty());
    describe();
}

void ContactsPage::clear()
{
    while (conversations->count() > 0)
        close(static_cast<Conversation*>(conversations->widget(0)));
    filter.setSourceModel(&none);
    rosters.clear();
    plugins->clear();
    awaited = 0;
    describe();
}

/** Shows the conversation with an entry, if there can be one. */
void ContactsPage::open(const QModelIndex& index)
{
    const Roster* const roster = chosen();
    const MivoBuddy entry = index.data(MivoBuddyModel::BuddyRole).value<MivoBuddy>();
    const int kind = index.data(MivoBuddyModel::KindRole).toInt();
    if (!roster || !roster->plugin.watcher
        || (kind != MivoBuddy::Contact && kind != MivoBuddy::Temporary
            && kind != MivoBuddy::Merged))
        return;
    Conversation* shown = nullptr;
    for (int i = 0; i < conversations->count() && !shown; ++i) {
        auto* const conversation = static_cast<Conversation*>(conversations->widget(i));
        if (conversation->plugin() == roster->plugin.plugin && conversation->entry() == entry)
            shown = conversation;
    }
    if (!shown) {
        shown = new Conversation(host, roster->plugin, entry, index.data().toString());
        conversations->addWidget(shown);
        connect(shown, &Conversation::failed, this, &ContactsPage::failed);
        connect(shown, &Conversation::closed, this, [this, shown] { close(shown); });
    }
    conversations->setCurrentWidget(shown);
    conversations->show();
    shown->startTyping();
}

void ContactsPage::close(Conversation* conversation)
{
    conversations->removeWidget(conversation);
    conversation->deleteLater();
    if (conversations->count() == 0)
        conversations->hide();
}

/** Hands an event to the conversations that it concerns. */
void ContactsPage::dispatch(MivoPlugin* plugin, const QList<MivoArg>& event)
{
    const Roster* const roster = rosterOf(plugin);
    if (!roster || event.value(0).getType() != MivoArg::Buddy)
        return;
    const MivoBuddy entry = event.first().toBuddy();
    // Events name the contacts of a merged one.
    QList<MivoBuddy> concerned = {entry};
    for (const QModelIndex& index : roster->model.indexes(entry))
        concerned.append(index.parent().data(MivoBuddyModel::BuddyRole).value<MivoBuddy>());
    for (int i = 0; i < conversations->count(); ++i) {
        auto* const conversation = static_cast<Conversation*>(conversations->widget(i));
        if (conversation->plugin() == plugin && concerned.contains(conversation->entry()))
            conversation->take(event);
    }
}

void ContactsPage::switchTo(int)
{
    Roster* const roster = chosen();
    filter.setSourceModel(roster ? &roster->model : &none);
    tree->expandAll();
    describe();
}

void ContactsPage::describe()
{
    int all = 0;
    int online = 0;
    count(*filter.sourceModel(), QModelIndex(), all, online);
    const Roster* const roster = chosen();
    if (!roster)
        status->setText(tr("No plug-in with a call \"roster\" is open."));
    else if (roster->isAsked && all == 0)
        status->setText(roster->exportFile.isEmpty()
                            ? tr("Reading…")
                            : tr("Reading %1…").arg(oneLine(roster->exportFile)));
    else if (all > 0)
        status->setText(tr("%1 contacts, %2 of them not offline").arg(all).arg(online));
    else
        status->setText(roster->refusal.isEmpty()
                            ? tr("There are no contacts.")
                            : tr("No contacts have been read: %1").arg(roster->refusal));
}

void ContactsPage::search()
{
    searchLine->setFocus(Qt::ShortcutFocusReason);
    searchLine->selectAll();
}

void ContactsPage::choose()
{
    QFileDialog* const dialog = new QFileDialog(this, tr("Read contacts from a server export"));
    dialog->setObjectName("contactsFile");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters({tr("Server exports (*.xml)"), tr("All files (*)")});
    connect(dialog, &QFileDialog::fileSelected, this, &ContactsPage::read);
    dialog->open();
}

void ContactsPage::read(const QString& file)
{
    Roster* const roster = chosen();
    if (!roster) {
        Q_EMIT failed(
            tr("%1 was not read: no plug-in with a call \"roster\" is open.").arg(oneLine(file)));
        return;
    }
    roster->exportFile = file;
    ask(*roster);
    describe();
}

void ContactsPage::ask(Roster& roster)
{
    if (roster.isAsked) {
        roster.isStale = true; // what is on its way may be older than what was to be told
        return;
    }
    roster.isAsked = true;
    roster.isStale = false;
    ++awaited;
    const MivoPlugin* const plugin = roster.plugin.plugin;
    QList<MivoArg> arguments;
    if (!roster.exportFile.isEmpty())
        arguments.append(MivoArg(roster.exportFile));
    const int generation = roster.plugin.generation;
    const QString file = roster.exportFile;
    host.call(roster.plugin, "roster", arguments, this,
              [this, plugin, generation, file](const CallAnswer& answer) {
                  Roster* const asked = rosterOf(plugin);
                  if (asked && asked->plugin.generation == generation)
                      show(*asked, file, answer);
              });
}

void ContactsPage::show(Roster& roster, const QString& file, const CallAnswer& answer)
{
    QString error = answer.error;
    QList<MivoBuddyGroup> groups;
    for (const MivoArg& value : answer.values) {
        if (value.getType() != MivoArg::Buddy || value.toBuddy().getType() != MivoBuddy::Group) {
            error = tr("%1 answered %2; expected groups")
                        .arg(oneLine(roster.plugin.name), oneLine(displayText(value)));
            break;
        }
        groups.append(MivoBuddyGroup(value.toBuddy()));
    }
    roster.refusal = error;
    const MivoPlugin* const plugin = roster.plugin.plugin;
    const int generation = roster.plugin.generation;
    const auto shown = [this, plugin, generation] {
        Roster* const asked = rosterOf(plugin);
        if (!asked || asked->plugin.generation != generation)
            return;
        asked->isAsked = false;
        --awaited;
        describe();
        if (asked->isStale)
            ask(*asked);
    };
    if (!error.isEmpty()) {
        // A plug-in that wants a file says so where the contacts would be.
        if (!file.isEmpty())
            Q_EMIT failed(tr("The contacts were not read: %1").arg(error));
        shown();
        return;
    }
    // The entries are read in the thread that changes them.
    const std::shared_ptr<Link> link = roster.link;
    host.inPlugin(roster.plugin, [link, groups, shown] {
        const QMutexLocker locker(&link->mutex);
        if (!link->model)
            return;
        link->model->setGroups(groups);
        QMetaObject::invokeMethod(link->model, shown, Qt::QueuedConnection);
    });
    if (!file.isEmpty()) {
        exports.insert(roster.plugin.file, file);
        report(roster.plugin);
    }
}

/** Has the log say what the plug-in has skipped in the export. */
void ContactsPage::report(const PluginInfo& plugin)
{
    if (!plugin.calls.contains("reports"))
        return;
    host.call(plugin, "reports", {}, this, [](const CallAnswer& reports) {
        for (const MivoArg& value : reports.values) {
            if (value.getType() != MivoArg::StringList)
                continue;
            for (const QString& report : value.toStringList())
                MivoHostLog::write(report);
        }
    });
}

void ContactsPage::update(MivoPlugin* plugin, const QList<MivoBuddy>& entries)
{
    const Roster* const roster = rosterOf(plugin);
    if (!roster)
        return;
    const std::shared_ptr<Link> link = roster->link;
    host.inPlugin(roster->plugin, [link, entries] {
        const QMutexLocker locker(&link->mutex);
        if (!link->model)
            return;
        for (const MivoBuddy& entry : entries)
            link->model->update(entry);
    });
}

void ContactsPage::askAgain(MivoPlugin* plugin)
{
    if (Roster* const roster = rosterOf(plugin))
        ask(*roster);
}
