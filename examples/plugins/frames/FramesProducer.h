#ifndef FRAMESPRODUCER_H
#define FRAMESPRODUCER_H

#include <MivoPlugin.h>
#include <MivoPluginAction.h>

#include <QSize>
#include <QTimer>

#include <memory>

class FrameRing;

/**
 * Renders test frames (TestFrame.h) into a ring of three buffers, as fast as the consumer checks
 * them. It renders in its own thread, a frame at a time, so that calls are served in between. Each
 * frame goes to the plug-in "frames_consumer" as a Pointer to its MivoBuffer, by the action
 * "takeFrame": posted, for a synchronous call would wait until the frame has been checked, and
 * nobody would ever be ahead of anybody.
 */
class FramesProducer : public MivoPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")

public:
    FramesProducer();
    ~FramesProducer() override;

    QString name() const override;
    QString version() const override;
    bool initialise(MivoHost& newHost) override;
    void shutdown() override;

public Q_SLOTS:
    /**
     * Begins with frame 0. Takes the Ints of a wanted width and height and the Float of their
     * ratio. Chooses the largest size of the ratio's ladder that does not exceed the wanted one, or
     * else the smallest, and answers its two Ints. Throws a std::runtime_error when the ladder has
     * no such size, when there is no consumer, or when the frames run already.
     *
     * To be stopped before the host shuts down: without a dispatcher no frame comes back.
     */
    void start(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Ends, and hands the ring to the garbage collector; answers nothing. */
    void stop(MivoPlugin* sender, QList<MivoArg>& arguments);
    /**
     * Answers three Int64 on the frames since start(): how many, the nanoseconds that it waited in
     * all for the consumer to release a buffer, and the longest of these waits.
     */
    void statistics(MivoPlugin* sender, QList<MivoArg>& arguments) const;
    /** Answers the Int of rings in memory, those that have been handed to the collector included.
     */
    void rings(MivoPlugin* sender, QList<MivoArg>& arguments);

private Q_SLOTS:
    void makeFrame();

private:
    void end();

    MivoHost* host;
    QTimer timer;
    std::unique_ptr<FrameRing> ring; // while it runs
    MivoPluginAction takeFrame;
    QSize size;
    qint64 made;
    qint64 waited;
    qint64 longestWait;
};

#endif
