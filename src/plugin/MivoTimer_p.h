#ifndef MIVOTIMER_P_H
#define MIVOTIMER_P_H

#include "MivoTimer.h"

#include <QObject>

class QTimer;

/** One pending call-back. It ends itself after the call, or when it is stopped. */
class MIVO_DATA_EXPORT MivoTimerPrivate : public QObject
{
    Q_OBJECT

public:
    MivoTimerPrivate();
    ~MivoTimerPrivate() override;

    /** Does nothing when @p receiver is null: the object then stays idle until it is stopped. */
    void startTimer(MivoTimerReceiver* receiver, int ms, QString name);
    void stopTimer();

protected Q_SLOTS:
    void timeout();

private:
    MivoTimerReceiver* receiver;
    QTimer* timer;
    QString name;
};

#endif
