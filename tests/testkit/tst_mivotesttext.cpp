#include <MivoAccountConnection.h>
#include <MivoBuddyResourceType.h>
#include <MivoContactType.h>
#include <MivoGuiEventsReceiver.h>
#include <MivoPlugin.h>
#include <MivoSecret.h>
#include <MivoTest.h>

#include <cmath>
#include <limits>
#include <memory>

namespace {

/** What QtTest prints of @p value. */
template <class T>
QString printed(const T& value)
{
    const std::unique_ptr<char[]> text(QTest::toString(value));
    return QString::fromUtf8(text.get());
}

QString addressOf(const void* address)
{
    return QStringLiteral("0x%1").arg(quintptr(address), 0, 16);
}

class Plugin : public MivoPlugin
{
};

MivoField secret(const QString& text)
{
    return MivoField(MivoSecretField, "Password", "password", text, 64, "Account");
}

MivoField image(const char* content)
{
    QByteArray bytes(content);
    return MivoField("face", bytes, "");
}

MivoField readOnly(MivoField field)
{
    field.setReadOnly(true);
    return field;
}

} // namespace

/** What the test kit prints of values, and what it takes for the same. */
class MivoTestTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void everyKindOfValueIsPrinted_data();
    void everyKindOfValueIsPrinted();
    void everyKindIsInTheTable();
    void everyKindOfFieldIsPrinted_data();
    void everyKindOfFieldIsPrinted();
    void theOtherTypesArePrinted();
    void valuesOfTheSameContentsAreTheSame_data();
    void valuesOfTheSameContentsAreTheSame();
    void valuesThatDifferAreNotTheSame_data();
    void valuesThatDifferAreNotTheSame();
    void fieldsThatDifferAreNotTheSame_data();
    void fieldsThatDifferAreNotTheSame();
    void listsAreComparedElementByElement();

private:
    MivoArg valueOf(MivoArg::Type kind);

    std::unique_ptr<MivoContactType> type;
    std::unique_ptr<MivoBuddyResourceType> client;
    std::unique_ptr<MivoAccountConnection> account;
    std::unique_ptr<Plugin> plugin;
    MivoGuiEventsReceiver receiver;
    MivoBuddy buddy;
};

void MivoTestTextTest::initTestCase()
{
    type = std::make_unique<MivoContactType>("chat", "Chat");
    type->addPresence("on", "Online", 7, MivoContactType::Online);
    client = std::make_unique<MivoBuddyResourceType>("phone", "phone.png");
    account = std::make_unique<MivoAccountConnection>("ann@example.org", "Ann");
    plugin = std::make_unique<Plugin>();
    buddy = MivoBuddyContact(nullptr, "bob@example.org", "Bob", type->type(), MivoPresence(),
                             MivoSubscriptionType("Both", "both", 3, ""));
}

void MivoTestTextTest::cleanupTestCase()
{
    buddy = MivoBuddy();
    type.reset();
}

/** A value of the kind, made anew each time. */
MivoArg MivoTestTextTest::valueOf(MivoArg::Type kind)
{
    const MivoPluginAction action(plugin.get(), &MivoPlugin::runByName,
                                  {MivoArg(QString("go")), MivoArg(1)});
    const MivoPresence presence(type->presence("on"), "at home");
    MivoXmlNode node("a");
    node.setAttribute("b", QString("c"));
    MivoVideoClip clip;
    clip.width = 640;
    clip.height = 480;
    clip.framesPerSecond = 25;
    clip.durationMs = 1000;
    clip.source = "film";
    switch (kind) {
    case MivoArg::Char:
        return MivoArg('x');
    case MivoArg::UChar:
        return MivoArg(static_cast<unsigned char>(200));
    case MivoArg::Int:
        return MivoArg(-5);
    case MivoArg::UInt:
        return MivoArg(4000000000U);
    case MivoArg::Int64:
        return MivoArg(-9000000000LL);
    case MivoArg::UInt64:
        return MivoArg(18446744073709551615ULL);
    case MivoArg::Float:
        return MivoArg(0.1F);
    case MivoArg::Double:
        return MivoArg(0.1);
    case MivoArg::String:
        return MivoArg(QString("a \"b\"\n\tc\\\x01"));
    case MivoArg::StringList:
        return MivoArg(QStringList({"a", "b, c"}));
    case MivoArg::Bool:
        return MivoArg(true);
    case MivoArg::Pointer:
        return MivoArg(static_cast<void*>(&buddy));
    case MivoArg::PointerList:
        return MivoArg(QList<void*>({&buddy, nullptr}));
    case MivoArg::Plugin:
        return MivoArg(static_cast<MivoPlugin*>(plugin.get()));
    case MivoArg::Field:
        return MivoArg(MivoField("Name", "name", "People"));
    case MivoArg::FieldList:
        return MivoArg(QList<MivoField>({MivoField("Name", "name", "")}));
    case MivoArg::XmlNode:
        return MivoArg(node);
    case MivoArg::Buddy:
        return MivoArg(buddy);
    case MivoArg::BuddyResource:
        return MivoArg(MivoBuddyResource(client.get(), presence));
    case MivoArg::Account:
        return MivoArg(account.get());
    case MivoArg::PluginAction:
        return MivoArg(action);
    case MivoArg::Presence:
        return MivoArg(presence);
    case MivoArg::GuiEventsReceiver:
        return MivoArg(&receiver);
    case MivoArg::VideoClip:
        return MivoArg(clip);
    case MivoArg::ArgList:
        return MivoArg(QList<MivoArg>({MivoArg(1), MivoArg(QList<MivoArg>({MivoArg()}))}));
    case MivoArg::Service:
        return MivoArg(MivoService("send", "Send", "chat", action));
    case MivoArg::ServiceList:
        return MivoArg(QList<MivoService>({MivoService("send", "Send", "chat", action)}));
    default:
        return MivoArg();
    }
}

