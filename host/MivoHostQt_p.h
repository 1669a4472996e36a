#ifndef MIVOHOSTQT_P_H
#define MIVOHOSTQT_P_H

#include "MivoPluginStamp.h"

#include <QMetaMethod>

#if __has_include(<QJsonObject>)
#include <QJsonObject>
#endif

/** @file
 * In what the three generations of Qt differ for a host alone. What a class of Qt offers is asked of
 * the class, not of Qt's version; the call with 0 prefers the first of two functions.
 */

template <class Method>
auto mivoSignatureOf(const Method& method, int) -> decltype(method.methodSignature())
{
    return method.methodSignature();
}

template <class Method>
auto mivoSignatureOf(const Method& method, long) -> QByteArray
{
    return method.signature();
}

/** The normalised signature of @p method, "echo(MivoPlugin*,QList<MivoArg>&)" for instance. */
inline QByteArray mivoMethodSignature(const QMetaMethod& method)
{
    return mivoSignatureOf(method, 0);
}

template <class Loader>
auto mivoStampOf(const Loader& loader, int) -> decltype(loader.metaData(), MivoPluginStamp())
{
    return MivoPluginStamp::fromMetaData(loader.metaData().toVariantMap());
}

template <class Loader>
MivoPluginStamp mivoStampOf(const Loader& loader, long)
{
    return MivoPluginStamp::fromText(loader.fileName());
}

/** The stamp in the file of @p loader, a QPluginLoader, whose code is not loaded. */
template <class Loader>
MivoPluginStamp mivoReadStamp(const Loader& loader)
{
    return mivoStampOf(loader, 0);
}

#endif
