#include "MivoHostCommand.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

const QString echo = ECHO_PLUGIN;

QJsonObject documentOf(const Outcome& outcome)
{
    QJsonParseError error = {};
    const QJsonDocument document = QJsonDocument::fromJson(outcome.out.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || outcome.out.count('\n') != 1)
        qWarning("%s: %s", qPrintable(error.errorString()), qPrintable(outcome.out));
    return document.object();
}

} // namespace

/** What `mivo-host ... --json` writes, read by another reader of JSON. */
class MivoHostJsonTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aValueHasItsKindAndWhatItHolds_data();
    void aValueHasItsKindAndWhatItHolds();
    void whatIsNotTextIsKept();
    void identitiesAreMarkedAndDescribed();
    void deepListsAreCutOff();
    void pluginsAreDescribedAndRefusedOnesNamed();
    void pluginsSayWhoTheyAre();
    void whatComesIsCountedAndSaidElsewhere();
    void aFormHasAllOfItsFields();
    void aRosterIsATreeOfIdentities();
    void aCommandThatFailsWritesNothing();
};

void MivoHostJsonTest::aValueHasItsKindAndWhatItHolds_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("json");
    const auto row = [](const char* argument, const char* json) {
        QTest::newRow(argument) << QString(argument) << QString(json);
    };
    row("none", R"({"kind":"none"})");
    row("char:A", R"({"kind":"char","value":"A"})");
    row("uchar:255", R"({"kind":"uchar","value":255})");
    row("int:-2147483648", R"({"kind":"int","value":-2147483648})");
    row("uint:4294967295", R"({"kind":"uint","value":4294967295})");
    row("int64:-9223372036854775808", R"({"kind":"int64","value":"-9223372036854775808"})");
    row("uint64:18446744073709551615", R"({"kind":"uint64","value":"18446744073709551615"})");
    row("float:0.1", R"({"kind":"float","value":0.100000001})");
    row("double:0.1", R"({"kind":"double","value":0.1})");
    row("double:4.9e-324", R"({"kind":"double","value":5e-324})");
    row("double:1.7976931348623157e308", R"({"kind":"double","value":1.7976931348623157e+308})");
    row("double:nan", R"({"kind":"double","value":"nan"})");
    row("double:-inf", R"({"kind":"double","value":"-inf"})");
    row("float:inf", R"({"kind":"float","value":"inf"})");
    row("double:-0", R"({"kind":"double","value":"-0"})");
    row("bool:true", R"({"kind":"bool","value":true})");
    row("string:", R"({"kind":"string","value":""})");
    row("string:a \"\\\n\x7f/", R"({"kind":"string","value":"a \"\\\u000a\u007f/"})");
    row("string:\xc3\xa9\xf0\x9f\x98\x80", R"({"kind":"string","value":"\u00e9\ud83d\ude00"})");
    row("stringlist:a,b", R"({"kind":"stringlist","value":["a","b"]})");
    row("stringlist:", R"({"kind":"stringlist","value":[]})");
    row("pointer:0x1f", R"({"kind":"pointer","value":"0x1f"})");
    row("pointerlist:0x1,0x0", R"({"kind":"pointerlist","value":["0x1","0x0"]})");
    row("xml:<a b='c'><d/></a>", R"({"kind":"xml","value":"<a b=\"c\"><d/></a>"})");
    row("videoclip:[1,2,3,18446744073709551615,s]",
        R"({"kind":"videoclip","value":{"durationMs":"18446744073709551615","framesPerSecond":3,)"
        R"("height":2,"source":"s","width":1}})");
    row("service:[n,d,p]",
        R"({"kind":"service","value":{"displayName":"d","hasAction":false,"name":"n",)"
        R"("protocol":"p"}})");
    row("servicelist:[]", R"({"kind":"servicelist","value":[]})");
    row("list:[int:1,list:[]]",
        R"({"kind":"list","value":[{"kind":"int","value":1},{"kind":"list","value":[]}]})");
}

void MivoHostJsonTest::aValueHasItsKindAndWhatItHolds()
{
    QFETCH(QString, argument);
    QFETCH(QString, json);
    const Outcome outcome = mivoHost({"call", echo, "echo", argument, "--json"});
    QCOMPARE(outcome.out, "{\"answer\":[" + json + "]}\n");
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);
    QVERIFY(!documentOf(outcome).isEmpty());
}

