#include "MivoTestText.h"

#include <MivoAccountConnection.h>
#include <MivoField_p.h>
#include <MivoPlugin.h>
#include <MivoSecret.h>

#include <charconv>
#include <iterator>

namespace {

/**
 * Writes a value with all that it holds. Two values hold the same when they are written the same
 * and their actions, which do not tell whom they call, are equal.
 */
class Writer
{
public:
    enum Secrets { Hidden, Written };

    explicit Writer(Secrets writtenSecrets)
        : secrets(writtenSecrets)
    {
    }

    QString text;
    QList<MivoPluginAction> actions;

    void write(const MivoArg& value);
    void write(const MivoField& field);
    void write(const MivoPluginAction& action);
    void write(const MivoService& service);
    void write(const MivoPresence& presence);
    void write(const MivoBuddyResource& resource);
    void write(const MivoBuddy& buddy);
    void write(const MivoVideoClip& clip);
    void write(const QString& string);
    void write(bool flag) { text += QLatin1String(flag ? "true" : "false"); }
    /** With as many digits as it takes to read the same number back. */
    template <class Number>
    void writeReal(Number number)
    {
        char digits[64];
        const std::to_chars_result end
            = std::to_chars(std::begin(digits), std::end(digits), number);
        text += QString::fromLatin1(digits, int(end.ptr - digits));
    }
    void writeAddress(const void* address)
    {
        text += address ? QStringLiteral("0x%1").arg(quintptr(address), 0, 16)
                        : QStringLiteral("null");
    }

    template <class T>
    void write(const QList<T>& list)
    {
        text += QLatin1Char('[');
        for (int i = 0; i < int(list.size()); ++i) {
            if (i > 0)
                text += QLatin1String(", ");
            write(list.at(i));
        }
        text += QLatin1Char(']');
    }
    void write(const QStringList& list)
    {
        text += QLatin1Char('[');
        for (int i = 0; i < int(list.size()); ++i) {
            if (i > 0)
                text += QLatin1String(", ");
            write(list.at(i));
        }
        text += QLatin1Char(']');
    }

private:
    void writeHeld(const MivoArg& value);
    void writeValue(const MivoField& field);

