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
    // The ring is no QObject that could be the context, and nobody else deletes it.
    QTimer::singleShot(0, [this] { delete this; }); // clazy:exclude=connect-3arg-lambda
    return true;
}

int FrameRing::alive()
{
    return rings;
}
