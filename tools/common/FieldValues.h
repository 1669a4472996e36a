#ifndef FIELDVALUES_H
#define FIELDVALUES_H

#include <MivoField.h>

#include <QString>
#include <QVector>

class MivoXmlNode;

/** Files with the values of a form. What reads or writes throws a Failure that names the file. */
namespace FieldValues {

/** For each field whether it is the first of its id, if it has one: the others are out of reach. */
QVector<bool> firstsOfTheirIds(const QList<MivoField>& fields);

/** The "fieldlist" element in a file of XML. */
MivoXmlNode read(const QString& file);
enum Secrets { WithoutSecrets, WithSecrets };
/** Replaces the file as a whole, with the first field of each id: see Files::write(). */
void write(const QString& file, const QList<MivoField>& fields, Secrets secrets);

} // namespace FieldValues

#endif
