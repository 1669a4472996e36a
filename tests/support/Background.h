#ifndef BACKGROUND_H
#define BACKGROUND_H

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>

#include <atomic>
#include <functional>

#include <sys/syscall.h>
#include <unistd.h>

/** A call that runs in a thread of its own and may block there. It must have ended before this
 * does. */
class Background : public QThread
{
public:
    explicit Background(std::function<void()> call)
        : body(std::move(call))
    {
        start();
    }

    ~Background() override
    {
        if (!ends())
            qFatal("a call in a background thread does not end");
    }

    /** Waits until the call has ended, but not for ever. */
    bool ends(int milliseconds = 20000) { return wait(QDeadlineTimer(milliseconds)); }

    /** Waits until the call has begun and its thread sleeps in it: what it waits for has not come.
     */
    bool blocks()
    {
        for (QDeadlineTimer patience(20000); !patience.hasExpired() && !isFinished();) {
            if (threadId && state() == 'S')
                return true;
            yieldCurrentThread();
        }
        return false;
    }

protected:
    void run() override
    {
        threadId = int(syscall(SYS_gettid));
        body();
    }

private:
    /** The kernel's letter for the state of the thread; the name before it may contain anything. */
    char state() const
    {
        QFile file(QStringLiteral("/proc/self/task/%1/stat").arg(threadId.load()));
        if (!file.open(QIODevice::ReadOnly))
            return 0;
        const QByteArray line = file.readAll();
        const int end = int(line.lastIndexOf(") "));
        return end < 0 ? char(0) : line.at(end + 2);
    }

    std::function<void()> body;
    std::atomic<int> threadId{0};
};

#endif
