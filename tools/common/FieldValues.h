#ifndef FIELDVALUES_H
#define FIELDVALUES_H

#include <MivoField.h>

#include <QString>

class MivoXmlNode;

/** Files with the values of a form. Both functions throw a Failure that names the file. */
namespace FieldValues {

/** The "fieldlist" element in a file of XML. */
MivoXmlNode read(const QString& file);
/** Replaces the file as a whole: see Files::write(). */
void write(const QString& file, const QList<MivoField>& fields);

} // namespace FieldValues

#endif
