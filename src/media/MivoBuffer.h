#ifndef MIVOBUFFER_H
#define MIVOBUFFER_H

#include "MivoGlobal.h"

class QMutex;
class QWaitCondition;

/**
 * A block of raw bytes for media data, a video frame for instance, that a producer and a consumer
 * in different threads hand to each other. Whoever takes the block marks it as in use, the consumer
 * releases it when it has read it, and the producer waits for that before it fills the block again.
 *
 * An owning buffer frees its bytes with `delete[]`; a borrowing one wraps memory that somebody else
 * frees and that must outlive the buffer's use of it. Buffers are not copied, only pointed to.
 *
 * setInUse(), isInUse(), release() and waitForRelease() may be called from any thread on a
 * synchronised buffer, that is one built with MivoBuffer(long, bool) and true. Everything else is
 * unlocked and belongs to the producer's thread.
 */
class MIVO_DATA_EXPORT MivoBuffer
{
public:
    /** An empty buffer: no bytes, not owning, not synchronised. */
    MivoBuffer();

    /**
     * A buffer around the @p size bytes at @p data, not synchronised. With @p ownsData they must
     * come from array `new`, and the buffer frees them.
     */
    MivoBuffer(long size, unsigned char* data, bool ownsData);

    /**
     * A buffer that owns @p size new bytes of undefined content, ready to be handed between threads
     * if @p synchronised. Throws std::bad_alloc, or what the allocator derives from it, if there is
     * no such memory; a negative size is one that there never is.
     */
    MivoBuffer(long size, bool synchronised);

    template <class T>
    MivoBuffer(long size, T* data) = delete; // bytes take a third argument, who frees them

    /** Frees the bytes if the buffer owns them. Nobody may be waiting for the buffer any more. */
    ~MivoBuffer();

    /** True for a buffer of at least one byte. */
    bool isValid();

    /** The number of bytes. */
    long getSize();

    /** The bytes, which stay the buffer's or their lender's; null in an empty buffer. */
    unsigned char* getData();

    /**
     * A serial number, counted from 0 over all buffers of the process. The counter is not locked:
     * numbers are unique as long as buffers are made in one thread at a time.
     */
    int getId();

    /**
     * Gives the buffer @p size new bytes of its own, of undefined content. Bytes that it owned
     * before are freed first, except that an owning buffer of that size keeps them; borrowed bytes
     * are always replaced and never freed. If the allocator throws, its exception is passed on and
     * the buffer is empty and not owning.
     */
    void resize(long size);

    /**
     * Wraps other memory, as the constructor of the same arguments does, and frees the bytes that
     * the buffer owned. An owning buffer of that size keeps what it has and leaves @p data to the
     * caller. @p data must not point into the buffer's own bytes.
     */
    void resize(long size, unsigned char* data, bool ownsData);

    /** Marks the buffer as handed out. */
    void setInUse();

    /** True from setInUse() to release(). */
    bool isInUse();

    /**
     * Takes the mark away and wakes everybody who waits in waitForRelease(). Only for synchronised
     * buffers: on another it is an assertion in debug builds, and in release builds takes the mark
     * away without waking anybody.
     */
    void release();

    /**
     * Returns at once if the buffer is not in use, and otherwise when it has been released, however
     * long that takes. It may have been marked again since then: who waits must be the only one
     * to mark it. On a buffer in use that is not synchronised this is an assertion in debug builds
     * and returns at once in release builds.
     */
    void waitForRelease();

private:
    Q_DISABLE_COPY(MivoBuffer)

    long size;
    unsigned char* data;
    bool ownsData;
    bool inUse;
    QMutex* mutex;
    QWaitCondition* condition;
    int id;

    static int maxId;
};

#endif
