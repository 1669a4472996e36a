#include <DisplayText.h>
#include <MivoService.h>
#include <MivoVideoClip.h>
#include <ValueText.h>

#include <QtTest>

class ValueTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aTextOfEachKindBecomesItsValue_data();
    void aTextOfEachKindBecomesItsValue();
    void aTextThatDoesNotFitIsRefusedWithItsPosition_data();
    void aTextThatDoesNotFitIsRefusedWithItsPosition();
    void aValueOfSeveralPartsHasThemAll();
    void numbersDoNotDependOnTheLocale();
};

void ValueTextTest::aTextOfEachKindBecomesItsValue_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("printed");

    QTest::newRow("none") << "none"
                          << "MivoArg(None) ";
    QTest::newRow("char") << "char:A"
                          << "MivoArg(Char: A) ";
    QTest::newRow("char colon") << "char::"
                                << "MivoArg(Char: :) ";
    QTest::newRow("char comma") << "char:,"
                                << "MivoArg(Char: ,) ";
    QTest::newRow("char Latin-1") << QString::fromUtf8("char:\xc3\xa9")
                                  << QString::fromUtf8("MivoArg(Char: \xc3\xa9) ");
    QTest::newRow("uchar") << "uchar:255"
                           << "MivoArg(UChar: 255) ";
    QTest::newRow("int") << "int:5"
                         << "MivoArg(Int: 5) ";
    QTest::newRow("int plus") << "int:+5"
                              << "MivoArg(Int: 5) ";
    QTest::newRow("int lowest") << "int:-2147483648"
                                << "MivoArg(Int: -2147483648) ";
    QTest::newRow("int highest") << "int:2147483647"
                                 << "MivoArg(Int: 2147483647) ";
    QTest::newRow("uint highest") << "uint:4294967295"
                                  << "MivoArg(UInt: 4294967295) ";
    QTest::newRow("uint minus nought") << "uint:-0"
                                       << "MivoArg(UInt: 0) ";
    QTest::newRow("int64 lowest") << "int64:-9223372036854775808"
                                  << "MivoArg(Int64: -9223372036854775808) ";
    QTest::newRow("uint64 highest") << "uint64:18446744073709551615"
                                    << "MivoArg(UInt64: 18446744073709551615) ";
    QTest::newRow("float") << "float:0.1"
                           << "MivoArg(Float: 0.1) ";
    QTest::newRow("double") << "double:0.1"
                            << "MivoArg(Double: 0.1) ";
    QTest::newRow("double exponent") << "double:-1e15"
                                     << "MivoArg(Double: -1e+15) ";
    QTest::newRow("double inf") << "double:-inf"
                                << "MivoArg(Double: -inf) ";
    QTest::newRow("double nan") << "double:nan"
                                << "MivoArg(Double: nan) ";
    QTest::newRow("bool") << "bool:true"
                          << "MivoArg(Bool: true) ";
    QTest::newRow("bool false") << "bool:false"
                                << "MivoArg(Bool: false) ";
    QTest::newRow("string") << QString::fromUtf8("string:h\xc3\xa9llo")
                            << QString::fromUtf8("MivoArg(String: \"h\xc3\xa9llo\") ");
    QTest::newRow("string empty") << "string:"
                                  << "MivoArg(String: \"\") ";
    QTest::newRow("string as it stands") << "string:a\\b,[c]:d"
                                         << "MivoArg(String: \"a\\b,[c]:d\") ";
    QTest::newRow("pointer") << "pointer:0x1234abcd"
                             << "MivoArg(Pointer: 0x1234abcd) ";
    QTest::newRow("stringlist") << "stringlist:a,b"
                                << "MivoArg(StringList: (\"a\", \"b\") ) ";
    QTest::newRow("stringlist in brackets") << "stringlist:[a,b]"
                                            << "MivoArg(StringList: (\"a\", \"b\") ) ";
    QTest::newRow("stringlist empty") << "stringlist:"
                                      << "MivoArg(StringList: () ) ";
    QTest::newRow("stringlist empty in brackets") << "stringlist:[]"
                                                  << "MivoArg(StringList: () ) ";
    QTest::newRow("stringlist of two empty strings") << "stringlist:,"
                                                     << "MivoArg(StringList: (\"\", \"\") ) ";
    QTest::newRow("stringlist escapes") << "stringlist:\\[a\\,b\\],\\\\"
                                        << "MivoArg(StringList: (\"[a,b]\", \"\\\") ) ";
    QTest::newRow("pointerlist") << "pointerlist:0x10,0x0"
                                 << "MivoArg(PointerList: (0x10, 0x0) ) ";
    QTest::newRow("list") << "list:[int:1,string:a]"
                          << "MivoArg(ArgList: (MivoArg(Int: 1) ,  MivoArg(String: \"a\") )  ) ";
    QTest::newRow("xml") << "xml:<a b=\"c\">d</a>"
                         << "MivoArg(XmlNode: <a b=\"c\">d</a> ) ";
    QTest::newRow("service") << "service:[n,d\\,e,p]"
                             << "MivoArg(Service: name=\"n\" protocol=\"p\" ) ";
    QTest::newRow("servicelist") << "servicelist:[[n,d,p],[m,e,q]]"
                                 << "MivoArg() ";
    QTest::newRow("videoclip") << "videoclip:[4,3,25,99,a]"
                               << "MivoArg() ";
    QTest::newRow("list empty") << "list:[]"
                                << "MivoArg(ArgList: () ) ";
    QTest::newRow("list escapes") << "list:[string:a\\,b\\]]"
                                  << "MivoArg(ArgList: (MivoArg(String: \"a,b]\") )  ) ";
    QTest::newRow("list of lists") << "list:[list:[none],stringlist:[a,b]]"
                                   << "MivoArg(ArgList: (MivoArg(ArgList: (MivoArg(None) )  ) ,  "
                                      "MivoArg(StringList: (\"a\", \"b\") ) )  ) ";
}

