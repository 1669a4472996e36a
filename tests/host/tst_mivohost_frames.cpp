#include "MivoHostCommand.h"

#include <QtTest>

#include <png.h>

namespace {

Outcome frames(const QStringList& arguments)
{
    return mivoHost(QStringList("frames") + arguments);
}

struct Picture
{
    QSize size;
    QByteArray pixels; // red, green and blue, a byte each
};

/** The picture in a PNG file of colours without transparency; a null size if it is none. */
Picture readPng(const QString& file)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, QFile::encodeName(file).constData())
        || image.format != PNG_FORMAT_RGB)
        return {};
    Picture picture;
    picture.pixels.resize(int(PNG_IMAGE_SIZE(image)));
    if (!png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr))
        return {};
    picture.size = QSize(int(image.width), int(image.height));
    return picture;
}

/** Row @p y of frame @p n, in the format of Picture::pixels. */
QByteArray rowOfFrame(int y, int width, qint64 n)
{
    QByteArray row;
    for (int x = 0; x < width; ++x) {
        row.append(char((x + n) % 256));
        row.append(char((y + n / 256) % 256));
        row.append(char(((x ^ y) + n / 65536) % 256));
    }
    return row;
}

} // namespace

/** The command "frames" of mivo-host as its user sees it. */
class MivoHostFramesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theFramesAreCountedTimedAndShown();
    void theSizeFitsTheRatio();
    void aPictureReplacesTheOneBefore();
    void aPictureThatCannotBeFinishedLeavesTheOneBefore();
    void wrongUsageIsExplained_data();
    void wrongUsageIsExplained();
    void aFailureIsOneSentence_data();
    void aFailureIsOneSentence();
    void aPictureThatCannotBeWrittenIsRefusedBeforeAnyFrame_data();
    void aPictureThatCannotBeWrittenIsRefusedBeforeAnyFrame();
};

void MivoHostFramesTest::theFramesAreCountedTimedAndShown()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath("frame.png");
    QElapsedTimer clock;
    clock.start();
    const Outcome outcome = frames({"--size", "650x490", "--seconds", "2", "--png", file});
    const double allSeconds = double(clock.elapsed()) / 1000;
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);

    static const QRegularExpression expected(
        "\\A\\[main      \\] the frames are 640x480, for a wanted size of 650x490 and a ratio of "
        "4:3\n"
        "\\[main      \\] 1 s: (?<first>\\d+) frames received, 0 of them wrong\n"
        "\\[main      \\] 2 s: (?<second>\\d+) frames received, 0 of them wrong\n"
        "\\[main      \\] the garbage collector has let go of the ring\n"
        "\\[main      \\] received (?<received>\\d+) of (?<made>\\d+) frames in "
        "(?<seconds>\\d+\\.\\d+) s: (?<rate>\\d+\\.\\d) frames per second\n"
        "\\[main      \\] the producer waited (?<waited>\\d+\\.\\d+) s for the consumer, at most "
        "(?<longest>\\d+\\.\\d+) ms for one frame\n"
        "\\[main      \\] wrote frame (?<number>\\d+) to (?<file>.*)\n\\z");
    const QRegularExpressionMatch match = expected.match(outcome.out);
    QVERIFY2(match.hasMatch(), qPrintable(outcome.out));
    const auto number = [&match](const char* name) { return match.captured(name).toDouble(); };

    QVERIFY(number("second") >= number("first"));
    QVERIFY(number("received") >= number("second"));
    QVERIFY(number("received") > 0);
    QCOMPARE(number("received"), number("made"));
    QVERIFY2(number("seconds") > 1.5 && number("seconds") <= allSeconds, qPrintable(outcome.out));
    const double rate = number("received") / number("seconds");
    QVERIFY2(qAbs(number("rate") - rate) < 0.01 * rate + 0.1, qPrintable(outcome.out));
    QVERIFY2(number("waited") <= number("seconds"), qPrintable(outcome.out));
    QVERIFY2(number("longest") / 1000 <= number("waited") + 0.001, qPrintable(outcome.out));
    QVERIFY2(number("longest") > 0, qPrintable(outcome.out));

    const qint64 frame = match.captured("number").toLongLong();
    QVERIFY(frame > 0 && frame < number("received"));
    QCOMPARE(match.captured("file"), file);
    const Picture picture = readPng(file);
    QCOMPARE(picture.size, QSize(640, 480));
    for (int y = 0; y < 480; ++y)
        QCOMPARE(picture.pixels.mid(y * 640 * 3, 640 * 3), rowOfFrame(y, 640, frame));
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList("frame.png"));
}

void MivoHostFramesTest::theSizeFitsTheRatio()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath("frame.png");
    const Outcome outcome
        = frames({"--seconds", "1", "--ratio", "16:9", "--size", "600x600", "--png", file});
    QCOMPARE(outcome.error, QString());
    QVERIFY2(outcome.out.startsWith("[main      ] the frames are 512x288, for a wanted size of "
                                    "600x600 and a ratio of 16:9\n"),
             qPrintable(outcome.out));
    QCOMPARE(readPng(file).size, QSize(512, 288));
    QCOMPARE(outcome.status, 0);
}

