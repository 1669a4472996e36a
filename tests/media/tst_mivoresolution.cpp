#include "MivoResolution.h"
#include "ResolutionSteps.h"

#include <QtTest>

#include <climits>
#include <limits>
#include <utility>

namespace {

const float infinity = std::numeric_limits<float>::infinity();

} // namespace

class tst_MivoResolution : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsTheSizesOfTheRatio_data();
    void keepsTheSizesOfTheRatio();
    void roundsAHalfDown_data();
    void roundsAHalfDown();
    void keepsHeightsOfZeroAndBelow();
    void standsAnyRatioAndBaseWidth_data();
    void standsAnyRatioAndBaseWidth();
    void stepsUpByWidth_data();
    void stepsUpByWidth();
    void stepsDownByWidth_data();
    void stepsDownByWidth();
    void findsTheNearest_data();
    void findsTheNearest();
    void answersAnInvalidSizeWithoutSizes();
    void answersTheOnlySizeToEverything();
    void copiesAreAlike();
};

void tst_MivoResolution::keepsTheSizesOfTheRatio_data()
{
    QTest::addColumn<float>("ratio");
    QTest::addColumn<int>("baseWidth");
    QTest::addColumn<int>("count");
    QTest::addColumn<QSize>("step"); // from one size to the next, and to the first if base is 0
    QTest::addColumn<QSize>("first");
    QTest::addColumn<QSize>("last");

    QTest::newRow("4:3") << 4.0f / 3 << 0 << 25 << QSize(64, 48) << QSize(64, 48)
                         << QSize(1600, 1200);
    QTest::newRow("5:4") << 5.0f / 4 << 0 << 20 << QSize(80, 64) << QSize(80, 64)
                         << QSize(1600, 1280);
    QTest::newRow("16:10") << 16.0f / 10 << 0 << 12 << QSize(128, 80) << QSize(128, 80)
                           << QSize(1536, 960);
    QTest::newRow("11:9") << 352.0f / 288 << 0 << 9 << QSize(176, 144) << QSize(176, 144)
                          << QSize(1584, 1296);
    QTest::newRow("16:9") << 16.0f / 9 << 0 << 6 << QSize(256, 144) << QSize(256, 144)
                          << QSize(1536, 864);
    QTest::newRow("4:3 from 160") << 4.0f / 3 << 160 << 25 << QSize(64, 48) << QSize(192, 144)
                                  << QSize(1728, 1296);
    QTest::newRow("1:1") << 1.0f << 0 << 100 << QSize(16, 16) << QSize(16, 16) << QSize(1600, 1600);
    QTest::newRow("1:1 from 8") << 1.0f << 8 << 0 << QSize() << QSize() << QSize();
    QTest::newRow("1:3") << 1.0f / 3 << 0 << 100 << QSize(16, 48) << QSize(16, 48)
                         << QSize(1600, 4800);
    QTest::newRow("-4:3") << -4.0f / 3 << 0 << 25 << QSize(64, -48) << QSize(64, -48)
                          << QSize(1600, -1200);
}

void tst_MivoResolution::keepsTheSizesOfTheRatio()
{
    QFETCH(float, ratio);
    QFETCH(int, baseWidth);
    QFETCH(int, count);
    QFETCH(QSize, step);
    QFETCH(QSize, first);

    const QList<QSize> sizes = stepsOf(MivoResolution(ratio, baseWidth));
    QCOMPARE(int(sizes.size()), count);
    QCOMPARE(MivoResolution(ratio, baseWidth).getFirstResolution(), first);
    for (int i = 0; i < count; ++i)
        QCOMPARE(sizes.at(i), first + i * step);
    QTEST(sizes.value(count - 1), "last");
}

void tst_MivoResolution::roundsAHalfDown_data()
{
    QTest::addColumn<float>("ratio");
    QTest::addColumn<int>("baseWidth");
    QTest::addColumn<QSize>("first");

    // None of the later widths of these ladders gives a multiple of 16 unless the first one does.
    QTest::newRow("down to 16") << 2.0f << 17 << QSize(33, 16);
    QTest::newRow("not up to 16") << 2.0f << 15 << QSize();
    QTest::newRow("not up to 0") << 2.0f << -17 << QSize();
    QTest::newRow("down to 0") << 2.0f << -15 << QSize(1, 0);
    QTest::newRow("a quarter goes down to 16") << 4.0f << 49 << QSize(65, 16);
    QTest::newRow("three quarters go up to 16") << 4.0f << 47 << QSize(63, 16);
    QTest::newRow("minus a quarter goes up to 0") << 4.0f << -17 << QSize(-1, 0);
    QTest::newRow("minus three quarters do not") << 4.0f << -19 << QSize();
}

