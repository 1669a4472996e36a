#include "JsonText.h"

#include "DisplayText.h"

#include <MivoBuddyContact.h>
#include <MivoBuddyMerged.h>
#include <MivoBuddyResource.h>
#include <MivoBuddyTemporary.h>
#include <MivoField.h>
#include <MivoField_p.h>
#include <MivoHost.h>
#include <MivoPlugin.h>
#include <MivoPluginAction.h>
#include <MivoPresence.h>
#include <MivoSecret.h>
#include <MivoService.h>
#include <MivoVideoClip.h>
#include <MivoXmlNode.h>

#include <QLocale>

#include <cmath>

namespace {

QString addressOf(const void* pointer)
{
    return "0x" + QString::number(quintptr(pointer), 16);
}

QString real(double number)
{
    return QString::number(number, 'g', QLocale::FloatingPointShortest);
}

QJsonValue realValue(double number)
{
    if (number == 0 && std::signbit(number))
        return "-0"; // which JSON has, but not all that read it
    return std::isfinite(number) ? QJsonValue(number) : QJsonValue(real(number));
}

/** A float has fewer digits than the double that it becomes. */
QJsonValue realValue(float number)
{
    if (!std::isfinite(number) || number == 0)
        return realValue(double(number));
    return QJsonValue(QString::number(double(number), 'g', 9).toDouble());
}

QJsonObject identity(const QString& kind, const QJsonObject& description)
{
    return {{"kind", kind}, {"identity", description}};
}

QJsonObject plain(const QString& kind, const QJsonValue& value)
{
    return {{"kind", kind}, {"value", value}};
}

const char* nameOf(MivoBuddy::Type type)
{
    switch (type) {
    case MivoBuddy::Invalid:
        return "invalid";
    case MivoBuddy::Group:
        return "group";
    case MivoBuddy::Meta:
        return "meta";
    case MivoBuddy::Contact:
        return "contact";
    case MivoBuddy::Merged:
        return "merged";
    case MivoBuddy::Temporary:
        return "temporary";
    case MivoBuddy::Other:
        break;
    }
    return "other";
}

QJsonObject descriptionOf(const MivoBuddy& buddy)
{
    QJsonObject description = {{"type", nameOf(buddy.getType())}, {"display", buddy.getDisplay()}};
    if (buddy.getType() == MivoBuddy::Contact)
        description.insert("id", MivoBuddyContact(buddy).getId());
    else if (buddy.getType() == MivoBuddy::Merged)
        description.insert("id", MivoBuddyMerged(buddy).getId());
    else if (buddy.getType() == MivoBuddy::Temporary)
        description.insert("id", MivoBuddyTemporary(buddy).getId());
    return description;
}

QJsonObject descriptionOf(const MivoPresence& presence)
{
    if (!presence.isValid())
        return {{"valid", false}};
    return {{"valid", true},
            {"id", presence.getId()},
            {"display", presence.getDisplay()},
            {"description", presence.getDescription()},
            {"priority", double(presence.getPriority())}};
}

QJsonObject descriptionOf(const MivoBuddyResource& resource)
{
    if (!resource.isValid())
        return {{"valid", false}};
    return {{"valid", true},
            {"name", resource.getName()},
            {"priority", double(resource.getPriority())},
            {"presence", descriptionOf(resource.getPresence())}};
}

QJsonObject pluginOf(const MivoPlugin* plugin, const MivoHost& host)
{
    QJsonObject description = {{"address", addressOf(plugin)}};
    const QList<MivoPlugin*> plugins = host.plugins(); // what is none of them may have gone
    for (const MivoPlugin* known : plugins) {
        if (known == plugin)
            description.insert("name", known->name());
    }
    return description;
}

QJsonArray arrayOf(const QList<MivoArg>& values, const MivoHost& host, int level);

QJsonObject valueAt(const MivoArg& value, const MivoHost& host, int level)
{
    switch (value.getType()) {
    case MivoArg::None:
        return {{"kind", "none"}};
    case MivoArg::Char:
        return plain("char", QString(QLatin1Char(value.toChar())));
    case MivoArg::UChar:
        return plain("uchar", int(value.toUChar()));
    case MivoArg::Int:
        return plain("int", value.toInt());
    case MivoArg::UInt:
        return plain("uint", double(value.toUInt()));
    case MivoArg::Int64:
        return plain("int64", QString::number(value.toInt64()));
    case MivoArg::UInt64:
        return plain("uint64", QString::number(value.toUInt64()));
    case MivoArg::Float:
        return plain("float", realValue(value.toFloat()));
    case MivoArg::Double:
        return plain("double", realValue(value.toDouble()));
    case MivoArg::String:
        return plain("string", value.toString());
    case MivoArg::StringList:
        return plain("stringlist", QJsonArray::fromStringList(value.toStringList()));
    case MivoArg::Bool:
        return plain("bool", value.toBool());
    case MivoArg::Pointer:
        return plain("pointer", addressOf(value.toPointer()));
    case MivoArg::PointerList: {
        QJsonArray addresses;
        const QList<void*> pointers = value.toPointerList();
        for (const void* pointer : pointers)
            addresses.append(addressOf(pointer));
        return plain("pointerlist", addresses);
    }
    case MivoArg::Plugin:
        return identity("plugin", pluginOf(value.toPlugin(), host));
    case MivoArg::Field:
        return plain("field", JsonText::fieldOf(value.toField()));
    case MivoArg::FieldList: {
        QJsonArray fields;
        const QList<MivoField> list = value.toFieldList();
        for (const MivoField& field : list)
            fields.append(JsonText::fieldOf(field));
        return plain("fieldlist", fields);
    }
    case MivoArg::XmlNode:
        return plain("xml",
                     value.toXmlNode().isNull()
                         ? QJsonValue()
                         : QJsonValue(QString::fromUtf8(value.toXmlNode().toXml(-1))));
    case MivoArg::Buddy:
        return identity("buddy", descriptionOf(value.toBuddy()));
    case MivoArg::BuddyResource:
        return identity("resource", descriptionOf(value.toBuddyResource()));
    case MivoArg::Account:
        return identity("account", {{"address", addressOf(value.toAccount())}});
    case MivoArg::PluginAction:
        return identity(
            "action",
            {{"valid", value.toPluginAction().isValid()},
             {"arguments", arrayOf(value.toPluginAction().getActionData(), host, level + 1)}});
    case MivoArg::Presence:
        return identity("presence", descriptionOf(value.toPresence()));
    case MivoArg::GuiEventsReceiver:
        return identity("guieventsreceiver", {{"address", addressOf(value.toGuiEventsReceiver())}});
    case MivoArg::VideoClip: {
        const MivoVideoClip clip = value.toVideoClip();
        return plain("videoclip",
                     QJsonObject({{"width", clip.width},
                                  {"height", clip.height},
                                  {"framesPerSecond", clip.framesPerSecond},
                                  {"durationMs", QString::number(clip.durationMs)},
                                  {"source", clip.source}}));
    }
    case MivoArg::ArgList:
        return plain("list", arrayOf(value.toArgList(), host, level + 1));
    case MivoArg::Service:
        return plain("service", JsonText::serviceOf(value.toService()));
    case MivoArg::ServiceList: {
        QJsonArray services;
        const QList<MivoService> list = value.toServiceList();
        for (const MivoService& service : list)
            services.append(JsonText::serviceOf(service));
        return plain("servicelist", services);
    }
    default:
        return {{"kind", QString("kind %1").arg(int(value.getType()))}};
    }
}

QJsonArray arrayOf(const QList<MivoArg>& values, const MivoHost& host, int level)
{
    if (level > deepestLevel)
        return {QJsonObject({{"kind", "..."}})};
    QJsonArray array;
    for (const MivoArg& value : values)
        array.append(valueAt(value, host, level));
    return array;
}

QString stringText(const QString& string)
{
    QString text("\"");
    for (const QChar unit : string) {
        if (unit == '"' || unit == '\\')
            text += QString('\\') + unit;
        else if (unit.unicode() >= 0x20 && unit.unicode() < 0x7f)
            text += unit;
        else
            text += QString("\\u%1").arg(unit.unicode(), 4, 16, QChar('0'));
    }
    return text + '"';
}

} // namespace

