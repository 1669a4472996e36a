#ifndef FRAMESCONSUMER_H
#define FRAMESCONSUMER_H

#include <MivoPlugin.h>

#include <QByteArray>
#include <QElapsedTimer>
#include <QSize>

class MivoBuffer;

/**
 * Checks that every test frame (TestFrame.h) is the whole of the next one, measures how many come,
 * and releases them. Frames arrive in the dispatcher's thread and are checked in the plug-in's own.
 */
class FramesConsumer : public MivoPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID MivoPlugin_iid FILE "mivo_plugin.json")

public:
    FramesConsumer();

    QString name() const override;
    QString version() const override;

public Q_SLOTS:
    /** Begins anew: the Ints of width and height say the size of what comes from frame 0 on. */
    void begin(MivoPlugin* sender, QList<MivoArg>& arguments);
    /**
     * Answers four values on the frames since begin(): the Int64 of all, the Int64 of those that
     * were wrong, the Int64 of nanoseconds up to the end of the last one, and a String of what was
     * first wrong, which is empty when all were right.
     */
    void statistics(MivoPlugin* sender, QList<MivoArg>& arguments);
    /** Has the next frame copied, in place of any that was kept before; answers nothing. */
    void keepFrame(MivoPlugin* sender, QList<MivoArg>& arguments);
    /**
     * Answers the copy: a Pointer to its bytes, the Ints of its width and height and the Int64 of
     * its number; nothing when there is none. The bytes are the plug-in's, and are there until the
     * next begin() or keepFrame() or the end of the plug-in.
     */
    void keptFrame(MivoPlugin* sender, QList<MivoArg>& arguments);

    /**
     * An action: takes the Pointer to the MivoBuffer of a frame, which is released when checked.
     * Throws a std::invalid_argument when it is null.
     */
    void takeFrame(QList<MivoArg>& arguments);

private:
    void receive(MivoBuffer& buffer);
    QString faultIn(MivoBuffer& buffer);

    QSize size;
    quint32 next; // the number that the next frame must have, modulo testFrameCount
    qint64 received;
    qint64 wrong;
    qint64 elapsed;
    QString firstFault;
    QElapsedTimer clock;
    QByteArray expectedRow;
    bool keepsNext;
    QByteArray kept;
    qint64 keptNumber;
};

#endif
