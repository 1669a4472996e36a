#include "DebugText.h"
#include "TestBuddies.h"

#include "MivoAccountConnection.h"

#include <QtTest>

namespace {

MivoBuddyContact ann()
{
    return MivoBuddyContact(nullptr, "ann@x", "Ann", MivoBuddyType(), MivoPresence(),
                            anySubscription());
}

const char annsText[] = "MivoBuddyContact(\n\tvalid   :true\n\tdisplay :\"Ann\"\n"
                        "\tid      :\"ann@x\"\n) ";

} // namespace

class tst_MivoBuddyDebug : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aKindPrintsItsName_data();
    void aKindPrintsItsName();
    void aGroupPrintsItsFourLines();
    void aMetaContactPrintsItsFourLines();
    void aContactPrintsItsThreeLines();
    void aMergedContactPrintsItsFirstContact();
    void aTemporaryContactPrintsItsFourLines();
    void invalidHandlesPrintDefaults();
    void aHandlePrintsAsItsKindAndOneBlankMore();
    void aHandleWithoutAKindPrintsItself();
    void textsArePrintedUnchanged();
};

void tst_MivoBuddyDebug::aKindPrintsItsName_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << 0 << "MivoBuddy::Invalid ";
    QTest::newRow("1") << 1 << "MivoBuddy::Group ";
    QTest::newRow("2") << 2 << "MivoBuddy::Meta ";
    QTest::newRow("3") << 3 << "MivoBuddy::Contact ";
    QTest::newRow("4") << 4 << "MivoBuddy::Merged ";
    QTest::newRow("5") << 5 << "MivoBuddy::Temporary ";
    QTest::newRow("6") << 6 << "MivoBuddy::Other ";
    QTest::newRow("7") << 7 << "MivoBuddy:: ";
    QTest::newRow("9") << 9 << "MivoBuddy:: ";
    QTest::newRow("-1") << -1 << "MivoBuddy:: ";
}

void tst_MivoBuddyDebug::aKindPrintsItsName()
{
    QFETCH(int, kind);
    QFETCH(QString, text);
    compareDebugText(MivoBuddy::Type(kind), text);
}

void tst_MivoBuddyDebug::aGroupPrintsItsFourLines()
{
    MivoBuddyGroup group("Friends");
    const CycleBreaker<MivoBuddyGroup> end(group);
    for (const char* name : {"a", "b", "c"})
        group.addBuddy(makeContact(name));
    compareDebugText(group,
                     "MivoBuddyGroup(\n\tvalid       :true\n\tdisplay     :\"Friends\"\n"
                     "\tchild count :3\n\texpanded    :false\n) ");
    group.setExpanded(true);
    compareDebugText(group,
                     "MivoBuddyGroup(\n\tvalid       :true\n\tdisplay     :\"Friends\"\n"
                     "\tchild count :3\n\texpanded    :true\n) ");
}

void tst_MivoBuddyDebug::aMetaContactPrintsItsFourLines()
{
    compareDebugText(MivoBuddyMeta("Ann"),
                     "MivoBuddyMeta(\n\tvalid       :true\n\tdisplay     :\"Ann\"\n"
                     "\tchild count :0\n\texpanded    :false\n) ");
}

void tst_MivoBuddyDebug::aContactPrintsItsThreeLines()
{
    compareDebugText(ann(), annsText);
}

void tst_MivoBuddyDebug::aMergedContactPrintsItsFirstContact()
{
    compareDebugText(MivoBuddyMerged("own name", QList<MivoBuddyContact>() << ann()),
                     "MivoBuddyMerged(\n\tvalid   :true\n\tdisplay :\"Ann\"\n"
                     "\tid      :\"ann@x\"\n) ");
    compareDebugText(MivoBuddyMerged("own name", QList<MivoBuddyContact>()),
                     "MivoBuddyMerged(\n\tvalid   :true\n\tdisplay :\"\"\n\tid      :\"\"\n) ");
}

