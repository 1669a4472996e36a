#include "MivoDebug_p.h"
#include "MivoGlobal.h"
#include "MivoQt_p.h"

#include <QtTest>

namespace {

/** The four states in which a stream can arrive. */
struct StreamState
{
    bool space;
    bool quote;
};

void enter(QDebug& dbg, const StreamState& state)
{
    dbg.setAutoInsertSpaces(state.space);
    if (state.quote)
        dbg.quote();
    else
        dbg.noquote();
}

/** Whether the stream quotes strings; writes a probe. */
bool quotes(QDebug& dbg, const QString& text)
{
    const int before = int(text.size());
    dbg.nospace() << QString("p");
    return text.mid(before) == "\"p\"";
}

void addStates()
{
    QTest::addColumn<bool>("space");
    QTest::addColumn<bool>("quote");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("written");
}

void addRows(const char* name, const QString& text, const QString& inSpaceMode,
             const QString& inNoSpaceMode)
{
    for (const bool quote : {false, true}) {
        const char* const quoting = quote ? "quoting" : "not quoting";
        QTest::addRow("%s, spaces, %s", name, quoting) << true << quote << text << inSpaceMode;
        QTest::addRow("%s, no spaces, %s", name, quoting)
            << false << quote << text << inNoSpaceMode;
    }
}

} // namespace

class tst_MivoDebug : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void quotedTextStandsUnchangedBetweenQuotes_data();
    void quotedTextStandsUnchangedBetweenQuotes();
    void quotingLeavesTheNumberBaseAlone();
    void listOfStringsReadsAsInEveryState_data();
    void listOfStringsReadsAsInEveryState();
    void elementThatEndsInSpaceModePutsBlanksAfterLaterPieces_data();
    void elementThatEndsInSpaceModePutsBlanksAfterLaterPieces();
    void elementsArriveInNoSpaceMode();
    void listsNest();
    void loadAcquireReadsTheValue();
    void versionTextAgreesWithItsNumbers();
};

void tst_MivoDebug::quotedTextStandsUnchangedBetweenQuotes_data()
{
    addStates();
    addRows("plain", "ab", "<\"ab\" 1 ", "<\"ab\"1");
    addRows("empty", "", "<\"\" 1 ", "<\"\"1");
    addRows("null", QString(), "<\"\" 1 ", "<\"\"1");
    addRows("quote, line feed, tab, backslash", "a\"b\nc\td\\", "<\"a\"b\nc\td\\\" 1 ",
            "<\"a\"b\nc\td\\\"1");
    addRows("ends in a blank", "a ", "<\"a \" 1 ", "<\"a \"1");
    const QString foreign = QString::fromUtf8("\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80");
    addRows("not Latin", foreign, "<\"" + foreign + "\" 1 ", "<\"" + foreign + "\"1");
    const QString zero = QString("a") + QChar(0) + QString("b");
    addRows("zero character", zero, "<\"" + zero + "\" 1 ", "<\"" + zero + "\"1");
    const QString lone = QString(QChar(0xd800));
    addRows("half a character", lone, "<\"" + lone + "\" 1 ", "<\"" + lone + "\"1");
}

void tst_MivoDebug::quotedTextStandsUnchangedBetweenQuotes()
{
    QFETCH(bool, space);
    QFETCH(bool, quote);
    QFETCH(QString, text);
    QFETCH(QString, written);

    QString output;
    QDebug dbg(&output);
    dbg.nospace() << "<";
    enter(dbg, {space, quote});
    mivoWriteQuoted(dbg, text);
    QCOMPARE(dbg.autoInsertSpaces(), space);
    dbg << 1;
    QCOMPARE(output, written);
    QCOMPARE(quotes(dbg, output), quote);
}

void tst_MivoDebug::quotingLeavesTheNumberBaseAlone()
{
    QString output;
    QDebug dbg(&output);
    dbg.nospace() << Qt::hex << 255;
    mivoWriteQuoted(dbg, "a");
    dbg << 255;
    QCOMPARE(output, QString("ff\"a\"ff"));
}

