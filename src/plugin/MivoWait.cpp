#include "MivoWait.h"

#include "MivoCallSlotTimeoutException.h"
#include "MivoWaitEvent.h"

#include <QCoreApplication>
#include <QMutexLocker>
#include <QThread>

#include <climits>
#include <memory>

namespace {

const unsigned long callSlotTimeoutMs = 30000;

/** callSlot() in the thread of @p target. */
QList<MivoArg> callHere(MivoPlugin* target, MivoCallSlotEvent::Member member, MivoPlugin* sender,
                        const QList<MivoArg>& arguments)
{
    QList<MivoArg> answer = arguments;
    (target->*member)(sender, answer);
    return answer;
}

/** callSlot() into another thread. */
QList<MivoArg> callPosted(MivoPlugin* target, MivoCallSlotEvent::Member member, MivoPlugin* sender,
                          const QList<MivoArg>& arguments, QThread* thread)
{
    std::unique_ptr<MivoWait> wait(new MivoWait);
    std::unique_ptr<MivoCallSlotEvent> event(new MivoCallSlotEvent);
    event->wait = wait.get();
    event->arguments = arguments;
    event->sender = sender;
    event->target = target;
    event->member = member;
    QCoreApplication::postEvent(thread, event.release());
    if (!wait->wait(callSlotTimeoutMs)) {
        // The posted event points at it and may be delivered at any time from now on.
        static_cast<void>(wait.release());
        throw MivoCallSlotTimeoutException();
    }
    return wait->getRetValue();
}

} // namespace

MivoWait::MivoWait()
    : woken(false)
{
}

MivoWait::~MivoWait() = default;

bool MivoWait::wait(unsigned long ms)
{
    QMutexLocker locker(&mutex);
    return woken || condition.wait(&mutex, ms);
}

void MivoWait::wakeUp()
{
    QMutexLocker locker(&mutex);
    woken = true;
    condition.wakeAll();
}

void MivoWait::setRetValue(QList<MivoArg> values)
{
    retValue = values;
}

void MivoWait::setRetValue(MivoArg value)
{
    retValue.clear();
    retValue.append(value);
}

QList<MivoArg> MivoWait::getRetValue()
{
    return retValue;
}

MivoArg MivoWait::sendMessage(MivoWaitEvent* event, QObject* receiver)
{
    // Taken out before anything else: once posted, the event may be gone at any time.
    const std::unique_ptr<MivoWait> wait(event->wait);
    if (QThread::currentThread() == receiver->thread()) {
        const std::unique_ptr<MivoWaitEvent> delivered(event);
        QCoreApplication::sendEvent(receiver, event);
    } else {
        QCoreApplication::postEvent(receiver, event);
        wait->wait(ULONG_MAX);
    }
    const QList<MivoArg> answer = wait->getRetValue();
    return answer.isEmpty() ? MivoArg() : answer.first();
}

QList<MivoArg> MivoWait::callSlot(MivoPlugin* target, MivoCallSlotEvent::Member member,
                                  MivoPlugin* sender, const QList<MivoArg>& arguments,
                                  QThread* thread)
{
    return QThread::currentThread() == thread
        ? callHere(target, member, sender, arguments)
        : callPosted(target, member, sender, arguments, thread);
}
