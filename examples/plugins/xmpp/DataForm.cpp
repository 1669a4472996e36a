#include "DataForm.h"

#include "Jid.h"
#include "Stanza.h"

#include <MivoSecret.h>

#include <QSet>

namespace {

const char mediaNamespace[] = "urn:xmpp:media-element";

bool isKnown(const QString& type)
{
    return QStringList({"boolean", "fixed", "hidden", "jid-multi", "jid-single", "list-multi",
                        "list-single", "text-multi", "text-private", "text-single"})
        .contains(type);
}

QStringList valuesOf(const MivoXmlNode& element)
{
    QStringList values;
    for (const MivoXmlNode& value : Stanza::children(element, "value", Ns::dataForms))
        values.append(value.getData());
    return values;
}

/** The values that a list offers, or with @p isShown the texts that it shows for them. */
QStringList optionsOf(const MivoXmlNode& element, bool isShown)
{
    QStringList options;
    for (const MivoXmlNode& option : Stanza::children(element, "option", Ns::dataForms)) {
        const QString value = Stanza::child(option, "value", Ns::dataForms).getData();
        const QString label = option.getAttribute("label");
        options.append(isShown && !label.isEmpty() ? label : value);
    }
    return options;
}

bool isTrue(const QString& value)
{
    return value == "1" || value == "true";
}

/** What a field says, as the values of the form. */
QStringList valuesOf(const MivoField& field, const QString& type, const MivoXmlNode& element)
{
    if (type == "boolean")
        return {field.isChecked() ? "1" : "0"};
    if (type == "text-multi")
        return field.getText().isEmpty() ? QStringList() : field.getText().split('\n');
    if (type == "list-single") {
        const QStringList options = optionsOf(element, false);
        return options.mid(int(qMin<quint32>(field.getSelectedIndex(), quint32(options.size()))),
                           1);
    }
    return field.getText().isEmpty() ? QStringList() : QStringList(field.getText());
}

} // namespace

DataForm::DataForm() = default;

DataForm::DataForm(const MivoXmlNode& element)
{
    if (!Stanza::is(element, "x", Ns::dataForms))
        return;
    form = Stanza::copyOf(element);
    QSet<QString> ids;
    for (const MivoXmlNode& field : Stanza::children(form, "field", Ns::dataForms)) {
        Item item;
        item.element = field;
        item.type = field.getAttribute("type");
        if (!isKnown(item.type))
            item.type = "text-single";
        const QString name = field.getAttribute("var");
        if (name.isEmpty()) // nothing could be sent back under it
            item.type = "fixed";
        item.id = name;
        for (int i = 2; item.id.isEmpty() || ids.contains(item.id); ++i)
            item.id = QString("%1#%2").arg(name).arg(i);
        ids.insert(item.id);
        item.values = valuesOf(field);
        items.append(item);
    }
}

bool DataForm::isQuestion() const
{
    return form.getAttribute("type") == "form";
}

QString DataForm::title() const
{
    return Stanza::child(form, "title", Ns::dataForms).getData().simplified();
}

QString DataForm::labelOf(const Item& item) const
{
    const QString label = item.element.getAttribute("label");
    const QString name = label.trimmed().isEmpty() ? item.element.getAttribute("var") : label;
    const bool isRequired = !Stanza::child(item.element, "required", Ns::dataForms).isNull();
    return isRequired ? name + " (required)" : name;
}

