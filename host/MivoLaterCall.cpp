#include "MivoLaterCall_p.h"

#include "MivoHostLog.h"

#include <QCoreApplication>
#include <QMutexLocker>
#include <QThread>
#include <QTimerEvent>

namespace {

/** Starts the time in the thread of the call; no number of the host's own events. */
const QEvent::Type startType = static_cast<QEvent::Type>(QEvent::User + 20);
const QEvent::Type answerType = static_cast<QEvent::Type>(QEvent::User + 21);

class AnswerEvent : public QEvent
{
public:
    AnswerEvent(const QList<MivoArg>& answeredValues, const QString& answeredFailure)
        : QEvent(answerType)
        , values(answeredValues)
        , failure(answeredFailure)
    {
    }

    const QList<MivoArg> values;
    const QString failure;
};

} // namespace

MivoLaterCall::Link::Link(MivoLaterCall* linkedCall)
    : call(linkedCall)
{
}

void MivoLaterCall::Link::answer(const QList<MivoArg>& values, const QString& failure)
{
    QMutexLocker locker(&mutex);
    if (call)
        QCoreApplication::postEvent(call, new AnswerEvent(values, failure));
}

std::shared_ptr<MivoLaterCall::Link> MivoLaterCall::start(QObject* context, const QString& who,
                                                          int timeoutMs, const Answered& answered)
{
    MivoLaterCall* const call = new MivoLaterCall(context, who, timeoutMs, answered);
    const std::shared_ptr<Link> link = call->link;
    // Both are emitted in the thread of the context, where the call lives, too.
    connect(context, SIGNAL(destroyed()), call, SLOT(deleteLater()), Qt::DirectConnection);
    connect(context->thread(), SIGNAL(finished()), call, SLOT(deleteLater()), Qt::DirectConnection);
    call->moveToThread(context->thread());
    QCoreApplication::postEvent(call, new QEvent(startType)); // from here on it may have ended
    return link;
}

MivoLaterCall::MivoLaterCall(QObject* answeredContext, const QString& askedWho, int allowedMs,
                             const Answered& calledBack)
    : link(new Link(this))
    , context(answeredContext)
    , who(askedWho)
    , timeoutMs(allowedMs)
    , answered(calledBack)
{
}

MivoLaterCall::~MivoLaterCall()
{
    QMutexLocker locker(&link->mutex);
    link->call = nullptr;
}

bool MivoLaterCall::event(QEvent* event)
{
    if (event->type() == startType) {
        startTimer(timeoutMs);
    } else if (event->type() == answerType) {
        const AnswerEvent* const answer = static_cast<AnswerEvent*>(event);
        this->answer(answer->values, answer->failure);
    } else if (event->type() == QEvent::Timer) {
        answer(QList<MivoArg>(),
               QString::fromLatin1("%1: no answer within %2 ms").arg(who).arg(timeoutMs));
    } else {
        return QObject::event(event);
    }
    return true;
}

void MivoLaterCall::answer(const QList<MivoArg>& values, const QString& failure)
{
    Answered once;
    once.swap(answered);
    deleteLater();
    if (!once || !context)
        return;
    try {
        once(values, failure);
    } catch (...) {
        const QString reason = MivoHostLog::currentException();
        MivoHostLog::write(
            QString::fromLatin1("%1: what was to follow the answer failed: %2").arg(who, reason));
    }
}
