#include "ChatPlugin.h"
#include "ConsolePlugin.h"
#include "HistoryPlugin.h"

#include <MivoBuddyContact.h>
#include <MivoService.h>
#include <MivoTest.h>

/** The three plug-ins of the demonstration: each alone, beside stand-ins, and all together. */
class ChatTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void chatKnowsOneContactOfEveryId();
    void chatTellsHistoryAndConsoleWhatWasSent();
    void chatSendsNothingToAName();
    void historyCountsWhatItKeeps();
    void consoleShowsWhatItIsTold();
    void aClickGoesAllTheWay();
};

void ChatTest::chatKnowsOneContactOfEveryId()
{
    MivoTestHost host;
    ChatPlugin* const chat = host.add(new ChatPlugin);
    host.start();
    const QList<MivoArg> bob = host.call(chat, "contact", mivoValues("bob@example.org")).values();
    QCOMPARE(MivoBuddyContact(bob.value(0).toBuddy()).getId(), QString("bob@example.org"));
    QCOMPARE(bob.value(0).toBuddy().getDisplay(), QString("bob"));
    QCOMPARE(host.call(chat, "contact", mivoValues("bob@example.org")).values(), bob);
    QCOMPARE(chat->services().size(), 1);
    QCOMPARE(chat->services().at(0), MivoService("send", "", "chat", MivoPluginAction()));
}

void ChatTest::chatTellsHistoryAndConsoleWhatWasSent()
{
    MivoFakePlugin history("history");
    history.answer("append", [](QList<MivoArg>& arguments) { arguments = mivoValues(17); });
    MivoFakePlugin console("console");
    console.answer("show", [](QList<MivoArg>& arguments) { arguments.clear(); });
    MivoTestHost host;
    host.add(history);
    host.add(console);
    ChatPlugin* const chat = host.add(new ChatPlugin);
    host.start();
    const MivoArg bob = host.call(chat, "contact", mivoValues("bob")).values().value(0);
    host.post(chat, "sendText", mivoValues(bob, "hello"));
    QCOMPARE(history.asked("append").value(0), mivoValues(bob, "hello"));
    QCOMPARE(console.asked("show").value(0), mivoValues("sent to bob as number 17"));
}

void ChatTest::chatSendsNothingToAName()
{
    MivoTestHost host;
    ChatPlugin* const chat = host.add(new ChatPlugin);
    host.start();
    QCOMPARE(host.post(chat, "sendText", mivoValues("bob", "hello")).failure(),
             QString("chat: an action failed: MivoArg: cannot convert MivoArg::String to "
                     "MivoArg::Buddy"));
}

void ChatTest::historyCountsWhatItKeeps()
{
    MivoTestHost host;
    ChatPlugin* const chat = host.add(new ChatPlugin);
    HistoryPlugin* const history = host.add(new HistoryPlugin);
    host.start();
    QCOMPARE(host.call(history, "count").values(), mivoValues(0));
    const MivoArg bob = host.call(chat, "contact", mivoValues("bob")).values().value(0);
    QCOMPARE(host.call(history, "append", mivoValues(bob, "hello"), chat).values(), mivoValues(1));
    QCOMPARE(host.call(history, "append", mivoValues(bob, "again"), chat).values(), mivoValues(2));
    QCOMPARE(host.takeLog().value(1),
             QString("chat has handed over a line for the history: bob: again"));
}

void ChatTest::consoleShowsWhatItIsTold()
{
    MivoTestHost host;
    ConsolePlugin* const console = host.add(new ConsolePlugin);
    host.start();
    host.call(console, "show", mivoValues("one"));
    host.call(console, "remind", mivoValues(3600000));
    host.fireTimer(console, "reminder");
    QCOMPARE(host.call(console, "shown").values(),
             mivoValues(QStringList({"one", "the timer \"reminder\" has fired"})));
    QCOMPARE(host.call(console, "click", mivoValues("send")).failure(),
             QString("console: click failed: there is no button \"send\""));
}

void ChatTest::aClickGoesAllTheWay()
{
    MivoTestHost host;
    host.add(new HistoryPlugin);
    host.add(new ChatPlugin);
    ConsolePlugin* const console = host.add(new ConsolePlugin);
    host.start();
    host.call(console, "open", mivoValues("bob@example.org"));
    MivoTestForm form = host.form(console);
    form.click("send");
    QCOMPARE(host.call(console, "shown").values(),
             mivoValues(QStringList("sent to bob as number 1")));
    QVERIFY(form.click("wrong").failure().contains("cannot convert MivoArg::String to "
                                                   "MivoArg::Buddy"));
}

QTEST_GUILESS_MAIN(ChatTest)
#include "tst_chat.moc"
