#include <DisplayText.h>
#include <Failure.h>

#include <MivoBuddyContact.h>
#include <MivoBuddyGroup.h>
#include <MivoBuddyResource.h>
#include <MivoBuddyResourceType.h>
#include <MivoBuddyType.h>
#include <MivoField.h>
#include <MivoPresence.h>
#include <MivoPresenceType.h>
#include <MivoSubscriptionType.h>
#include <ValueText.h>

#include <QtTest>

namespace {

MivoArg nested(int levels)
{
    QList<MivoArg> content;
    for (int i = 1; i < levels; ++i)
        content = QList<MivoArg>() << MivoArg(content);
    return MivoArg(content);
}

MivoBuddyContact contact(const QString& id, const QString& display)
{
    return MivoBuddyContact(nullptr, id, display, MivoBuddyType(), MivoPresence(),
                            MivoSubscriptionType(QString(), QString(), 0, QString()));
}

} // namespace

/** Text and values as they are shown. */
class DisplayTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsUnfitForALineIsACode_data();
    void whatIsUnfitForALineIsACode();
    void quotedTextIsUnambiguous();
    void aFailureHasAMessageOfOneLine();
    void valuesAreShownAsTheyArePrinted_data();
    void valuesAreShownAsTheyArePrinted();
    void theTextsInAValueStayOnTheirLine_data();
    void theTextsInAValueStayOnTheirLine();
    void deepListsAreCutOffWithAMark();
    void aResourceIsDescribed();
};

void DisplayTextTest::whatIsUnfitForALineIsACode_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    const auto row = [](const char* name, const QString& text, const QString& shown) {
        QTest::newRow(name) << text << shown;
    };
    row("nothing", "", "");
    row("ordinary", QString::fromUtf8("h\xc3\xa9 \\ \"q\" \xf0\x9f\x98\x80"),
        QString::fromUtf8("h\xc3\xa9 \\ \"q\" \xf0\x9f\x98\x80"));
    row("line feed", "a\nb", "a\\u000ab");
    row("carriage return and tab", "a\r\tb", "a\\u000d\\u0009b");
    row("escape", "\x1b[31m", "\\u001b[31m");
    row("zero", QString(QChar(0)), "\\u0000");
    row("delete", "\x7f", "\\u007f");
    row("second control set", QString(QChar(0x9b)), "\\u009b");
    row("line separator", QString(QChar(0x2028)), "\\u2028");
    row("paragraph separator", QString(QChar(0x2029)), "\\u2029");
    for (const ushort mark : {0x61c, 0x200e, 0x200f, 0x202a, 0x202e, 0x2066, 0x2069})
        row(qPrintable(QString("direction %1").arg(mark, 4, 16)), QString(QChar(mark)),
            QString("\\u%1").arg(mark, 4, 16, QChar('0')));
    row("joiner", QString(QChar(0x200d)), QString(QChar(0x200d)));
    row("first half alone", QString(QChar(0xd83d)), "\\ud83d");
    row("second half alone", QString(QChar(0xde00)), "\\ude00");
    row("a byte of a file name", QString(QChar(0xdcff)), "\\xff");
}

void DisplayTextTest::whatIsUnfitForALineIsACode()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);
    QCOMPARE(oneLine(text), shown);
    QCOMPARE(oneLine(shown), shown);
}

void DisplayTextTest::quotedTextIsUnambiguous()
{
    QCOMPARE(quotedOneLine("a\\u000a\"\n"), QString("\"a\\\\u000a\\\"\\u000a\""));
}

void DisplayTextTest::aFailureHasAMessageOfOneLine()
{
    QCOMPARE(Failure("a\nb\x1b").message(), QString("a\\u000ab\\u001b"));
    QCOMPARE(Failure(QString("caf%1%2").arg(QChar(0xe9), QChar(0xdcff))).message(),
             QString::fromUtf8("caf\xc3\xa9\\xff"));
}

void DisplayTextTest::valuesAreShownAsTheyArePrinted_data()
{
    QTest::addColumn<QString>("value");
    for (const char* value :
         {"none", "char:A", "int:-5", "double:nan", "string:", "string:a b ", "stringlist:a,b",
          "stringlist:", "pointerlist:0x1,0x2", "xml:<a b=\"c\"><d/></a>", "service:[n,d,p]",
          "servicelist:[[n,d,p]]", "videoclip:[1,2,3,4,a]", "list:[]", "list:[int:1]",
          "list:[int:1,string:a,none]", "list:[list:[],list:[list:[int:1,int:2],bool:true]]"})
        QTest::newRow(value) << QString(value);
}