    const Secrets secrets;
};

QString nameOfKind(MivoField::Type kind)
{
    switch (kind) {
    case MivoField::None:
        return QStringLiteral("None");
    case MivoField::ComboBox:
        return QStringLiteral("ComboBox");
    case MivoField::CheckBox:
        return QStringLiteral("CheckBox");
    case MivoField::RadioButton:
        return QStringLiteral("RadioButton");
    case MivoField::LineEdit:
        return QStringLiteral("LineEdit");
    case MivoField::TextEdit:
        return QStringLiteral("TextEdit");
    case MivoField::SpinBox:
        return QStringLiteral("SpinBox");
    case MivoField::DoubleSpinBox:
        return QStringLiteral("DoubleSpinBox");
    case MivoField::Label:
        return QStringLiteral("Label");
    case MivoField::Button:
        return QStringLiteral("Button");
    default:
        break;
    }
    if (kind == MivoSecretField)
        return QStringLiteral("Secret");
    if (kind == MivoFieldPrivate::Image)
        return QStringLiteral("Image");
    return QStringLiteral("kind %1").arg(int(kind));
}

QString nameOfKind(MivoBuddy::Type kind)
{
    switch (kind) {
    case MivoBuddy::Invalid:
        return QStringLiteral("Invalid");
    case MivoBuddy::Group:
        return QStringLiteral("Group");
    case MivoBuddy::Meta:
        return QStringLiteral("Meta");
    case MivoBuddy::Contact:
        return QStringLiteral("Contact");
    case MivoBuddy::Merged:
        return QStringLiteral("Merged");
    case MivoBuddy::Temporary:
        return QStringLiteral("Temporary");
    case MivoBuddy::Other:
        return QStringLiteral("Other");
    }
    return QStringLiteral("kind %1").arg(int(kind));
}

QString nameOfKind(MivoArg::Type kind)
{
    const QString name = mivo_arg_type(kind).section(QLatin1String("::"), 1);
    return name == QLatin1String("Unknown") ? QStringLiteral("kind %1").arg(int(kind)) : name;
}

/** Between quotes, on one line. */
void Writer::write(const QString& string)
{
    if (string.isNull()) {
        text += QLatin1String("null");
        return;
    }
    text += QLatin1Char('"');
    for (const QChar character : string) {
        if (character == QLatin1Char('"') || character == QLatin1Char('\\'))
            text += QLatin1Char('\\') + QString(character);
        else if (character == QLatin1Char('\n'))
            text += QLatin1String("\\n");
        else if (character == QLatin1Char('\t'))
            text += QLatin1String("\\t");
        else if (character.isPrint() || character.isSurrogate())
            text += character;
        else
            text += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
    }
    text += QLatin1Char('"');
}

void Writer::write(const MivoArg& value)
{
    text += nameOfKind(value.getType());
    if (value.getType() == MivoArg::None)
        return;
    text += QLatin1Char(' ');
    writeHeld(value);
}

void Writer::writeHeld(const MivoArg& value)
{
    switch (value.getType()) {
    case MivoArg::Char:
        write(QString(QLatin1Char(value.toChar())));
        text += QStringLiteral(" (%1)").arg(int(value.toChar()));
        break;
    case MivoArg::UChar:
        text += QString::number(value.toUChar());
        break;
    case MivoArg::Int:
        text += QString::number(value.toInt());
        break;
    case MivoArg::UInt:
        text += QString::number(value.toUInt());
        break;
    case MivoArg::Int64:
        text += QString::number(value.toInt64());
        break;
    case MivoArg::UInt64:
        text += QString::number(value.toUInt64());
        break;
    case MivoArg::Float:
        writeReal(value.toFloat());
        break;
    case MivoArg::Double:
        writeReal(value.toDouble());
        break;
    case MivoArg::String:
        write(value.toString());
        break;
    case MivoArg::StringList:
        write(value.toStringList());
        break;
    case MivoArg::Bool:
        write(value.toBool());
        break;
    case MivoArg::Pointer:
        writeAddress(value.toPointer());
        break;
    case MivoArg::PointerList: {
        QStringList addresses;
        const QList<void*> pointers = value.toPointerList();
        for (void* const pointer : pointers)
            addresses.append(QStringLiteral("0x%1").arg(quintptr(pointer), 0, 16));
        text += QLatin1Char('[') + addresses.join(QLatin1String(", ")) + QLatin1Char(']');
        break;
    }
    case MivoArg::Plugin: // not asked for its name: it may be gone, and lives in another thread
        writeAddress(value.toPlugin());
        break;
    case MivoArg::Field:
        write(value.toField());
        break;
    case MivoArg::FieldList:
        write(value.toFieldList());
        break;
    case MivoArg::XmlNode:
        text += mivoTestText(value.toXmlNode());
        break;
    case MivoArg::Buddy:
        write(value.toBuddy());
        break;
    case MivoArg::BuddyResource:
        write(value.toBuddyResource());
        break;
    case MivoArg::Account:
        writeAddress(value.toAccount());
        break;
    case MivoArg::PluginAction:
        write(value.toPluginAction());
        break;
    case MivoArg::Presence:
        write(value.toPresence());
        break;
    case MivoArg::GuiEventsReceiver:
        writeAddress(value.toGuiEventsReceiver());
        break;
    case MivoArg::VideoClip:
        write(value.toVideoClip());
        break;
    case MivoArg::ArgList:
        write(value.toArgList());
        break;
    case MivoArg::Service:
        write(value.toService());
        break;
    case MivoArg::ServiceList:
        write(value.toServiceList());
        break;
    default:
        break;
    }
}

void Writer::write(const MivoField& field)
{
    if (field.isNull()) {
        text += QLatin1String("null field");
        return;
    }
    text += nameOfKind(field.getType()) + QLatin1Char(' ');
    write(field.getId());
    text += QLatin1String(" labelled ");
    write(field.getLabel());
    if (!field.getGroup().isEmpty()) {
        text += QLatin1String(" in ");
        write(field.getGroup());
    }
    text += QLatin1String(": ");
    writeValue(field);
    if (!field.getVisible())
        text += QLatin1String(", hidden");
    if (field.isReadOnly())
        text += QLatin1String(", read-only");
    if (field.isPressed())
        text += QLatin1String(", pressed");
}

/** The value with its limits. */
void Writer::writeValue(const MivoField& field)
{
    if (field.getType() == MivoFieldPrivate::Image) {
        const QByteArray image = MivoFieldPrivate::get(field)->imgData;
        text += QStringLiteral("%1 bytes ").arg(image.size());
        text += QString::fromLatin1((secrets == Hidden ? image.left(16) : image).toHex());
        return;
    }
    switch (MivoFieldPrivate::behaviourOf(field.getType())) {
    case MivoField::ComboBox:
        text += QString::number(field.getSelectedIndex()) + QLatin1String(" of ");
        write(field.getComboBoxItems());
        break;
    case MivoField::CheckBox:
    case MivoField::RadioButton:
        write(field.isChecked());
        break;
    case MivoField::LineEdit:
    case MivoField::TextEdit:
        if (mivoIsSecret(field) && secrets == Hidden)
            text += QLatin1String("(not shown)");
        else
            write(field.getText());
        text += QStringLiteral(", at most %1 long").arg(field.getMaxTextLength());
        break;
    case MivoField::SpinBox:
        text += QStringLiteral("%1 from %2 to %3")
                    .arg(field.getIntValue())
                    .arg(field.getSpinBoxMin())
                    .arg(field.getSpinBoxMax());
        break;
    case MivoField::DoubleSpinBox:
        writeReal(field.getDoubleValue());
        text += QLatin1String(" from ");
        writeReal(field.getDoubleSpinBoxMin());
        text += QLatin1String(" to ");
        writeReal(field.getDoubleSpinBoxMax());
        break;
    case MivoField::Button:
        write(MivoFieldPrivate::get(field)->action);
        break;
    default:
        text += QLatin1String("no value");
    }
}

void Writer::write(const MivoPluginAction& action)
{
    text += QLatin1String(action.isValid() ? "action with " : "invalid action with ");
    write(action.getActionData());
    actions.append(action);
}

void Writer::write(const MivoService& service)
{
    write(service.getName());
    text += QLatin1String(" for ");
    write(service.getProtocol());
    text += QLatin1String(" shown as ");
    write(service.getDisplayName());
    text += QLatin1String(", ");
    write(service.getAction());
}

void Writer::write(const MivoPresence& presence)
{
    if (presence.isValid()) {
        write(presence.getId());
        text += QLatin1String(" shown as ");
        write(presence.getDisplay());
        text += QStringLiteral(" of priority %1, flag %2")
                    .arg(presence.getPriority())
                    .arg(int(presence.getFlag()));
    } else {
        text += QLatin1String("invalid presence");
    }
    text += QLatin1String(", described as ");
    write(presence.getDescription());
}

void Writer::write(const MivoBuddyResource& resource)
{
    if (resource.isValid()) {
        write(resource.getName());
        text += QLatin1String(" with the icon ");
        write(resource.getIcon());
    } else {
        text += QLatin1String("invalid resource");
    }
    text += QLatin1String(", presence ");
    write(resource.getPresence());
}

void Writer::write(const MivoBuddy& buddy)
{
    text += nameOfKind(buddy.getType());
    if (!buddy.isValid())
        return;
    text += QLatin1Char(' ');
    write(buddy.getDisplay());
    QString id;
    if (buddy.getType() == MivoBuddy::Contact)
        id = MivoBuddyContact(buddy).getId();
    else if (buddy.getType() == MivoBuddy::Merged)
        id = MivoBuddyMerged(buddy).getId();
    else if (buddy.getType() == MivoBuddy::Temporary)
        id = MivoBuddyTemporary(buddy).getId();
    if (!id.isNull()) {
        text += QLatin1String(" of the id ");
        write(id);
    }
    // Two entries may have the same texts; the hash is made of the entry's identity.
    text += QStringLiteral(" #%1").arg(qHash(buddy), 0, 16);
}

void Writer::write(const MivoVideoClip& clip)
{
    text += QStringLiteral("%1x%2 at %3 frames per second, %4 ms of ")
                .arg(clip.width)
                .arg(clip.height)
                .arg(clip.framesPerSecond)
                .arg(clip.durationMs);
    write(clip.source);
}

template <class T>
QString textOf(const T& value)
{
    Writer writer(Writer::Hidden);
    writer.write(value);
    return writer.text;
}

template <class T>
bool holdTheSame(const T& a, const T& b)
{
    Writer ofA(Writer::Written);
    ofA.write(a);
    Writer ofB(Writer::Written);
    ofB.write(b);
    return ofA.text == ofB.text && ofA.actions == ofB.actions;
}

bool report(bool isSame, const QString& message, const QString& found, const QString& expected,
            const char* foundName, const char* expectedName, const char* file, int line)
{
    // On success, too: an expected failure that does not come is noticed by it. Nothing printed is
    // then needed.
    return QTest::compare_helper(isSame, message.toUtf8().constData(),
                                 isSame ? nullptr : qstrdup(found.toUtf8().constData()),
                                 isSame ? nullptr : qstrdup(expected.toUtf8().constData()),
                                 foundName, expectedName, file, line);
}

template <class T>
bool compare(const T& found, const T& expected, const char* foundName, const char* expectedName,
             const char* file, int line)
{
    const bool isSame = mivoHoldTheSame(found, expected);
    return report(isSame, QStringLiteral("Compared values are not the same"),
                  isSame ? QString() : mivoTestText(found),
                  isSame ? QString() : mivoTestText(expected), foundName, expectedName, file, line);
}

template <class T>
bool compareLists(const QList<T>& found, const QList<T>& expected, const char* foundName,
                  const char* expectedName, const char* file, int line)
{
    for (int i = 0; i < int(found.size()) && i < int(expected.size()); ++i) {
        if (!mivoHoldTheSame(found.at(i), expected.at(i)))
            return report(false, QStringLiteral("Compared lists differ at index %1").arg(i),
                          mivoTestText(found.at(i)), mivoTestText(expected.at(i)), foundName,
                          expectedName, file, line);
    }
    const bool isSame = found.size() == expected.size();
    return report(isSame,
                  QStringLiteral("Compared lists have different sizes (%1 and %2)")
                      .arg(found.size())
                      .arg(expected.size()),
                  isSame ? QString() : mivoTestText(found),
                  isSame ? QString() : mivoTestText(expected), foundName, expectedName, file, line);
}

} // namespace

