#include "MivoBuffer.h"

#include <QMutex>
#include <QMutexLocker>
#include <QWaitCondition>

#include <memory>

int MivoBuffer::maxId = 0;

MivoBuffer::MivoBuffer()
    : size(0)
    , data(nullptr)
    , ownsData(false)
    , inUse(false)
    , mutex(nullptr)
    , condition(nullptr)
    , id(maxId++)
{
}

MivoBuffer::MivoBuffer(long newSize, unsigned char* newData, bool newOwnsData)
    : size(newSize)
    , data(newData)
    , ownsData(newOwnsData)
    , inUse(false)
    , mutex(nullptr)
    , condition(nullptr)
    , id(maxId++)
{
}

MivoBuffer::MivoBuffer(long newSize, bool synchronised)
    : size(newSize)
    , data(nullptr)
    , ownsData(true)
    , inUse(false)
    , mutex(nullptr)
    , condition(nullptr)
{
    std::unique_ptr<unsigned char[]> newData(new unsigned char[newSize]);
    if (synchronised) {
        std::unique_ptr<QMutex> newMutex(new QMutex);
        condition = new QWaitCondition;
        mutex = newMutex.release();
    }
    data = newData.release();
    id = maxId++; // last, so that a failed construction uses up no number
}

MivoBuffer::~MivoBuffer()
{
    if (ownsData)
        delete[] data;
    delete condition;
    delete mutex;
}

// NOLINTBEGIN(readability-make-member-function-const): plug-ins link to these signatures

bool MivoBuffer::isValid()
{
    return size >= 1 && data;
}

long MivoBuffer::getSize()
{
    return size;
}

unsigned char* MivoBuffer::getData()
{
    return data;
}

int MivoBuffer::getId()
{
    return id;
}

// NOLINTEND(readability-make-member-function-const)

void MivoBuffer::resize(long newSize)
{
    if (ownsData) {
        if (newSize == size)
            return;
        delete[] data;
    }

    // Empty while the allocator may throw: the old bytes are gone, or were never ours.
    size = 0;
    data = nullptr;
    ownsData = false;

    data = new unsigned char[newSize];
    size = newSize;
    ownsData = true;
}

void MivoBuffer::resize(long newSize, unsigned char* newData, bool newOwnsData)
{
    if (ownsData) {
        // Own bytes of the right size are kept, and the offered ones stay the caller's.
        if (newSize == size)
            return;
        delete[] data;
    }

    size = newSize;
    data = newData;
    ownsData = newOwnsData;
}

void MivoBuffer::setInUse()
{
    QMutexLocker locker(mutex);
    inUse = true;
}

bool MivoBuffer::isInUse()
{
    QMutexLocker locker(mutex);
    return inUse;
}

void MivoBuffer::release()
{
    Q_ASSERT_X(condition, "MivoBuffer::release", "the buffer is not synchronised");

    QMutexLocker locker(mutex);
    inUse = false;
    // Woken under the mutex: the waiter may delete the buffer as soon as it gets the mutex.
    if (condition)
        condition->wakeAll();
}

void MivoBuffer::waitForRelease()
{
    const unsigned long patience = 20000; // milliseconds

    QMutexLocker locker(mutex);
    if (!inUse)
        return;

    Q_ASSERT_X(condition, "MivoBuffer::waitForRelease", "the buffer is not synchronised");
    if (!condition)
        return;

    // A release between the time-out and here has woken nobody. Otherwise the mark is not looked at
    // again: being woken means that the buffer was released, also when it has been marked anew.
    if (!condition->wait(mutex, patience) && inUse)
        condition->wait(mutex);
}
