#include "SettingsPlugin.h"

#include <MivoField.h>
#include <MivoHost.h>

namespace {

/** A face of 8 by 8 pixels, as a PNG file. */
const char face[] = "iVBORw0KGgoAAAANSUhEUgAAAAgAAAAIAQAAAADsdIMmAAAAFUlEQVR42mM4zNDIoMLAAM"
                    "QSQNZhABdQAukoz0qsAAAAAElFTkSuQmCC";

} // namespace

QString SettingsPlugin::name() const
{
    return QString("settings");
}

QString SettingsPlugin::version() const
{
    return QString(MIVO_VERSION_STR);
}

bool SettingsPlugin::initialise(MivoHost& host)
{
    MivoPlugin* const echo = host.findPlugin("echo");
    if (echo && echo->actionSlots().contains("record"))
        greetEcho = host.action(echo, "record", {MivoArg(QString("greetings from the settings"))});
    return true;
}

QList<MivoField> SettingsPlugin::fields() const
{
    return chosen.isEmpty() ? newForm() : chosen;
}

QString SettingsPlugin::applyFields(const QList<MivoField>& fields)
{
    for (const MivoField& field : fields) {
        if (field.getId() == "nickname" && field.getText().trimmed().isEmpty())
            return "the nickname is empty; others need something to call you";
    }
    chosen = fields;
    Q_EMIT formChanged();
    return QString();
}

QList<MivoField> SettingsPlugin::newForm() const
{
    const QString profile("Profile");
    const QString presence("Presence");
    const QString look("Look and sound");
    QByteArray picture = QByteArray::fromBase64(face);

    return {
        MivoField("What others see of you", "about", profile),
        MivoField(MivoField::LineEdit, "Nickname", "nickname", "Ann", 32, profile),
        MivoField(MivoField::TextEdit, "Signature", "signature", "Sent from\nmy garden", 500,
                  profile),
        MivoField("picture", picture, profile),
        MivoField(MivoField::RadioButton, "Sign in as online", "online", true, presence),
        MivoField(MivoField::RadioButton, "Sign in as away", "away", false, presence),
        MivoField(MivoField::CheckBox, "Away when idle", "autoaway", true, presence),
        MivoField("Minutes until away", "awayafter", 120, 1, 10, presence),
        MivoField("Theme", "theme", QStringList({"light", "dark", "as the desktop"}), 2, look),
        MivoField("Volume", "volume", 1.0, 0.0, 0.5, look),
        MivoField("Greet the echo plug-in", "greet", greetEcho, look),
    };
}
