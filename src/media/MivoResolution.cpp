#include "MivoResolution.h"

#include <cmath>
#include <limits>

namespace {

bool fitsInt(double value) // false for not-a-number
{
    return value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max();
}

} // namespace

MivoResolution::MivoResolution(float newRatio, int newBaseWidth)
    : ratio(newRatio)
    , baseWidth(newBaseWidth)
{
    if (ratio == 0)
        return; // no height is finite

    for (int k = 1; k <= 100; ++k) {
        const qint64 width = baseWidth + qint64(16) * k;
        if (width > std::numeric_limits<int>::max())
            break;

        // Divided in single precision on purpose: which sizes are kept depends on its rounding.
        const float quotient = float(width) / ratio;
        const double exact = quotient;
        const double below = std::floor(exact);
        const double rounded = exact - below > 0.5 ? std::ceil(exact) : below; // a half goes down
        if (!fitsInt(rounded))
            continue;

        const int height = int(rounded);
        if (height % 16 == 0)
            sizes.append(QSize(int(width), height));
    }
}

MivoResolution::MivoResolution(const MivoResolution& other) = default;
MivoResolution::MivoResolution(MivoResolution&& other) noexcept = default;
MivoResolution::~MivoResolution() = default;
MivoResolution& MivoResolution::operator=(const MivoResolution& other) = default;
MivoResolution& MivoResolution::operator=(MivoResolution&& other) noexcept = default;

QSize MivoResolution::getFirstResolution() const
{
    return sizes.value(0);
}

QSize MivoResolution::getNextResolution(QSize size)
{
    for (int i = 0; i < sizes.size(); ++i) {
        if (sizes.at(i).width() > size.width())
            return sizes.at(i);
    }
    return sizes.value(sizes.size() - 1);
}

QSize MivoResolution::getPreviousResolution(QSize size)
{
    for (int i = int(sizes.size()) - 1; i >= 0; --i) {
        if (sizes.at(i).width() < size.width())
            return sizes.at(i);
    }
    return getFirstResolution();
}

QSize MivoResolution::getNearestResolution(QSize size)
{
    for (int i = 0; i + 1 < sizes.size(); ++i) {
        const QSize here = sizes.at(i);
        const QSize next = sizes.at(i + 1);
        const bool fits = here.width() < size.width() && here.height() < size.height();
        const bool nextIsTooLarge = next.width() > size.width() || next.height() > size.height();
        if (fits && nextIsTooLarge)
            return here;
    }
    // Also for a request equal to a ladder size or above all of them: callers count on it.
    return getFirstResolution();
}
