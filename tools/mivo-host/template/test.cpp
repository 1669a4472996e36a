#include "%{PluginClass}.h"

#include <MivoService.h>
#include <MivoTest.h>

/** The plug-in in a host, as others see it. */
class %{PluginClass}Test : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itGreetsAndGreetsAgain();
    void itRefusesWhatIsNoName();
    void itsServiceWaves();
    void theUserChoosesTheGreeting();
};

void %{PluginClass}Test::itGreetsAndGreetsAgain()
{
    MivoTestHost host;
    %{PluginClass}* const plugin = host.add(new %{PluginClass});
    host.start();
    QCOMPARE(host.call(plugin, "greet", mivoValues("Ann")).values(), mivoValues("Hello, Ann!"));
    host.fireTimer(plugin, "again");
    QCOMPARE(host.call(plugin, "greetings").values(),
             mivoValues(QStringList() << "Hello, Ann!"
                                      << "Hello, Ann!"));
}

void %{PluginClass}Test::itRefusesWhatIsNoName()
{
    MivoTestHost host;
    %{PluginClass}* const plugin = host.add(new %{PluginClass});
    host.start();
    QVERIFY(host.call(plugin, "greet", mivoValues(7)).failure().contains("cannot convert"));
    QCOMPARE(host.call(plugin, "greetings").values(), mivoValues(QStringList()));
}

void %{PluginClass}Test::itsServiceWaves()
{
    MivoTestHost host;
    %{PluginClass}* const plugin = host.add(new %{PluginClass});
    host.start();
    host.post(plugin->services().at(0).getAction());
    QCOMPARE(host.call(plugin, "greetings").values(),
             mivoValues(QStringList("waves to everybody")));
}

void %{PluginClass}Test::theUserChoosesTheGreeting()
{
    MivoTestHost host;
    %{PluginClass}* const plugin = host.add(new %{PluginClass});
    host.start();
    MivoTestForm form = host.form(plugin);
    form.fill("greeting", "Good morning");
    form.apply();
    QCOMPARE(host.call(plugin, "greet", mivoValues("Ann")).values(),
             mivoValues("Good morning, Ann!"));
    form.fill("greeting", "");
    QVERIFY(form.apply().failure().contains("the greeting is empty"));
}

QTEST_GUILESS_MAIN(%{PluginClass}Test)
#include "tst_%{PluginName}.moc"
