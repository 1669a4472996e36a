#ifndef MIVOTESTWATCH_P_H
#define MIVOTESTWATCH_P_H

#include <QSet>
#include <QStringList>

class QTimer;

/**
 * Knows every QObject of the process that was made since begin() was first called, and every thread
 * of it. QtCore tells of objects by two hooks that it keeps for tools (qtHookData). May be used in
 * any thread.
 */
namespace MivoTestWatch {

/** A moment: what is newer than it can be asked for. */
struct Moment
{
    quint64 objects;
    QSet<QByteArray> threads;
};

/** Watches from now on, if it does not already. */
Moment begin();

/**
 * Of the timers in the calling thread that run and have a name of their own, the first of that
 * @p name; null when there is none, with those that there are in @p others.
 */
QTimer* timerOfThisThread(const QString& name, QStringList* others);
/** Whether @p timer is that of a MivoTimer. */
bool isOfMivoTimer(const QTimer* timer);

/**
 * A sentence on each object that was made since @p moment in another thread than the calling one
 * and is still there, but for those of @p allowedClasses.
 */
QStringList leftObjects(const Moment& moment, const QStringList& allowedClasses);
/**
 * A sentence on each thread that was started since @p moment and still runs. Waits for them to end,
 * for at most @p boundMs milliseconds.
 */
QStringList leftThreads(const Moment& moment, int boundMs);

} // namespace MivoTestWatch

#endif