void MivoTestTextTest::everyKindOfValueIsPrinted_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("text");
    const QString presence
        = "\"on\" shown as \"Online\" of priority 7, flag 1, described as \"at home\"";
    const QString service
        = "\"send\" for \"chat\" shown as \"Send\", action with [String \"go\", Int 1]";
    const QList<std::pair<MivoArg::Type, QString>> rows
        = {{MivoArg::None, "None"},
           {MivoArg::Char, "Char \"x\" (120)"},
           {MivoArg::UChar, "UChar 200"},
           {MivoArg::Int, "Int -5"},
           {MivoArg::UInt, "UInt 4000000000"},
           {MivoArg::Int64, "Int64 -9000000000"},
           {MivoArg::UInt64, "UInt64 18446744073709551615"},
           {MivoArg::Float, "Float 0.1"},
           {MivoArg::Double, "Double 0.1"},
           {MivoArg::String, "String \"a \\\"b\\\"\\n\\tc\\\\\\u0001\""},
           {MivoArg::StringList, "StringList [\"a\", \"b, c\"]"},
           {MivoArg::Bool, "Bool true"},
           {MivoArg::Pointer, "Pointer " + addressOf(&buddy)},
           {MivoArg::PointerList, "PointerList [" + addressOf(&buddy) + ", 0x0]"},
           {MivoArg::Plugin, "Plugin " + addressOf(plugin.get())},
           {MivoArg::Field, "Field Label \"name\" labelled \"Name\" in \"People\": no value"},
           {MivoArg::FieldList, "FieldList [Label \"name\" labelled \"Name\": no value]"},
           {MivoArg::XmlNode, "XmlNode <a b=\"c\"/>"},
           {MivoArg::Buddy,
            "Buddy Contact \"Bob\" of the id \"bob@example.org\" #"
                + QString::number(qHash(buddy), 16)},
           {MivoArg::BuddyResource,
            "BuddyResource \"phone\" with the icon \"phone.png\", presence " + presence},
           {MivoArg::Account, "Account " + addressOf(account.get())},
           {MivoArg::PluginAction, "PluginAction action with [String \"go\", Int 1]"},
           {MivoArg::Presence, "Presence " + presence},
           {MivoArg::GuiEventsReceiver, "GuiEventsReceiver " + addressOf(&receiver)},
           {MivoArg::VideoClip, "VideoClip 640x480 at 25 frames per second, 1000 ms of \"film\""},
           {MivoArg::ArgList, "ArgList [Int 1, ArgList [None]]"},
           {MivoArg::Service, "Service " + service},
           {MivoArg::ServiceList, "ServiceList [" + service + "]"}};
    for (const auto& row : rows)
        QTest::newRow(qPrintable(printed(row.first))) << int(row.first) << row.second;
}

void MivoTestTextTest::everyKindOfValueIsPrinted()
{
    QFETCH(int, kind);
    QFETCH(QString, text);
    QCOMPARE(printed(valueOf(static_cast<MivoArg::Type>(kind))), text);
    QCOMPARE(printed(QList<MivoArg>({MivoArg(1), valueOf(static_cast<MivoArg::Type>(kind))})),
             "[Int 1, " + text + "]");
}

void MivoTestTextTest::everyKindIsInTheTable()
{
    for (int kind = MivoArg::None; kind < MivoArg::Undefined; ++kind)
        QCOMPARE(int(valueOf(static_cast<MivoArg::Type>(kind)).getType()), kind);
}

