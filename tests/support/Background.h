#ifndef BACKGROUND_H
#define BACKGROUND_H

#include "TestThreads.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QMutex>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

#include <sys/syscall.h>
#include <unistd.h>

/**
 * A call that runs in a thread of its own and may block there. It must have ended before this does.
 * The thread is not Qt's: the thread sanitizer understands it without a sanitized Qt.
 */
class Background
{
public:
    explicit Background(std::function<void()> call)
        : body(std::move(call))
        , end(std::async(std::launch::async, [this] { run(); }))
    {
    }

    ~Background()
    {
        if (!ends())
            qFatal("a call in a background thread does not end");
    }

    /** Waits until the call has ended, but not for ever. */
    bool ends(int milliseconds = testBoundMs)
    {
        return end.wait_for(std::chrono::milliseconds(milliseconds)) == std::future_status::ready;
    }

    bool isFinished() { return ends(0); }

    /** Waits until the call has begun and its thread sleeps in it: what it waits for has not come.
     */
    bool blocks()
    {
        for (QDeadlineTimer patience(testBoundMs); !patience.hasExpired() && !isFinished();) {
            if (threadId && state() == 'S')
                return true;
            std::this_thread::yield();
        }
        return false;
    }

private:
    Q_DISABLE_COPY(Background)

    void run()
    {
        threadId = int(syscall(SYS_gettid));
        body();
    }

    /** The kernel's letter for the state of the thread; the name before it may contain anything. */
    char state() const
    {
        QFile file(QStringLiteral("/proc/self/task/%1/stat").arg(threadId.load()));
        if (!file.open(QIODevice::ReadOnly))
            return 0;
        const QByteArray line = file.readAll();
        const int nameEnd = int(line.lastIndexOf(") "));
        return nameEnd < 0 ? char(0) : line.at(nameEnd + 2);
    }

    std::function<void()> body;
    std::atomic<int> threadId{0};
    std::future<void> end;
};

/** Whether @p call, made in another thread while @p lock is held, ends only when that is released.
 */
inline bool waitsForLock(QMutex& lock, const std::function<void()>& call)
{
    std::atomic<bool> ended{false};
    lock.lock();
    Background background([&] {
        call();
        ended = true;
    });
    const bool waited = background.blocks() && !ended;
    lock.unlock();
    return background.ends() && waited;
}

/** Whether @p call, made in another thread, ends while @p lock is held. */
inline bool endsWithoutLock(QMutex& lock, const std::function<void()>& call)
{
    lock.lock();
    Background background(call);
    const bool ended = background.ends();
    lock.unlock();
    return ended;
}

#endif
