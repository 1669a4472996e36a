#include "DebugText.h"

#include "MivoArg.h"
#include "MivoBuddyContact.h"
#include "MivoBuddyType.h"
#include "MivoField.h"
#include "MivoPresence.h"
#include "MivoPresenceType.h"
#include "MivoService.h"
#include "MivoSubscriptionType.h"

#include <QtTest>

#include <functional>

/** @file
 * The table of exact texts, all of it: what its cases stand for, and that they print so.
 */

namespace {

void* address(quintptr number)
{
    return reinterpret_cast<void*>(number);
}

MivoField spinBox()
{
    return MivoField("label", "a", 10, 0, 5, "group");
}

MivoField comboBox()
{
    return MivoField("label", "c",
                     QStringList() << "x"
                                   << "y",
                     1, "group");
}

MivoBuddyContact ann()
{
    return MivoBuddyContact(nullptr, "ann@x", "Ann", MivoBuddyType(), MivoPresence(),
                            MivoSubscriptionType("Both", "both", 1, QString()));
}

MivoPresence away()
{
    static MivoPresenceType type;
    type.id = "away";
    type.display = "Away";
    type.priority = 3;
    return MivoPresence(&type, "not printed");
}

/** Compares what a case of the table stands for with the text that the table gives. */
using Comparison = std::function<void(const QString& text)>;

template <class T>
Comparison prints(const T& value)
{
    return [value](const QString& text) { compareDebugText(value, text); };
}

Comparison prints(const MivoArg& value)
{
    return prints<MivoArg>(value);
}

const QHash<QString, Comparison>& comparisons()
{
    const QStringList ab = QStringList() << "a"
                                         << "b";
    static const QHash<QString, Comparison> all = {
        {"MivoArg None", prints(MivoArg())},
        {"MivoArg Char A", prints(MivoArg('A'))},
        {"MivoArg Char 0xE9", prints(MivoArg('\xe9'))},
        {"MivoArg UChar 65", prints(MivoArg(static_cast<unsigned char>(65)))},
        {"MivoArg Int -5", prints(MivoArg(-5))},
        {"MivoArg Float 0.1f", prints(MivoArg(0.1f))},
        {"MivoArg Float 1234567", prints(MivoArg(1234567.0f))},
        {"MivoArg Double 1e15", prints(MivoArg(1e15))},
        {"MivoArg Double 100000", prints(MivoArg(100000.0))},
        {"MivoArg Double -inf", prints(MivoArg(-qInf()))},
        {"MivoArg Double nan", prints(MivoArg(qQNaN()))},
        {"MivoArg String with quote, line feed, tab, backslash, e-acute",
         prints(MivoArg(QString("a\"b\nc\td\\") + QChar(0xe9)))},
        {"MivoArg String null", prints(MivoArg(QString()))},
        {"MivoArg StringList a,b", prints(MivoArg(ab))},
        {"MivoArg StringList empty", prints(MivoArg(QStringList()))},
        {"MivoArg Bool true", prints(MivoArg(true))},
        {"MivoArg Pointer 0x1234abcd", prints(MivoArg(address(0x1234abcd)))},
        {"MivoArg Pointer null", prints(MivoArg(address(0)))},
        {"MivoArg PointerList 0x10,null",
         prints(MivoArg(QList<void*>() << address(0x10) << address(0)))},
        {"MivoArg ArgList of Int 1, Int 2", prints(MivoArg(QList<MivoArg>() << 1 << 2))},
        {"MivoArg ArgList empty", prints(MivoArg(QList<MivoArg>()))},
        {"MivoArg ArgList holding one StringList a,b", prints(MivoArg(QList<MivoArg>() << ab))},
        {"MivoArg::Type VideoClip", prints(MivoArg::VideoClip)},
        {"MivoField SpinBox id a, max 10, min 0, value 5", prints(spinBox())},
        {"MivoField ComboBox id c, items x,y, selected 1", prints(comboBox())},
        {"MivoField null", prints(MivoField())},
        {"QList<MivoField> of that SpinBox, that ComboBox",
         prints(QList<MivoField>() << spinBox() << comboBox())},
        {"QList<MivoField> empty", prints(QList<MivoField>())},
        {"MivoArg Field of that SpinBox", prints(MivoArg(spinBox()))},
        {"MivoArg FieldList of that SpinBox", prints(MivoArg(QList<MivoField>() << spinBox()))},
        {"MivoService name n, protocol p",
         prints(MivoService("n", "not printed", "p", MivoPluginAction()))},
        {"MivoBuddyContact display Ann, id ann@x", prints(ann())},
        {"MivoBuddy holding that contact", prints(MivoBuddy(ann()))},
        {"MivoArg Buddy holding that contact", prints(MivoArg(MivoBuddy(ann())))},
        {"MivoPresence invalid", prints(MivoPresence(nullptr, "not printed"))},
        {"MivoPresence id away, display Away, priority 3", prints(away())},
    };
    return all;
}

} // namespace

class tst_DebugText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tableAndKnownCasesAreTheSame();
    void everyCasePrintsItsText_data();
    void everyCasePrintsItsText();
};

void tst_DebugText::tableAndKnownCasesAreTheSame()
{
    QStringList tableCases;
    const QList<DebugText> table = debugTextTable();
    for (const DebugText& row : table)
        tableCases << row.testCase;
    QStringList knownCases = comparisons().keys();
    tableCases.sort();
    knownCases.sort();
    QCOMPARE(tableCases, knownCases);
    QCOMPARE(knownCases.size(), 36);
}

void tst_DebugText::everyCasePrintsItsText_data()
{
    QTest::addColumn<QString>("testCase");
    QTest::addColumn<QString>("text");
    const QList<DebugText> table = debugTextTable();
    for (const DebugText& row : table)
        QTest::newRow(qPrintable(row.testCase)) << row.testCase << row.text;
}

void tst_DebugText::everyCasePrintsItsText()
{
    QFETCH(QString, testCase);
    QFETCH(QString, text);
    const Comparison compare = comparisons().value(testCase);
    QVERIFY2(compare, "the case is not known here");
    compare(text);
}

QTEST_APPLESS_MAIN(tst_DebugText)
#include "tst_debugtext.moc"
