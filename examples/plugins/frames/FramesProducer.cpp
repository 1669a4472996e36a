#include "FramesProducer.h"

#include "FrameRing.h"
#include "TestFrame.h"

#include <MivoBuffer.h>
#include <MivoGarbageCollector.h>
#include <MivoHost.h>
#include <MivoResolution.h>

#include <QElapsedTimer>

#include <algorithm>
#include <stdexcept>

namespace {

const int ringCount = 3;
const qint64 mostBytes = Q_INT64_C(256) << 20;

bool fitsInto(QSize size, QSize wanted)
{
    return size.width() <= wanted.width() && size.height() <= wanted.height();
}

/**
 * The largest size on the ladder that does not exceed @p wanted, else the smallest. Not what
 * MivoResolution::getNearestResolution() answers: that wants a size strictly inside, and gives the
 * smallest where it is asked for a size of the ladder or for one beyond it.
 */
QSize largestThatFits(QSize wanted, float ratio)
{
    MivoResolution ladder(ratio, 0);
    QSize chosen = ladder.getFirstResolution();
    QSize next = ladder.getNextResolution(chosen);
    while (next != chosen && fitsInto(next, wanted)) {
        chosen = next;
        next = ladder.getNextResolution(chosen);
    }
    return chosen;
}

} // namespace

FramesProducer::FramesProducer()
    : host(nullptr)
    , timer(this)
    , made(0)
    , waited(0)
    , longestWait(0)
{
    connect(&timer, SIGNAL(timeout()), this, SLOT(makeFrame()));
}

FramesProducer::~FramesProducer() = default;

QString FramesProducer::name() const
{
    return QLatin1String("frames_producer");
}

QString FramesProducer::version() const
{
    return QLatin1String(MIVO_VERSION_STR);
}

bool FramesProducer::initialise(MivoHost& newHost)
{
    host = &newHost;
    return true;
}

void FramesProducer::shutdown()
{
    end();
}

void FramesProducer::start(MivoPlugin*, QList<MivoArg>& arguments)
{
    const QSize wanted(arguments.value(0).toInt(), arguments.value(1).toInt());
    const float ratio = arguments.value(2).toFloat();
    if (ring)
        throw std::runtime_error("the frames run already");
    MivoPlugin* const consumer = host->findPlugin(QLatin1String("frames_consumer"));
    if (!consumer)
        throw std::runtime_error("there is no plug-in frames_consumer");
    // Extreme ratios have sizes without height on their ladders, and sizes of many gigabytes.
    const QSize chosen = largestThatFits(wanted, ratio);
    if (chosen.isEmpty() || testFrameBytes(chosen) > mostBytes)
        throw std::runtime_error(QString("the ladder of the ratio %1 has no frame size for %2x%3")
                                     .arg(QString::number(double(ratio)),
                                          QString::number(wanted.width()),
                                          QString::number(wanted.height()))
                                     .toStdString());

    takeFrame = host->action(consumer, "takeFrame", {});
    std::unique_ptr<FrameRing> newRing(new FrameRing(ringCount, int(testFrameBytes(chosen))));
    arguments = QList<MivoArg>() << MivoArg(chosen.width()) << MivoArg(chosen.height());
    host->call(consumer, "begin", arguments, this);

    ring = std::move(newRing);
    size = chosen;
    made = 0;
    waited = 0;
    longestWait = 0;
    timer.start(0);
}

void FramesProducer::stop(MivoPlugin*, QList<MivoArg>& arguments)
{
    end();
    arguments.clear();
}

void FramesProducer::statistics(MivoPlugin*, QList<MivoArg>& arguments) const
{
    arguments = QList<MivoArg>() << MivoArg(made) << MivoArg(waited) << MivoArg(longestWait);
}

void FramesProducer::rings(MivoPlugin*, QList<MivoArg>& arguments)
{
    arguments = QList<MivoArg>() << MivoArg(FrameRing::alive());
}

void FramesProducer::makeFrame()
{
    QElapsedTimer clock;
    clock.start();
    MivoBuffer* const buffer = ring->getBuffer();
    const qint64 wait = clock.nsecsElapsed();
    waited += wait;
    longestWait = std::max(longestWait, wait);

    const qint64 rowBytes = testFrameBytes(QSize(size.width(), 1));
    unsigned char* row = buffer->getData();
    for (int y = 0; y < size.height(); ++y, row += rowBytes)
        drawTestRow(row, size.width(), y, quint32(made));
    ++made;

    QList<MivoArg> arguments = takeFrame.getActionData();
    arguments.append(MivoArg(static_cast<void*>(buffer)));
    takeFrame(arguments);
}

void FramesProducer::end()
{
    timer.stop();
    if (!ring)
        return;
    if (MivoGarbageCollector* const collector = MivoGarbageCollector::getInstance())
        collector->add(ring.release());
    else
        ring.reset(); // waits for the consumer
}
