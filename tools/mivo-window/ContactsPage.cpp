#include "ContactsPage.h"

#include "DisplayText.h"

#include <MivoHostLog.h>

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
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

} // namespace

ContactsPage::ContactsPage(Session& usedSession, QWidget* parent)
    : QWidget(parent)
    , session(usedSession)
    , plugins(new QComboBox)
    , searchLine(new QLineEdit)
    , readButton(new QPushButton(tr("&Read contacts…")))
    , tree(new QTreeView)
    , status(new QLabel)
{
    setObjectName("contacts");
    filter.setSourceModel(&model);
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
    QCheckBox* const offline = new QCheckBox(tr("&Hide who is offline"));
    offline->setObjectName("hideOffline");

    QHBoxLayout* const top = new QHBoxLayout;
    top->addWidget(readButton);
    top->addWidget(plugins);
    top->addWidget(searchLine, 1);
    top->addWidget(offline);
    QVBoxLayout* const layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(tree, 1);
    layout->addWidget(status);

    connect(readButton, &QPushButton::clicked, this, &ContactsPage::choose);
    connect(searchLine, &QLineEdit::textChanged, &filter, &MivoBuddyFilterModel::setSearchText);
    connect(searchLine, &QLineEdit::textChanged, tree, &QTreeView::expandAll);
    connect(offline, &QCheckBox::toggled, &filter, &MivoBuddyFilterModel::setOfflineHidden);
    connect(&session, &Session::opened, this, &ContactsPage::takePlugins);
    connect(&session, &Session::closing, this, &ContactsPage::clear);
    connect(&session, &Session::closed, this, &ContactsPage::clear);
    for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(&model, signal, this, &ContactsPage::describe);
    connect(&model, &QAbstractItemModel::dataChanged, this, &ContactsPage::describe);
    connect(&model, &QAbstractItemModel::rowsInserted, this, [this](const QModelIndex& above) {
        if (!above.isValid())
            tree->expandAll();
        if (!hasRead) {
            hasRead = true;
            Q_EMIT filled();
        }
    });
    takePlugins();
}

PluginInfo ContactsPage::chosen() const
{
    return rosters.value(plugins->currentIndex());
}

void ContactsPage::takePlugins()
{
    rosters.clear();
    plugins->clear();
    for (const PluginInfo& plugin : session.plugins()) {
        if (plugin.calls.contains("roster")) {
            rosters.append(plugin);
            plugins->addItem(plugin.name);
        }
    }
    plugins->setVisible(rosters.size() > 1);
    readButton->setEnabled(!rosters.isEmpty());
    describe();
}

void ContactsPage::clear()
{
    model.setGroups({});
    rosters.clear();
    plugins->clear();
    hasRead = false;
    describe();
}

void ContactsPage::describe()
{
    int all = 0;
    int online = 0;
    count(model, QModelIndex(), all, online);
    if (all > 0)
        status->setText(tr("%1 contacts, %2 of them not offline").arg(all).arg(online));
    else if (rosters.isEmpty())
        status->setText(tr("No plug-in with a call \"roster\" is open."));
    else
        status->setText(tr("No contacts have been read."));
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
    const PluginInfo plugin = chosen();
    if (!plugin.plugin) {
        Q_EMIT failed(
            tr("%1 was not read: no plug-in with a call \"roster\" is open.").arg(oneLine(file)));
        return;
    }
    status->setText(tr("Reading %1…").arg(oneLine(file)));
    session.call(plugin, "roster", {MivoArg(file)}, this,
                 [this, plugin](const CallAnswer& answer) { show(plugin, answer); });
}

void ContactsPage::show(const PluginInfo& plugin, const CallAnswer& answer)
{
    describe();
    QString error = answer.error;
    QList<MivoBuddyGroup> groups;
    for (const MivoArg& value : answer.values) {
        if (value.getType() != MivoArg::Buddy) {
            error = tr("%1 answered %2; expected groups").arg(plugin.name, displayText(value));
            break;
        }
        groups.append(MivoBuddyGroup(value.toBuddy()));
    }
    if (!error.isEmpty()) {
        Q_EMIT failed(tr("The contacts were not read: %1").arg(oneLine(error)));
        return;
    }
    // The entries are read in the thread that changes them.
    MivoBuddyModel* const shown = &model;
    session.inPlugin(plugin, [shown, groups] { shown->setGroups(groups); });
    if (!plugin.calls.contains("reports"))
        return;
    session.call(plugin, "reports", {}, this, [](const CallAnswer& reports) {
        for (const MivoArg& value : reports.values) {
            if (value.getType() != MivoArg::StringList)
                continue;
            for (const QString& report : value.toStringList())
                MivoHostLog::write(report);
        }
    });
}
