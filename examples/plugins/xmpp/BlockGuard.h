#ifndef BLOCKGUARD_H
#define BLOCKGUARD_H

#include <QElapsedTimer>
#include <QMutex>
#include <QThread>
#include <QWaitCondition>

/**
 * Frees a thread that is blocked on a socket. libstrophe waits without a bound for the other side of
 * a TLS handshake; the guard shuts the socket down when a piece of work takes too long, which ends
 * the wait. It has a descriptor of its own for that, so that it never meets another's.
 */
class BlockGuard : public QThread
{
public:
    /** How long a piece of work may take: less than a host waits for the end of a plug-in. */
    static const int PatienceMs = 6000;

    /** @p socket is duplicated. */
    explicit BlockGuard(int socket);
    ~BlockGuard() override;

    /** Guards from construction to destruction. */
    class Work
    {
    public:
        /** @p guard may be null. */
        explicit Work(BlockGuard* guard);
        ~Work();

    private:
        Q_DISABLE_COPY(Work)
        BlockGuard* const guard;
    };

    /** Whether it had to shut the socket down. */
    bool hasCut() const;

protected:
    void run() override;

private:
    Q_DISABLE_COPY(BlockGuard)

    const int socket;
    mutable QMutex mutex;
    QWaitCondition changed;
    QElapsedTimer begin; // of the work; invalid when there is none
    bool isEnding = false;
    bool cut = false;
};

#endif
