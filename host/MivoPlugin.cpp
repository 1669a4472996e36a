#include "MivoPlugin.h"

#include "MivoCore.h"
#include "MivoField.h"
#include "MivoHost.h"
#include "MivoPluginCall_p.h"
#include "MivoPluginSlots_p.h"
#include "MivoService.h"

#include <cstring>
#include <stdexcept>

namespace {

/**
 * Takes the name of a slot off @p arguments and returns the slot's index. Throws a
 * std::invalid_argument when @p plugin has no such slot of that shape.
 */
int takeSlot(const MivoPlugin& plugin, QList<MivoArg>& arguments, MivoPluginSlots::Shape shape)
{
    const QString name = arguments.isEmpty() ? QString() : arguments.takeFirst().toString();
    const MivoPluginSlots known(plugin.metaObject(), shape);
    const int index = known.indexOf(name);
    if (index < 0)
        throw std::invalid_argument(known.whyMissing(plugin.name(), name).toUtf8().constData());
    return index;
}

/** Whether @p message is that of a conversion from a kind to any other. */
bool isConversionFrom(MivoArg::Type from, const char* message)
{
    for (int to = MivoArg::None; to <= MivoArg::Undefined; ++to) {
        const std::runtime_error conversion
            = mivo_conversion(QLatin1String("MivoArg"), mivo_arg_type(from),
                              mivo_arg_type(static_cast<MivoArg::Type>(to)));
        if (std::strcmp(conversion.what(), message) == 0)
            return true;
    }
    return false;
}

/**
 * Which of the arguments that a slot was given is the one whose conversion failed with @p message,
 * as far as their kinds tell; empty when they do not.
 */
QString blamedArgument(const char* message, const QList<MivoArg>& given)
{
    int blamed = -1;
    QList<MivoArg::Type> kinds;
    for (int i = 0; i < int(given.size()); ++i) {
        const MivoArg::Type kind = given.at(i).getType();
        if (kinds.contains(kind)) {
            if (blamed >= 0 && given.at(blamed).getType() == kind)
                return QString(); // it may be either
        } else if (isConversionFrom(kind, message)) {
            blamed = i;
        }
        kinds.append(kind);
    }
    if (blamed >= 0)
        return QString::fromLatin1(" (argument %1)").arg(blamed + 1);
    // What is read beyond the end of a list is a value of no kind.
    if (isConversionFrom(MivoArg::None, message))
        return QString::fromLatin1(" (arguments given: %1)").arg(given.size());
    return QString();
}

/** Calls a slot with the addresses of its parameters, of which the last is the list @p arguments. */
void invoke(MivoPlugin& plugin, int slot, void** parameters, const QList<MivoArg>& arguments)
{
    // The slot may write to the list.
    const QList<MivoArg> given = arguments; // NOLINT(performance-unnecessary-copy-initialization)
    try {
        plugin.qt_metacall(QMetaObject::InvokeMetaMethod, slot, parameters);
    } catch (const std::runtime_error& error) {
        const QString blamed = blamedArgument(error.what(), given);
        if (blamed.isEmpty())
            throw;
        throw std::runtime_error((QString::fromUtf8(error.what()) + blamed).toUtf8().constData());
    }
}

} // namespace

MivoPlugin::MivoPlugin(QObject* parent)
    : QObject(parent)
{
    // What its signals carry from one thread to another.
    qRegisterMetaType<QList<MivoBuddy>>("QList<MivoBuddy>");
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

QString MivoPlugin::applyFields(const QList<MivoField>&)
{
    return QString::fromLatin1("its form is for show and takes no values");
}

QStringList MivoPlugin::callSlots() const
{
    return MivoPluginSlots(metaObject(), MivoPluginSlots::Call).names();
}

QStringList MivoPlugin::actionSlots() const
{
    return MivoPluginSlots(metaObject(), MivoPluginSlots::Action).names();
}

void MivoPlugin::callByName(MivoPlugin* sender, QList<MivoArg>& arguments)
{
    try {
        const int slot = takeSlot(*this, arguments, MivoPluginSlots::Call);
        void* parameters[] = {nullptr, &sender, &arguments};
        invoke(*this, slot, parameters, arguments);
        arguments.prepend(MivoArg(true));
    } catch (...) {
        arguments.clear();
        arguments.append(MivoArg(false));
        arguments.append(MivoArg(MivoHostLog::currentException()));
    }
}

void MivoPlugin::runByName(QList<MivoArg>& arguments)
{
    const int slot = takeSlot(*this, arguments, MivoPluginSlots::Action);
    void* parameters[] = {nullptr, &arguments};
    invoke(*this, slot, parameters, arguments);
}

/** Takes the Pointer to the host and answers the String of what went wrong, empty on success. */
void MivoPlugin::initialiseInThread(MivoPlugin*, QList<MivoArg>& arguments)
{
    QString failure;
    try {
        MivoHost* const host = static_cast<MivoHost*>(arguments.first().toPointer());
        if (initialise(*host))
            host->restoreForm(*this);
        else
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

/**
 * Takes the FieldList. Answers the String of what the plug-in has against it, empty when it has
 * taken the values over, and then the FieldList that it shows from now on.
 */
void MivoPlugin::applyFieldsInThread(MivoPlugin*, QList<MivoArg>& arguments)
{
    const QList<MivoField> values = arguments.takeFirst().toFieldList();
    arguments.clear();
    try {
        const QString refusal = applyFields(values);
        const QList<MivoField> shown = fields();
        arguments.append(MivoArg(refusal));
        arguments.append(MivoArg(shown));
    } catch (...) {
        arguments.append(MivoArg(MivoHostLog::currentException()));
    }
}

/** Answers the Bool true. */
void MivoPlugin::shutdownInThread(MivoPlugin*, QList<MivoArg>& arguments)
{
    arguments.clear();
    arguments.append(MivoArg(true));
    try {
        shutdown();
    } catch (...) {
        const QString reason = MivoHostLog::currentException();
        MivoHostLog::write(
            QString::fromLatin1("%1: the shutdown failed: %2").arg(mivoNameOf(*this), reason));
    }
}
