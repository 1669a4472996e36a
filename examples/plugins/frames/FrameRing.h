#ifndef FRAMERING_H
#define FRAMERING_H

#include <MivoRingBuffer.h>

/**
 * A ring of frames that is deleted when nobody uses it any more. The producer adds it to the
 * garbage collector once, and does not touch it afterwards. The collector lets go of it when the
 * consumer has released the last frame, and the ring then deletes itself in the collector's thread.
 */
class FrameRing : public MivoRingBuffer
{
public:
    FrameRing(int count, int size);
    ~FrameRing() override;

    /** To be asked by the collector alone: a ring that answers true is on its way out. */
    bool isUnused() override;

    /** How many rings there are in memory. May be called from any thread. */
    static int alive();

private:
    Q_DISABLE_COPY(FrameRing)
};

#endif
