#include "Background.h"
#include "ChildOutcome.h"
#include "CountedAllocations.h"
#include "MivoBuffer.h"

#include <QtTest>

#include <climits>
#include <cstddef>
#include <cstring>
#include <memory>
#include <type_traits>

class tst_MivoBuffer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void countsIdsFromZero();
    void numbersBuffersOfEveryConstructorConsecutively();
    void isValidWithAByteAndAnAddress_data();
    void isValidWithAByteAndAnAddress();
    void takesNoPointerForABool();
    void isEmptyByDefault();
    void wrapsMemory_data();
    void wrapsMemory();
    void allocatesAndFreesItsOwnBytes_data();
    void allocatesAndFreesItsOwnBytes();
    void keepsItsOwnBytesWhenResizedToTheSameSize();
    void replacesItsOwnBytesWhenResizedToAnotherSize();
    void replacesBorrowedBytesByItsOwnWhateverTheSize_data();
    void replacesBorrowedBytesByItsOwnWhateverTheSize();
    void ownsBytesAfterAnEmptyBufferIsResized();
    void ignoresOtherMemoryOfTheSizeThatItOwns();
    void adoptsMemoryOfAnotherSizeAndFreesItsOwn_data();
    void adoptsMemoryOfAnotherSizeAndFreesItsOwn();
    void adoptsMemoryOfTheSizeThatItBorrows();
    void passesTheAllocatorsExceptionOn_data();
    void passesTheAllocatorsExceptionOn();
    void leavesNothingBehindWhereverConstructionFails();
    void isEmptyAfterAFailedResize_data();
    void isEmptyAfterAFailedResize();
    void isInUseFromMarkToRelease_data();
    void isInUseFromMarkToRelease();
    void doesNotWaitForAFreeBuffer_data();
    void doesNotWaitForAFreeBuffer();
    void waitsUntilAnotherThreadReleases();
    void wakesEverybodyWhoWaits();
    void letsTheWaiterGoAlthoughMarkedAnew();
    void assertsOrStaysHarmlessOnAnUnsynchronisedBuffer_data();
    void assertsOrStaysHarmlessOnAnUnsynchronisedBuffer();
};

void tst_MivoBuffer::countsIdsFromZero()
{
    MivoBuffer first; // of the process: this is the first test
    QCOMPARE(first.getId(), 0);
}

void tst_MivoBuffer::numbersBuffersOfEveryConstructorConsecutively()
{
    unsigned char bytes[4];
    MivoBuffer first;
    MivoBuffer wrapping(4, bytes, false);
    MivoBuffer owning(4, false);
    MivoBuffer synchronised(4, true);
    QCOMPARE(wrapping.getId(), first.getId() + 1);
    QCOMPARE(owning.getId(), first.getId() + 2);
    QCOMPARE(synchronised.getId(), first.getId() + 3);

    owning.resize(8);
    QCOMPARE(owning.getId(), first.getId() + 2);
    MivoBuffer last;
    QCOMPARE(last.getId(), first.getId() + 4);
}

void tst_MivoBuffer::isValidWithAByteAndAnAddress_data()
{
    QTest::addColumn<qlonglong>("size");
    QTest::addColumn<bool>("hasAddress");
    QTest::addColumn<bool>("valid");

    QTest::newRow("nothing") << 0LL << false << false;
    QTest::newRow("address without size") << 0LL << true << false;
    QTest::newRow("size without address") << 1LL << false << false;
    QTest::newRow("negative size") << -1LL << true << false;
    QTest::newRow("one byte") << 1LL << true << true;
    QTest::newRow("sixteen bytes") << 16LL << true << true;
    QTest::newRow("a size beyond 32 bits") << (1LL << 32) << true << true;
}

void tst_MivoBuffer::isValidWithAByteAndAnAddress()
{
    QFETCH(qlonglong, size);
    QFETCH(bool, hasAddress);
    unsigned char bytes[16];
    MivoBuffer buffer(long(size), hasAddress ? bytes : nullptr, false);
    QTEST(buffer.isValid(), "valid");
    QCOMPARE(qlonglong(buffer.getSize()), size);
}

void tst_MivoBuffer::takesNoPointerForABool()
{
    static_assert(std::is_constructible<MivoBuffer, int, bool>::value, "");
    static_assert(std::is_constructible<MivoBuffer, long, unsigned char*, bool>::value, "");
    static_assert(!std::is_constructible<MivoBuffer, int, unsigned char*>::value, "");
    static_assert(!std::is_constructible<MivoBuffer, long, const unsigned char*>::value, "");
    static_assert(!std::is_constructible<MivoBuffer, long, void*>::value, "");
    static_assert(!std::is_constructible<MivoBuffer, int, char(&)[4]>::value, "");
    static_assert(!std::is_constructible<MivoBuffer, int, void (*)()>::value, "");
    static_assert(!std::is_constructible<MivoBuffer, int, std::nullptr_t>::value, "");
}

