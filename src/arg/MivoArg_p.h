#ifndef MIVOARG_P_H
#define MIVOARG_P_H

#include "MivoArg.h"

#include <QAtomicInt>

/**
 * The record that all copies of one MivoArg share. Nothing changes it once the constructor that
 * made it has finished. How the value behind `data` is destroyed follows from the kind alone.
 */
class MIVO_DATA_EXPORT MivoArgPrivate
{
public:
    MivoArgPrivate();
    ~MivoArgPrivate();

    /** The record of @p arg; null for the empty value. It stays owned by its handles. */
    static MivoArgPrivate* get(const MivoArg& arg) { return arg.d; }

    MivoArg::Type type;
    QAtomicInt ref;
    void* data;

private:
    Q_DISABLE_COPY(MivoArgPrivate)
};

#endif
