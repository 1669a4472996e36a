#include "Commands.h"
#include "Console.h"
#include "ExamplePlugins.h"
#include "Files.h"
#include "PngPicture.h"
#include "Session.h"

#include <MivoGarbageCollector.h>
#include <MivoPlugin.h>
#include <MivoPluginThread.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QRegularExpression>
#include <QSize>
#include <QTimer>

#include <algorithm>

namespace {

const int patienceMs = 10000;

struct Options
{
    QSize size = {640, 480};
    QSize ratio = {4, 3};
    int seconds = 3;
    QString png;
};

/** The whole number that @p digits stand for, 0 if it is not from 1 to @p highest. */
int numberFrom(const QString& digits, int highest)
{
    const int number = digits.toInt();
    return number <= highest ? number : 0;
}

[[noreturn]] void refuse(const QString& option, const QString& found, const QString& expected)
{
    throw UsageError(QString("%1: found \"%2\"; expected %3").arg(option, found, expected));
}

/** The two numbers from 1 to @p highest on both sides of @p separator. */
QSize pairFrom(const QString& option, const QString& text, char separator, int highest)
{
    static const QString pattern("\\A([0-9]+)%1([0-9]+)\\z");
    const QRegularExpressionMatch match
        = QRegularExpression(pattern.arg(QLatin1Char(separator))).match(text);
    const QSize pair(numberFrom(match.captured(1), highest),
                     numberFrom(match.captured(2), highest));
    if (pair.isEmpty())
        refuse(
            option, text,
            QString("W%1H, whole numbers from 1 to %2").arg(QLatin1Char(separator)).arg(highest));
    return pair;
}

int secondsFrom(const QString& option, const QString& text)
{
    const int highest = 86400;
    static const QRegularExpression digits("\\A[0-9]+\\z");
    const int seconds = digits.match(text).hasMatch() ? numberFrom(text, highest) : 0;
    if (seconds == 0)
        refuse(option, text, QString("a whole number from 1 to %1").arg(highest));
    return seconds;
}

Options optionsFrom(const Arguments& arguments)
{
    Options options;
    if (arguments.has("--size"))
        options.size = pairFrom("--size", arguments.value("--size"), 'x', 16384);
    if (arguments.has("--ratio"))
        options.ratio = pairFrom("--ratio", arguments.value("--ratio"), ':', 1000);
    if (arguments.has("--seconds"))
        options.seconds = secondsFrom("--seconds", arguments.value("--seconds"));
    options.png = arguments.value("--png");
    return options;
}

QString text(QSize size)
{
    return QString("%1x%2").arg(size.width()).arg(size.height());
}

QString seconds(qint64 nanoseconds)
{
    return QString::number(double(nanoseconds) / 1e9, 'f', 3);
}

/** The collector's rounds run in this thread, and need its event loop. */
void runEventLoop(qint64 milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(int(std::max(qint64(0), milliseconds)), &loop, SLOT(quit()));
    loop.exec();
}

/** What the consumer has counted. */
struct Received
{
    explicit Received(const QList<MivoArg>& statistics)
        : frames(statistics.at(0).toInt64())
        , wrong(statistics.at(1).toInt64())
        , nanoseconds(statistics.at(2).toInt64())
        , fault(statistics.at(3).toString())
    {
    }

    qint64 frames;
    qint64 wrong;
    qint64 nanoseconds;
    QString fault;
};

/** The frames on their way from the plug-in that makes them to the one that checks them. */
class Stream
{
public:
    explicit Stream(Session& newSession)
        : session(newSession)
        , consumer(newSession.load(examplePlugin("frames_consumer")))
        , producer(newSession.load(examplePlugin("frames_producer")))
    {
    }

    /** Stops: the host could not shut down while the producer waits for frames to come back. */
    ~Stream()
    {
        try {
            stop();
        } catch (const std::exception& error) {
            Console::error(QString("mivo-host frames: %1").arg(error.what()));
        }
    }

