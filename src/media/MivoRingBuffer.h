#ifndef MIVORINGBUFFER_H
#define MIVORINGBUFFER_H

#include "MivoRemovable.h"

#include <QVector>

class MivoBuffer;

/**
 * A ring of synchronised buffers of one size, which a producer fills in strict turn. Each
 * getBuffer() hands out the next buffer and marks it as in use; a consumer releases it with
 * MivoBuffer::release() when it has read it. No buffer is ever skipped, which keeps frames in
 * order: a producer that is a whole ring ahead waits for the oldest frame, even if later ones are
 * free.
 *
 * One producer thread makes, fills, resizes and destroys the ring; its fields are not locked.
 * Consumers in other threads only call MivoBuffer::release() on the buffers they were given.
 * countUsed() and isUnused() may be called from any thread while the producer does not create,
 * remove or resize.
 *
 * The buffers belong to the ring and are gone with it; consumers borrow them from getBuffer() to
 * release(). A ring that has been handed to MivoGarbageCollector still belongs to who made it.
 */
class MIVO_DATA_EXPORT MivoRingBuffer : public MivoRemovable
{
public:
    /** A ring without buffers, of count 0 and size 0. */
    MivoRingBuffer();

    /** A ring of @p count buffers, as create() makes them. */
    MivoRingBuffer(int count, int size);

    /** True when no buffer is in use. */
    bool isUnused() override;

    /** As remove(): waits until the last buffer has been released, for ever if it never is. */
    ~MivoRingBuffer() override;

    /** The size of each buffer in bytes, as last asked for. */
    int getSize();

    /** The number of buffers, as last asked for. */
    int count();

    /** How many buffers are handed out and not yet released. */
    int countUsed();

    /**
     * Appends @p count buffers of @p size bytes, none if @p count is below 1, and starts the turn
     * anew at the first buffer. Buffers that are there already stay, and the turn runs over the
     * first @p count buffers of all: call remove() before, or use resize(). If the allocator
     * throws, its exception is passed on and the ring is as it was.
     */
    void create(int count, int size);

    /**
     * The next buffer in turn, in use; waits until its consumer has released it, however long that
     * takes. A ring without buffers has none to give: that is an assertion in debug builds and
     * answers null in release builds.
     */
    MivoBuffer* getBuffer();

    /**
     * Waits until every buffer has been released, one after the other in ring order, for ever if
     * one never is. The name is spelt this way and stays so: plug-ins call it.
     */
    void waitForRelese();

    /**
     * Waits as waitForRelese() does, then deletes all buffers in ring order. count() and getSize()
     * keep their values, but there is no buffer to get before the next create().
     */
    void remove();

    /**
     * Does nothing if the ring already has this @p count and @p size (also if they are left over
     * from before a remove()), else replaces all buffers by remove() and create(). If the allocator
     * throws, its exception is passed on and the ring is empty, of count 0 and size 0.
     */
    void resize(int count, int size);

private:
    Q_DISABLE_COPY(MivoRingBuffer)

    QVector<MivoBuffer*> buffers;
    int nextIndex;
    int bufferCount;
    int bufferSize;
};

#endif