void tst_MivoDebug::listOfStringsReadsAsInEveryState_data()
{
    addStates();
    // The column "text" holds the elements, one a character.
    addRows("two", "ab", "<(\"a\", \"b\") 1 ", "<(\"a\", \"b\") 1 ");
    addRows("one", "a", "<(\"a\") 1 ", "<(\"a\") 1 ");
    addRows("none", "", "<() 1 ", "<() 1 ");
    addRows("three with a quote", "a\"c", "<(\"a\", \"\"\", \"c\") 1 ",
            "<(\"a\", \"\"\", \"c\") 1 ");
}

void tst_MivoDebug::listOfStringsReadsAsInEveryState()
{
    QFETCH(bool, space);
    QFETCH(bool, quote);
    QFETCH(QString, text);
    QFETCH(QString, written);

    QStringList list;
    for (const QChar element : text)
        list.append(QString(element));
    QString output;
    QDebug dbg(&output);
    dbg.nospace() << "<";
    enter(dbg, {space, quote});
    mivoWriteList(dbg, list, mivoWriteQuoted);
    QVERIFY(dbg.autoInsertSpaces());
    dbg << 1;
    QCOMPARE(output, written);
    QCOMPARE(quotes(dbg, output), quote);
}

void tst_MivoDebug::elementThatEndsInSpaceModePutsBlanksAfterLaterPieces_data()
{
    addStates();
    addRows("two", "ab", "<([a] ,  [b] )  1 ", "<([a] ,  [b] )  1 ");
    addRows("one", "a", "<([a] )  1 ", "<([a] )  1 ");
    addRows("none", "", "<() 1 ", "<() 1 ");
}

void tst_MivoDebug::elementThatEndsInSpaceModePutsBlanksAfterLaterPieces()
{
    QFETCH(bool, space);
    QFETCH(bool, quote);
    QFETCH(QString, text);
    QFETCH(QString, written);

    QList<QChar> list;
    for (const QChar element : text)
        list.append(element);
    QString output;
    QDebug dbg(&output);
    dbg.nospace() << "<";
    enter(dbg, {space, quote});
    mivoWriteList(dbg, list, [](QDebug& stream, QChar element) {
        stream.nospace() << '[' << char(element.toLatin1()) << ']';
        stream.space();
    });
    dbg << 1;
    QCOMPARE(output, written);
    QCOMPARE(quotes(dbg, output), quote);
}

void tst_MivoDebug::elementsArriveInNoSpaceMode()
{
    QString output;
    QDebug dbg(&output);
    bool spaceMode = true;
    mivoWriteList(dbg, QList<int>() << 5,
                  [&](QDebug& stream, int) { spaceMode = stream.autoInsertSpaces(); });
    QVERIFY(!spaceMode);
    QCOMPARE(output, QString("() "));
}

void tst_MivoDebug::listsNest()
{
    QList<QStringList> lists;
    lists << (QStringList() << "a"
                            << "b")
          << QStringList() << (QStringList() << "c");
    QString output;
    QDebug dbg(&output);
    mivoWriteList(dbg, lists, [](QDebug& stream, const QStringList& list) {
        mivoWriteList(stream, list, mivoWriteQuoted);
    });
    // An inner list leaves space mode, from which only the next inner list leads out.
    QCOMPARE(output, QString("((\"a\", \"b\") ,  () ,  (\"c\") )  "));
}

void tst_MivoDebug::loadAcquireReadsTheValue()
{
    QCOMPARE(mivoLoadAcquire(QAtomicInt(-5)), -5);
    QCOMPARE(mivoLoadAcquire(QAtomicInt(0x7fffffff)), 0x7fffffff);
}

void tst_MivoDebug::versionTextAgreesWithItsNumbers()
{
    QCOMPARE(QString(MIVO_VERSION_STR),
             QString("%1.%2.%3")
                 .arg(MIVO_VERSION_MAJOR)
                 .arg(MIVO_VERSION_MINOR)
                 .arg(MIVO_VERSION_PATCH));
}

QTEST_APPLESS_MAIN(tst_MivoDebug)

#include "tst_mivodebug.moc"
