#include "CallsPage.h"

#include "DisplayText.h"
#include "ValueText.h"

#include <QComboBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSplitter>
#include <QTextBlock>
#include <QVBoxLayout>

namespace {

enum HistoryRole { PluginRole = Qt::UserRole, SlotRole, ArgumentsRole, AnswerRole };

/** The first line that is no value, if there is one. */
struct Mistake
{
    int line = -1;
    int position = 0; ///< from 1
    QString message;
};

/** A value on each line; blank lines are none. */
QList<MivoArg> valuesFrom(const QString& text, Mistake& mistake)
{
    QList<MivoArg> values;
    const QStringList lines = text.split('\n');
    for (int i = 0; i < lines.size(); ++i) {
        if (lines.at(i).trimmed().isEmpty())
            continue;
        try {
            values.append(valueFromText(lines.at(i)));
        } catch (const ValueTextError& error) {
            mistake.line = i;
            mistake.position = error.position();
            mistake.message = oneLine(QString::fromUtf8(error.what()));
            return {};
        }
    }
    return values;
}

QString textOf(const CallAnswer& answer)
{
    if (!answer.isGiven)
        return answer.error;
    if (answer.values.isEmpty())
        return CallsPage::tr("no values");
    QStringList lines;
    for (const MivoArg& value : answer.values)
        lines.append(displayText(value));
    return lines.join('\n');
}

} // namespace

CallsPage::CallsPage(BackgroundHost& usedHost, QWidget* parent)
    : QWidget(parent)
    , host(usedHost)
    , plugins(new QComboBox)
    , slotNames(new QComboBox)
    , arguments(new QPlainTextEdit)
    , mistake(new QLabel)
    , button(new QPushButton)
    , busy(new QProgressBar)
    , answer(new QPlainTextEdit)
    , history(new QListWidget)
{
    setObjectName("calls");
    plugins->setObjectName("plugins");
    slotNames->setObjectName("slots");
    arguments->setObjectName("arguments");
    arguments->setTabChangesFocus(true);
    arguments->setMinimumHeight(2 * fontMetrics().lineSpacing());
    arguments->setMaximumHeight(6 * fontMetrics().lineSpacing());
    arguments->setPlaceholderText(tr("KIND:VALUE, one on each line: int:40, string:any text, "
                                     "list:[bool:true,double:0.5]"));
    arguments->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    mistake->setObjectName("mistake");
    mistake->setTextFormat(Qt::PlainText);
    mistake->setWordWrap(true);
    button->setObjectName("run");
    button->setToolTip(tr("Ctrl+Return"));
    busy->setObjectName("busy");
    busy->setRange(0, 0);
    busy->hide();
    answer->setObjectName("answer");
    answer->setReadOnly(true);
    answer->setTabChangesFocus(true);
    answer->setAccessibleName(tr("Answer"));
    answer->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    history->setObjectName("history");
    history->setAccessibleName(tr("Calls so far"));
    history->setToolTip(tr("Shows the answer; Return or a double click calls once more"));

    QFormLayout* const form = new QFormLayout;
    form->addRow(tr("&Plug-in"), plugins);
    form->addRow(tr("S&lot"), slotNames);
    form->addRow(tr("&Arguments"), arguments);
    form->addRow(QString(), mistake);
    QHBoxLayout* const row = new QHBoxLayout;
    row->addWidget(button);
    row->addWidget(busy, 1);
    row->addStretch();
    form->addRow(QString(), row);
    QWidget* const top = new QWidget;
    top->setLayout(form);
    QSplitter* const results = new QSplitter;
    results->addWidget(history);
    results->addWidget(answer);
    results->setStretchFactor(1, 1);
    QSplitter* const all = new QSplitter(Qt::Vertical);
    all->addWidget(top);
    all->addWidget(results);
    all->setStretchFactor(1, 1);
    QVBoxLayout* const layout = new QVBoxLayout(this);
    layout->addWidget(all);

    connect(&host, &BackgroundHost::opened, this, &CallsPage::takePlugins);
    connect(&host, &BackgroundHost::closing, this, &CallsPage::clear);
    connect(plugins, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &CallsPage::takeSlots);
    connect(slotNames, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &CallsPage::check);
    connect(arguments, &QPlainTextEdit::textChanged, this, &CallsPage::check);
    connect(button, &QPushButton::clicked, this, &CallsPage::run);
    connect(history, &QListWidget::itemActivated, this, &CallsPage::repeat);
    connect(history, &QListWidget::currentItemChanged, this, &CallsPage::showAnswer);
    connect(&timer, &QTimer::timeout, this, &CallsPage::tick);
    timer.setInterval(200);
    takePlugins();
}

