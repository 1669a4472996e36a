#ifndef RECONNECTPAUSES_H
#define RECONNECTPAUSES_H

/**
 * The pauses between the tries to connect anew: 1, 2, 4 … at most 60 seconds, each shortened by up to
 * a quarter by chance, so that the clients of a server that was away do not come back all at once.
 */
class ReconnectPauses
{
public:
    /** The next pause, in milliseconds. */
    int next();
    /** The next pause is the first one again. */
    void reset();

private:
    int tries = 0;
};

#endif