    QSize start(QSize wanted, QSize ratio)
    {
        const float quotient = float(ratio.width()) / float(ratio.height());
        const QList<MivoArg> size
            = session.call(producer, "start",
                           {MivoArg(wanted.width()), MivoArg(wanted.height()), MivoArg(quotient)});
        runs = true;
        return {size.at(0).toInt(), size.at(1).toInt()};
    }

    void stop()
    {
        if (runs)
            session.call(producer, "stop", {});
        runs = false;
    }

    Received received() const { return Received(session.call(consumer, "statistics", {})); }
    QList<MivoArg> made() const { return session.call(producer, "statistics", {}); }
    void keepFrame() const { session.call(consumer, "keepFrame", {}); }
    QList<MivoArg> keptFrame() const { return session.call(consumer, "keptFrame", {}); }

    /** Waits until the collector has let go of the ring: the consumer has released every frame. */
    void waitForTheEnd() const
    {
        QElapsedTimer elapsed;
        elapsed.start();
        while (session.call(producer, "rings", {}).at(0).toInt() > 0) {
            if (elapsed.elapsed() > patienceMs)
                throw Failure(
                    QString("the ring is still in use %1 ms after the last frame").arg(patienceMs));
            runEventLoop(10);
        }
    }

private:
    Q_DISABLE_COPY(Stream)

    Session& session;
    MivoPlugin* consumer;
    MivoPlugin* producer;
    bool runs = false;
};

void watch(const Stream& stream, const Options& options)
{
    QElapsedTimer elapsed;
    elapsed.start();
    for (int second = 1; second <= options.seconds; ++second) {
        if (second == options.seconds && !options.png.isEmpty())
            stream.keepFrame();
        runEventLoop(second * qint64(1000) - elapsed.elapsed());
        const Received received = stream.received();
        Console::say(QString("%1 s: %2 frames received, %3 of them wrong")
                         .arg(second)
                         .arg(received.frames)
                         .arg(received.wrong));
        Console::requireWritten();
    }
}

void report(const Stream& stream)
{
    const Received received = stream.received();
    const QList<MivoArg> made = stream.made();
    Console::say(QString("received %1 of %2 frames in %3 s: %4 frames per second")
                     .arg(received.frames)
                     .arg(made.at(0).toInt64())
                     .arg(seconds(received.nanoseconds))
                     .arg(double(received.frames) * 1e9 / double(received.nanoseconds), 0, 'f', 1));
    Console::say(QString("the producer waited %1 s for the consumer, at most %2 ms for one frame")
                     .arg(seconds(made.at(1).toInt64()),
                          QString::number(double(made.at(2).toInt64()) / 1e6, 'f', 3)));
    if (received.wrong > 0)
        throw Failure(QString("%1 of %2 frames were wrong; the first: %3")
                          .arg(received.wrong)
                          .arg(received.frames)
                          .arg(received.fault));
    if (received.frames != made.at(0).toInt64())
        throw Failure("frames were lost");
}

void writePicture(const Stream& stream, const QString& file)
{
    const QList<MivoArg> frame = stream.keptFrame();
    if (frame.isEmpty())
        throw Failure("no frame came in time for the picture");
    const QSize size(frame.at(1).toInt(), frame.at(2).toInt());
    PngPicture::write(file, static_cast<const unsigned char*>(frame.at(0).toPointer()), size);
    Console::say(QString("wrote frame %1 to %2").arg(frame.at(3).toInt64()).arg(file));
}

} // namespace

void runFrames(const Arguments& arguments)
{
    const Options options = optionsFrom(arguments);
    if (!options.png.isEmpty())
        Files::requireWritable(options.png);

    MivoGarbageCollector::getInstance(); // made here, so that its rounds run here
    Session session;
    Stream stream(session);
    session.start();
    const QSize size = stream.start(options.size, options.ratio);
    Console::say(QString("the frames are %1, for a wanted size of %2 and a ratio of %3:%4")
                     .arg(text(size), text(options.size))
                     .arg(options.ratio.width())
                     .arg(options.ratio.height()));
    watch(stream, options);
    stream.stop();
    stream.waitForTheEnd();
    Console::say("the garbage collector has let go of the ring");
    report(stream);
    if (!options.png.isEmpty())
        writePicture(stream, options.png);
}
