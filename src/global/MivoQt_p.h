#ifndef MIVOQT_P_H
#define MIVOQT_P_H

#include <QAtomicInt>
#include <QByteArray>
#include <QMetaMethod>
#include <QVariant>

#if QT_VERSION >= 0x050000
#include <QJsonObject>
#endif

/** @file
 * Everything in which the three generations of Qt differ as far as this library is concerned. No
 * other file asks for Qt's version.
 */

/** The current value, with acquire semantics. */
inline int mivoLoadAcquire(const QAtomicInt& value)
{
#if QT_VERSION >= 0x050000
    return value.loadAcquire();
#else
    return value;
#endif
}

/** The normalised signature of @p method, "echo(MivoPlugin*,QList<MivoArg>&)" for instance. */
inline QByteArray mivoMethodSignature(const QMetaMethod& method)
{
#if QT_VERSION >= 0x050000
    return method.methodSignature();
#else
    return method.signature();
#endif
}

/**
 * The metadata that @p loader, a QPluginLoader, finds in its file without loading the code. Empty
 * on Qt 4.8, whose plug-ins carry none.
 */
template <class PluginLoader>
QVariantMap mivoPluginMetaData(const PluginLoader& loader)
{
#if QT_VERSION >= 0x050000
    return loader.metaData().toVariantMap();
#else
    Q_UNUSED(loader)
    return QVariantMap();
#endif
}

#endif
