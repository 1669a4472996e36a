#include "EchoPlugin.h"

#include <QMutexLocker>
#include <QThread>

#include <algorithm>
#include <stdexcept>

QString EchoPlugin::name() const
{
    return QLatin1String("echo");
}

QString EchoPlugin::version() const
{
    return QLatin1String(MIVO_VERSION_STR);
}

void EchoPlugin::onTimer(const QString& timerName)
{
    timerNames.append(timerName);
}

void EchoPlugin::echo(MivoPlugin*, QList<MivoArg>&)
{
}

void EchoPlugin::sum(MivoPlugin*, QList<MivoArg>& arguments)
{
    int sum = 0;
    for (const MivoArg& argument : qAsConst(arguments)) {
        if (__builtin_add_overflow(sum, argument.toInt(), &sum))
            throw std::range_error("the sum does not fit an Int");
    }
    arguments = QList<MivoArg>() << MivoArg(sum);
}

void EchoPlugin::takeLong(MivoPlugin*, QList<MivoArg>& arguments)
{
    QThread::msleep(static_cast<unsigned long>(std::max(0, arguments.value(0).toInt())));
    arguments.clear();
}

void EchoPlugin::fail(MivoPlugin*, QList<MivoArg>& arguments)
{
    throw std::runtime_error(arguments.value(0).toString().toStdString());
}

void EchoPlugin::startTimer(MivoPlugin*, QList<MivoArg>& arguments)
{
    MivoTimer().startTimer(this, arguments.value(0).toInt(), arguments.value(1).toString());
    arguments.clear();
}

void EchoPlugin::firedTimers(MivoPlugin*, QList<MivoArg>& arguments)
{
    arguments = QList<MivoArg>() << MivoArg(timerNames);
}

void EchoPlugin::thread(MivoPlugin*, QList<MivoArg>& arguments)
{
    arguments = QList<MivoArg>() << MivoArg(QThread::currentThread()->objectName());
}

void EchoPlugin::recorded(MivoPlugin*, QList<MivoArg>& arguments)
{
    QMutexLocker locker(&recordsMutex);
    arguments = records;
}

void EchoPlugin::record(QList<MivoArg>& arguments)
{
    QMutexLocker locker(&recordsMutex);
    records.append(MivoArg(arguments));
}

void EchoPlugin::failLater(QList<MivoArg>&)
{
    throw std::runtime_error("failLater was asked to fail");
}