void MivoHostFramesTest::aPictureReplacesTheOneBefore()
{
    const QTemporaryDir folder;
    const QString name = folder.filePath("a frame.png");
    QFile old(name);
    QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
    old.close();
    const Outcome outcome = frames({"--size", "64x48", "--seconds", "1", "--png", name});
    QCOMPARE(outcome.error, QString());
    QCOMPARE(outcome.status, 0);
    QCOMPARE(readPng(name).size, QSize(64, 48));
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void MivoHostFramesTest::aPictureThatCannotBeFinishedLeavesTheOneBefore()
{
    const QTemporaryDir folder;
    const QString name = folder.filePath("frame.png");
    QFile old(name);
    QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
    old.close();
    // No file may grow, as on a full disk.
    const Outcome outcome
        = outcomeOf("/bin/sh",
                    {"-c", "trap '' XFSZ; ulimit -f 0; exec \"$0\" frames --seconds 1 --png \"$1\"",
                     MIVO_HOST, name});
    QCOMPARE(outcome.error,
             QString("mivo-host frames: %1: cannot be written: File too large\n").arg(name));
    QCOMPARE(outcome.status, 1);
    QVERIFY(old.open(QIODevice::ReadOnly));
    QCOMPARE(old.readAll(), QByteArray("old"));
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList("frame.png"));
}

void MivoHostFramesTest::wrongUsageIsExplained_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("sentence");
    const QString size = "--size: found \"%1\"; expected WxH, whole numbers from 1 to 16384";
    for (const char* value :
         {"0x0", "640x0", "0x480", "640", "640x", "x480", "-640x480", "640X480", "640x480x2",
          " 640x480", "640x480\n", "6.5x4", "16385x1", "1x16385", "99999999999x1"})
        QTest::addRow("size \"%s\"", value)
            << QStringList({"--size", value}) << size.arg(QString(value).replace('\n', "\\u000a"));
    const QString ratio = "--ratio: found \"%1\"; expected W:H, whole numbers from 1 to 1000";
    for (const char* value : {"0:1", "1:0", "4", "4/3", "4x3", "1001:1", "nan:1"})
        QTest::addRow("ratio \"%s\"", value) << QStringList({"--ratio", value}) << ratio.arg(value);
    const QString seconds = "--seconds: found \"%1\"; expected a whole number from 1 to 86400";
    for (const char* value : {"x", "0", "-1", "+1", "1.5", "86401", "99999999999", " 1"})
        QTest::addRow("seconds \"%s\"", value)
            << QStringList({"--seconds", value}) << seconds.arg(value);
    QTest::newRow("no file") << QStringList({"--png", ""})
                             << "--png: found an empty text; expected the name of a file";
    QTest::newRow("an empty size") << QStringList({"--size", ""})
                                   << "--size: found an empty text; expected WxH, whole numbers "
                                      "from 1 to 16384";
    QTest::newRow("no value") << QStringList(
        {"--seconds", "1",
         "--size"}) << "--size: found nothing; expected WxH, whole numbers from 1 to 16384";
    QTest::newRow("no option") << QStringList("640x480") << "found 1 arguments; expected none";
}

void MivoHostFramesTest::wrongUsageIsExplained()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, sentence);
    const Outcome outcome = frames(arguments);
    const QString begin = "mivo-host frames: " + sentence + "\nusage: mivo-host frames [--size";
    QVERIFY2(outcome.error.startsWith(begin), qPrintable(outcome.error));
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 2);
}

void MivoHostFramesTest::aFailureIsOneSentence_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("sentence");
    QTest::newRow("a ratio that only fits heights of 0")
        << QStringList({"--ratio", "1000:1"})
        << "frames_producer: start failed: the ladder of the ratio 1000 has no frame size for "
           "640x480";
    QTest::newRow("a ratio whose first size with a height is too wide")
        << QStringList({"--ratio", "100:1", "--size", "1551x1000"})
        << "frames_producer: start failed: the ladder of the ratio 100 has no frame size for "
           "1551x1000";
}

void MivoHostFramesTest::aFailureIsOneSentence()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, sentence);
    const Outcome outcome = frames(arguments);
    QCOMPARE(outcome.error, "mivo-host frames: " + sentence + '\n');
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 1);
}

void MivoHostFramesTest::aPictureThatCannotBeWrittenIsRefusedBeforeAnyFrame_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("reason");
    QTest::newRow("no such folder") << "/no/such/folder/frame.png"
                                    << "No such file or directory";
    QTest::newRow("a file as a folder") << QString(MIVO_HOST) + "/frame.png"
                                        << "Not a directory";
    QTest::newRow("a folder") << QDir::tempPath() << "found a folder; expected a regular file";
    QTest::newRow("a device") << "/dev/null"
                              << "found a device; expected a regular file";
}

void MivoHostFramesTest::aPictureThatCannotBeWrittenIsRefusedBeforeAnyFrame()
{
    QFETCH(QString, file);
    QFETCH(QString, reason);
    const Outcome outcome = frames({"--png", file});
    QCOMPARE(outcome.error,
             QString("mivo-host frames: %1: cannot be written: %2\n").arg(file, reason));
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.status, 1);
}

QTEST_GUILESS_MAIN(MivoHostFramesTest)
#include "tst_mivohost_frames.moc"