void MivoTestTextTest::everyKindOfFieldIsPrinted_data()
{
    QTest::addColumn<MivoField>("field");
    QTest::addColumn<QString>("text");
    QTest::newRow("null") << MivoField() << "null field";
    QTest::newRow("line edit") << MivoField(MivoField::LineEdit, "Name", "name", "Ann", 8, "People")
                               << "LineEdit \"name\" labelled \"Name\" in \"People\": \"Ann\", at "
                                  "most 8 long";
    QTest::newRow("secret") << secret("geheim")
                            << "Secret \"password\" labelled \"Password\" in \"Account\": (not "
                               "shown), at most 64 long";
    QTest::newRow("check box") << MivoField(MivoField::CheckBox, "On", "on", true, "")
                               << "CheckBox \"on\" labelled \"On\": true";
    QTest::newRow("spin box") << MivoField("Age", "age", 99, 1, 30, "")
                              << "SpinBox \"age\" labelled \"Age\": 30 from 1 to 99";
    QTest::newRow("double spin box")
        << MivoField("Share", "share", 1.0, 0.0, 0.5, "")
        << "DoubleSpinBox \"share\" labelled \"Share\": 0.5 from 0 to 1";
    QTest::newRow("combo box") << MivoField("Colour", "colour", QStringList({"red", "green"}), 1,
                                            "")
                               << "ComboBox \"colour\" labelled \"Colour\": 1 of [\"red\", "
                                  "\"green\"]";
    QTest::newRow("button") << MivoField("Go", "go", MivoPluginAction(), "")
                            << "Button \"go\" labelled \"Go\": invalid action with []";
    QTest::newRow("image") << image("ab") << "Image \"face\" labelled null: 2 bytes 6162";
    QTest::newRow("flags") << readOnly(MivoField("Text", "text", ""))
                           << "Label \"text\" labelled \"Text\": no value, read-only";
}

void MivoTestTextTest::everyKindOfFieldIsPrinted()
{
    QFETCH(MivoField, field);
    QFETCH(QString, text);
    QCOMPARE(printed(field), text);
}

void MivoTestTextTest::theOtherTypesArePrinted()
{
    QCOMPARE(printed(MivoArg::Int64), QString("MivoArg::Int64"));
    QCOMPARE(printed(static_cast<MivoArg::Type>(77)), QString("MivoArg::kind 77"));
    QCOMPARE(printed(MivoField::SpinBox), QString("MivoField::SpinBox"));
    QCOMPARE(printed(MivoSecretField), QString("MivoField::Secret"));
    QCOMPARE(printed(MivoBuddy::Temporary), QString("MivoBuddy::Temporary"));
    QCOMPARE(printed(MivoBuddy()), QString("Invalid"));
    const MivoBuddyGroup friends("Friends");
    QCOMPARE(printed(friends), "Group \"Friends\" #" + QString::number(qHash(friends), 16));
    QCOMPARE(printed(static_cast<const MivoBuddy&>(friends)), printed(friends));
    QCOMPARE(printed(MivoPresence()), QString("invalid presence, described as null"));
    QCOMPARE(printed(MivoBuddyResource()),
             QString("invalid resource, presence invalid presence, described as null"));
    QCOMPARE(printed(MivoSubscriptionType("Both", "both", 3, "")),
             QString("\"both\" shown as \"Both\" of priority 3"));
    QCOMPARE(printed(type->type()), QString("\"chat\" shown as \"Chat\""));
    QCOMPARE(printed(MivoBuddyType()), QString("invalid contact type"));
    QCOMPARE(printed(MivoXmlNode()), QString("null element"));
    QCOMPARE(printed(MivoPluginAction()), QString("invalid action with []"));
    QCOMPARE(printed(QList<MivoField>({MivoField("T", "t", "")})),
             QString("[Label \"t\" labelled \"T\": no value]"));
    QCOMPARE(printed(QList<MivoService>()), QString("[]"));
    QCOMPARE(printed(valueOf(MivoArg::VideoClip).toVideoClip()),
             QString("640x480 at 25 frames per second, 1000 ms of \"film\""));
}

void MivoTestTextTest::valuesOfTheSameContentsAreTheSame_data()
{
    QTest::addColumn<int>("kind");
    for (int kind = MivoArg::None; kind < MivoArg::Undefined; ++kind)
        QTest::newRow(qPrintable(printed(static_cast<MivoArg::Type>(kind)))) << kind;
}

