#include "MivoSubscriptionType.h"

#include <QtTest>

#include <type_traits>
#include <utility>

class tst_MivoSubscriptionType : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theDisplayNameComesBeforeTheId();
    void copiesAreIndependent();
    void aMovedFromTypeIsEmpty();
    void bothIdAndDisplayNameAreNeededToBeValid_data();
    void bothIdAndDisplayNameAreNeededToBeValid();
};

void tst_MivoSubscriptionType::theDisplayNameComesBeforeTheId()
{
    const MivoSubscriptionType type("Both ways", "both", 0xFFFFFFFFU, "both.png");
    QCOMPARE(type.getDisplay(), QString("Both ways"));
    QCOMPARE(type.getId(), QString("both"));
    QCOMPARE(type.getPriority(), 0xFFFFFFFFU);
    QCOMPARE(type.getIcon(), QString("both.png"));
}

void tst_MivoSubscriptionType::copiesAreIndependent()
{
    MivoSubscriptionType type("Both ways", "both", 2, "both.png");
    const MivoSubscriptionType copy(type);
    type = MivoSubscriptionType("None", "none", 1, "none.png");
    QCOMPARE(copy.getDisplay(), QString("Both ways"));
    QCOMPARE(copy.getId(), QString("both"));
    QCOMPARE(copy.getPriority(), 2U);
    QCOMPARE(copy.getIcon(), QString("both.png"));
    QCOMPARE(type.getDisplay(), QString("None"));
    QCOMPARE(type.getId(), QString("none"));
    QCOMPARE(type.getPriority(), 1U);
    QCOMPARE(type.getIcon(), QString("none.png"));
}

void tst_MivoSubscriptionType::aMovedFromTypeIsEmpty()
{
    static_assert(std::is_nothrow_move_constructible<MivoSubscriptionType>::value, "");
    static_assert(std::is_nothrow_move_assignable<MivoSubscriptionType>::value, "");
    const auto isEmpty = [](const MivoSubscriptionType& type) {
        return type.getDisplay().isNull() && type.getId().isNull() && type.getPriority() == 0
            && type.getIcon().isNull();
    };
    const auto isWhole = [](const MivoSubscriptionType& type) {
        return type.getDisplay() == "Both ways" && type.getId() == "both" && type.getPriority() == 2
            && type.getIcon() == "both.png";
    };
    MivoSubscriptionType source("Both ways", "both", 2, "both.png");
    MivoSubscriptionType target(std::move(source));
    QVERIFY(isEmpty(source)); // NOLINT(bugprone-use-after-move)
    QVERIFY(isWhole(target));
    MivoSubscriptionType assigned("None", "none", 1, "none.png");
    assigned = std::move(target);
    QVERIFY(isEmpty(target)); // NOLINT(bugprone-use-after-move)
    QVERIFY(isWhole(assigned));
    MivoSubscriptionType& itself = assigned;
    assigned = std::move(itself);
    QVERIFY(isWhole(assigned));
}

void tst_MivoSubscriptionType::bothIdAndDisplayNameAreNeededToBeValid_data()
{
    QTest::addColumn<QString>("display");
    QTest::addColumn<QString>("id");
    QTest::addColumn<bool>("valid");
    QTest::newRow("both") << "d"
                          << "i" << true;
    QTest::newRow("no id") << "d"
                           << "" << false;
    QTest::newRow("null id") << "d" << QString() << false;
    QTest::newRow("no display name") << ""
                                     << "i" << false;
    QTest::newRow("null display name") << QString() << "i" << false;
    QTest::newRow("neither") << ""
                             << "" << false;
}

void tst_MivoSubscriptionType::bothIdAndDisplayNameAreNeededToBeValid()
{
    QFETCH(QString, display);
    QFETCH(QString, id);
    QFETCH(bool, valid);
    QCOMPARE(MivoSubscriptionType(display, id, 0, "").isValid(), valid);
    QCOMPARE(MivoSubscriptionType(display, id, 9, "icon").isValid(), valid);
}

QTEST_GUILESS_MAIN(tst_MivoSubscriptionType)
#include "tst_mivosubscriptiontype.moc"
