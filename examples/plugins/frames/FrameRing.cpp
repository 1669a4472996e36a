#include "FrameRing.h"

#include <QTimer>

#include <atomic>

namespace {

std::atomic<int> rings{0};

} // namespace

FrameRing::FrameRing(int count, int size)
    : MivoRingBuffer(count, size)
{
    ++rings;
}

FrameRing::~FrameRing()
{
    --rings;
}

bool FrameRing::isUnused()
{
    if (!MivoRingBuffer::isUnused())
        return false;
    // Not before the collector has taken it off its list, which it does before its round ends.
    QTimer::singleShot(0, [this] { delete this; });
    return true;
}

int FrameRing::alive()
{
    return rings;
}
