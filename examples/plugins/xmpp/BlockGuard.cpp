#include "BlockGuard.h"

#include <QMutexLocker>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

BlockGuard::BlockGuard(int guardedSocket)
    : socket(fcntl(guardedSocket, F_DUPFD_CLOEXEC, 0))
{
    setObjectName("xmpp guard");
    start();
}

BlockGuard::~BlockGuard()
{
    {
        QMutexLocker locker(&mutex);
        isEnding = true;
        changed.wakeAll();
    }
    wait();
    if (socket >= 0)
        ::close(socket);
}

BlockGuard::Work::Work(BlockGuard* usedGuard)
    : guard(usedGuard)
{
    if (!guard)
        return;
    QMutexLocker locker(&guard->mutex);
    guard->begin.start();
    guard->changed.wakeAll();
}

BlockGuard::Work::~Work()
{
    if (!guard)
        return;
    QMutexLocker locker(&guard->mutex);
    guard->begin.invalidate();
}

bool BlockGuard::hasCut() const
{
    QMutexLocker locker(&mutex);
    return cut;
}

void BlockGuard::run()
{
    QMutexLocker locker(&mutex);
    while (!isEnding) {
        if (!begin.isValid()) {
            changed.wait(&mutex);
            continue;
        }
        const qint64 left = PatienceMs - begin.elapsed();
        if (left > 0) {
            changed.wait(&mutex, static_cast<unsigned long>(left));
            continue;
        }
        ::shutdown(socket, SHUT_RDWR);
        cut = true;
        begin.invalidate();
    }
}