bool mivoHoldTheSame(const MivoArg& a, const MivoArg& b)
{
    return holdTheSame(a, b);
}

bool mivoHoldTheSame(const MivoField& a, const MivoField& b)
{
    return holdTheSame(a, b);
}

QString mivoTestText(const MivoArg& value)
{
    return textOf(value);
}

QString mivoTestText(const QList<MivoArg>& values)
{
    return textOf(values);
}

QString mivoTestText(MivoArg::Type kind)
{
    return QStringLiteral("MivoArg::") + nameOfKind(kind);
}

QString mivoTestText(const MivoField& field)
{
    return textOf(field);
}

QString mivoTestText(const QList<MivoField>& fields)
{
    return textOf(fields);
}

QString mivoTestText(MivoField::Type kind)
{
    return QStringLiteral("MivoField::") + nameOfKind(kind);
}

QString mivoTestText(const MivoPluginAction& action)
{
    return textOf(action);
}

QString mivoTestText(const MivoService& service)
{
    return textOf(service);
}

QString mivoTestText(const QList<MivoService>& services)
{
    return textOf(services);
}

QString mivoTestText(const MivoPresence& presence)
{
    return textOf(presence);
}

QString mivoTestText(const MivoSubscriptionType& subscription)
{
    Writer writer(Writer::Hidden);
    writer.write(subscription.getId());
    writer.text += QLatin1String(" shown as ");
    writer.write(subscription.getDisplay());
    writer.text += QStringLiteral(" of priority %1").arg(subscription.getPriority());
    return writer.text;
}

