#include "Commands.h"
#include "Console.h"
#include "DisplayText.h"
#include "FieldValues.h"
#include "Files.h"
#include "JsonText.h"
#include "Session.h"

#include <MivoField.h>
#include <MivoField_p.h>
#include <MivoPlugin.h>
#include <MivoSecret.h>
#include <MivoXmlNode.h>

#include <QHash>
#include <QLocale>
#include <QVector>

#include <algorithm>

namespace {

const int widestIdColumn = 24;

struct Change
{
    QString id;
    QString text;
};

/** What is to be set; throws a UsageError. */
QList<Change> changesFrom(const QStringList& assignments)
{
    QList<Change> changes;
    for (const QString& assignment : assignments) {
        const int end = int(assignment.indexOf('='));
        if (end < 0)
            throw UsageError(QString("--set: found %1; expected ID=VALUE").arg(assignment));
        // The value is not quoted: nobody knows yet whether it is a secret.
        if (!Files::isUtf8(assignment))
            throw UsageError(QString("--set: found %1=... that is not UTF-8; expected ID=VALUE")
                                 .arg(assignment.left(end)));
        changes.append({assignment.left(end), assignment.mid(end + 1)});
    }
    return changes;
}

/** As a programmer would write it: with \n for a line end. */
QString quoted(const QString& text)
{
    return debugText(text).trimmed();
}

QString quoted(const QStringList& texts)
{
    QStringList all;
    for (const QString& text : texts)
        all.append(quoted(text));
    return all.join(", ");
}

QString numberText(double number)
{
    return QString::number(number, 'g', QLocale::FloatingPointShortest);
}

// The fields of a form

QString kindName(const MivoField& field)
{
    if (mivoIsSecret(field))
        return "secret";
    switch (int(MivoFieldPrivate::behaviourOf(field.getType()))) { // not all have names
    case MivoField::None:
        return "no kind";
    case MivoField::ComboBox:
        return "combo box";
    case MivoField::CheckBox:
        return "check box";
    case MivoField::RadioButton:
        return "radio button";
    case MivoField::LineEdit:
        return "line edit";
    case MivoField::TextEdit:
        return "text edit";
    case MivoField::SpinBox:
        return "spin box";
    case MivoField::DoubleSpinBox:
        return "double spin box";
    case MivoField::Label:
        return "label";
    case MivoFieldPrivate::Image:
        return "image";
    case MivoField::Button:
        return "button";
    default:
        return QString("kind %1").arg(int(field.getType()));
    }
}

bool isButton(const MivoField& field)
{
    return field.getType() == MivoField::Button;
}

bool hasAction(const MivoField& button)
{
    return MivoFieldPrivate::get(button)->action.isValid();
}

bool canBeSet(const MivoField& field)
{
    return field.getValue().getType() != MivoArg::None && !field.isReadOnly();
}

/** Whether the length of the field's text has a limit; 0 and less stand for none. */
bool hasLongestText(const MivoField& field)
{
    return MivoFieldPrivate::behaviourOf(field.getType()) == MivoField::LineEdit
        && field.getMaxTextLength() > 0;
}

/** The first field of that id; throws a Failure that names those of which @p fits is true. */
MivoField& findField(QList<MivoField>& fields, const QString& id, bool (*fits)(const MivoField&))
{
    QStringList expected;
    for (MivoField& field : fields) {
        if (field.getId() == id)
            return field;
        if (fits(field) && !expected.contains(field.getId()))
            expected.append(field.getId());
    }
    throw Failure(QString("found no field with the id %1; expected %2")
                      .arg(quoted(id),
                           expected.isEmpty() ? QString("nothing, as none can be used here")
                                              : "one of: " + expected.join(", ")));
}

// Setting a field

/** Throws a Failure that says what was found in place of what is expected. */
[[noreturn]] void refuse(const MivoField& field, const QString& found, const QString& expected)
{
    throw Failure(QString("%1 (%2): found %3; expected %4")
                      .arg(field.getId(), kindName(field), found, expected));
}

void setItem(MivoField& field, const QString& text)
{
    const QStringList items = field.getComboBoxItems();
    int index = int(items.indexOf(text));
    if (index < 0) {
        bool isNumber = false;
        const uint number = text.toUInt(&isNumber);
        if (!isNumber || text != text.trimmed() || number >= uint(items.size()))
            refuse(field, quoted(text),
                   items.isEmpty() ? QString("nothing, as it has no items")
                                   : QString("one of %1, or an index from 0 to %2")
                                         .arg(quoted(items), QString::number(items.size() - 1)));
        index = int(number);
    }
    field.setSelectedIndex(unsigned(index));
}

void setChecked(MivoField& field, const QString& text)
{
    if (text != "true" && text != "false")
        refuse(field, quoted(text), "true or false");
    field.setChecked(text == "true");
}

void setText(MivoField& field, const QString& text)
{
    if (hasLongestText(field) && text.size() > field.getMaxTextLength())
        refuse(field, QString("%1 characters").arg(text.size()),
               QString("at most %1").arg(field.getMaxTextLength()));
    field.setText(text);
}

void setInt(MivoField& field, const QString& text)
{
    bool isNumber = false;
    const int value = text.toInt(&isNumber);
    const int min = field.getSpinBoxMin();
    const int max = field.getSpinBoxMax();
    if (!isNumber || text != text.trimmed() || value < min || value > max)
        refuse(field, quoted(text), QString("a whole number from %1 to %2").arg(min).arg(max));
    field.setIntValue(value);
}

void setDouble(MivoField& field, const QString& text)
{
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    const double min = field.getDoubleSpinBoxMin();
    const double max = field.getDoubleSpinBoxMax();
    const bool isWithin = value >= min && value <= max; // which a NaN never is
    if (!isNumber || text != text.trimmed() || !isWithin)
        refuse(field, quoted(text),
               QString("a number from %1 to %2").arg(numberText(min), numberText(max)));
    field.setDoubleValue(value);
}

void setField(MivoField& field, const QString& text)
{
    const MivoArg::Type valueKind = field.getValue().getType();
    if (valueKind != MivoArg::None && field.isReadOnly())
        refuse(field, mivoIsSecret(field) ? QString("a value") : quoted(text),
               "nothing, as it is read-only");
    switch (valueKind) {
    case MivoArg::UInt:
        return setItem(field, text);
    case MivoArg::Bool:
        return setChecked(field, text);
    case MivoArg::String:
        return setText(field, text);
    case MivoArg::Int:
        return setInt(field, text);
    case MivoArg::Double:
        return setDouble(field, text);
    default:
        refuse(field, quoted(text), "nothing, as it has no value");
    }
}

// Showing a form

QString valueText(const MivoField& field)
{
    if (mivoIsSecret(field)) // neither its text nor its length
        return field.getText().isEmpty() ? quoted(QString()) : QString("********");
    switch (field.getValue().getType()) {
    case MivoArg::UInt: {
        const QString item = field.getSelectedString();
        return item.isNull() ? QString("no item (index %1)").arg(field.getSelectedIndex())
                             : quoted(item);
    }
    case MivoArg::Bool:
        return field.isChecked() ? "true" : "false";
    case MivoArg::String:
        return quoted(field.getText());
    case MivoArg::Int:
        return QString::number(field.getIntValue());
    case MivoArg::Double:
        return numberText(field.getDoubleValue());
    default:
        return QString();
    }
}

/** The kind of the field and all that limits it. */
QString kindText(MivoField field, bool isFirstOfItsId)
{
    QString text = kindName(field);
    if (field.isNull())
        return text;
    if (hasLongestText(field))
        text += QString(", at most %1 characters").arg(field.getMaxTextLength());
    if (field.getType() == MivoField::SpinBox)
        text += QString(", %1 to %2").arg(field.getSpinBoxMin()).arg(field.getSpinBoxMax());
    if (field.getType() == MivoField::DoubleSpinBox)
        text += QString(", %1 to %2")
                    .arg(numberText(field.getDoubleSpinBoxMin()),
                         numberText(field.getDoubleSpinBoxMax()));
    if (field.getType() == MivoField::ComboBox && !field.getComboBoxItems().isEmpty())
        text += " of " + quoted(field.getComboBoxItems());
    if (field.getType() == MivoFieldPrivate::Image)
        text += QString(", %1 bytes").arg(field.getImgData().size());
    if (isButton(field) && !hasAction(field))
        text += ", without an action";
    if (field.isReadOnly())
        text += ", read-only";
    if (!field.getVisible())
        text += ", hidden";
    if (!isFirstOfItsId)
        text += ", another field has this id before";
    return text;
}

QString fieldText(const MivoField& field, int idWidth, bool isFirstOfItsId)
{
    const QString label = field.getLabel().simplified();
    const QString value = valueText(field);
    QString text = label;
    if (!value.isNull())
        text += label.isEmpty() ? value : ": " + value;
    if (!text.isEmpty())
        text += ' ';
    return QString("  %1  %2(%3)")
        .arg(field.getId().leftJustified(idWidth), text, kindText(field, isFirstOfItsId));
}

} // namespace

