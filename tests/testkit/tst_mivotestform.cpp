#include "KitPlugin.h"

#include <MivoTest.h>

#include <memory>

/** The form of a plug-in, filled as its user fills it. */
class MivoTestFormTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void whatIsFilledReachesThePlugin();
    void aRefusalIsTold();
    void aChosenRadioButtonIsTheOnlyOneOfItsGroup();
    void aButtonRunsItsAction();
    void aButtonThatCannotBeClickedIsTold_data();
    void aButtonThatCannotBeClickedIsTold();
    void reloadingForgetsWhatWasNotApplied();
    void aFormThatCannotBeMadeIsTold();

private:
    std::unique_ptr<MivoTestHost> host;
    KitPlugin* kit = nullptr;
};

void MivoTestFormTest::init()
{
    host = std::make_unique<MivoTestHost>();
    kit = host->add(new KitPlugin);
    host->start();
}

void MivoTestFormTest::cleanup()
{
    host.reset();
}

void MivoTestFormTest::whatIsFilledReachesThePlugin()
{
    MivoTestForm form = host->form(kit);
    QCOMPARE(form.fields().size(), 12);
    form.fill("name", "Bob");
    form.fill("age", 99);
    form.fill("share", 1.0);
    form.fill("colour", "green");
    QCOMPARE(form.field("name").getText(), QString("Bob"));
    QCOMPARE(host->form(kit).field("name").getText(), QString("Ann"));
    form.apply();
    QCOMPARE(form.field("name").getText(), QString("BOB")); // as the plug-in shows it
    const MivoTestForm again = host->form(kit);
    QCOMPARE(again.fields(), form.fields());
    QCOMPARE(again.field("age").getIntValue(), 99);
    QCOMPARE(again.field("share").getDoubleValue(), 1.0);
    QCOMPARE(again.field("colour").getSelectedString(), QString("green"));
    form.fill("colour", 0U);
    QCOMPARE(form.field("colour").getSelectedString(), QString("red"));
}

void MivoTestFormTest::aRefusalIsTold()
{
    MivoTestForm form = host->form(kit);
    form.fill("name", "nobody");
    QCOMPARE(form.apply().failure(),
             QString("kit does not take the values over: there is no such user"));
    QCOMPARE(form.field("name").getText(), QString("nobody"));
    QCOMPARE(host->form(kit).field("name").getText(), QString("Ann"));
}

void MivoTestFormTest::aChosenRadioButtonIsTheOnlyOneOfItsGroup()
{
    MivoTestForm form = host->form(kit);
    form.fill("night", true);
    QVERIFY(!form.field("day").isChecked());
    QVERIFY(form.field("night").isChecked());
    QVERIFY(form.field("elsewhere").isChecked());
}

void MivoTestFormTest::aButtonRunsItsAction()
{
    MivoTestForm form = host->form(kit);
    form.click("press");
    QCOMPARE(host->call(kit, "kept").values(), mivoValues("pressed"));
}

void MivoTestFormTest::aButtonThatCannotBeClickedIsTold_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("failure");
    QTest::newRow("none") << "nonsense"
                          << "kit: found no button \"nonsense\" in the form";
    QTest::newRow("no button") << "name"
                               << "kit: found no button \"name\" in the form";
    QTest::newRow("without action") << "idle"
                                    << "kit: the button \"idle\" has no action";
    QTest::newRow("throws") << "wrong"
                            << "kit: an action failed: failed later";
}

void MivoTestFormTest::aButtonThatCannotBeClickedIsTold()
{
    QFETCH(QString, id);
    QFETCH(QString, failure);
    QCOMPARE(host->form(kit).click(id).failure(), failure);
}

void MivoTestFormTest::reloadingForgetsWhatWasNotApplied()
{
    MivoTestForm form = host->form(kit);
    form.fill("name", "Bob");
    form.reload();
    QCOMPARE(form.field("name").getText(), QString("Ann"));
}

void MivoTestFormTest::aFormThatCannotBeMadeIsTold()
{
    MivoTestForm form = host->form(kit);
    kit->formTrouble = "out of paper"; // between two calls of the plug-in
    QCOMPARE(form.reload().failure(), QString("kit: its form cannot be made: out of paper"));
    QCOMPARE(form.fields().size(), 12);
}

QTEST_GUILESS_MAIN(MivoTestFormTest)
#include "tst_mivotestform.moc"
