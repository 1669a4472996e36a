#include "Console.h"

#include "DisplayText.h"
#include "Failure.h"

#include <QAtomicInt>
#include <QCoreApplication>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace {

QMutex mutex; // clazy:exclude=non-pod-global-static, it lives as long as the process
QAtomicInt saysOnError;
int outputError = 0; // of the first write to standard output that failed
Console::Listener listening = nullptr;
Console::Writer writing = nullptr;

void writeLines(std::FILE* file, const QByteArray& lines)
{
    QMutexLocker locker(&mutex);
    if (listening)
        listening(lines);
    if (writing) {
        writing(file, lines);
        return;
    }
    const auto size = static_cast<std::size_t>(lines.size());
    if ((std::fwrite(lines.constData(), 1, size, file) != size || std::fflush(file) != 0)
        && file == stdout && outputError == 0)
        outputError = errno;
}

QByteArray line(const QString& text)
{
    return oneLine(text).toUtf8() + '\n';
}

QByteArray lines(const QString& text)
{
    QByteArray bytes;
    const QStringList all = text.split('\n');
    for (const QString& each : all) {
        QStringList pieces = each.split('\t');
        for (QString& piece : pieces)
            piece = oneLine(piece);
        bytes += pieces.join('\t').toUtf8() + '\n';
    }
    return bytes;
}

} // namespace

void Console::prepare()
{
    // A write to what nobody reads any more is to fail, not to end the program.
    std::signal(SIGPIPE, SIG_IGN);
    // Opened the other way round, so that using it fails as if it were closed.
    for (int stream = 0; stream <= 2; ++stream) {
        if (::fcntl(stream, F_GETFD) < 0)
            static_cast<void>(::open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY));
    }
}

void Console::out(const QString& text)
{
    writeLines(stdout, line(text));
}

void Console::error(const QString& text)
{
    writeLines(stderr, line(text));
}

void Console::outLines(const QString& text)
{
    writeLines(stdout, lines(text));
}

void Console::errorLines(const QString& text)
{
    writeLines(stderr, lines(text));
}

void Console::say(const QString& what)
{
    const QString said = QString("[%1] %2").arg(threadName(), -10).arg(what);
    if (saysOnError.loadAcquire() != 0)
        error(said);
    else
        out(said);
}

void Console::sayOnError(bool isOnError)
{
    saysOnError.storeRelease(isOnError ? 1 : 0);
}

QString Console::threadName()
{
    const QThread* const thread = QThread::currentThread();
    return thread == QCoreApplication::instance()->thread() ? QString("main")
                                                            : thread->objectName();
}

void Console::setListener(Listener listener)
{
    QMutexLocker locker(&mutex);
    listening = listener;
}

void Console::setWriter(Writer writer)
{
    QMutexLocker locker(&mutex);
    writing = writer;
}

void Console::requireWritten()
{
    QMutexLocker locker(&mutex);
    if (outputError != 0)
        throw Failure(
            QString("standard output cannot be written: %1")
                .arg(QString::fromLocal8Bit(std::generic_category().message(outputError).c_str())));
}