void tst_MivoBuffer::isEmptyByDefault()
{
    MivoBuffer buffer;
    QVERIFY(!buffer.isValid());
    QCOMPARE(buffer.getSize(), 0L);
    QVERIFY(!buffer.getData());
    QVERIFY(!buffer.isInUse());
}

void tst_MivoBuffer::wrapsMemory_data()
{
    QTest::addColumn<bool>("owns");
    QTest::newRow("owning") << true;
    QTest::newRow("borrowing") << false;
}

void tst_MivoBuffer::wrapsMemory()
{
    QFETCH(bool, owns);
    std::unique_ptr<unsigned char[]> bytes(new unsigned char[4]);
    const long before = allocations::liveArrays;
    {
        MivoBuffer buffer(4, bytes.get(), owns);
        QCOMPARE(buffer.getData(), bytes.get());
        QCOMPARE(buffer.getSize(), 4L);
        QVERIFY(!buffer.isInUse());
        QCOMPARE(allocations::liveArrays.load(), before);
    }
    QCOMPARE(allocations::liveArrays.load(), owns ? before - 1 : before);
    if (owns)
        bytes.release();
}

void tst_MivoBuffer::allocatesAndFreesItsOwnBytes_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("synchronised");
    QTest::addColumn<bool>("valid");

    QTest::newRow("frame") << 1000 << false << true;
    QTest::newRow("synchronised frame") << 1000 << true << true;
    QTest::newRow("no byte") << 0 << false << false;
    QTest::newRow("synchronised, no byte") << 0 << true << false;
}

void tst_MivoBuffer::allocatesAndFreesItsOwnBytes()
{
    QFETCH(int, size);
    QFETCH(bool, synchronised);
    const long arraysBefore = allocations::liveArrays;
    const long before = allocations::live;
    {
        MivoBuffer buffer(size, synchronised);
        QTEST(buffer.isValid(), "valid");
        QCOMPARE(buffer.getSize(), long(size));
        QVERIFY(buffer.getData());
        QVERIFY(!buffer.isInUse());
        QCOMPARE(allocations::liveArrays.load(), arraysBefore + 1);
        std::memset(buffer.getData(), 0xff, size_t(size)); // every byte is the caller's
    }
    QCOMPARE(allocations::liveArrays.load(), arraysBefore);
    QCOMPARE(allocations::live.load(), before);
}

void tst_MivoBuffer::keepsItsOwnBytesWhenResizedToTheSameSize()
{
    MivoBuffer buffer(3, false);
    std::memcpy(buffer.getData(), "abc", 3);
    unsigned char* data = buffer.getData();
    buffer.resize(3);
    QCOMPARE(buffer.getData(), data);
    QCOMPARE(std::memcmp(data, "abc", 3), 0);
    QCOMPARE(buffer.getSize(), 3L);
}

void tst_MivoBuffer::replacesItsOwnBytesWhenResizedToAnotherSize()
{
    const long before = allocations::liveArrays;
    MivoBuffer buffer(3, true);
    buffer.resize(100);
    QCOMPARE(buffer.getSize(), 100L);
    QCOMPARE(allocations::liveArrays.load(), before + 1);
    std::memset(buffer.getData(), 0xff, 100);
    buffer.resize(2);
    QCOMPARE(buffer.getSize(), 2L);
    QCOMPARE(allocations::liveArrays.load(), before + 1);
}

void tst_MivoBuffer::replacesBorrowedBytesByItsOwnWhateverTheSize_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("smaller") << 2;
    QTest::newRow("the same") << 4;
    QTest::newRow("larger") << 6;
}

void tst_MivoBuffer::replacesBorrowedBytesByItsOwnWhateverTheSize()
{
    QFETCH(int, size);
    const long before = allocations::liveArrays;
    const std::unique_ptr<unsigned char[]> lent(new unsigned char[4]);
    {
        MivoBuffer buffer(4, lent.get(), false);
        buffer.resize(size);
        QVERIFY(buffer.getData() != lent.get());
        QCOMPARE(buffer.getSize(), long(size));
        QCOMPARE(allocations::liveArrays.load(), before + 2);

        unsigned char* data = buffer.getData();
        buffer.resize(size); // now its own
        QCOMPARE(buffer.getData(), data);
    }
    QCOMPARE(allocations::liveArrays.load(), before + 1);
}

