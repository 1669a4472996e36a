#include "MivoRingBuffer.h"

#include "MivoBuffer.h"

MivoRingBuffer::MivoRingBuffer()
    : nextIndex(0)
    , bufferCount(0)
    , bufferSize(0)
{
}

MivoRingBuffer::MivoRingBuffer(int count, int size)
    : MivoRingBuffer()
{
    create(count, size);
}

bool MivoRingBuffer::isUnused()
{
    for (int i = 0; i < buffers.size(); ++i) {
        if (buffers.at(i)->isInUse())
            return false;
    }
    return true;
}

MivoRingBuffer::~MivoRingBuffer()
{
    remove();
}

// NOLINTBEGIN(readability-make-member-function-const): plug-ins link to these signatures

int MivoRingBuffer::getSize()
{
    return bufferSize;
}

int MivoRingBuffer::count()
{
    return bufferCount;
}

// NOLINTEND(readability-make-member-function-const)

int MivoRingBuffer::countUsed()
{
    int used = 0;
    for (int i = 0; i < buffers.size(); ++i) {
        if (buffers.at(i)->isInUse())
            ++used;
    }
    return used;
}

void MivoRingBuffer::create(int count, int size)
{
    const int before = int(buffers.size());
    try {
        for (int i = 0; i < count; ++i) {
            buffers.append(nullptr); // a place first: appending may throw as well
            buffers.last() = new MivoBuffer(size, true);
        }
    } catch (...) {
        qDeleteAll(buffers.constBegin() + before, buffers.constEnd());
        buffers.resize(before);
        throw;
    }
    bufferCount = count;
    bufferSize = size;
    nextIndex = 0;
}

MivoBuffer* MivoRingBuffer::getBuffer()
{
    if (nextIndex == bufferCount)
        nextIndex = 0;

    Q_ASSERT_X(nextIndex < buffers.size(), "MivoRingBuffer::getBuffer", "the ring has no buffers");
    if (nextIndex >= buffers.size())
        return nullptr;

    MivoBuffer* buffer = buffers.at(nextIndex);
    buffer->waitForRelease();
    buffer->setInUse();
    ++nextIndex;
    return buffer;
}

void MivoRingBuffer::waitForRelese()
{
    for (int i = 0; i < buffers.size(); ++i)
        buffers.at(i)->waitForRelease();
}

void MivoRingBuffer::remove()
{
    waitForRelese();
    qDeleteAll(buffers);
    buffers = QVector<MivoBuffer*>();
}

void MivoRingBuffer::resize(int count, int size)
{
    if (count == bufferCount && size == bufferSize)
        return;

    remove();
    // If create() throws, the next resize() must not take the ring for one of the old extent.
    bufferCount = 0;
    bufferSize = 0;
    nextIndex = 0;
    create(count, size);
}
