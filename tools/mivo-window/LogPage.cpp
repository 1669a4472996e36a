#include "LogPage.h"

#include "DisplayText.h"
#include "Failure.h"
#include "Files.h"
#include "ToolTip.h"

#include <MivoHostLog.h>

#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QMutex>
#include <QPushButton>
#include <QScrollBar>
#include <QTableView>
#include <QThread>
#include <QVBoxLayout>

namespace {

const int mostLines = 10000;

QMutex receiverMutex; // clazy:exclude=non-pod-global-static
LogModel* receiver = nullptr;

void writeLine(const QString& line)
{
    const QTime time = QTime::currentTime();
    QString thread = QThread::currentThread()->objectName();
    if (thread.isEmpty())
        thread = QString("0x%1").arg(quintptr(QThread::currentThreadId()), 0, 16);
    const QMutexLocker locker(&receiverMutex);
    LogModel* const model = receiver;
    if (model)
        QMetaObject::invokeMethod(
            model, [model, time, thread, line] { model->append(time, thread, oneLine(line)); },
            Qt::QueuedConnection);
}

} // namespace

LogModel::LogModel(QObject* parent)
    : QAbstractTableModel(parent)
{
}

void LogModel::append(const QTime& time, const QString& thread, const QString& text)
{
    if (int(lines.size()) == mostLines) {
        beginRemoveRows(QModelIndex(), 0, 0);
        lines.pop_front();
        endRemoveRows();
    }
    const int row = int(lines.size());
    beginInsertRows(QModelIndex(), row, row);
    lines.push_back({time.toString("hh:mm:ss.zzz"), thread, text});
    endInsertRows();
}

QString LogModel::line(int row) const
{
    const Line& line = lines[std::size_t(row)];
    return QString("%1 [%2] %3").arg(line.time, line.thread, line.text);
}

int LogModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(lines.size());
}

int LogModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : 3;
}

QVariant LogModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::ToolTipRole))
        return QVariant();
    const Line& line = lines[std::size_t(index.row())];
    if (role == Qt::ToolTipRole)
        return index.column() == 2 ? toolTipText(line.text) : QVariant();
    return index.column() == 0 ? line.time : index.column() == 1 ? line.thread : line.text;
}

QVariant LogModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QVariant();
    return section == 0 ? tr("Time") : section == 1 ? tr("Thread") : tr("Message");
}

LogPage::LogPage(QWidget* parent)
    : QWidget(parent)
    , table(new QTableView)
{
    setObjectName("log");
    filter.setSourceModel(&model);
    filter.setFilterKeyColumn(-1);
    filter.setFilterCaseSensitivity(Qt::CaseInsensitive);
    QLineEdit* const line = new QLineEdit;
    line->setObjectName("logFilter");
    line->setPlaceholderText(tr("Show lines with this text"));
    line->setAccessibleName(tr("Show lines with this text"));
    line->setClearButtonEnabled(true);
    QPushButton* const copyButton = new QPushButton(tr("Cop&y"));
    copyButton->setObjectName("copyLog");
    QPushButton* const saveButton = new QPushButton(tr("Sav&e…"));
    saveButton->setObjectName("saveLog");
    table->setObjectName("logTable");
    table->setAccessibleName(tr("Log"));
    table->setModel(&filter);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->verticalHeader()->hide();
    table->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 4);
    table->horizontalHeader()->setStretchLastSection(true);
    table->setColumnWidth(0, fontMetrics().horizontalAdvance("00:00:00.000  "));
    table->setColumnWidth(1, fontMetrics().horizontalAdvance("frames_consumer  "));
    table->setWordWrap(false);

    QHBoxLayout* const top = new QHBoxLayout;
    top->addWidget(line, 1);
    top->addWidget(copyButton);
    top->addWidget(saveButton);
    QVBoxLayout* const layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(table, 1);
    connect(line, &QLineEdit::textChanged, &filter, &QSortFilterProxyModel::setFilterFixedString);
    connect(copyButton, &QPushButton::clicked, this, &LogPage::copy);
    connect(saveButton, &QPushButton::clicked, this, &LogPage::save);
    // Who reads further up is left there.
    connect(&filter, &QAbstractItemModel::rowsAboutToBeInserted, this, [this] {
        const QScrollBar* const bar = table->verticalScrollBar();
        isAtEnd = bar->value() == bar->maximum();
    });
    connect(&filter, &QAbstractItemModel::rowsInserted, this, [this] {
        if (isAtEnd)
            table->scrollToBottom();
    });

    {
        const QMutexLocker locker(&receiverMutex);
        receiver = &model;
    }
    MivoHostLog::setWriter(writeLine);
}

LogPage::~LogPage()
{
    MivoHostLog::setWriter(nullptr);
    const QMutexLocker locker(&receiverMutex);
    receiver = nullptr;
}

QString LogPage::shownText() const
{
    QString text;
    const QItemSelectionModel* const selection = table->selectionModel();
    for (int row = 0; row < filter.rowCount(); ++row) {
        if (!selection->hasSelection() || selection->isRowSelected(row, QModelIndex()))
            text += model.line(filter.mapToSource(filter.index(row, 0)).row()) + '\n';
    }
    return text;
}

void LogPage::copy() const
{
    QApplication::clipboard()->setText(shownText());
}

void LogPage::save()
{
    QFileDialog* const dialog = new QFileDialog(this, tr("Save the log"));
    dialog->setObjectName("saveLogAs");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    connect(dialog, &QFileDialog::fileSelected, this, &LogPage::saveTo);
    dialog->open();
}

void LogPage::saveTo(const QString& file)
{
    try {
        Files::write(file, shownText().toUtf8());
    } catch (const Failure& failure) {
        Q_EMIT failed(failure.message());
    }
}