void MivoHostJsonTest::whatIsNotTextIsKept()
{
    const Outcome outcome
        = outcomeOf("bash", {"-c", "\"$1\" plugins --json $'/no/\\xe9.so'", "bash", MIVO_HOST});
    QVERIFY2(outcome.out.contains(R"("file":"/no/\udce9.so")"), qPrintable(outcome.out));
    QCOMPARE(outcome.status, 1);
}

void MivoHostJsonTest::identitiesAreMarkedAndDescribed()
{
    Outcome outcome
        = mivoHost({"call", QString(FIXTURES) + "/maker.so", "make", "string:x", "--json"});
    QCOMPARE(outcome.status, 0);
    const QJsonArray answer = documentOf(outcome).value("answer").toArray();
    QHash<QString, QJsonObject> values;
    for (const QJsonValue& value : answer)
        values.insert(value.toObject().value("kind").toString(), value.toObject());
    QCOMPARE(values.size(), 27);
    for (const char* kind :
         {"plugin", "buddy", "resource", "account", "action", "presence", "guieventsreceiver"}) {
        QVERIFY2(values.value(kind).value("identity").isObject(), kind);
        QVERIFY2(!values.value(kind).contains("value"), kind);
    }
    QCOMPARE(values.value("plugin").value("identity").toObject().value("name").toString(),
             QString("MakerPlugin"));
    QCOMPARE(values.value("buddy").value("identity").toObject().value("id").toString(),
             QString("ann"));
    QCOMPARE(
        values.value("action").value("identity").toObject().value("arguments").toArray().size(),
        14);
    QCOMPARE(values.value("field").value("value").toObject().value("id").toString(),
             QString("button"));
    QCOMPARE(values.value("fieldlist").value("value").toArray().size(), 2);
}

void MivoHostJsonTest::deepListsAreCutOff()
{
    const Outcome outcome
        = mivoHost({"call", "--json", QString(FIXTURES) + "/oddanswers.so", "deep", "int:15000"});
    QCOMPARE(outcome.status, 0);
    QCOMPARE(outcome.out.count("\"list\""), 257);
    QCOMPARE(outcome.out.count(R"({"kind":"..."})"), 1);
}

void MivoHostJsonTest::pluginsAreDescribedAndRefusedOnesNamed()
{
    const Outcome outcome = mivoHost({"plugins", "--json", echo, "/no/such.so"});
    QCOMPARE(outcome.status, 1);
    const QJsonObject document = documentOf(outcome);
    QCOMPARE(document.keys(), QStringList({"plugins", "refused"}));
    const QJsonObject plugin = document.value("plugins").toArray().at(0).toObject();
    QCOMPARE(plugin.keys(),
             QStringList({"actions", "author", "calls", "description", "file", "name", "requires",
                          "services", "title", "version"}));
    QCOMPARE(plugin.value("file").toString(), echo);
    QCOMPARE(plugin.value("name").toString(), QString("echo"));
    QCOMPARE(plugin.value("actions").toArray(), QJsonArray({"record", "failLater"}));
    const QJsonObject refused = document.value("refused").toArray().at(0).toObject();
    QCOMPARE(refused.value("file").toString(), QString("/no/such.so"));
    QVERIFY(refused.value("reason").toString().startsWith("/no/such.so: found no such file; "));
}

void MivoHostJsonTest::pluginsSayWhoTheyAre()
{
    const QString folder = REQUIRING;
    const Outcome outcome
        = mivoHost({"plugins", "--json", folder + "/chain_a.so", folder + "/alone.so"});
    QCOMPARE(outcome.status, 0);
    const QJsonArray plugins = documentOf(outcome).value("plugins").toArray();
    const QJsonObject chain = plugins.at(0).toObject();
    QCOMPARE(chain.value("title").toString(), QString("The \"first\" \\ of a chain; 1%"));
    QCOMPARE(chain.value("description").toString(),
             QString::fromUtf8("Needs another \xe2\x80\x93 and says so"));
    QCOMPARE(chain.value("author").toString(), QString("Ann <ann@example.org>"));
    QCOMPARE(chain.value("requires").toArray(), QJsonArray({"chain_b", "chain_c"}));
    const QJsonObject alone = plugins.at(1).toObject();
    for (const char* key : {"title", "description", "author"})
        QCOMPARE(alone.value(key), QJsonValue(QString()));
    QCOMPARE(alone.value("requires"), QJsonValue(QJsonArray()));

    const QString text = mivoHost({"plugins", folder + "/chain_a.so", folder + "/alone.so"}).out;
    QVERIFY2(text.contains(QString::fromUtf8("  title:   The \"first\" \\ of a chain; 1%\n"
                                             "  about:   Needs another \xe2\x80\x93 and says so\n"
                                             "  author:  Ann <ann@example.org>\n"
                                             "  requires: chain_b, chain_c\n")),
             qPrintable(text));
    QCOMPARE(text.count("title:"), 1);
}

