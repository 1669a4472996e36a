#ifndef CALLSPAGE_H
#define CALLSPAGE_H

#include "BackgroundHost.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

class QComboBox;
class QLabel;
class QListWidget;
class QListWidgetItem;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;

/** Calls slots of plug-ins with values that are typed, and keeps what was called. */
class CallsPage : public QWidget
{
    Q_OBJECT

public:
    explicit CallsPage(BackgroundHost& host, QWidget* parent = nullptr);

public Q_SLOTS:
    /** Calls or posts what is chosen. */
    void run();

Q_SIGNALS:
    void failed(const QString& message);

private:
    void takePlugins();
    void clear();
    void takeSlots();
    void check();
    void repeat(QListWidgetItem* item);
    void showAnswer();
    void tick();

    BackgroundHost& host;
    QList<PluginInfo> known;
    QComboBox* const plugins;
    QComboBox* const slotNames;
    QPlainTextEdit* const arguments;
    QLabel* const mistake;
    QPushButton* const button;
    QProgressBar* const busy;
    QPlainTextEdit* const answer;
    QListWidget* const history;
    QTimer timer;
    struct Running
    {
        QElapsedTimer since;
        QListWidgetItem* item;
        QString call;
    };
    QList<Running> calls;
};

#endif
