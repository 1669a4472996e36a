#include "MivoField.h"
#include "MivoField_p.h"
#include "MivoXmlNode.h"

#include <QHash>

namespace {

/** The text of the attribute "type"; null for the kinds whose values are not saved. */
const char* xmlTypeName(MivoField::Type type)
{
    switch (MivoFieldPrivate::behaviourOf(type)) {
    case MivoField::None:
        return "none";
    case MivoField::ComboBox:
        return "combobox";
    case MivoField::CheckBox:
        return "checkbox";
    case MivoField::RadioButton:
        return "radiobutton";
    case MivoField::LineEdit:
        return "lineedit";
    case MivoField::TextEdit:
        return "textedit";
    case MivoField::SpinBox:
        return "spinbox";
    case MivoField::DoubleSpinBox:
        return "doublespinbox";
    default:
        return nullptr;
    }
}

void addString(MivoXmlNode& node, const QString& text)
{
    node.addChild(QLatin1String("string")).insertData(text);
}

template <class Number>
void setRange(MivoXmlNode& node, Number max, Number min, Number value)
{
    node.setAttribute(QLatin1String("max"), max);
    node.setAttribute(QLatin1String("min"), min);
    node.setAttribute(QLatin1String("val"), value);
}

// Numbers are read as bytes, because Qt 4.8 reads strings by the rules of the default locale.

void read(const QByteArray& text, int* number, bool* ok)
{
    *number = text.toInt(ok);
}

void read(const QByteArray& text, unsigned* number, bool* ok)
{
    *number = text.toUInt(ok);
}

void read(const QByteArray& text, double* number, bool* ok)
{
    *number = text.toDouble(ok);
}

/** 0 for what is no number, or none that fits. */
template <class Number>
Number numberAt(const MivoXmlNode& node, const char* attribute)
{
    const QByteArray text = node.getAttribute(QLatin1String(attribute)).toLatin1();
    Number number;
    bool ok = false;
    read(text, &number, &ok);
    // The generations of Qt differ on blanks around a number, and on what they answer if not ok.
    return ok && text == text.trimmed() ? number : Number();
}

template <class Number>
struct Range
{
    Number min;
    Number max;
    Number value;
};

template <class Number>
Range<Number> rangeAt(const MivoXmlNode& node)
{
    return {numberAt<Number>(node, "min"), numberAt<Number>(node, "max"),
            numberAt<Number>(node, "val")};
}

QString firstString(const MivoXmlNode& node)
{
    return node.getChild(QLatin1String("string")).getData();
}

QStringList allStrings(const MivoXmlNode& node)
{
    QStringList strings;
    const QList<MivoXmlNode> children = node.getChildNodes();
    for (int i = 0; i < children.size(); ++i) {
        if (children.at(i).name() == QLatin1String("string"))
            strings.append(children.at(i).getData());
    }
    return strings;
}

/** Takes the values of @p node over, which has the id of @p field but may be of another kind. */
void applyValues(MivoField& field, const MivoXmlNode& node)
{
    const char* const typeName = xmlTypeName(field.getType());
    if (!typeName || node.getAttribute(QLatin1String("type")) != QLatin1String(typeName))
        return;
    // Everything is read before anything is set: only reading, and the first setter that changes
    // something, can run out of memory. The order of the setters matters: a limit pulls the value,
    // and the value comes last.
    switch (MivoFieldPrivate::behaviourOf(field.getType())) {
    case MivoField::ComboBox: {
        const QStringList items = allStrings(node);
        const unsigned index = numberAt<unsigned>(node, "selectedindex");
        field.setComboBoxItems(items);
        field.setSelectedIndex(index);
        break;
    }
    case MivoField::CheckBox:
    case MivoField::RadioButton:
        field.setChecked(node.getAttribute(QLatin1String("checked")) == QLatin1String("1"));
        break;
    case MivoField::LineEdit: {
        const int maxLength = numberAt<int>(node, "maxlength");
        const QString text = firstString(node);
        field.setMaxTextLength(maxLength);
        field.setText(text);
        break;
    }
    case MivoField::TextEdit:
        field.setText(firstString(node));
        break;
    case MivoField::SpinBox: {
        const Range<int> range = rangeAt<int>(node);
        field.setSpinBoxMin(range.min);
        field.setSpinBoxMax(range.max);
        field.setIntValue(range.value);
        break;
    }
    case MivoField::DoubleSpinBox: {
        const Range<double> range = rangeAt<double>(node);
        field.setDoubleSpinBoxMin(range.min);
        field.setDoubleSpinBoxMax(range.max);
        field.setDoubleValue(range.value);
        break;
    }
    default:
        break;
    }
}

} // namespace

MivoXmlNode MivoField::toXml() const
{
    MivoXmlNode node(QLatin1String("field"), nullptr);
    node.addChild(QLatin1String("id")).insertData(getId());
    const char* const typeName = xmlTypeName(getType());
    if (!typeName)
        return node;
    node.setAttribute(QLatin1String("type"), QString(QLatin1String(typeName)));
    switch (MivoFieldPrivate::behaviourOf(getType())) {
    case ComboBox: {
        node.setAttribute(QLatin1String("selectedindex"), getSelectedIndex());
        const QStringList items = getComboBoxItems();
        for (int i = 0; i < items.size(); ++i)
            addString(node, items.at(i));
        break;
    }
    case CheckBox:
    case RadioButton:
        node.setAttribute(QLatin1String("checked"), isChecked() ? 1 : 0);
        break;
    case LineEdit:
        node.setAttribute(QLatin1String("maxlength"), getMaxTextLength());
        addString(node, getText());
        break;
    case TextEdit:
        addString(node, getText());
        break;
    case SpinBox:
        setRange(node, getSpinBoxMax(), getSpinBoxMin(), getIntValue());
        break;
    case DoubleSpinBox:
        setRange(node, getDoubleSpinBoxMax(), getDoubleSpinBoxMin(), getDoubleValue());
        break;
    default:
        break;
    }
    return node;
}

void MivoField::fromXml(const MivoXmlNode& node)
{
    const MivoXmlNode idNode = node.getChild(QLatin1String("id"));
    // An id without text is nobody's, not even that of a field without id.
    if (idNode.hasData() && idNode.getData() == getId())
        applyValues(*this, node);
}

MivoXmlNode MivoField::toXml(const QList<MivoField>& fields)
{
    MivoXmlNode node(QLatin1String("fieldlist"), nullptr);
    for (int i = 0; i < fields.size(); ++i)
        node.appendChild(fields.at(i).toXml());
    return node;
}

QList<MivoField> MivoField::fromXml(const QList<MivoField>& fields, const MivoXmlNode& node)
{
    if (node.name() != QLatin1String("fieldlist"))
        return QList<MivoField>();

    // Backwards, so that the first field of an id is the one that has it.
    QHash<QString, int> indexes;
    indexes.reserve(fields.size());
    for (int i = static_cast<int>(fields.size()) - 1; i >= 0; --i)
        indexes.insert(fields.at(i).getId(), i);

    QList<MivoField> merged = fields;
    const QList<MivoXmlNode> children = node.getChildNodes();
    for (int i = 0; i < children.size(); ++i) {
        const MivoXmlNode& child = children.at(i);
        const MivoXmlNode idNode = child.getChild(QLatin1String("id"));
        if (child.name() != QLatin1String("field") || !idNode.hasData())
            continue;
        const QHash<QString, int>::const_iterator index = indexes.constFind(idNode.getData());
        if (index != indexes.constEnd())
            applyValues(merged[*index], child);
    }
    return merged;
}