void MivoHostJsonTest::whatComesIsCountedAndSaidElsewhere()
{
    const Outcome outcome = mivoHost(
        {"call", echo, "startTimer", "int:10", "string:tick", "--json", "--wait", "1500"});
    QCOMPARE(outcome.out, QString("{\"answer\":[],\"came\":{\"actions\":0,\"timers\":1}}\n"));
    QCOMPARE(outcome.error, QString("[echo      ] the timer \"tick\" has fired\n"));
    QCOMPARE(outcome.status, 0);
}

void MivoHostJsonTest::aFormHasAllOfItsFields()
{
    const Outcome outcome
        = mivoHost({"form", SETTINGS_PLUGIN, "--json", "--set", "theme=dark", "volume=0.25"});
    QCOMPARE(outcome.error, QString());
    const QJsonObject document = documentOf(outcome);
    QCOMPARE(document.value("plugin").toString(), QString("settings"));
    const QJsonArray fields = document.value("fields").toArray();
    QCOMPARE(fields.size(), 11);
    const auto field = [&](int i) {
        return QString::fromUtf8(
            QJsonDocument(fields.at(i).toObject()).toJson(QJsonDocument::Compact));
    };
    QCOMPARE(field(1),
             QString(R"({"group":"Profile","id":"nickname","label":"Nickname","longest":32,)"
                     R"("readOnly":false,"type":4,"value":"Ann","visible":true})"));
    QCOMPARE(fields.at(3).toObject().value("bytes").toString().size(), 104);
    QCOMPARE(fields.at(8).toObject().value("value").toDouble(), 1.0);
    QCOMPARE(fields.at(8).toObject().value("items").toArray().size(), 3);
    QCOMPARE(fields.at(9).toObject().value("value").toDouble(), 0.25);
    QCOMPARE(fields.at(10).toObject().value("hasAction").toBool(true), false);

    // Limits that are no numbers in JSON, and a field that is none.
    const Outcome odd = mivoHost({"form", QString(FIXTURES) + "/oddform.so", "--json"});
    QVERIFY2(odd.out.contains(R"("max":"inf","min":"-inf")"), qPrintable(odd.out));
    QVERIFY2(odd.out.contains(R"({"type":0})"), qPrintable(odd.out));
}

void MivoHostJsonTest::aRosterIsATreeOfIdentities()
{
    Outcome outcome = mivoHost({"roster", "--json", ROSTER_PLUGIN, SAMPLE_EXPORT});
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);
    const QJsonObject document = documentOf(outcome);
    QCOMPARE(document.value("reports").toArray().size(), 7);
    const QJsonArray groups = document.value("entries").toArray();
    QCOMPARE(groups.size(), 4);
    const QJsonObject family = groups.at(0).toObject();
    QCOMPARE(family.value("identity").toObject().value("type").toString(), QString("group"));
    const QJsonObject juliet = family.value("entries").toArray().at(2).toObject();
    QCOMPARE(juliet.value("identity").toObject().value("type").toString(), QString("merged"));
    const QJsonObject one = juliet.value("entries").toArray().at(0).toObject();
    QCOMPARE(one.value("account").toString(), QString("nurse@capulet.example"));
    QCOMPARE(one.value("subscription").toString(), QString("both"));
    QCOMPARE(one.value("contactType").toString(), QString("capulet.example"));

    outcome = mivoHost({"roster", "--json", ROSTERS_FIXTURE, "a cycle"});
    QVERIFY2(outcome.out.contains("\"isAbove\":true"), qPrintable(outcome.out));
}

void MivoHostJsonTest::aCommandThatFailsWritesNothing()
{
    for (const QStringList& arguments :
         {QStringList({"call", echo, "fail", "string:x"}), QStringList({"form", "/no"}),
          QStringList({"roster", echo}), QStringList({"call", echo, "echo", "int:x"})}) {
        const Outcome outcome = mivoHost(arguments + QStringList("--json"));
        QCOMPARE(outcome.out, QString());
        QVERIFY(!outcome.error.isEmpty());
        QVERIFY(outcome.status > 0);
    }
}

QTEST_GUILESS_MAIN(MivoHostJsonTest)
#include "tst_mivohost_json.moc"
