#ifndef TESTFRAME_H
#define TESTFRAME_H

#include <QSize>

/**
 * @file
 * The test frames that the producer renders and the consumer checks: rows of pixels from top to
 * bottom, a byte each for red, green and blue, without padding. The pixel in column x and row y of
 * frame n has
 *
 *     red    x + n
 *     green  y + n / 256
 *     blue   (x xor y) + n / 65536
 *
 * each modulo 256. So the picture moves to the left, and each single pixel tells 2^24 frames in a
 * row apart: nothing that another frame has left in a buffer can pass for a piece of this one.
 */

/** As many frames differ from each other in every pixel. */
const quint32 testFrameCount = 1U << 24;

/** The number of bytes of a frame of @p size. */
inline qint64 testFrameBytes(QSize size)
{
    return qint64(3) * size.width() * size.height();
}

/** Writes row @p y of frame @p number: 3 * @p width bytes. */
inline void drawTestRow(unsigned char* row, int width, int y, quint32 number)
{
    for (int x = 0; x < width; ++x) {
        *row++ = static_cast<unsigned char>(quint32(x) + number);
        *row++ = static_cast<unsigned char>(quint32(y) + (number >> 8));
        *row++ = static_cast<unsigned char>(quint32(x ^ y) + (number >> 16));
    }
}

/** The number of the frame that begins with @p data, modulo testFrameCount. */
inline quint32 testFrameNumber(const unsigned char* data)
{
    return data[0] | quint32(data[1]) << 8 | quint32(data[2]) << 16;
}

#endif
