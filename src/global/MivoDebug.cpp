#include "MivoDebug_p.h"

namespace {

thread_local QTextStream* written = nullptr;

QTextStream& keepAddress(QTextStream& stream)
{
    written = &stream;
    return stream;
}

/** A debug stream shows its text stream to manipulators alone. */
QTextStream& textStreamOf(QDebug& dbg)
{
    dbg << keepAddress;
    return *written;
}

} // namespace

MivoPlainText::MivoPlainText(QDebug& dbg)
    : text(textStreamOf(dbg))
    , integerBase(text.integerBase())
    , fieldWidth(text.fieldWidth())
{
    text.setIntegerBase(10);
    text.setFieldWidth(0);
}

MivoPlainText::~MivoPlainText()
{
    text.setIntegerBase(integerBase);
    text.setFieldWidth(fieldWidth);
}