MivoField DataForm::fieldOf(const Item& item, const QString& prefix, const QString& group) const
{
    const QString id = prefix + item.id;
    const QString label = labelOf(item);
    const QString text = item.values.value(0);
    if (!isQuestion() && item.type != "hidden")
        return MivoField(QString("%1: %2").arg(label, item.values.join(", ")), id, group);
    if (item.type == "boolean")
        return MivoField(MivoField::CheckBox, label, id, isTrue(text), group);
    if (item.type == "list-single")
        return MivoField(label, id, optionsOf(item.element, true),
                         int(optionsOf(item.element, false).indexOf(text)), group);
    if (item.type == "text-multi")
        return MivoField(MivoField::TextEdit, label, id, item.values.join('\n'), 0, group);
    if (item.type == "text-private")
        return MivoField(MivoSecretField, label, id, text, 0, group);
    if (item.type == "fixed")
        return MivoField(item.values.join('\n'), id, group);
    if (item.type == "list-multi" || item.type == "jid-multi") {
        QStringList shown;
        for (const QString& value : item.values) {
            const int option = int(optionsOf(item.element, false).indexOf(value));
            shown.append(option < 0 ? value : optionsOf(item.element, true).at(option));
        }
        return MivoField(QString("%1: %2").arg(label, shown.join(", ")), id, group);
    }
    MivoField field(MivoField::LineEdit, label, id, text, 0, group);
    if (item.type == "hidden") {
        field.setVisible(false);
        field.setReadOnly(true);
    }
    return field;
}

QList<MivoField> DataForm::fields(const QString& prefix, const QString& group) const
{
    QList<MivoField> shown;
    int labels = 0;
    const auto addLabel = [&](const QString& text) {
        if (!text.isEmpty())
            shown.append(MivoField(text, QString("%1#label%2").arg(prefix).arg(++labels), group));
    };
    for (const MivoXmlNode& text : Stanza::children(form, "instructions", Ns::dataForms))
        addLabel(text.getData());
    for (const Item& item : items) {
        for (const MivoXmlNode& media : Stanza::children(item.element, "media", mediaNamespace)) {
            for (const MivoXmlNode& place : Stanza::children(media, "uri", mediaNamespace))
                addLabel(QString("%1: %2").arg(labelOf(item), place.getData().trimmed()));
        }
        shown.append(fieldOf(item, prefix, group));
    }
    for (const MivoXmlNode& row : Stanza::children(form, "item", Ns::dataForms)) {
        QStringList cells;
        for (const MivoXmlNode& cell : Stanza::children(row, "field", Ns::dataForms))
            cells.append(
                QString("%1: %2").arg(cell.getAttribute("var"), valuesOf(cell).join(", ")));
        addLabel(cells.join("; "));
    }
    return shown;
}

QString DataForm::setValues(const QString& prefix, const QList<MivoField>& given)
{
    QList<Item> changed = items;
    for (Item& item : changed) {
        if (item.type == "fixed" || item.type == "hidden" || item.type == "list-multi"
            || item.type == "jid-multi")
            continue;
        const MivoField own = fieldOf(item, prefix, QString());
        for (const MivoField& field : given) {
            if (field.getId() != own.getId() || field.getType() != own.getType() || field == own)
                continue;
            item.values = valuesOf(field, item.type, item.element);
            if (item.type == "jid-single" && !item.values.isEmpty()
                && !Jid(item.values.first()).isValid())
                return QString("%1: found \"%2\"; expected an address such as ann@example.org")
                    .arg(labelOf(item), item.values.first());
        }
    }
    items = changed;
    return QString();
}

QString DataForm::lack() const
{
    for (const Item& item : items) {
        if (item.values.join(QString()).isEmpty()
            && !Stanza::child(item.element, "required", Ns::dataForms).isNull())
            return QString("%1: found nothing; expected that it is filled in").arg(labelOf(item));
    }
    return QString();
}

MivoXmlNode DataForm::submission() const
{
    MivoXmlNode submitted("x");
    submitted.setAttribute("xmlns", QString(Ns::dataForms));
    submitted.setAttribute("type", QString("submit"));
    for (const Item& item : items) {
        if (item.type == "fixed")
            continue;
        MivoXmlNode field = submitted.addChild("field");
        field.setAttribute("var", item.element.getAttribute("var"));
        field.setAttribute("type", item.type);
        for (const QString& value : item.values)
            Stanza::addText(field, "value", value);
    }
    return submitted;
}
