#include "Console.h"

#include <QCoreApplication>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>

#include <cstdio>

namespace {

QMutex mutex; // clazy:exclude=non-pod-global-static, it lives as long as the process

void writeLine(std::FILE* file, const QString& line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    QMutexLocker locker(&mutex);
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), file);
    std::fflush(file);
}

} // namespace

void Console::out(const QString& line)
{
    writeLine(stdout, line);
}

void Console::error(const QString& line)
{
    writeLine(stderr, line);
}

void Console::say(const QString& what)
{
    out(QString("[%1] %2").arg(threadName(), -10).arg(what));
}

QString Console::threadName()
{
    const QThread* const thread = QThread::currentThread();
    return thread == QCoreApplication::instance()->thread() ? QString("main")
                                                            : thread->objectName();
}
