#ifndef MESSAGEBAR_H
#define MESSAGEBAR_H

#include <QFrame>

class QLabel;

/** Sentences on what went wrong, above the pages: no dialog that has to be clicked away. */
class MessageBar : public QFrame
{
    Q_OBJECT

public:
    explicit MessageBar(QWidget* parent = nullptr);

    /** What it shows; empty when it is closed. */
    QString text() const;

public Q_SLOTS:
    /** Shows @p message below those that have not been closed; the last three stay. */
    void add(const QString& message);
    void clear();

private:
    QLabel* const label;
    QStringList messages;
};

#endif
