#ifndef MIVOCORE_H
#define MIVOCORE_H

#include <QString>

#include <stdexcept>

#ifdef MIVO_CORE_BUILD
#define MIVO_CORE_EXPORT Q_DECL_EXPORT
#else
#define MIVO_CORE_EXPORT Q_DECL_IMPORT
#endif

/** @file
 * Stand-in for the messenger's core library: the errors that MivoArg throws. Both functions may be
 * called from any thread; the messages are UTF-8.
 */

/** The error of an allocation that failed in @p className: "CLASS: out of memory". */
MIVO_CORE_EXPORT std::runtime_error mivo_oom(const QString& className);

/**
 * The error of a value of @p className that was asked for as another kind than it is: "CLASS:
 * cannot convert FROM to TO".
 */
MIVO_CORE_EXPORT std::runtime_error mivo_conversion(const QString& className,
                                                    const QString& fromKind, const QString& toKind);

#endif
