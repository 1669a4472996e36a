// Reads any bytes as XML, and what they hold into fields of every kind. Whatever stands there, a
// field keeps its id, kind, label and group, and what was read is written and read back the same.
#include "FuzzTarget.h"

#include "MivoField.h"
#include "MivoPluginAction.h"
#include "MivoXmlNode.h"

#include <cstring>

namespace {

const int kindCount = 16;

MivoField fieldOfKind(int number, const QString& id)
{
    const QString label = QLatin1String("label");
    const QString group = QLatin1String("group");
    switch (number) {
    case MivoField::ComboBox:
        return MivoField(label, id, QStringList() << label << group, 1, group);
    case MivoField::CheckBox:
    case MivoField::RadioButton:
        return MivoField(MivoField::Type(number), label, id, true, group);
    case MivoField::SpinBox:
        return MivoField(label, id, 10, 1, 5, group);
    case MivoField::DoubleSpinBox:
        return MivoField(label, id, 10.5, 1.5, 5.5, group);
    case MivoField::Button:
        return MivoField(label, id, MivoPluginAction(), group);
    default:
        return MivoField(MivoField::Type(number), label, id, QString(QLatin1String("text")), 20,
                         group);
    }
}

bool sameDouble(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0 || (a != a && b != b);
}

bool sameValues(const MivoField& a, const MivoField& b)
{
    return a.getText() == b.getText() && a.getComboBoxItems() == b.getComboBoxItems()
        && sameDouble(a.getDoubleSpinBoxMax(), b.getDoubleSpinBoxMax())
        && sameDouble(a.getDoubleSpinBoxMin(), b.getDoubleSpinBoxMin())
        && sameDouble(a.getDoubleValue(), b.getDoubleValue());
}

void requireUnchanged(const MivoField& field, int number, const QString& id)
{
    require(int(field.getType()) == number, "the kind is unchanged");
    require(field.getId() == id, "the id is unchanged");
    require(field.getLabel() == QLatin1String("label"), "the label is unchanged");
    require(field.getGroup() == QLatin1String("group"), "the group is unchanged");
}

/** Reads @p node into a field of each kind that has the node's id, and one that has another. */
void readIntoFields(const MivoXmlNode& node)
{
    const QString ownId = node.getChild(QLatin1String("id")).getData();
    const QString otherId = ownId + QLatin1Char('x');
    for (int number = 0; number < kindCount; ++number) {
        const MivoField original = fieldOfKind(number, ownId);
        MivoField field = original;
        field.fromXml(node);
        requireUnchanged(field, number, ownId);
        require(sameValues(original, fieldOfKind(number, ownId)), "copies are unchanged");

        const MivoXmlNode written = MivoXmlNode::parse(field.toXml().toXml());
        require(!written.isNull(), "what is written can be read");
        MivoField again = original;
        again.fromXml(written);
        require(sameValues(again, field), "what was written is read back");

        MivoField other = fieldOfKind(number, otherId);
        other.fromXml(node);
        require(sameValues(other, fieldOfKind(number, otherId)), "another id changes nothing");
    }
}

void readIntoList(const MivoXmlNode& node)
{
    QList<MivoField> fields;
    const QList<MivoXmlNode> children = node.getChildNodes();
    const int count = qMin(static_cast<int>(children.size()), kindCount * 4);
    for (int i = 0; i < count; ++i)
        fields.append(
            fieldOfKind(i % kindCount, children.at(i).getChild(QLatin1String("id")).getData()));

    const QList<MivoField> merged = MivoField::fromXml(fields, node);
    if (node.name() != QLatin1String("fieldlist")) {
        require(merged.isEmpty(), "only a list is merged");
        return;
    }
    require(merged.size() == fields.size(), "each field is answered");
    for (int i = 0; i < merged.size(); ++i)
        requireUnchanged(merged.at(i), i % kindCount, fields.at(i).getId());

    const MivoXmlNode written = MivoXmlNode::parse(MivoField::toXml(merged).toXml());
    require(written.getChildNodes().size() == merged.size(), "each field is written");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray xml(reinterpret_cast<const char*>(data), static_cast<int>(size));
    QString error;
    MivoXmlNode node;
    requireFewAllocations(size, 300, 4, [&] { node = MivoXmlNode::parse(xml, &error); });
    require(node.isNull() != error.isNull(), "a document or an error");
    if (node.isNull())
        return 0;

    QByteArray written;
    requireFewAllocations(size, 100, 4, [&] { written = node.toXml(); });
    require(MivoXmlNode::parse(written).toXml() == written, "a document is read back");
    readIntoFields(node);
    readIntoList(node);
    return 0;
}