void MivoTestTextTest::valuesOfTheSameContentsAreTheSame()
{
    QFETCH(int, kind);
    const MivoArg::Type asked = static_cast<MivoArg::Type>(kind);
    QVERIFY(mivoHoldTheSame(valueOf(asked), valueOf(asked)));
    QCOMPARE(valueOf(asked), valueOf(asked));
    QCOMPARE(mivoValues(1, valueOf(asked)), mivoValues(1, valueOf(asked)));
}

void MivoTestTextTest::valuesThatDifferAreNotTheSame_data()
{
    QTest::addColumn<MivoArg>("a");
    QTest::addColumn<MivoArg>("b");
    QTest::newRow("kinds") << MivoArg(1) << MivoArg(1U);
    QTest::newRow("nested") << MivoArg(mivoValues(1, 2)) << MivoArg(mivoValues(1, 3));
    QTest::newRow("doubles") << MivoArg(0.1) << MivoArg(std::nextafter(0.1, 1.0));
    QTest::newRow("floats") << MivoArg(0.1F) << MivoArg(std::nextafter(0.1F, 1.0F));
    QTest::newRow("zeros") << MivoArg(0.0) << MivoArg(-0.0);
    QTest::newRow("null and empty") << MivoArg(QString()) << MivoArg(QString(""));
    QTest::newRow("lists of texts")
        << MivoArg(QStringList({"a", "b"})) << MivoArg(QStringList({"a\", \"b"}));
    QTest::newRow("actions") << MivoArg(MivoPluginAction(plugin.get(), &MivoPlugin::runByName, {}))
                             << MivoArg(MivoPluginAction(reinterpret_cast<MivoPlugin*>(&buddy),
                                                         &MivoPlugin::runByName, {}));
    QTest::newRow("entries of one name")
        << MivoArg(MivoBuddyGroup("Friends")) << MivoArg(MivoBuddyGroup("Friends"));
    QTest::newRow("display names of services")
        << MivoArg(MivoService("a", "A", "c", MivoPluginAction()))
        << MivoArg(MivoService("a", "B", "c", MivoPluginAction()));
    QTest::newRow("secrets") << MivoArg(secret("geheim")) << MivoArg(secret("anders"));
}

void MivoTestTextTest::valuesThatDifferAreNotTheSame()
{
    QFETCH(MivoArg, a);
    QFETCH(MivoArg, b);
    QVERIFY(!mivoHoldTheSame(a, b));
    QVERIFY(mivoHoldTheSame(a, a));
    QVERIFY(mivoHoldTheSame(MivoArg(std::nan("")), MivoArg(std::nan(""))));
}

void MivoTestTextTest::fieldsThatDifferAreNotTheSame_data()
{
    QTest::addColumn<MivoField>("a");
    QTest::addColumn<MivoField>("b");
    const MivoField age("Age", "age", 99, 1, 30, "People");
    QTest::newRow("group") << age << MivoField("Age", "age", 99, 1, 30, "Others");
    QTest::newRow("limit") << age << MivoField("Age", "age", 98, 1, 30, "People");
    QTest::newRow("flag") << age << readOnly(MivoField("Age", "age", 99, 1, 30, "People"));
    QTest::newRow("label") << MivoField("A", "id", "") << MivoField("B", "id", "");
    QTest::newRow("image") << image("ab") << image("ac");
    QTest::newRow("late in the image") << image("0123456789abcdef0") << image("0123456789abcdef1");
    QTest::newRow("null") << MivoField() << MivoField("", "", "");
}

void MivoTestTextTest::fieldsThatDifferAreNotTheSame()
{
    QFETCH(MivoField, a);
    QFETCH(MivoField, b);
    QVERIFY(!mivoHoldTheSame(a, b));
    QVERIFY(mivoHoldTheSame(a, a));
    QCOMPARE(b, b);
    // Labels and images of the same contents, too, which operator== tells apart.
    QCOMPARE(image("ab"), image("ab"));
    QCOMPARE(MivoField("A", "id", ""), MivoField("A", "id", ""));
}

void MivoTestTextTest::listsAreComparedElementByElement()
{
    QCOMPARE(mivoValues(), QList<MivoArg>());
    QCOMPARE(mivoValues("a", 1, 2.0), QList<MivoArg>({QString("a"), MivoArg(1), MivoArg(2.0)}));
    QEXPECT_FAIL("", "another element", Continue);
    QCOMPARE(mivoValues(1, 2), mivoValues(1, 3));
    QEXPECT_FAIL("", "one more", Continue);
    QCOMPARE(mivoValues(1, 2), mivoValues(1));
    QEXPECT_FAIL("", "one less", Continue);
    QCOMPARE(mivoValues(1), mivoValues(1, 2));
}

QTEST_GUILESS_MAIN(MivoTestTextTest)
#include "tst_mivotesttext.moc"
