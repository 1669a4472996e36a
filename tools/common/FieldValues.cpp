#include "FieldValues.h"

#include "DisplayText.h"
#include "Failure.h"
#include "Files.h"

#include <MivoXmlNode.h>

#include <QXmlStreamReader>

namespace {

const qint64 mostBytes = qint64(64) << 20;

/** Where the root element's tag ends: where a parser stands when it has found the wrong one. */
QString rootPosition(const QByteArray& xml)
{
    QXmlStreamReader reader(xml);
    reader.setNamespaceProcessing(false);
    reader.readNextStartElement();
    return QString("line %1, column %2").arg(reader.lineNumber()).arg(reader.columnNumber());
}

} // namespace

MivoXmlNode FieldValues::read(const QString& file)
{
    const QByteArray xml = Files::read(file, mostBytes);
    QString error;
    const MivoXmlNode root = MivoXmlNode::parse(xml, &error);
    if (root.isNull())
        throw Failure(QString("%1: %2").arg(file, error));
    if (root.name() != "fieldlist")
        throw Failure(QString("%1: %2: found the root element %3; expected \"fieldlist\"")
                          .arg(file, rootPosition(xml), debugText(root.name()).trimmed()));
    return root;
}

void FieldValues::write(const QString& file, const QList<MivoField>& fields)
{
    Files::write(file, MivoField::toXml(fields).toXml());
}
