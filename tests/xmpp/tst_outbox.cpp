#include "Outbox.h"
#include "ReconnectPauses.h"
#include "SeenMessages.h"

#include <QtTest>

namespace {

QStringList idsOf(const QList<Letter>& letters)
{
    QStringList ids;
    for (const Letter& letter : letters)
        ids.append(letter.id);
    return ids;
}

Outbox outboxOf(const QStringList& ids)
{
    Outbox outbox;
    for (const QString& id : ids)
        outbox.add({id, "bob@localhost", "text of " + id});
    return outbox;
}

} // namespace

/** What is sent again after a reconnection, what is not shown twice, and when to try again. */
class OutboxTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lettersAreSentOnceAndInOrder();
    void whatWasNotConfirmedIsSentAgainAfterALoss();
    void theLetterThatTheServerDoesNotBearIsGivenUpAlone();
    void whatIsLeftCanBeTaken();
    void aMessageIsRecognisedByItsSenderIdentityAndText();
    void onlyTheLastMessagesAreRemembered();
    void pausesDoubleUpToAMinuteAndVary();
};

void OutboxTest::lettersAreSentOnceAndInOrder()
{
    Outbox outbox = outboxOf({"a", "b"});
    QCOMPARE(outbox.unconfirmed(), 0);
    QCOMPARE(idsOf(outbox.takeSendable()), QStringList({"a", "b"}));
    QVERIFY(outbox.takeSendable().isEmpty());
    outbox.add({"c", "bob@localhost", "text"});
    QCOMPARE(idsOf(outbox.takeSendable()), QStringList("c"));
    QCOMPARE(outbox.unconfirmed(), 3);
    QCOMPARE(outbox.confirm(2), QStringList({"a", "b"}));
    QCOMPARE(outbox.unconfirmed(), 1);
    QCOMPARE(outbox.confirm(5), QStringList("c"));
    QVERIFY(outbox.isEmpty());
}

void OutboxTest::whatWasNotConfirmedIsSentAgainAfterALoss()
{
    Outbox outbox = outboxOf({"a", "b", "c"});
    outbox.takeSendable();
    outbox.confirm(1);
    QVERIFY(outbox.noteLoss(false).isEmpty());
    outbox.add({"d", "bob@localhost", "text"});
    QCOMPARE(idsOf(outbox.takeSendable()), QStringList({"b", "c", "d"}));
}

void OutboxTest::theLetterThatTheServerDoesNotBearIsGivenUpAlone()
{
    Outbox outbox = outboxOf({"a", "bad", "c"});
    outbox.takeSendable();
    QVERIFY(outbox.noteLoss(true).isEmpty()); // it may be any of the three
    outbox.add({"d", "bob@localhost", "text"});
    QCOMPARE(idsOf(outbox.takeSendable()), QStringList("a"));
    QVERIFY(outbox.takeSendable().isEmpty());
    outbox.confirm(1);
    QCOMPARE(idsOf(outbox.takeSendable()), QStringList("bad"));
    QCOMPARE(idsOf(outbox.noteLoss(true)), QStringList("bad"));
    QCOMPARE(idsOf(outbox.takeSendable()), QStringList("c"));
    outbox.confirm(1);
    QCOMPARE(idsOf(outbox.takeSendable()), QStringList("d"));

    Outbox one = outboxOf({"bad"});
    one.takeSendable();
    QCOMPARE(idsOf(one.noteLoss(true)), QStringList("bad"));
    QVERIFY(one.isEmpty());
}

void OutboxTest::whatIsLeftCanBeTaken()
{
    Outbox outbox = outboxOf({"a", "b"});
    outbox.takeSendable();
    QCOMPARE(idsOf(outbox.takeAll()), QStringList({"a", "b"}));
    QVERIFY(outbox.isEmpty());
    QCOMPARE(outbox.unconfirmed(), 0);
}

void OutboxTest::aMessageIsRecognisedByItsSenderIdentityAndText()
{
    SeenMessages seen;
    QVERIFY(!seen.note("ann@x", "1", "text"));
    QVERIFY(seen.note("ann@x", "1", "text"));
    QVERIFY(!seen.note("bob@x", "1", "text"));
    QVERIFY(!seen.note("ann@x", "2", "text"));
    QVERIFY(!seen.note("ann@x", "1", "other text"));
    QVERIFY(!seen.note("ann@x", "1t", "ext"));
    QVERIFY(!seen.note("ann@x", QString(), "text"));
    QVERIFY(!seen.note("ann@x", QString(), "text"));
}

void OutboxTest::onlyTheLastMessagesAreRemembered()
{
    SeenMessages seen;
    for (int i = 0; i < SeenMessages::Kept; ++i)
        QVERIFY(!seen.note("ann@x", QString::number(i + 1), "text"));
    QVERIFY(seen.note("ann@x", "1", "text"));
    QVERIFY(!seen.note("ann@x", "one more", "text"));
    QVERIFY(seen.note("ann@x", "2", "text"));
    QVERIFY(!seen.note("ann@x", "1", "text"));
}

void OutboxTest::pausesDoubleUpToAMinuteAndVary()
{
    QSet<int> first;
    for (int run = 0; run < 200; ++run) {
        ReconnectPauses pauses;
        for (const int seconds : {1, 2, 4, 8, 16, 32, 60, 60, 60}) {
            const int pause = pauses.next();
            QVERIFY(pause <= seconds * 1000);
            QVERIFY(pause >= seconds * 750);
            if (seconds == 1)
                first.insert(pause);
        }
        pauses.reset();
        QVERIFY(pauses.next() <= 1000);
    }
    QVERIFY(first.size() > 10);
}

QTEST_APPLESS_MAIN(OutboxTest)
#include "tst_outbox.moc"
