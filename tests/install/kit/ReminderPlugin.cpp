#include "ReminderPlugin.h"

#include <MivoHost.h>
#include <MivoTimer.h>

#include <stdexcept>

bool ReminderPlugin::initialise(MivoHost& startedBy)
{
    host = &startedBy;
    return true;
}

QList<MivoField> ReminderPlugin::fields() const
{
    const MivoPluginAction test
        = host->action(const_cast<ReminderPlugin*>(this), "ding", QList<MivoArg>());
    return {MivoField(MivoField::CheckBox, "Play a sound", "sound", isLoud, ""),
            MivoField("Try it", "test", test, "")};
}

QString ReminderPlugin::applyFields(const QList<MivoField>& fields)
{
    isLoud = fields.at(0).isChecked();
    return QString();
}

void ReminderPlugin::onTimer(const QString& text)
{
    texts.append(text);
}

void ReminderPlugin::remind(MivoPlugin*, QList<MivoArg>& arguments)
{
    const int ms = arguments.value(1).toInt();
    if (ms < 0)
        throw std::invalid_argument("found " + std::to_string(ms) + " ms; expected 0 or more");
    MivoTimer().startTimer(this, ms, arguments.value(0).toString());
    arguments.clear();
}

void ReminderPlugin::shown(MivoPlugin*, QList<MivoArg>& arguments)
{
    arguments = {MivoArg(texts)};
}

void ReminderPlugin::ding(QList<MivoArg>&)
{
    MivoPlugin* const speaker = host->findPlugin("speaker");
    const QList<MivoArg> volume = host->call(speaker, "volume", {}, this);
    host->action(speaker, "play", QList<MivoArg>({MivoArg(QString("ding"))}) + volume)();
}

MIVO_EXPORT_PLUGIN(reminder, ReminderPlugin)
