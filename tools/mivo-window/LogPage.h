#ifndef LOGPAGE_H
#define LOGPAGE_H

#include <QAbstractTableModel>
#include <QSortFilterProxyModel>
#include <QTime>
#include <QWidget>

#include <deque>

class QTableView;

/** The last lines of the host's log: time, thread, text. */
class LogModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit LogModel(QObject* parent = nullptr);

    void append(const QTime& time, const QString& thread, const QString& text);
    /** A row as one line. */
    QString line(int row) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Line
    {
        QString time;
        QString thread;
        QString text;
    };
    std::deque<Line> lines;
};

/** The host's log, to filter, copy and save. One at a time takes the lines. */
class LogPage : public QWidget
{
    Q_OBJECT

public:
    explicit LogPage(QWidget* parent = nullptr);
    /** Lines go to standard error again. */
    ~LogPage() override;

    void saveTo(const QString& file);

public Q_SLOTS:
    /** The lines that are selected, or all that are shown. */
    void copy() const;
    void save();

Q_SIGNALS:
    void failed(const QString& message);

private:
    QString shownText() const;

    LogModel model;
    QSortFilterProxyModel filter;
    QTableView* const table;
    bool isAtEnd = true; ///< of what is shown
};

#endif
