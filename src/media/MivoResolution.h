#ifndef MIVORESOLUTION_H
#define MIVORESOLUTION_H

#include "MivoGlobal.h"

#include <QList>
#include <QSize>

/**
 * The ladder of video frame sizes that suit one aspect ratio: sizes in pixels whose height is a
 * multiple of 16, and whose width is one if the base width is, in ascending order. A caller picks a
 * size to start with and steps it up and down.
 *
 * A plain value: copies share nothing that can change, and any thread may read one. For some ratios
 * no size fits; such a ladder is empty, and answers every look-up with an invalid QSize().
 */
class MIVO_DATA_EXPORT MivoResolution
{
public:
    /**
     * Builds the ladder for @p ratio, width divided by height. The candidates are the hundred
     * widths from @p baseWidth + 16 on in steps of 16. Any ratio is safe, zero, negative, infinite
     * and not-a-number included: a size that does not fit an int is left out. 0 and negative
     * numbers are multiples of 16 like others, so that an infinite ratio gives a ladder of height
     * 0.
     */
    MivoResolution(float ratio, int baseWidth);

    MivoResolution(const MivoResolution& other);
    MivoResolution(MivoResolution&& other) noexcept;
    ~MivoResolution();
    MivoResolution& operator=(const MivoResolution& other);
    MivoResolution& operator=(MivoResolution&& other) noexcept;

    /** The smallest size. */
    QSize getFirstResolution() const;

    /** The first size wider than @p size, else the largest. Heights play no part. */
    QSize getNextResolution(QSize size);

    /** The last size narrower than @p size, else the smallest. Heights play no part. */
    QSize getPreviousResolution(QSize size);

    /**
     * The largest size that lies strictly inside @p size in width and in height, if the step above
     * it exceeds @p size in at least one of them; else the smallest. A @p size that equals a size
     * of the ladder in width or height can so give the smallest, and one that exceeds the whole
     * ladder does: on the 4:3 ladder 650x490 gives 640x480, but 640x480 gives 64x48.
     */
    QSize getNearestResolution(QSize size);

private:
    float ratio;
    int baseWidth;
    QList<QSize> sizes;
};

Q_DECLARE_TYPEINFO(MivoResolution, Q_MOVABLE_TYPE);

#endif