void tst_MivoResolution::roundsAHalfDown()
{
    QFETCH(float, ratio);
    QFETCH(int, baseWidth);
    QFETCH(QSize, first);
    QCOMPARE(MivoResolution(ratio, baseWidth).getFirstResolution(), first);
}

void tst_MivoResolution::keepsHeightsOfZeroAndBelow()
{
    const QList<QSize> sizes = stepsOf(MivoResolution(4.0f / 3, -144));
    QCOMPARE(sizes.mid(0, 5),
             (QList<QSize>{QSize(-128, -96), QSize(-64, -48), QSize(0, 0), QSize(64, 48),
                           QSize(128, 96)}));
}

void tst_MivoResolution::standsAnyRatioAndBaseWidth_data()
{
    QTest::addColumn<float>("ratio");
    QTest::addColumn<int>("baseWidth");
    QTest::addColumn<int>("count");
    QTest::addColumn<QSize>("first");

    const float smallest = std::numeric_limits<float>::denorm_min();
    const float largest = std::numeric_limits<float>::max();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const QSize none;

    QTest::newRow("zero") << 0.0f << 0 << 0 << none;
    QTest::newRow("negative zero") << -0.0f << 0 << 0 << none;
    QTest::newRow("zero, from below zero") << 0.0f << -800 << 0 << none;
    QTest::newRow("not a number") << nan << 0 << 0 << none;
    QTest::newRow("infinite") << infinity << 0 << 100 << QSize(16, 0);
    QTest::newRow("negative infinite") << -infinity << 0 << 100 << QSize(16, 0);
    QTest::newRow("largest") << largest << 0 << 100 << QSize(16, 0);
    QTest::newRow("smallest") << smallest << 0 << 0 << none;
    QTest::newRow("smallest negative") << -smallest << 0 << 0 << none;
    QTest::newRow("smallest, with a width of 0") << smallest << -16 << 1 << QSize(0, 0);
    QTest::newRow("below a height of -2^31") << -0.5e-7f << 0 << 6 << QSize(16, -320000000);
    QTest::newRow("nearly the largest int")
        << 16.0f / 2147483520.0f << 0 << 1 << QSize(16, 2147483392);
    QTest::newRow("just beyond an int") << 16.0f / 2147483648.0f << 0 << 0 << none;
    QTest::newRow("smallest int") << -16.0f / 2147483648.0f << 0 << 1 << QSize(16, INT_MIN);
    QTest::newRow("largest base width") << 1.0f << INT_MAX << 0 << none;
    QTest::newRow("widths up to the largest")
        << infinity << INT_MAX - 32 << 2 << QSize(INT_MAX - 16, 0);
    QTest::newRow("smallest base width") << 1.0f << INT_MIN << 100 << QSize(INT_MIN + 16, INT_MIN);
}

void tst_MivoResolution::standsAnyRatioAndBaseWidth()
{
    QFETCH(float, ratio);
    QFETCH(int, baseWidth);
    const MivoResolution ladder(ratio, baseWidth);
    QTEST(int(stepsOf(ladder).size()), "count");
    QTEST(ladder.getFirstResolution(), "first");
}

void tst_MivoResolution::stepsUpByWidth_data()
{
    QTest::addColumn<QSize>("from");
    QTest::addColumn<QSize>("to");

    QTest::newRow("a size of the ladder") << QSize(640, 480) << QSize(704, 528);
    QTest::newRow("just below a size") << QSize(639, 480) << QSize(640, 480);
    QTest::newRow("just above a size") << QSize(641, 480) << QSize(704, 528);
    QTest::newRow("below the smallest") << QSize(0, 0) << QSize(64, 48);
    QTest::newRow("invalid") << QSize() << QSize(64, 48);
    QTest::newRow("last but one") << QSize(1536, 1152) << QSize(1600, 1200);
    QTest::newRow("the largest") << QSize(1600, 1200) << QSize(1600, 1200);
    QTest::newRow("wider than the largest") << QSize(4000, 10) << QSize(1600, 1200);
    QTest::newRow("the height plays no part") << QSize(640, 5000) << QSize(704, 528);
}

void tst_MivoResolution::stepsUpByWidth()
{
    QFETCH(QSize, from);
    QTEST(MivoResolution(4.0f / 3, 0).getNextResolution(from), "to");
}

