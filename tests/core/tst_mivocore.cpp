#include "MivoCore.h"

#include <QtTest>

#include <type_traits>

class tst_MivoCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void outOfMemoryNamesTheClass_data();
    void outOfMemoryNamesTheClass();
    void conversionNamesTheClassAndBothKinds_data();
    void conversionNamesTheClassAndBothKinds();
    void theErrorsAreRuntimeErrors();
};

void tst_MivoCore::outOfMemoryNamesTheClass_data()
{
    QTest::addColumn<QString>("className");
    QTest::addColumn<QByteArray>("message");

    QTest::newRow("plain") << "MivoArg" << QByteArray("MivoArg: out of memory");
    QTest::newRow("another class") << "MivoField" << QByteArray("MivoField: out of memory");
    QTest::newRow("not ASCII") << QString::fromUtf8("Gr\xc3\xb6\xc3\x9f"
                                                    "e\xe2\x82\xac")
                               << QByteArray("Gr\xc3\xb6\xc3\x9f"
                                             "e\xe2\x82\xac: out of memory");
    QTest::newRow("empty") << "" << QByteArray(": out of memory");
    QTest::newRow("null") << QString() << QByteArray(": out of memory");
    QTest::newRow("with a format character") << "%s%1" << QByteArray("%s%1: out of memory");
}

void tst_MivoCore::outOfMemoryNamesTheClass()
{
    QFETCH(QString, className);
    QFETCH(QByteArray, message);
    const std::runtime_error error = mivo_oom(className);
    QCOMPARE(QByteArray(error.what()), message);
}

void tst_MivoCore::conversionNamesTheClassAndBothKinds_data()
{
    QTest::addColumn<QString>("className");
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QByteArray>("message");

    QTest::newRow("plain") << "MivoArg"
                           << "MivoArg::Int"
                           << "MivoArg::UInt"
                           << QByteArray("MivoArg: cannot convert MivoArg::Int to MivoArg::UInt");
    QTest::newRow("the other way round")
        << "MivoArg"
        << "MivoArg::UInt"
        << "MivoArg::Int" << QByteArray("MivoArg: cannot convert MivoArg::UInt to MivoArg::Int");
    QTest::newRow("empty") << ""
                           << ""
                           << "" << QByteArray(": cannot convert  to ");
    QTest::newRow("place markers") << "%2"
                                   << "%3"
                                   << "%1" << QByteArray("%2: cannot convert %3 to %1");
    QTest::newRow("not ASCII") << QString::fromUtf8("\xc3\xa4") << QString::fromUtf8("\xc3\xb6")
                               << QString::fromUtf8("\xc3\xbc")
                               << QByteArray("\xc3\xa4: cannot convert \xc3\xb6 to \xc3\xbc");
}

void tst_MivoCore::conversionNamesTheClassAndBothKinds()
{
    QFETCH(QString, className);
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QByteArray, message);
    const std::runtime_error error = mivo_conversion(className, from, to);
    QCOMPARE(QByteArray(error.what()), message);
}

void tst_MivoCore::theErrorsAreRuntimeErrors()
{
    static_assert(std::is_same<decltype(mivo_oom(QString())), std::runtime_error>::value, "");
    static_assert(std::is_same<decltype(mivo_conversion(QString(), QString(), QString())),
                               std::runtime_error>::value,
                  "");
    QVERIFY_EXCEPTION_THROWN(throw mivo_oom(QString("MivoArg")), std::runtime_error);
    QVERIFY_EXCEPTION_THROWN(throw mivo_conversion(QString(), QString(), QString()),
                             std::runtime_error);
}

QTEST_APPLESS_MAIN(tst_MivoCore)

#include "tst_mivocore.moc"
