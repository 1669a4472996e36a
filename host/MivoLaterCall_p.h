#ifndef MIVOLATERCALL_P_H
#define MIVOLATERCALL_P_H

#include "MivoArg.h"

#include <QEvent>
#include <QMutex>
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

/**
 * The asking side of a call that does not block. It lives in the thread of the object that waits
 * for the answer, and ends itself: with the answer, with the time-out, or with that object or its
 * thread.
 */
class MivoLaterCall : public QObject
{
    Q_OBJECT

public:
    typedef std::function<void(const QList<MivoArg>& values, const QString& failure)> Answered;
    /** Turns what a slot has answered into values, or into the reason why there are none. */
    typedef std::function<QString(QList<MivoArg>& values)> Read;

    /**
     * What the answering side holds: it may outlive the call. An answer that is given after the
     * first, or to a call that has ended, is dropped.
     */
    class Link
    {
    public:
        explicit Link(MivoLaterCall* call);
        /** May be called in any thread. */
        void answer(const QList<MivoArg>& values, const QString& failure);

    private:
        friend class MivoLaterCall;
        Q_DISABLE_COPY(Link)

        QMutex mutex;
        MivoLaterCall* call;
    };

    /** Starts to wait. @p who is what the time-out names. */
    static std::shared_ptr<Link> start(QObject* context, const QString& who, int timeoutMs,
                                       const Answered& answered);

    ~MivoLaterCall() override;
    bool event(QEvent* event) override;

private:
    MivoLaterCall(QObject* context, const QString& who, int timeoutMs, const Answered& answered);
    void answer(const QList<MivoArg>& values, const QString& failure);

    std::shared_ptr<Link> link;
    QPointer<QObject> context;
    const QString who;
    const int timeoutMs;
    Answered answered;
};

#endif