QJsonObject JsonText::valueOf(const MivoArg& value, const MivoHost& host)
{
    return valueAt(value, host, 0);
}

QJsonObject JsonText::serviceOf(const MivoService& service)
{
    return {{"name", service.getName()},
            {"displayName", service.getDisplayName()},
            {"protocol", service.getProtocol()},
            {"hasAction", service.getAction().isValid()}};
}

QJsonObject JsonText::fieldOf(const MivoField& field)
{
    if (field.isNull())
        return {{"type", 0}};
    QJsonObject object = {{"type", int(field.getType())},
                          {"id", field.getId()},
                          {"label", field.getLabel()},
                          {"group", field.getGroup()},
                          {"visible", MivoField(field).getVisible()},
                          {"readOnly", field.isReadOnly()}};
    switch (int(MivoFieldPrivate::behaviourOf(field.getType()))) { // not all have names
    case MivoField::ComboBox:
        object.insert("items", QJsonArray::fromStringList(field.getComboBoxItems()));
        object.insert("value", double(field.getSelectedIndex()));
        break;
    case MivoField::CheckBox:
    case MivoField::RadioButton:
        object.insert("value", field.isChecked());
        break;
    case MivoField::LineEdit:
        object.insert("longest", field.getMaxTextLength());
        if (mivoIsSecret(field))
            object.insert("isSet", !field.getText().isEmpty());
        else
            object.insert("value", field.getText());
        break;
    case MivoField::TextEdit:
        object.insert("value", field.getText());
        break;
    case MivoField::SpinBox:
        object.insert("min", field.getSpinBoxMin());
        object.insert("max", field.getSpinBoxMax());
        object.insert("value", field.getIntValue());
        break;
    case MivoField::DoubleSpinBox:
        object.insert("min", realValue(field.getDoubleSpinBoxMin()));
        object.insert("max", realValue(field.getDoubleSpinBoxMax()));
        object.insert("value", realValue(field.getDoubleValue()));
        break;
    case MivoFieldPrivate::Image:
        object.insert("bytes", QString::fromLatin1(MivoField(field).getImgData().toBase64()));
        break;
    case MivoField::Button:
        object.insert("hasAction", MivoFieldPrivate::get(field)->action.isValid());
        break;
    default:
        break;
    }
    return object;
}

QString JsonText::textOf(const QJsonValue& value)
{
    QStringList parts;
    switch (value.type()) {
    case QJsonValue::String:
        return stringText(value.toString());
    case QJsonValue::Bool:
        return value.toBool() ? "true" : "false";
    case QJsonValue::Double:
        return real(value.toDouble());
    case QJsonValue::Array: {
        const QJsonArray array = value.toArray();
        for (int i = 0; i < array.size(); ++i)
            parts.append(textOf(array.at(i)));
        return '[' + parts.join(',') + ']';
    }
    case QJsonValue::Object: {
        const QJsonObject object = value.toObject(); // in the order of the keys
        for (auto it = object.constBegin(); it != object.constEnd(); ++it)
            parts.append(stringText(it.key()) + ':' + textOf(it.value()));
        return '{' + parts.join(',') + '}';
    }
    default:
        return "null";
    }
}
