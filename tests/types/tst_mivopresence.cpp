#include "DebugText.h"

#include "MivoPresence.h"
#include "MivoPresenceType.h"

#include <QtTest>

#include <type_traits>
#include <utility>

namespace {

/** As a host's subclass that gives the marker a meaning. */
class MarkedPresence : public MivoPresence
{
public:
    MarkedPresence(MivoPresenceType* presenceType, const QString& text, bool mark)
        : MivoPresence(presenceType, text)
    {
        marker = mark;
    }
    explicit MarkedPresence(const MivoPresence& other)
        : MivoPresence(other)
    {
    }
    bool isMarked() const { return marker; }
};

MivoPresenceType makeType()
{
    return {"Away", "away", "away.png", 3, MivoPresence::Flag(5)};
}

} // namespace

class tst_MivoPresence : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutATypeItAnswersDefaults();
    void anInvalidPresenceKeepsItsDescription();
    void itAnswersWhatItsTypeSays();
    void copiesPointAtTheSameType();
    void assignmentCopiesAllThreeFields();
    void aMovedFromPresenceIsEmpty();
    void equalityAsksTypeDescriptionAndMarker();
    void twoTypesOfEqualContentsDiffer();
    void everyNumberIsAFlag_data();
    void everyNumberIsAFlag();
    void aNewTypeHasNoPriorityAndNoFlag();
    void itPrintsIdDisplayAndPriority();
};

void tst_MivoPresence::withoutATypeItAnswersDefaults()
{
    const MivoPresence presence;
    QVERIFY(!presence.isValid());
    QVERIFY(presence.getId().isNull());
    QVERIFY(presence.getDisplay().isNull());
    QVERIFY(presence.getIcon().isNull());
    QCOMPARE(presence.getPriority(), 0U);
    QCOMPARE(int(presence.getFlag()), 0);
    QVERIFY(presence.getDescription().isNull());
    QVERIFY(!MarkedPresence(presence).isMarked());
}

void tst_MivoPresence::anInvalidPresenceKeepsItsDescription()
{
    const MivoPresence presence(nullptr, "at lunch");
    QVERIFY(!presence.isValid());
    QCOMPARE(presence.getDescription(), QString("at lunch"));
}

void tst_MivoPresence::itAnswersWhatItsTypeSays()
{
    MivoPresenceType type = makeType();
    type.priority = 0xFFFFFFFEU;
    const MivoPresence presence(&type, "at lunch");
    QVERIFY(presence.isValid());
    QCOMPARE(presence.getId(), QString("away"));
    QCOMPARE(presence.getDisplay(), QString("Away"));
    QCOMPARE(presence.getIcon(), QString("away.png"));
    QCOMPARE(presence.getPriority(), 0xFFFFFFFEU);
    QCOMPARE(int(presence.getFlag()), 5);
    QCOMPARE(presence.getDescription(), QString("at lunch"));
    QVERIFY(!MarkedPresence(presence).isMarked());
}

void tst_MivoPresence::copiesPointAtTheSameType()
{
    MivoPresenceType type = makeType();
    const MivoPresence presence(&type, "x");
    const MivoPresence copy(presence);
    type.display = "Gone";
    QCOMPARE(copy.getDisplay(), QString("Gone"));
    QVERIFY(copy == presence);
}

void tst_MivoPresence::assignmentCopiesAllThreeFields()
{
    MivoPresenceType type = makeType();
    const MarkedPresence source(&type, "x", true);
    MivoPresence target(nullptr, "y");
    target = source;
    QVERIFY(target == source);
    QCOMPARE(target.getId(), QString("away"));
    QCOMPARE(target.getDescription(), QString("x"));
    QVERIFY(MarkedPresence(target).isMarked());
}

void tst_MivoPresence::aMovedFromPresenceIsEmpty()
{
    static_assert(std::is_nothrow_move_constructible<MivoPresence>::value, "");
    static_assert(std::is_nothrow_move_assignable<MivoPresence>::value, "");
    const auto isEmpty = [](const MarkedPresence& presence) {
        return !presence.isValid() && presence.getDescription().isNull() && !presence.isMarked();
    };
    MivoPresenceType type = makeType();
    MarkedPresence source(&type, "at lunch", true);
    const MarkedPresence original(source);

    MarkedPresence target(std::move(source));
    QVERIFY(isEmpty(source)); // NOLINT(bugprone-use-after-move)
    QVERIFY(target == original);
    MarkedPresence assigned(nullptr, "other", false);
    assigned = std::move(target);
    QVERIFY(isEmpty(target)); // NOLINT(bugprone-use-after-move)
    QVERIFY(assigned == original);
    QVERIFY(assigned.isMarked());
    MarkedPresence& itself = assigned;
    assigned = std::move(itself);
    QVERIFY(assigned == original);
}

void tst_MivoPresence::equalityAsksTypeDescriptionAndMarker()
{
    MivoPresenceType type = makeType();
    const MivoPresence presence(&type, "x");
    QVERIFY(presence == MivoPresence(&type, "x"));
    QVERIFY(!(presence != MivoPresence(&type, "x")));
    QVERIFY(presence != MivoPresence(&type, "y"));
    QVERIFY(presence != MivoPresence(nullptr, "x"));
    QVERIFY(presence != MarkedPresence(&type, "x", true));
    QVERIFY(presence == MarkedPresence(&type, "x", false));
    QVERIFY(MivoPresence() == MivoPresence(nullptr, ""));
}

void tst_MivoPresence::twoTypesOfEqualContentsDiffer()
{
    MivoPresenceType type = makeType();
    MivoPresenceType twin = makeType();
    QVERIFY(!(MivoPresence(&type, "x") == MivoPresence(&twin, "x")));
}

void tst_MivoPresence::everyNumberIsAFlag_data()
{
    QTest::addColumn<int>("number");
    for (const int number : {0, 1, 6, 7, 1 << 30, 0x7FFFFFFF, -1})
        QTest::addRow("%d", number) << number;
}

void tst_MivoPresence::everyNumberIsAFlag()
{
    QFETCH(int, number);
    MivoPresenceType type;
    type.flag = MivoPresence::Flag(number);
    QCOMPARE(int(MivoPresence(&type, "").getFlag()), number);
    QCOMPARE(sizeof(MivoPresence::Flag), size_t(4));
    QCOMPARE(int(MivoPresence::NoFlag), 0);
    QCOMPARE(int(MivoPresence::Offline), 6);
}

void tst_MivoPresence::aNewTypeHasNoPriorityAndNoFlag()
{
    const MivoPresenceType type;
    QCOMPARE(type.priority, 0U);
    QCOMPARE(type.flag, MivoPresence::NoFlag);
    QVERIFY(type.id.isNull());
    QVERIFY(!std::is_polymorphic<MivoPresenceType>::value);
    QVERIFY(!std::is_polymorphic<MivoPresence>::value);
}

void tst_MivoPresence::itPrintsIdDisplayAndPriority()
{
    MivoPresenceType type = makeType();
    type.id = QString("a\"b\n\\") + QChar(0xE9);
    type.priority = 0xFFFFFFFFU;
    compareDebugText(MivoPresence(&type, "not printed"),
                     QString("MivoPresence(\n\tid       : \"a\"b\n\\") + QChar(0xE9)
                         + "\"\n\tdisplay  : \"Away\"\n\tpriority : 4294967295\n) ");
    compareDebugText(MivoPresence(nullptr, "not printed"), "MivoPresence( invalid ) ");
}

QTEST_GUILESS_MAIN(tst_MivoPresence)
#include "tst_mivopresence.moc"
