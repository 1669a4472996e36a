#include "MivoField.h"
#include "MivoField_p.h"
#include "MivoXmlNode.h"

#include <QHash>

namespace {

/** The texts of the format, made once: all elements share their characters. */
struct Names
{
    const QString fieldList = QLatin1String("fieldlist");
    const QString field = QLatin1String("field");
    const QString id = QLatin1String("id");
    const QString string = QLatin1String("string");

    const QString type = QLatin1String("type");
    const QString max = QLatin1String("max");
    const QString min = QLatin1String("min");
    const QString val = QLatin1String("val");
    const QString checked = QLatin1String("checked");
    const QString maxLength = QLatin1String("maxlength");
    const QString selectedIndex = QLatin1String("selectedindex");

    const QString none = QLatin1String("none");
    const QString comboBox = QLatin1String("combobox");
    const QString checkBox = QLatin1String("checkbox");
    const QString radioButton = QLatin1String("radiobutton");
    const QString lineEdit = QLatin1String("lineedit");
    const QString textEdit = QLatin1String("textedit");
    const QString spinBox = QLatin1String("spinbox");
    const QString doubleSpinBox = QLatin1String("doublespinbox");
};

const Names& names()
{
    static const Names all;
    return all;
}

/** The text of the attribute "type"; null for the kinds whose values are not saved. */
QString xmlTypeName(MivoField::Type type)
{
    switch (MivoFieldPrivate::behaviourOf(type)) {
    case MivoField::None:
        return names().none;
    case MivoField::ComboBox:
        return names().comboBox;
    case MivoField::CheckBox:
        return names().checkBox;
    case MivoField::RadioButton:
        return names().radioButton;
    case MivoField::LineEdit:
        return names().lineEdit;
    case MivoField::TextEdit:
        return names().textEdit;
    case MivoField::SpinBox:
        return names().spinBox;
    case MivoField::DoubleSpinBox:
        return names().doubleSpinBox;
    default:
        return QString();
    }
}

void addString(MivoXmlNode& node, const QString& text)
{
    node.addChild(names().string).insertData(text);
}

template <class Number>
void setRange(MivoXmlNode& node, Number max, Number min, Number value)
{
    node.setAttribute(names().max, max);
    node.setAttribute(names().min, min);
    node.setAttribute(names().val, value);
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
Number numberAt(const MivoXmlNode& node, const QString& attribute)
{
    const QByteArray text = node.getAttribute(attribute).toLatin1();
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
    return {numberAt<Number>(node, names().min), numberAt<Number>(node, names().max),
            numberAt<Number>(node, names().val)};
}

QString firstString(const MivoXmlNode& node)
{
    return node.getChild(names().string).getData();
}

QStringList allStrings(const MivoXmlNode& node)
{
    QStringList strings;
    const QList<MivoXmlNode> children = node.getChildNodes();
    for (int i = 0; i < children.size(); ++i) {
        if (children.at(i).name() == names().string)
            strings.append(children.at(i).getData());
    }
    return strings;
}

/** Takes the values of @p node over, which has the id of @p field but may be of another kind. */
void applyValues(MivoField& field, const MivoXmlNode& node)
{
    const QString typeName = xmlTypeName(field.getType());
    if (typeName.isNull() || node.getAttribute(names().type) != typeName)
        return;
    // Everything is read before anything is set: only reading, and the first setter that changes
    // something, can run out of memory. The order of the setters matters: a limit pulls the value,
    // and the value comes last.
    switch (MivoFieldPrivate::behaviourOf(field.getType())) {
    case MivoField::ComboBox: {
        const QStringList items = allStrings(node);
        const unsigned index = numberAt<unsigned>(node, names().selectedIndex);
        field.setComboBoxItems(items);
        field.setSelectedIndex(index);
        break;
    }
    case MivoField::CheckBox:
    case MivoField::RadioButton:
        field.setChecked(node.getAttribute(names().checked) == QLatin1String("1"));
        break;
    case MivoField::LineEdit: {
        const int maxLength = numberAt<int>(node, names().maxLength);
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

/** An id as the key of a hash, without a share of the text. */
struct IdKey
{
    const QString* id;
};

bool operator==(const IdKey& a, const IdKey& b)
{
    return *a.id == *b.id;
}

uint qHash(const IdKey& key)
{
    return static_cast<uint>(qHash(*key.id));
}

} // namespace

MivoXmlNode MivoField::toXml() const
{
    MivoXmlNode node(names().field, nullptr);
    node.addChild(names().id).insertData(getId());
    const QString typeName = xmlTypeName(getType());
    if (typeName.isNull())
        return node;
    node.setAttribute(names().type, typeName);
    switch (MivoFieldPrivate::behaviourOf(getType())) {
    case ComboBox: {
        node.setAttribute(names().selectedIndex, getSelectedIndex());
        const QStringList items = getComboBoxItems();
        for (int i = 0; i < items.size(); ++i)
            addString(node, items.at(i));
        break;
    }
    case CheckBox:
    case RadioButton:
        node.setAttribute(names().checked, isChecked() ? 1 : 0);
        break;
    case LineEdit:
        node.setAttribute(names().maxLength, getMaxTextLength());
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
    const MivoXmlNode idNode = node.getChild(names().id);
    // An id without text is nobody's, not even that of a field without id.
    if (idNode.hasData() && idNode.getData() == getId())
        applyValues(*this, node);
}

MivoXmlNode MivoField::toXml(const QList<MivoField>& fields)
{
    MivoXmlNode node(names().fieldList, nullptr);
    for (int i = 0; i < fields.size(); ++i)
        node.appendChild(fields.at(i).toXml());
    return node;
}

QList<MivoField> MivoField::fromXml(const QList<MivoField>& fields, const MivoXmlNode& node)
{
    if (node.name() != names().fieldList)
        return QList<MivoField>();

    // Backwards, so that the first field of an id is the one that has it.
    QHash<IdKey, int> indexes;
    indexes.reserve(fields.size());
    for (int i = static_cast<int>(fields.size()) - 1; i >= 0; --i) {
        if (!fields.at(i).isNull())
            indexes.insert(IdKey{&MivoFieldPrivate::get(fields.at(i))->id}, i);
    }

    QList<MivoField> merged = fields;
    QList<MivoXmlNode> children = node.getChildNodes();
    for (int i = 0; i < children.size(); ++i) {
        const MivoXmlNode child = std::move(children[i]); // let go of while it is at hand
        const QString id = child.getChild(names().id).getData();
        if (child.name() != names().field || id.isEmpty())
            continue;
        const QHash<IdKey, int>::const_iterator index = indexes.constFind(IdKey{&id});
        if (index != indexes.constEnd())
            applyValues(merged[*index], child);
    }
    return merged;
}
