#include "ConsolePlugin.h"

#include <MivoHost.h>
#include <MivoHostLog.h>
#include <MivoTimer.h>

#include <stdexcept>

namespace {

template <class T>
QString printed(const T& value)
{
    QString text;
    QDebug(&text) << value;
    return text.simplified(); // a line of the log
}

} // namespace

QString ConsolePlugin::name() const
{
    return QLatin1String("console");
}

QList<MivoField> ConsolePlugin::fields() const
{
    return form;
}

bool ConsolePlugin::initialise(MivoHost& startedBy)
{
    host = &startedBy;
    return true;
}

void ConsolePlugin::open(MivoPlugin*, QList<MivoArg>& arguments)
{
    MivoPlugin* const chat = host->findPlugin("chat");
    const QString id = arguments.value(0).toString();
    const MivoArg buddy = host->call(chat, "contact", arguments, this).at(0);
    const MivoArg text(QString("hello"));
    MivoHostLog::write("console has asked chat for the contact: " + printed(buddy));

    const MivoPluginAction send = host->action(chat, "sendText", QList<MivoArg>() << buddy << text);
    const MivoPluginAction wrong
        = host->action(chat, "sendText", QList<MivoArg>() << MivoArg(id) << text);
    form = QList<MivoField>() << MivoField(MivoField::LineEdit, tr("Text"), "text", text.toString(),
                                           80, id)
                              << MivoField(tr("Send"), "send", send, id)
                              << MivoField(tr("Send to a name"), "wrong", wrong, id);
    MivoHostLog::write("console has built the form: " + printed(form));
    arguments.clear();
}

void ConsolePlugin::click(MivoPlugin*, QList<MivoArg>& arguments)
{
    const QString id = arguments.value(0).toString();
    for (MivoField& field : form) {
        if (field.getId() == id && field.getType() == MivoField::Button) {
            MivoHostLog::write(
                QString("console clicks the button \"%1\": its action is posted").arg(id));
            field.clicked();
            arguments.clear();
            return;
        }
    }
    throw std::invalid_argument("there is no button \"" + id.toStdString() + "\"");
}

void ConsolePlugin::show(MivoPlugin*, QList<MivoArg>& arguments)
{
    showText(arguments.value(0).toString());
    arguments.clear();
}

void ConsolePlugin::remind(MivoPlugin*, QList<MivoArg>& arguments)
{
    MivoTimer().startTimer(this, arguments.value(0).toInt(), "reminder");
    arguments.clear();
}

void ConsolePlugin::shown(MivoPlugin*, QList<MivoArg>& arguments)
{
    arguments = QList<MivoArg>() << MivoArg(shownTexts);
}

void ConsolePlugin::onTimer(const QString& timerName)
{
    showText(QString("the timer \"%1\" has fired").arg(timerName));
}

void ConsolePlugin::showText(const QString& text)
{
    shownTexts.append(text);
    MivoHostLog::write("console shows: " + text);
}