void tst_MivoBuffer::ownsBytesAfterAnEmptyBufferIsResized()
{
    const long before = allocations::liveArrays;
    {
        MivoBuffer buffer;
        buffer.resize(0); // a fresh block, although the size is the same: it owned none
        QVERIFY(buffer.getData());
        QVERIFY(!buffer.isValid());
        buffer.resize(5);
        QVERIFY(buffer.isValid());
        QCOMPARE(allocations::liveArrays.load(), before + 1);
    }
    QCOMPARE(allocations::liveArrays.load(), before);
}

void tst_MivoBuffer::ignoresOtherMemoryOfTheSizeThatItOwns()
{
    const std::unique_ptr<unsigned char[]> offered(new unsigned char[4]);
    const long before = allocations::liveArrays;
    {
        MivoBuffer buffer(4, false);
        unsigned char* own = buffer.getData();
        buffer.resize(4, offered.get(), true);
        QCOMPARE(buffer.getData(), own);
        buffer.resize(4, offered.get(), false);
        QCOMPARE(buffer.getData(), own);
    }
    QCOMPARE(allocations::liveArrays.load(), before); // its own is freed, the offered one is not
}

void tst_MivoBuffer::adoptsMemoryOfAnotherSizeAndFreesItsOwn_data()
{
    wrapsMemory_data();
}

void tst_MivoBuffer::adoptsMemoryOfAnotherSizeAndFreesItsOwn()
{
    QFETCH(bool, owns);
    std::unique_ptr<unsigned char[]> bytes(new unsigned char[8]);
    const long before = allocations::liveArrays;
    {
        MivoBuffer buffer(4, false);
        buffer.resize(8, bytes.get(), owns);
        QCOMPARE(buffer.getData(), bytes.get());
        QCOMPARE(buffer.getSize(), 8L);
        QCOMPARE(allocations::liveArrays.load(), before);
    }
    QCOMPARE(allocations::liveArrays.load(), owns ? before - 1 : before);
    if (owns)
        bytes.release();
}

void tst_MivoBuffer::adoptsMemoryOfTheSizeThatItBorrows()
{
    unsigned char first[4];
    unsigned char second[4];
    MivoBuffer buffer(4, first, false);
    buffer.resize(4, second, false);
    QCOMPARE(buffer.getData(), +second);
    buffer.resize(0, nullptr, false);
    QVERIFY(!buffer.isValid());
    QVERIFY(!buffer.getData());
}

void tst_MivoBuffer::passesTheAllocatorsExceptionOn_data()
{
    QTest::addColumn<qlonglong>("size");
    QTest::newRow("-1") << -1LL;
    QTest::newRow("smallest number") << qlonglong(LONG_MIN);
    QTest::newRow("largest number") << qlonglong(LONG_MAX);
}

void tst_MivoBuffer::passesTheAllocatorsExceptionOn()
{
    QFETCH(qlonglong, size);
    const int nextId = MivoBuffer().getId() + 1;
    const long before = allocations::live;
    for (bool synchronised : {false, true})
        QVERIFY_EXCEPTION_THROWN(MivoBuffer(long(size), synchronised), std::bad_alloc);
    QCOMPARE(allocations::live.load(), before);
    QCOMPARE(MivoBuffer().getId(), nextId);
}

void tst_MivoBuffer::leavesNothingBehindWhereverConstructionFails()
{
    int failures = 0;
    for (bool made = false; !made; ++failures) {
        const long before = allocations::live;
        allocations::untilFailure = failures;
        try {
            MivoBuffer buffer(64, true);
            allocations::untilFailure = -1;
            made = true;
        } catch (const std::bad_alloc&) {
        }
        QCOMPARE(allocations::live.load(), before);
    }
    QVERIFY(failures > 3); // the bytes, the mutex and the condition at the least, then success
}

void tst_MivoBuffer::isEmptyAfterAFailedResize_data()
{
    QTest::addColumn<qlonglong>("size");
    QTest::addColumn<bool>("owning");
    for (bool owning : {false, true}) {
        const char* kind = owning ? "owning" : "borrowing";
        QTest::addRow("%s, -1", kind) << -1LL << owning;
        QTest::addRow("%s, smallest number", kind) << qlonglong(LONG_MIN) << owning;
        QTest::addRow("%s, largest number", kind) << qlonglong(LONG_MAX) << owning;
    }
}