void showForm(const MivoPlugin& plugin, const QList<MivoField>& fields)
{
    const QVector<bool> firsts = FieldValues::firstsOfTheirIds(fields);
    int idWidth = 0;
    for (const MivoField& field : fields)
        idWidth = std::max(idWidth, std::min(int(field.getId().size()), widestIdColumn));

    QStringList groups;
    QHash<QString, QStringList> lines;
    for (int i = 0; i < fields.size(); ++i) {
        const QString group = fields.at(i).getGroup();
        if (!lines.contains(group))
            groups.append(group);
        lines[group].append(fieldText(fields.at(i), idWidth, firsts.at(i)));
    }

    Console::out(QString("%1 %2").arg(plugin.name(), plugin.version()).trimmed());
    if (fields.isEmpty())
        Console::out("  no fields");
    for (const QString& group : qAsConst(groups)) {
        Console::out(QString());
        Console::out(group.isEmpty() ? QString("(no group)") : group.simplified());
        for (const QString& line : qAsConst(lines[group]))
            Console::out(line);
    }
}

namespace {

void showJson(const MivoPlugin& plugin, const QList<MivoField>& fields)
{
    QJsonArray array;
    for (const MivoField& field : fields)
        array.append(JsonText::fieldOf(field));
    Console::out(JsonText::textOf(QJsonObject(
        {{"plugin", plugin.name()}, {"version", plugin.version()}, {"fields", array}})));
}

} // namespace

