#include "FieldValues.h"

#include "DisplayText.h"
#include "Failure.h"
#include "Files.h"

#include <MivoSecret.h>
#include <MivoXmlNode.h>

#include <QSet>
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

QVector<bool> FieldValues::firstsOfTheirIds(const QList<MivoField>& fields)
{
    QVector<bool> firsts;
    QSet<QString> ids;
    for (const MivoField& field : fields) {
        const QString id = field.getId();
        firsts.append(id.isEmpty() || !ids.contains(id));
        ids.insert(id);
    }
    return firsts;
}

void FieldValues::write(const QString& file, const QList<MivoField>& fields, Secrets secrets)
{
    const QVector<bool> firsts = firstsOfTheirIds(fields);
    QList<MivoField> kept;
    for (int i = 0; i < fields.size(); ++i) {
        if (firsts.at(i) && (secrets == WithSecrets || !mivoIsSecret(fields.at(i))))
            kept.append(fields.at(i));
    }
    Files::write(file, MivoField::toXml(kept).toXml());
}
