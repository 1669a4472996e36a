#include "MivoResolution.h"

#include <QtTest>

#include <cmath>
#include <numeric>
#include <vector>

namespace {

const int smallestBase = -64;
const int largestBase = 1024;
const int smallestWidth = smallestBase + 16;
const int largestWidth = largestBase + 1600;

/**
 * The height that belongs to @p width, computed with whole numbers alone: the quotient of the width
 * and the single-precision @p ratio, itself rounded to the 24 bits of single precision, ties to
 * even, and then to a whole number, halves down.
 */
int heightFor(int width, float ratio)
{
    if (width == 0)
        return 0;

    int exponent = 0;
    const quint64 divisor = quint64(std::ldexp(std::frexp(ratio, &exponent), 24));
    // ratio = divisor * 2^(exponent - 24), so that |width| / ratio = dividend / divisor
    quint64 dividend = quint64(std::abs(width)) << (24 - exponent);
    int shift = 0;
    while (dividend / divisor < (1u << 23)) {
        dividend <<= 1;
        ++shift;
    }
    quint64 bits = dividend / divisor;
    const quint64 rest = dividend % divisor;
    if (2 * rest > divisor || (2 * rest == divisor && bits % 2 == 1))
        ++bits;

    const qint64 one = qint64(1) << shift;
    const qint64 quotient = width < 0 ? -qint64(bits) : qint64(bits);
    const qint64 fraction = ((quotient % one) + one) % one;
    const qint64 below = (quotient - fraction) / one;
    return int(2 * fraction > one ? below + 1 : below);
}

} // namespace

class tst_MivoResolutionProperty : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void laddersAreThoseOfWholeNumberArithmetic();
};

void tst_MivoResolutionProperty::laddersAreThoseOfWholeNumberArithmetic()
{
    int ladders = 0;
    int empty = 0;
    std::vector<QSize> candidates;
    for (int a = 1; a <= 64; ++a) {
        for (int b = 1; b <= 64; ++b) {
            const float ratio = float(a) / float(b);
            const int common = std::gcd(a, b);
            if (common > 1) { // the same number, and so the same ladders, as in lowest terms
                const int numerator = a / common;
                const int denominator = b / common;
                QCOMPARE(ratio, float(numerator) / float(denominator));
                continue;
            }

            candidates.clear();
            for (int width = smallestWidth; width <= largestWidth; ++width)
                candidates.emplace_back(width, heightFor(width, ratio));

            for (int base = smallestBase; base <= largestBase; ++base, ++ladders) {
                MivoResolution ladder(ratio, base);
                QSize last;
                QSize step = ladder.getFirstResolution();
                bool same = true;
                for (int k = 1; k <= 100; ++k) {
                    const QSize size = candidates[size_t(base + 16 * k - smallestWidth)];
                    if (size.height() % 16 == 0) {
                        same = same && step == size;
                        last = size;
                        step = ladder.getNextResolution(size);
                    }
                }
                same = same && step == last; // nothing follows the last
                empty += last == QSize();
                if (!same)
                    QFAIL(qPrintable(QStringLiteral("%1:%2 from %3").arg(a).arg(b).arg(base)));
            }
        }
    }
    QCOMPARE(ladders, 2519 * 1089); // as many fractions in lowest terms as there are
    QVERIFY(empty > 0);
    QVERIFY(empty < ladders / 2);
}

QTEST_APPLESS_MAIN(tst_MivoResolutionProperty)

#include "tst_mivoresolution_property.moc"
