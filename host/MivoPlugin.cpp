#include "MivoPlugin.h"

#include "MivoField.h"
#include "MivoHost.h"
#include "MivoHostLog.h"
#include "MivoQt_p.h"
#include "MivoService.h"

#include <stdexcept>

namespace {

const char callParameters[] = "(MivoPlugin*,QList<MivoArg>&)";
const char actionParameters[] = "(QList<MivoArg>&)";

QStringList slotNames(const QMetaObject* metaObject, const QByteArray& parameters)
{
    QStringList names;
    for (int i = 0; i < metaObject->methodCount(); ++i) {
        const QMetaMethod method = metaObject->method(i);
        const QByteArray signature = mivoMethodSignature(method);
        const int nameLength = static_cast<int>(signature.indexOf('('));
        if (method.methodType() == QMetaMethod::Slot && signature.mid(nameLength) == parameters)
            names.append(QString::fromLatin1(signature.left(nameLength).constData()));
    }
    return names;
}

/**
 * Takes the name of a slot off @p arguments and returns the slot's index. Throws a
 * std::invalid_argument when @p plugin has no such slot with those @p parameters.
 */
int takeSlot(const MivoPlugin& plugin, QList<MivoArg>& arguments, const char* parameters)
{
    const QString name = arguments.isEmpty() ? QString() : arguments.takeFirst().toString();
    const QMetaObject* const metaObject = plugin.metaObject();
    const QByteArray signature
        = QMetaObject::normalizedSignature(QByteArray(name.toLatin1() + parameters).constData());
    const int index = metaObject->indexOfSlot(signature.constData());
    if (index < 0) {
        const QString message
            = QString::fromLatin1("%1 has no slot %2; expected one of: %3")
                  .arg(plugin.name(), name + QLatin1String(parameters),
                       slotNames(metaObject, parameters).join(QLatin1String(", ")));
        throw std::invalid_argument(message.toUtf8().constData());
    }
    return index;
}

} // namespace

MivoPlugin::MivoPlugin(QObject* parent)
    : QObject(parent)
{
}

MivoPlugin::~MivoPlugin() = default;

QString MivoPlugin::name() const
{
    return QString::fromLatin1(metaObject()->className());
}

QString MivoPlugin::version() const
{
    return QString();
}

bool MivoPlugin::initialise(MivoHost&)
{
    return true;
}

void MivoPlugin::shutdown()
{
}

QList<MivoService> MivoPlugin::services() const
{
    return QList<MivoService>();
}

QList<MivoField> MivoPlugin::fields() const
{
    return QList<MivoField>();
}

QStringList MivoPlugin::callSlots() const
{
    return slotNames(metaObject(), callParameters);
}

QStringList MivoPlugin::actionSlots() const
{
    return slotNames(metaObject(), actionParameters);
}

void MivoPlugin::callByName(MivoPlugin* sender, QList<MivoArg>& arguments)
{
    try {
        const int slot = takeSlot(*this, arguments, callParameters);
        void* parameters[] = {nullptr, &sender, &arguments};
        qt_metacall(QMetaObject::InvokeMetaMethod, slot, parameters);
        arguments.prepend(MivoArg(true));
    } catch (...) {
        arguments.clear();
        arguments.append(MivoArg(false));
        arguments.append(MivoArg(MivoHostLog::currentException()));
    }
}

void MivoPlugin::runByName(QList<MivoArg>& arguments)
{
    const int slot = takeSlot(*this, arguments, actionParameters);
    void* parameters[] = {nullptr, &arguments};
    qt_metacall(QMetaObject::InvokeMetaMethod, slot, parameters);
}

/** Takes the Pointer to the host and answers the String of what went wrong, empty on success. */
void MivoPlugin::initialiseInThread(MivoPlugin*, QList<MivoArg>& arguments)
{
    QString failure;
    try {
        MivoHost* const host = static_cast<MivoHost*>(arguments.first().toPointer());
        if (!initialise(*host))
            failure = QLatin1String("it says that it cannot work");
    } catch (...) {
        failure = MivoHostLog::currentException();
    }
    arguments.clear();
    arguments.append(MivoArg(failure));
}

/** Answers the FieldList, or the String of what went wrong. */
// NOLINTNEXTLINE(readability-make-member-function-const): posted calls are of non-const members
void MivoPlugin::fieldsInThread(MivoPlugin*, QList<MivoArg>& arguments)
{
    arguments.clear();
    try {
        arguments.append(MivoArg(fields()));
    } catch (...) {
        arguments.append(MivoArg(MivoHostLog::currentException()));
    }
}

/** Takes the Bool of whether the plug-in has been initialised. */
void MivoPlugin::shutdownInThread(MivoPlugin*, QList<MivoArg>& arguments)
{
    try {
        if (arguments.first().toBool())
            shutdown();
    } catch (...) {
        MivoHostLog::write(name() + QLatin1String(": the shutdown failed: ")
                           + MivoHostLog::currentException());
    }
    // The thread deletes it when its loop has ended, and with it what must be deleted there.
    deleteLater();
}