void tst_MivoBuddyDebug::aTemporaryContactPrintsItsFourLines()
{
    MivoAccountConnection account("a", "A");
    const MivoBuddyTemporary temporary(&account, "eve@x", MivoPresence(), MivoBuddyGroup());
    compareDebugText(temporary,
                     "MivoBuddyTemporary(\n\tvalid   :true\n\tdisplay :\"eve@x\"\n"
                     "\tid      :\"eve@x\"\n\taccount :0x"
                         + QString::number(quintptr(&account), 16) + "\n) ");
    compareDebugText(makeTemporary("eve@x"),
                     "MivoBuddyTemporary(\n\tvalid   :true\n\tdisplay :\"eve@x\"\n"
                     "\tid      :\"eve@x\"\n\taccount :0x0\n) ");
}

void tst_MivoBuddyDebug::invalidHandlesPrintDefaults()
{
    compareDebugText(MivoBuddyGroup(),
                     "MivoBuddyGroup(\n\tvalid       :false\n"
                     "\tdisplay     :\"\"\n\tchild count :-1\n"
                     "\texpanded    :false\n) ");
    compareDebugText(MivoBuddyMeta(),
                     "MivoBuddyMeta(\n\tvalid       :false\n"
                     "\tdisplay     :\"\"\n\tchild count :-1\n"
                     "\texpanded    :false\n) ");
    compareDebugText(MivoBuddyContact(),
                     "MivoBuddyContact(\n\tvalid   :false\n\tdisplay :\"\"\n"
                     "\tid      :\"\"\n) ");
    compareDebugText(MivoBuddyMerged(),
                     "MivoBuddyMerged(\n\tvalid   :false\n\tdisplay :\"\"\n"
                     "\tid      :\"\"\n) ");
    compareDebugText(MivoBuddyTemporary(),
                     "MivoBuddyTemporary(\n\tvalid   :false\n"
                     "\tdisplay :\"\"\n\tid      :\"\"\n"
                     "\taccount :0x0\n) ");
    compareDebugText(MivoBuddy(), "MivoBuddy( Invalid ) ");
}

void tst_MivoBuddyDebug::aHandlePrintsAsItsKindAndOneBlankMore()
{
    compareDebugText(MivoBuddy(ann()), QString(annsText) + " ");
    compareDebugText(MivoBuddy(MivoBuddyGroup("g")),
                     "MivoBuddyGroup(\n\tvalid       :true\n\tdisplay     :\"g\"\n"
                     "\tchild count :0\n\texpanded    :false\n)  ");
    compareDebugText(MivoBuddy(MivoBuddyMeta("m")),
                     "MivoBuddyMeta(\n\tvalid       :true\n\tdisplay     :\"m\"\n"
                     "\tchild count :0\n\texpanded    :false\n)  ");
    compareDebugText(MivoBuddy(MivoBuddyMerged("own", QList<MivoBuddyContact>() << ann())),
                     "MivoBuddyMerged(\n\tvalid   :true\n\tdisplay :\"Ann\"\n"
                     "\tid      :\"ann@x\"\n)  ");
    compareDebugText(MivoBuddy(makeTemporary("t")),
                     "MivoBuddyTemporary(\n\tvalid   :true\n\tdisplay :\"t\"\n"
                     "\tid      :\"t\"\n\taccount :0x0\n)  ");
}

void tst_MivoBuddyDebug::aHandleWithoutAKindPrintsItself()
{
    compareDebugText(MivoBuddy("O", MivoBuddy::Other),
                     "MivoBuddy(\n\ttype   : Other\n\tdisplay:\"O\"\n) ");
    compareDebugText(MivoBuddy("I", MivoBuddy::Invalid), "MivoBuddy( Invalid ) ");
    compareDebugText(MivoBuddy("9", MivoBuddy::Type(9)), " ");
}

void tst_MivoBuddyDebug::textsArePrintedUnchanged()
{
    const QString odd = QString("a\"b\n\t\\") + QChar(0xE9) + QChar(0);
    compareDebugText(MivoBuddyMeta(odd),
                     "MivoBuddyMeta(\n\tvalid       :true\n\tdisplay     :\"" + odd
                         + "\"\n\tchild count :0\n\texpanded    :false\n) ");
    compareDebugText(MivoBuddy(odd, MivoBuddy::Other),
                     "MivoBuddy(\n\ttype   : Other\n\tdisplay:\"" + odd + "\"\n) ");
}

QTEST_GUILESS_MAIN(tst_MivoBuddyDebug)
#include "tst_mivobuddy_debug.moc"
