#include "MivoHostLog.h"

#include <QByteArray>
#include <QMutex>
#include <QMutexLocker>

#include <cstdio>
#include <exception>

namespace {

QMutex mutex; // clazy:exclude=non-pod-global-static, it lives as long as the process
MivoHostLog::Writer currentWriter = nullptr;

} // namespace

void MivoHostLog::write(const QString& line)
{
    QMutexLocker locker(&mutex);
    if (currentWriter)
        currentWriter(line);
    else
        std::fprintf(stderr, "%s\n", line.toUtf8().constData());
}

void MivoHostLog::setWriter(Writer writer)
{
    QMutexLocker locker(&mutex);
    currentWriter = writer;
}

QString MivoHostLog::currentException()
{
    try {
        throw;
    } catch (const std::exception& exception) {
        return QString::fromUtf8(exception.what());
    } catch (...) {
        return QString::fromLatin1("an exception that is no std::exception");
    }
}