void DisplayTextTest::valuesAreShownAsTheyArePrinted()
{
    QFETCH(QString, value);
    const QString printed = debugText(valueFromText(value));
    const QString shown = displayText(valueFromText(value));
    QCOMPARE(shown, printed.left(shown.size()));
    QCOMPARE(printed.mid(shown.size()).trimmed(), QString());
    QVERIFY(!shown.endsWith(' '));
}

void DisplayTextTest::theTextsInAValueStayOnTheirLine_data()
{
    QTest::addColumn<QVariant>("make"); // the text of a value, or a null one for those below
    QTest::addColumn<QString>("shown");
    QTest::newRow("string") << QVariant("string:a\n\x1b b")
                            << "MivoArg(String: \"a\\u000a\\u001b b\")";
    QTest::newRow("list of strings")
        << QVariant("stringlist:a\n,b") << "MivoArg(StringList: (\"a\\u000a\", \"b\") )";
    QTest::newRow("in a list") << QVariant("list:[string:\n]")
                               << "MivoArg(ArgList: (MivoArg(String: \"\\u000a\") )  )";
    QTest::newRow("service") << QVariant("service:[a\tb,d,p]")
                             << "MivoArg(Service: name=\"a\\u0009b\" protocol=\"p\" )";
    QTest::newRow("XML") << QVariant(QString("xml:<a>1\n\t2%1</a>").arg(QChar(0x9b)))
                         << "MivoArg(XmlNode: <a>1&#10;&#9;2\\u009b</a> )";
}

void DisplayTextTest::theTextsInAValueStayOnTheirLine()
{
    QFETCH(QVariant, make);
    QFETCH(QString, shown);
    QCOMPARE(displayText(valueFromText(make.toString())), shown);

    // The printers of these set line feeds and tabs of their own.
    QCOMPARE(displayText(MivoArg(contact("\x1b\n)", "a\n\tid      :\"forged\""))),
             QString("MivoArg(Buddy: MivoBuddyContact(\n\tvalid   :true\n\tdisplay "
                     ":\"a\\u000a\\u0009id      :\"forged\"\"\n\tid      :\"\\u001b\\u000a)\"\n)  "
                     ")"));
    QCOMPARE(displayText(MivoArg(contact("a\n", "x\"a\n\""))),
             QString("MivoArg(Buddy: MivoBuddyContact(\n\tvalid   :true\n\tdisplay "
                     ":\"x\"a\\u000a\"\"\n\tid      :\"a\\u000a\"\n)  )"));
    QCOMPARE(displayText(MivoArg(MivoBuddyGroup("a\nb"))),
             QString("MivoArg(Buddy: MivoBuddyGroup(\n\tvalid       :true\n\tdisplay     "
                     ":\"a\\u000ab\"\n\tchild count :0\n\texpanded    :false\n)  )"));
    MivoPresenceType type;
    type.id = "o\n";
    type.display = "On\tline";
    QCOMPARE(displayText(MivoArg(MivoPresence(&type, QString()))),
             QString("MivoArg(Presence: MivoPresence(\n\tid       : \"o\\u000a\"\n\tdisplay  : "
                     "\"On\\u0009line\"\n\tpriority : 0\n) )"));
    QCOMPARE(displayText(MivoArg(MivoField(MivoField::TextEdit, "", "i", "a\nb", 0, ""))),
             QString("MivoArg(Field: MivoField(id: \"i\" type: TextEdit text: \"a\\u000ab\") )"));
}

void DisplayTextTest::deepListsAreCutOffWithAMark()
{
    QCOMPARE(displayText(nested(256)).count("ArgList: ("), 256);
    QVERIFY(!displayText(nested(256)).contains("..."));
    const QString cut = displayText(nested(5000));
    QCOMPARE(cut.count("ArgList: ("), 256);
    QCOMPARE(cut.count("(MivoArg(ArgList: ...) )"), 1);
}

void DisplayTextTest::aResourceIsDescribed()
{
    MivoPresenceType online;
    online.display = "Online\n";
    online.priority = 3;
    MivoBuddyResourceType desk("desk", QString());
    const MivoArg resource(MivoBuddyResource(&desk, MivoPresence(&online, QString())));
    const QString described
        = QString("MivoArg(BuddyResource: name=\"desk\" priority=%1 presence=\"Online\\u000a\")")
              .arg(resource.toBuddyResource().getPriority());
    QCOMPARE(displayText(resource), described);
    QCOMPARE(displayText(MivoArg(QList<MivoArg>() << MivoArg(1) << resource)),
             "MivoArg(ArgList: (MivoArg(Int: 1) ,  " + described + " )  )");
    QCOMPARE(displayText(MivoArg(MivoBuddyResource())), QString("MivoArg(BuddyResource: invalid)"));
}

QTEST_GUILESS_MAIN(DisplayTextTest)
#include "tst_displaytext.moc"