void ValueTextTest::aTextOfEachKindBecomesItsValue()
{
    QFETCH(QString, text);
    QFETCH(QString, printed);
    QCOMPARE(debugText(valueFromText(text)), printed);
}

void ValueTextTest::aTextThatDoesNotFitIsRefusedWithItsPosition_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("message");

    const QString kinds
        = "expected one of the kinds none, char, uchar, int, uint, int64, uint64, float, "
          "double, string, stringlist, bool, pointer, pointerlist, xml, "
          "videoclip, service, servicelist, list";
    const QString ints = "expected a whole number from -2147483648 to 2147483647";
    QTest::newRow("nothing") << "" << 1 << "found the end of the text; " + kinds;
    QTest::newRow("no kind") << "5" << 1 << "found \"5\"; " + kinds;
    QTest::newRow("a kind in capitals") << "Int:5" << 1 << "found \"Int\"; " + kinds;
    QTest::newRow("no colon") << "int" << 4
                              << "found the end of the text; expected \":\" after the kind";
    QTest::newRow("an equals sign") << "int=5" << 4 << "found \"=\"; expected \":\" after the kind";
    QTest::newRow("none with a value")
        << "none:5" << 5 << "found \":\"; expected the end of the value";
    QTest::newRow("no number") << "int:" << 5 << "found the end of the text; " + ints;
    QTest::newRow("a sign alone") << "int:-" << 6 << "found the end of the text; " + ints;
    QTest::newRow("a letter") << "int:5x" << 6 << "found \"x\"; " + ints;
    QTest::newRow("a blank") << "int: 5" << 5 << "found \" \"; " + ints;
    QTest::newRow("too large") << "int:2147483648" << 5 << "found \"2147483648\"; " + ints;
    QTest::newRow("too small") << "int:-2147483649" << 5 << "found \"-2147483649\"; " + ints;
    QTest::newRow("negative") << "uint:-1" << 6
                              << "found \"-1\"; expected a whole number from 0 to 4294967295";
    QTest::newRow("uchar") << "uchar:256" << 7
                           << "found \"256\"; expected a whole number from 0 to 255";
    QTest::newRow("int64") << "int64:9223372036854775808" << 7
                           << "found \"9223372036854775808\"; expected a whole number from "
                              "-9223372036854775808 to 9223372036854775807";
    QTest::newRow("uint64")
        << "uint64:18446744073709551616" << 8
        << "found \"18446744073709551616\"; expected a whole number from 0 to 18446744073709551615";
    QTest::newRow("decimal comma")
        << "double:0,1" << 8
        << "found \"0,1\"; expected a number of magnitude up to 1.79769e+308, inf or nan";
    QTest::newRow("group separator")
        << "double:1,000" << 8
        << "found \"1,000\"; expected a number of magnitude up to 1.79769e+308, inf or nan";
    QTest::newRow("double too large")
        << "double:1e999" << 8
        << "found \"1e999\"; expected a number of magnitude up to 1.79769e+308, inf or nan";
    QTest::newRow("float too large")
        << "float:1e39" << 7
        << "found \"1e39\"; expected a number of magnitude up to 3.40282e+38, inf or nan";
    QTest::newRow("bool") << "bool:1" << 6 << "found \"1\"; expected true or false";
    QTest::newRow("two characters")
        << "char:AB" << 6 << "found \"AB\"; expected one Latin-1 character";
    QTest::newRow("no character") << "char:" << 6 << "found \"\"; expected one Latin-1 character";
    QTest::newRow("decimal pointer")
        << "pointer:16" << 9 << "found \"16\"; expected an address such as 0x1f";
    QTest::newRow("list without bracket") << "list:int:1" << 6 << "found \"i\"; expected \"[\"";
    QTest::newRow("list not closed")
        << "list:[int:1" << 12 << "found the end of the text; expected \",\" or \"]\"";
    QTest::newRow("text after a list")
        << "list:[int:1]x" << 13 << "found \"x\"; expected the end of the value";
    QTest::newRow("no XML") << "xml:<a>" << 5
                            << "found \"<a>\"; expected an XML element (line 1, column 1: ";
    QTest::newRow("a video clip without a source")
        << "videoclip:[4,3,25,99]" << 21 << "found \"]\"; expected \",\"";
    QTest::newRow("a video clip of no number")
        << "videoclip:[4,x,25,99,a]" << 14 << "found \"x\"; " + ints;
    QTest::newRow("a service of too many parts")
        << "service:[n,d,p,q]" << 15 << "found \",\"; expected \"]\"";
    QTest::newRow("a list of services without brackets")
        << "servicelist:n" << 13 << "found \"n\"; expected \"[\"";
    QTest::newRow("an element that does not fit")
        << "list:[int:1x,string:a]" << 12 << "found \"x\"; " + ints;
    QTest::newRow("an element without a number")
        << "list:[int:,string:a]" << 11 << "found nothing; " + ints;
    QTest::newRow("a list of strings in a list")
        << "list:[stringlist:a,b]" << 18 << "found \"a\"; expected \"[\"";
    QTest::newRow("a backslash before a letter")
        << "stringlist:\\n"
        << 13 << "found \"n\"; expected one of \\ , [ and ] after a backslash";
}