void CallsPage::takePlugins()
{
    const QString before = plugins->currentText();
    known = host.plugins();
    plugins->clear();
    for (const PluginInfo& plugin : qAsConst(known))
        plugins->addItem(oneLine(plugin.name));
    plugins->setCurrentIndex(qMax(0, plugins->findText(before)));
    takeSlots();
}

void CallsPage::clear()
{
    known.clear();
    plugins->clear();
    takeSlots();
}

void CallsPage::takeSlots()
{
    slotNames->clear();
    const PluginInfo plugin = known.value(plugins->currentIndex());
    for (const QString& slot : plugin.calls)
        slotNames->addItem(slot, false);
    for (const QString& slot : plugin.actions)
        slotNames->addItem(tr("%1 (action)").arg(slot), true);
    for (int i = 0; i < slotNames->count(); ++i)
        slotNames->setItemData(i, (plugin.calls + plugin.actions).at(i), Qt::UserRole + 1);
    check();
}

void CallsPage::check()
{
    Mistake found;
    valuesFrom(arguments->toPlainText(), found);
    mistake->setText(found.message);
    mistake->setVisible(found.line >= 0);
    QList<QTextEdit::ExtraSelection> marks;
    if (found.line >= 0) {
        QTextEdit::ExtraSelection mark;
        const QTextBlock block = arguments->document()->findBlockByNumber(found.line);
        const int end = block.position() + block.length() - 1;
        mark.cursor = QTextCursor(block);
        // At the end of the line what comes before is marked, so that there is something to see.
        const int start
            = qMin(block.position() + found.position - 1, qMax(block.position(), end - 1));
        mark.cursor.setPosition(start);
        mark.cursor.setPosition(end, QTextCursor::KeepAnchor);
        mark.format.setUnderlineStyle(QTextCharFormat::WaveUnderline);
        mark.format.setUnderlineColor(Qt::red);
        marks.append(mark);
    }
    arguments->setExtraSelections(marks);
    button->setText(slotNames->currentData().toBool() ? tr("P&ost") : tr("&Call"));
    button->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Return));
    button->setEnabled(found.line < 0 && slotNames->currentIndex() >= 0);
}

void CallsPage::run()
{
    const PluginInfo plugin = known.value(plugins->currentIndex());
    const QString slot = slotNames->currentData(Qt::UserRole + 1).toString();
    Mistake found;
    const QString text = arguments->toPlainText();
    const QList<MivoArg> values = valuesFrom(text, found);
    if (!plugin.plugin || slot.isEmpty() || found.line >= 0)
        return;
    QString call = QString("%1.%2").arg(plugin.name, slot);
    if (!text.trimmed().isEmpty())
        call += ' ' + text.trimmed().replace('\n', ' ');
    call = oneLine(call);

    QListWidgetItem* const item = new QListWidgetItem(call);
    item->setData(PluginRole, plugin.file);
    item->setData(SlotRole, slotNames->currentText());
    item->setData(ArgumentsRole, text);
    history->insertItem(0, item);
    if (slotNames->currentData().toBool()) {
        item->setData(AnswerRole, tr("posted"));
        history->setCurrentItem(item);
        host.post(plugin, slot, values);
        return;
    }
    history->setCurrentItem(item);
    Running running;
    running.since.start();
    running.item = item;
    running.call = call;
    calls.append(running);
    timer.start();
    tick();
    host.call(plugin, slot, values, this, [this, item, call](const CallAnswer& given) {
        for (int i = 0; i < calls.size(); ++i) {
            if (calls.at(i).item == item) {
                calls.removeAt(i);
                break;
            }
        }
        item->setText(given.isGiven ? call : tr("%1: failed").arg(call));
        item->setData(AnswerRole, textOf(given));
        if (history->currentItem() == item)
            showAnswer();
        if (!given.isGiven)
            Q_EMIT failed(tr("%1: %2").arg(call, given.error));
        tick();
    });
}

void CallsPage::repeat(QListWidgetItem* item)
{
    for (int i = 0; i < known.size(); ++i) {
        if (known.at(i).file != item->data(PluginRole).toString())
            continue;
        plugins->setCurrentIndex(i);
        slotNames->setCurrentIndex(slotNames->findText(item->data(SlotRole).toString()));
        arguments->setPlainText(item->data(ArgumentsRole).toString());
        run();
        return;
    }
    Q_EMIT failed(tr("%1 is not open any more.").arg(oneLine(item->data(PluginRole).toString())));
}

void CallsPage::showAnswer()
{
    const QListWidgetItem* const item = history->currentItem();
    answer->setPlainText(item ? item->data(AnswerRole).toString() : QString());
}

void CallsPage::tick()
{
    for (const Running& running : qAsConst(calls))
        running.item->setText(
            tr("%1: %2 s…").arg(running.call).arg(running.since.elapsed() / 1000));
    busy->setVisible(!calls.isEmpty());
    if (calls.isEmpty())
        timer.stop();
}