QList<MivoField> withChanges(QList<MivoField> fields, const QStringList& assignments)
{
    const QList<Change> changes = changesFrom(assignments);
    for (const Change& change : changes)
        setField(findField(fields, change.id, canBeSet), change.text);
    return fields;
}

QList<MivoField> findButtons(QList<MivoField> fields, const QStringList& ids)
{
    QList<MivoField> buttons;
    for (const QString& id : ids) {
        const MivoField& field = findField(fields, id, isButton);
        if (!isButton(field))
            refuse(field, "a click", "one on a button");
        buttons.append(field);
    }
    return buttons;
}

void clickButtons(QList<MivoField> buttons)
{
    for (MivoField& button : buttons) {
        // First: the dispatcher may be faster than this thread.
        Console::say(QString(hasAction(button) ? "clicked %1" : "clicked %1: it has no action")
                         .arg(button.getId()));
        button.clicked();
    }
}

void runForm(const Arguments& arguments)
{
    changesFrom(arguments.values("--set")); // before anything is loaded
    const MivoXmlNode values
        = arguments.has("--load") ? FieldValues::read(arguments.value("--load")) : MivoXmlNode();

    Session session(outputOf(arguments));
    MivoPlugin* const plugin = loadPlugins(session, arguments);
    session.start();

    QList<MivoField> fields = session.fields(plugin);
    if (!values.isNull())
        fields = MivoField::fromXml(fields, values);
    fields = withChanges(fields, arguments.values("--set"));
    if (!fields.isEmpty() && (arguments.has("--load") || arguments.has("--set")))
        fields = session.applyFields(plugin, fields);
    const QList<MivoField> buttons = findButtons(fields, arguments.values("--click"));

    if (arguments.has(jsonOption.name))
        showJson(*plugin, fields);
    else
        showForm(*plugin, fields);
    if (!buttons.isEmpty()) {
        session.listen();
        clickButtons(buttons);
        session.finish();
    }
    Console::requireWritten();
    if (arguments.has("--save"))
        FieldValues::write(arguments.value("--save"), fields,
                           arguments.has("--with-secrets") ? FieldValues::WithSecrets
                                                           : FieldValues::WithoutSecrets);
}
