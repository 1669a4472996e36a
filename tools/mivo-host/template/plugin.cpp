#include "%{PluginClass}.h"

#include <MivoPluginAction.h>
#include <MivoService.h>

#include <QMutexLocker>

QString %{PluginClass}::name() const
{
    return QString::fromLatin1("%{PluginName}");
}

QString %{PluginClass}::version() const
{
    return QString::fromLatin1("0.1");
}

QList<MivoService> %{PluginClass}::services() const
{
    // The action runs the slot wave() by its name, with the argument behind it.
    const MivoPluginAction wave(const_cast<%{PluginClass}*>(this), &MivoPlugin::runByName,
                                QList<MivoArg>() << MivoArg(QString::fromLatin1("wave"))
                                                 << MivoArg(QString::fromLatin1("everybody")));
    return QList<MivoService>() << MivoService(QString::fromLatin1("wave"), tr("Wave to everybody"),
                                               QString::fromLatin1("%{PluginName}"), wave);
}

void %{PluginClass}::shutdown()
{
    if (isTimerRunning)
        timer.stopTimer();
    isTimerRunning = false;
}

QList<MivoField> %{PluginClass}::fields() const
{
    const QString group = tr("Greeting");
    return QList<MivoField>() << MivoField(MivoField::LineEdit, tr("Greeting"),
                                           QString::fromLatin1("greeting"), greeting, 40, group)
                              << MivoField(tr("Seconds until it is repeated"),
                                           QString::fromLatin1("seconds"), 3600, 1, seconds, group);
}

QString %{PluginClass}::applyFields(const QList<MivoField>& fields)
{
    const QString chosen = fields.at(0).getText().trimmed();
    if (chosen.isEmpty())
        return tr("the greeting is empty");
    greeting = chosen;
    seconds = fields.at(1).getIntValue();
    Q_EMIT formChanged();
    return QString();
}

void %{PluginClass}::onTimer(const QString&)
{
    isTimerRunning = false;
    add(lastText);
}

void %{PluginClass}::greet(MivoPlugin*, QList<MivoArg>& arguments)
{
    const QString who = arguments.value(0).toString(); // throws unless it is a String
    lastText = QString::fromLatin1("%1, %2!").arg(greeting, who);
    add(lastText);
    if (isTimerRunning)
        timer.stopTimer();
    timer.startTimer(this, seconds * 1000, QString::fromLatin1("again"));
    isTimerRunning = true;
    arguments.clear();
    arguments.append(lastText);
}

void %{PluginClass}::greetings(MivoPlugin*, QList<MivoArg>& arguments)
{
    QMutexLocker locker(&mutex);
    arguments.clear();
    arguments.append(texts);
}

void %{PluginClass}::wave(QList<MivoArg>& arguments)
{
    add(QString::fromLatin1("waves to %1").arg(arguments.value(0).toString()));
}

void %{PluginClass}::add(const QString& text)
{
    QMutexLocker locker(&mutex);
    texts.append(text);
}

MIVO_EXPORT_PLUGIN(%{PluginName}, %{PluginClass})
