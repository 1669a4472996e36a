#include "SettingsPlugin.h"

#include <MivoTest.h>

/** The plug-in with a field of every kind. */
class SettingsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itsFormHasAFieldOfEveryKind();
    void itTakesOverWhatTheUserChooses();
    void anEmptyNicknameIsRefused();
    void itsButtonGreetsTheEchoPlugin();
    void withoutTheEchoPluginItsButtonDoesNothing();
};

void SettingsTest::itsFormHasAFieldOfEveryKind()
{
    MivoTestHost host;
    MivoPlugin* const settings = host.add(new SettingsPlugin);
    host.start();
    QSet<int> kinds;
    const QList<MivoField> fields = host.form(settings).fields();
    for (const MivoField& field : fields)
        kinds.insert(field.getType());
    QCOMPARE(kinds,
             QSet<int>({MivoField::Label, MivoField::LineEdit, MivoField::TextEdit, 13,
                        MivoField::RadioButton, MivoField::CheckBox, MivoField::SpinBox,
                        MivoField::ComboBox, MivoField::DoubleSpinBox, MivoField::Button}));
}

void SettingsTest::itTakesOverWhatTheUserChooses()
{
    MivoTestHost host;
    MivoPlugin* const settings = host.add(new SettingsPlugin);
    host.start();
    QSignalSpy changes(settings, &MivoPlugin::formChanged);
    MivoTestForm form = host.form(settings);
    form.fill("nickname", "Bob");
    form.fill("theme", "dark");
    form.fill("away", true);
    form.fill("awayafter", 120);
    form.fill("volume", 0.25);
    form.apply();
    QCOMPARE(changes.size(), 1);
    const MivoTestForm again = host.form(settings);
    QCOMPARE(again.fields(), form.fields());
    QCOMPARE(again.field("nickname").getText(), QString("Bob"));
    QCOMPARE(again.field("theme").getSelectedString(), QString("dark"));
    QVERIFY(!again.field("online").isChecked());
}

void SettingsTest::anEmptyNicknameIsRefused()
{
    MivoTestHost host;
    MivoPlugin* const settings = host.add(new SettingsPlugin);
    host.start();
    MivoTestForm form = host.form(settings);
    const QList<MivoField> before = form.fields();
    form.fill("nickname", " ");
    form.fill("theme", "dark");
    QCOMPARE(form.apply().failure(),
             QString("settings does not take the values over: the nickname is empty; others need "
                     "something to call you"));
    QCOMPARE(host.form(settings).field("theme"), before.at(8));
}

void SettingsTest::itsButtonGreetsTheEchoPlugin()
{
    MivoFakePlugin echo("echo");
    echo.take("record");
    MivoTestHost host;
    host.add(echo);
    MivoPlugin* const settings = host.add(new SettingsPlugin);
    host.start();
    host.form(settings).click("greet");
    QCOMPARE(echo.asked("record").size(), 1);
    QCOMPARE(echo.asked("record").at(0), mivoValues("greetings from the settings"));
}

void SettingsTest::withoutTheEchoPluginItsButtonDoesNothing()
{
    MivoTestHost host;
    MivoPlugin* const settings = host.add(new SettingsPlugin);
    host.start();
    QCOMPARE(host.form(settings).click("greet").failure(),
             QString("settings: the button \"greet\" has no action"));
}

QTEST_GUILESS_MAIN(SettingsTest)
#include "tst_settings.moc"