void tst_MivoResolution::stepsDownByWidth_data()
{
    QTest::addColumn<QSize>("from");
    QTest::addColumn<QSize>("to");

    QTest::newRow("a size of the ladder") << QSize(640, 480) << QSize(576, 432);
    QTest::newRow("just below a size") << QSize(639, 480) << QSize(576, 432);
    QTest::newRow("just above a size") << QSize(641, 480) << QSize(640, 480);
    QTest::newRow("above the largest") << QSize(5000, 10) << QSize(1600, 1200);
    QTest::newRow("the second") << QSize(128, 96) << QSize(64, 48);
    QTest::newRow("the smallest") << QSize(64, 48) << QSize(64, 48);
    QTest::newRow("narrower than the smallest") << QSize(10, 5000) << QSize(64, 48);
    QTest::newRow("invalid") << QSize() << QSize(64, 48);
    QTest::newRow("the height plays no part") << QSize(640, 1) << QSize(576, 432);
}

void tst_MivoResolution::stepsDownByWidth()
{
    QFETCH(QSize, from);
    QTEST(MivoResolution(4.0f / 3, 0).getPreviousResolution(from), "to");
}

void tst_MivoResolution::findsTheNearest_data()
{
    QTest::addColumn<QSize>("wanted");
    QTest::addColumn<QSize>("nearest");

    QTest::newRow("between two sizes") << QSize(650, 490) << QSize(640, 480);
    QTest::newRow("limited by its height") << QSize(700, 400) << QSize(512, 384);
    QTest::newRow("limited by its width") << QSize(400, 1100) << QSize(384, 288);
    QTest::newRow("a pixel more than a size") << QSize(641, 481) << QSize(640, 480);
    QTest::newRow("up to the next size") << QSize(703, 528) << QSize(640, 480);
    QTest::newRow("larger than the last but one") << QSize(1599, 1199) << QSize(1536, 1152);
    QTest::newRow("higher than all") << QSize(1599, 5000) << QSize(1536, 1152);
    // Oddities that callers know: these fall through to the smallest size.
    QTest::newRow("a size of the ladder") << QSize(640, 480) << QSize(64, 48);
    QTest::newRow("as wide as a size") << QSize(640, 481) << QSize(64, 48);
    QTest::newRow("as high as a size") << QSize(641, 480) << QSize(64, 48);
    QTest::newRow("the largest") << QSize(1600, 1200) << QSize(64, 48);
    QTest::newRow("larger than all") << QSize(2000, 2000) << QSize(64, 48);
    QTest::newRow("smaller than all") << QSize(10, 10) << QSize(64, 48);
    QTest::newRow("the smallest") << QSize(64, 48) << QSize(64, 48);
    QTest::newRow("invalid") << QSize() << QSize(64, 48);
}

void tst_MivoResolution::findsTheNearest()
{
    QFETCH(QSize, wanted);
    QTEST(MivoResolution(4.0f / 3, 0).getNearestResolution(wanted), "nearest");
}

void tst_MivoResolution::answersAnInvalidSizeWithoutSizes()
{
    MivoResolution ladder(0.0f, 0);
    QCOMPARE(ladder.getFirstResolution(), QSize());
    QCOMPARE(ladder.getNextResolution(QSize(640, 480)), QSize());
    QCOMPARE(ladder.getPreviousResolution(QSize(640, 480)), QSize());
    QCOMPARE(ladder.getNearestResolution(QSize(640, 480)), QSize());
}

void tst_MivoResolution::answersTheOnlySizeToEverything()
{
    MivoResolution ladder(16.0f / 2147483520.0f, 0);
    const QSize only(16, 2147483392);
    QCOMPARE(stepsOf(ladder), QList<QSize>{only});
    for (QSize size : {QSize(0, 0), only, QSize(INT_MAX, INT_MAX)}) {
        QCOMPARE(ladder.getNextResolution(size), only);
        QCOMPARE(ladder.getPreviousResolution(size), only);
        QCOMPARE(ladder.getNearestResolution(size), only);
    }
}

void tst_MivoResolution::copiesAreAlike()
{
    const MivoResolution ladder(16.0f / 9, 0);
    const QList<QSize> sizes = stepsOf(ladder);
    MivoResolution copy(ladder);
    QCOMPARE(stepsOf(copy), sizes);
    MivoResolution other(4.0f / 3, 0);
    other = copy;
    QCOMPARE(stepsOf(other), sizes);
    MivoResolution moved(std::move(other));
    QCOMPARE(stepsOf(moved), sizes);
    copy = MivoResolution(4.0f / 3, 0);
    QCOMPARE(int(stepsOf(copy).size()), 25);
    QCOMPARE(stepsOf(ladder), sizes);
    copy = std::move(moved);
    QCOMPARE(stepsOf(copy), sizes);
}

QTEST_APPLESS_MAIN(tst_MivoResolution)

#include "tst_mivoresolution.moc"
