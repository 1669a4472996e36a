#include "MivoPluginSlots_p.h"

#include "MivoHostQt_p.h"

#include <QMetaObject>

#include <cstring>

namespace {

const char callParameters[] = "(MivoPlugin*,QList<MivoArg>&)";
const char actionParameters[] = "(QList<MivoArg>&)";

const char* parametersOf(MivoPluginSlots::Shape shape)
{
    return shape == MivoPluginSlots::Call ? callParameters : actionParameters;
}

QByteArray nameOf(const QByteArray& signature)
{
    return signature.left(signature.indexOf('('));
}

QString text(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.constData());
}

/** What is wrong with @p method, which has the name of a slot that is wanted. */
QString whatIsWrong(const QMetaMethod& method, MivoPluginSlots::Shape shape)
{
    if (method.methodType() == QMetaMethod::Signal)
        return QString::fromLatin1("is a signal and no slot");
    if (method.methodType() != QMetaMethod::Slot)
        return QString::fromLatin1("is no slot");
    const QByteArray signature = mivoMethodSignature(method);
    if (signature.endsWith(nameOf(signature) + actionParameters))
        return QString::fromLatin1("is an action");
    if (signature.endsWith(nameOf(signature) + callParameters))
        return QString::fromLatin1("is a synchronous call");

    QList<QByteArray> wanted;
    if (shape == MivoPluginSlots::Call)
        wanted.append("MivoPlugin*");
    wanted.append("QList<MivoArg>&");
    const QList<QByteArray> found = method.parameterTypes();
    if (found.size() != wanted.size())
        return QString::fromLatin1("has %1 parameters and not %2")
            .arg(found.size())
            .arg(wanted.size());
    QStringList differences;
    for (int i = 0; i < int(wanted.size()); ++i) {
        if (found.at(i) != wanted.at(i))
            differences.append(QString::fromLatin1("takes %1 and not %2")
                                   .arg(text(found.at(i)), text(wanted.at(i))));
    }
    return differences.join(QLatin1String(" and "));
}

} // namespace

MivoPluginSlots::MivoPluginSlots(const QMetaObject* askedMetaObject, Shape askedShape)
    : metaObject(askedMetaObject)
    , shape(askedShape)
{
}

bool MivoPluginSlots::areByName() const
{
    const int index = metaObject->indexOfClassInfo("MivoSlots");
    return index >= 0 && std::strcmp(metaObject->classInfo(index).value(), "by name") == 0;
}

QStringList MivoPluginSlots::names() const
{
    QStringList names;
    for (int i = 0; i < metaObject->methodCount(); ++i) {
        const QMetaMethod method = metaObject->method(i);
        const QByteArray signature = mivoMethodSignature(method);
        const QString name = text(nameOf(signature));
        if (method.methodType() == QMetaMethod::Slot
            && signature == nameOf(signature) + parametersOf(shape) && !names.contains(name))
            names.append(name);
    }
    return names;
}

int MivoPluginSlots::indexOf(const QString& name) const
{
    const int index
        = metaObject->indexOfSlot(QByteArray(name.toLatin1() + parametersOf(shape)).constData());
    // It finds what is only invokable, too.
    return index >= 0 && metaObject->method(index).methodType() == QMetaMethod::Slot ? index : -1;
}

QString MivoPluginSlots::whyMissing(const QString& plugin, const QString& name) const
{
    const QString near = nearMiss(name);
    const QString found = near.isEmpty()
        ? QString()
        : QString::fromLatin1(" to %1: %2")
              .arg(QLatin1String(shape == Call ? "call" : "run as an action"), near);
    const QStringList known = names();
    const QString expected = known.isEmpty()
        ? QString::fromLatin1("it has none")
        : QString::fromLatin1("expected one of: ") + known.join(QLatin1String(", "));
    return QString::fromLatin1("%1 has no slot \"%2\"").arg(plugin, name) + found
        + QLatin1String("; ") + expected;
}

/** The method of that name which is nearest to the class itself, and what is wrong about it. */
QString MivoPluginSlots::nearMiss(const QString& name) const
{
    for (int i = metaObject->methodCount() - 1; i >= 0; --i) {
        const QMetaMethod method = metaObject->method(i);
        const QByteArray signature = mivoMethodSignature(method);
        if (text(nameOf(signature)) == name)
            return text(signature) + QLatin1Char(' ') + whatIsWrong(method, shape);
    }
    return QString();
}
