#include "FramesConsumer.h"

#include "TestFrame.h"

#include <MivoBuffer.h>

#include <cstring>
#include <stdexcept>

FramesConsumer::FramesConsumer()
    : next(0)
    , received(0)
    , wrong(0)
    , elapsed(0)
    , keepsNext(false)
    , keptNumber(0)
{
}

QString FramesConsumer::name() const
{
    return QLatin1String("frames_consumer");
}

QString FramesConsumer::version() const
{
    return QLatin1String(MIVO_VERSION_STR);
}

void FramesConsumer::begin(MivoPlugin*, QList<MivoArg>& arguments)
{
    size = QSize(arguments.value(0).toInt(), arguments.value(1).toInt());
    next = 0;
    received = 0;
    wrong = 0;
    elapsed = 0;
    firstFault.clear();
    expectedRow.resize(int(testFrameBytes(QSize(size.width(), 1))));
    keepsNext = false;
    kept.clear();
    arguments.clear();
    clock.start();
}

void FramesConsumer::statistics(MivoPlugin*, QList<MivoArg>& arguments)
{
    arguments = QList<MivoArg>() << MivoArg(received) << MivoArg(wrong) << MivoArg(elapsed)
                                 << MivoArg(firstFault);
}

void FramesConsumer::keepFrame(MivoPlugin*, QList<MivoArg>& arguments)
{
    kept.clear();
    keepsNext = true;
    arguments.clear();
}

void FramesConsumer::keptFrame(MivoPlugin*, QList<MivoArg>& arguments)
{
    arguments.clear();
    if (!kept.isEmpty())
        arguments << MivoArg(static_cast<void*>(kept.data())) << MivoArg(size.width())
                  << MivoArg(size.height()) << MivoArg(keptNumber);
}

void FramesConsumer::takeFrame(QList<MivoArg>& arguments)
{
    MivoBuffer* const buffer = static_cast<MivoBuffer*>(arguments.value(0).toPointer());
    if (!buffer)
        throw std::invalid_argument("found a null frame; expected the Pointer to a MivoBuffer");
    // The dispatcher has other plug-ins to serve, and actions keep their order on the way.
    QMetaObject::invokeMethod(
        this, [this, buffer] { receive(*buffer); }, Qt::QueuedConnection);
}

void FramesConsumer::receive(MivoBuffer& buffer)
{
    const QString fault = faultIn(buffer);
    if (!fault.isEmpty()) {
        ++wrong;
        if (firstFault.isEmpty())
            firstFault = fault;
    } else if (keepsNext) {
        kept = QByteArray(reinterpret_cast<const char*>(buffer.getData()), int(buffer.getSize()));
        keptNumber = received;
        keepsNext = false;
    }
    ++received;
    elapsed = clock.nsecsElapsed();
    buffer.release();
}

/** What is wrong with the frame, empty when it is right; the frame after it is the next. */
QString FramesConsumer::faultIn(MivoBuffer& buffer)
{
    if (size.isEmpty() || buffer.getSize() != testFrameBytes(size))
        return QString("found a frame of %1 bytes; expected %2x%3 pixels")
            .arg(buffer.getSize())
            .arg(size.width())
            .arg(size.height());

    const unsigned char* row = buffer.getData();
    const quint32 expected = next;
    const quint32 number = testFrameNumber(row);
    next = (number + 1) % testFrameCount;
    if (number != expected)
        return QString("found frame %1; expected frame %2").arg(number).arg(expected);

    for (int y = 0; y < size.height(); ++y, row += expectedRow.size()) {
        drawTestRow(reinterpret_cast<unsigned char*>(expectedRow.data()), size.width(), y, number);
        if (std::memcmp(row, expectedRow.constData(), size_t(expectedRow.size())) != 0)
            return QString("found another picture in row %1 of frame %2").arg(y).arg(number);
    }
    return QString();
}