QString mivoTestText(const MivoBuddyResource& resource)
{
    return textOf(resource);
}

QString mivoTestText(const MivoBuddyType& type)
{
    if (!type.isValid())
        return QStringLiteral("invalid contact type");
    Writer writer(Writer::Hidden);
    writer.write(type.getId());
    writer.text += QLatin1String(" shown as ");
    writer.write(type.getDisplay());
    return writer.text;
}

QString mivoTestText(const MivoBuddy& buddy)
{
    return textOf(buddy);
}

QString mivoTestText(MivoBuddy::Type kind)
{
    return QStringLiteral("MivoBuddy::") + nameOfKind(kind);
}

QString mivoTestText(const MivoXmlNode& node)
{
    return node.isNull() ? QStringLiteral("null element")
                         : QString::fromUtf8(node.toXml(-1).constData());
}

QString mivoTestText(const MivoVideoClip& clip)
{
    return textOf(clip);
}

bool mivoCompare(const MivoArg& found, const MivoArg& expected, const char* foundName,
                 const char* expectedName, const char* file, int line)
{
    return compare(found, expected, foundName, expectedName, file, line);
}

bool mivoCompare(const QList<MivoArg>& found, const QList<MivoArg>& expected, const char* foundName,
                 const char* expectedName, const char* file, int line)
{
    return compareLists(found, expected, foundName, expectedName, file, line);
}

bool mivoCompare(const MivoField& found, const MivoField& expected, const char* foundName,
                 const char* expectedName, const char* file, int line)
{
    return compare(found, expected, foundName, expectedName, file, line);
}

bool mivoCompare(const QList<MivoField>& found, const QList<MivoField>& expected,
                 const char* foundName, const char* expectedName, const char* file, int line)
{
    return compareLists(found, expected, foundName, expectedName, file, line);
}
