#ifndef TESTTHREADS_H
#define TESTTHREADS_H

#include <QDeadlineTimer>
#include <QThread>

#include <memory>

/** @file
 * Threads of the tests. Everything is bounded: a test that hangs ends with a message.
 */

/**
 * How long a test waits for what should happen at once before it gives up: far longer than the
 * busiest machine takes.
 */
const int testBoundMs = 120000;

/**
 * Runs @p piece in a thread of its own, with a stack of @p stackSize bytes (0: the system's), and
 * returns when it has ended. What the piece throws ends the program.
 */
template <class Piece>
void runInThread(Piece piece, uint stackSize = 0)
{
    const std::unique_ptr<QThread> thread(QThread::create(piece));
    thread->setStackSize(stackSize);
    thread->start();
    if (!thread->wait(testBoundMs))
        qFatal("A thread of the test has not ended within %d ms", testBoundMs);
}

/** Waits, without an event loop, until @p condition holds; false when it does not in time. */
template <class Condition>
bool waitUntil(Condition condition, int boundMs = testBoundMs)
{
    const QDeadlineTimer deadline(boundMs);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QThread::yieldCurrentThread();
    }
    return true;
}

/** Ends a thread at the end of the scope, also when a check has left the test. */
class ThreadEnd
{
public:
    explicit ThreadEnd(QThread& endedThread)
        : thread(endedThread)
    {
    }
    ~ThreadEnd()
    {
        thread.quit();
        if (!thread.wait(testBoundMs))
            qFatal("A thread of the test has not ended within %d ms", testBoundMs);
    }

private:
    Q_DISABLE_COPY(ThreadEnd)
    QThread& thread;
};

#endif
