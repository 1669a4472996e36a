#include "ReminderPlugin.h"

#include <MivoTest.h>

class ReminderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itRemindsWhenTheTimeHasCome();
    void itDoesNotRemindOfThePast();
    void itsSoundCanBeTried();
};

void ReminderTest::itRemindsWhenTheTimeHasCome()
{
    MivoTestHost host;
    ReminderPlugin* const reminder = host.add(new ReminderPlugin);
    host.start();
    host.call(reminder, "remind", mivoValues("tea", 3600000));
    QCOMPARE(host.call(reminder, "shown").values(), mivoValues(QStringList()));
    host.fireTimer(reminder, "tea");
    QCOMPARE(host.call(reminder, "shown").values(), mivoValues(QStringList("tea")));
}

void ReminderTest::itDoesNotRemindOfThePast()
{
    MivoTestHost host;
    ReminderPlugin* const reminder = host.add(new ReminderPlugin);
    host.start();
    QCOMPARE(host.call(reminder, "remind", mivoValues("tea", -1)).failure(),
             QString("ReminderPlugin: remind failed: found -1 ms; expected 0 or more"));
}

void ReminderTest::itsSoundCanBeTried()
{
    MivoFakePlugin speaker("speaker");
    speaker.answer("volume", [](QList<MivoArg>& arguments) { arguments = mivoValues(7); });
    speaker.take("play");
    MivoTestHost host;
    host.add(speaker);
    ReminderPlugin* const reminder = host.add(new ReminderPlugin);
    host.start();
    MivoTestForm form = host.form(reminder);
    form.fill("sound", true);
    form.apply();
    form.click("test");
    QVERIFY(form.field("sound").isChecked());
    QCOMPARE(speaker.waitFor("play").at(0), mivoValues("ding", 7));
}

QTEST_GUILESS_MAIN(ReminderTest)
#include "tst_reminder.moc"