void tst_MivoBuffer::isEmptyAfterAFailedResize()
{
    QFETCH(qlonglong, size);
    QFETCH(bool, owning);
    unsigned char lent[4];
    const long before = allocations::live;
    {
        std::unique_ptr<MivoBuffer> buffer(owning ? new MivoBuffer(4, true)
                                                  : new MivoBuffer(4, lent, false));
        const long arrays = allocations::liveArrays;
        QVERIFY_EXCEPTION_THROWN(buffer->resize(long(size)), std::bad_alloc);
        QVERIFY(!buffer->isValid());
        QCOMPARE(buffer->getSize(), 0L);
        QVERIFY(!buffer->getData());
        QCOMPARE(allocations::liveArrays.load(), owning ? arrays - 1 : arrays);

        buffer->resize(0, lent, false); // adopted: an empty buffer owns nothing to keep
        QCOMPARE(buffer->getData(), +lent);

        QVERIFY_EXCEPTION_THROWN(buffer->resize(long(size)), std::bad_alloc);
        buffer->resize(8);
        QVERIFY(buffer->isValid());
        std::memset(buffer->getData(), 0xff, 8);
    }
    QCOMPARE(allocations::live.load(), before);
}

void tst_MivoBuffer::isInUseFromMarkToRelease_data()
{
    QTest::addColumn<bool>("synchronised");
    QTest::newRow("synchronised") << true;
    QTest::newRow("not synchronised") << false;
}

void tst_MivoBuffer::isInUseFromMarkToRelease()
{
    QFETCH(bool, synchronised);
    MivoBuffer buffer(4, synchronised);
    QVERIFY(!buffer.isInUse());
    buffer.setInUse();
    QVERIFY(buffer.isInUse());
    buffer.setInUse(); // a mark, not a count
    QVERIFY(buffer.isInUse());
    buffer.resize(8);
    QVERIFY(buffer.isInUse());
    if (synchronised) {
        buffer.release();
        QVERIFY(!buffer.isInUse());
        buffer.release();
        QVERIFY(!buffer.isInUse());
    }
}

void tst_MivoBuffer::doesNotWaitForAFreeBuffer_data()
{
    isInUseFromMarkToRelease_data();
}

void tst_MivoBuffer::doesNotWaitForAFreeBuffer()
{
    QFETCH(bool, synchronised);
    MivoBuffer buffer(4, synchronised);
    Background waiter([&] { buffer.waitForRelease(); });
    QVERIFY(waiter.ends());
    QVERIFY(!buffer.isInUse()); // waiting marks nothing
}

void tst_MivoBuffer::waitsUntilAnotherThreadReleases()
{
    MivoBuffer buffer(4, true);
    buffer.setInUse();
    Background waiter([&] { buffer.waitForRelease(); });
    QVERIFY(waiter.blocks());
    QVERIFY(buffer.isInUse()); // the mutex is free while the other waits
    QVERIFY(!waiter.isFinished());
    buffer.release();
    QVERIFY(waiter.ends());
    QVERIFY(!buffer.isInUse());
}

void tst_MivoBuffer::wakesEverybodyWhoWaits()
{
    MivoBuffer buffer(4, true);
    buffer.setInUse();
    Background first([&] { buffer.waitForRelease(); });
    Background second([&] { buffer.waitForRelease(); });
    QVERIFY(first.blocks());
    QVERIFY(second.blocks());
    buffer.release();
    QVERIFY(first.ends());
    QVERIFY(second.ends());
}

void tst_MivoBuffer::letsTheWaiterGoAlthoughMarkedAnew()
{
    MivoBuffer buffer(4, true);
    for (int round = 0; round < 100; ++round) {
        buffer.setInUse();
        Background waiter([&] { buffer.waitForRelease(); });
        QVERIFY(waiter.blocks());
        buffer.release();
        buffer.setInUse(); // most often before the waiter is back
        const bool ended = waiter.ends(5000);
        buffer.release();
        QVERIFY(ended);
    }
}

void tst_MivoBuffer::assertsOrStaysHarmlessOnAnUnsynchronisedBuffer_data()
{
    QTest::addColumn<bool>("releases");
    QTest::addColumn<bool>("inUse");
    QTest::addColumn<int>("expected");

    QTest::newRow("release, free") << true << false << int(misuseOutcome);
    QTest::newRow("release, in use") << true << true << int(misuseOutcome);
    QTest::newRow("wait, free") << false << false << int(ChildOutcome::True);
    QTest::newRow("wait, in use") << false << true << int(misuseOutcome);
}

void tst_MivoBuffer::assertsOrStaysHarmlessOnAnUnsynchronisedBuffer()
{
    QFETCH(bool, releases);
    QFETCH(bool, inUse);
    const ChildOutcome outcome = outcomeInChild([&] {
        MivoBuffer buffer(4, false);
        if (inUse)
            buffer.setInUse();
        if (releases)
            buffer.release();
        else
            buffer.waitForRelease();
        return buffer.isInUse() == (inUse && !releases);
    });
    QTEST(int(outcome), "expected");
}

QTEST_APPLESS_MAIN(tst_MivoBuffer)

#include "tst_mivobuffer.moc"
