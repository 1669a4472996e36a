#ifndef MIVOQT_P_H
#define MIVOQT_P_H

#include <QAtomicInt>

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

#endif