void ValueTextTest::aTextThatDoesNotFitIsRefusedWithItsPosition()
{
    QFETCH(QString, text);
    QFETCH(int, position);
    QFETCH(QString, message);
    try {
        valueFromText(text);
        QFAIL("accepted");
    } catch (const ValueTextError& error) {
        const QString expected
            = QString("%1: position %2: %3").arg(text).arg(position).arg(message);
        // What the XML reader has to say after the position is its own.
        const QString found
            = QString(error.what()).left(message.endsWith(": ") ? int(expected.size()) : -1);
        QCOMPARE(found, expected);
        QCOMPARE(error.position(), position);
    }
}

void ValueTextTest::aValueOfSeveralPartsHasThemAll()
{
    const MivoVideoClip clip
        = valueFromText("videoclip:[-4,3,25,18446744073709551615,a\\,b]").toVideoClip();
    QCOMPARE(clip.width, -4);
    QCOMPARE(clip.height, 3);
    QCOMPARE(clip.framesPerSecond, 25);
    QCOMPARE(clip.durationMs, Q_UINT64_C(18446744073709551615));
    QCOMPARE(clip.source, QString("a,b"));
    const QList<MivoService> services
        = valueFromText("servicelist:[[n,d,p],[m,e,q]]").toServiceList();
    QCOMPARE(services.size(), 2);
    QCOMPARE(services.at(1).getName(), QString("m"));
    QCOMPARE(services.at(1).getDisplayName(), QString("e"));
    QCOMPARE(services.at(1).getProtocol(), QString("q"));
    QVERIFY(valueFromText("servicelist:[]").toServiceList().isEmpty());
}

void ValueTextTest::numbersDoNotDependOnTheLocale()
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    QCOMPARE(valueFromText("double:1234.5").toDouble(), 1234.5);
    QVERIFY_EXCEPTION_THROWN(valueFromText("double:1234,5"), ValueTextError);
    QLocale::setDefault(QLocale::c());
}

QTEST_GUILESS_MAIN(ValueTextTest)
#include "tst_valuetext.moc"
