#include "Background.h"
#include "MivoBuffer.h"
#include "MivoFrameWidget.h"

#include <QApplication>
#include <QtTest>

#include <cstring>
#include <memory>
#include <vector>

namespace {

/** A frame of one colour, in a buffer that is handed out. */
std::unique_ptr<MivoBuffer> makeFrame(QSize size, QRgb colour, int extraBytes = 0)
{
    const long length = 3L * size.width() * size.height() + extraBytes;
    auto buffer = std::make_unique<MivoBuffer>(length, true);
    for (long i = 0; i + 2 < length; i += 3) {
        buffer->getData()[i] = uchar(qRed(colour));
        buffer->getData()[i + 1] = uchar(qGreen(colour));
        buffer->getData()[i + 2] = uchar(qBlue(colour));
    }
    buffer->setInUse();
    return buffer;
}

QImage paintedBy(QWidget& widget)
{
    return widget.grab().toImage();
}

} // namespace

class tst_MivoFrameWidget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aFrameIsShownPixelByPixel();
    void rowsAreReadWithoutPadding();
    void theRatioIsKept();
    void theBufferIsReleasedAtOnceAndCopied();
    void aBufferThatIsNotInUseIsLeftAlone();
    void whatIsNoFrameIsSkipped_data();
    void whatIsNoFrameIsSkipped();
    void onlyTheNewestFrameIsShown();
    void everyFrameCountsOnce();
    void aHiddenWidgetSkips();
    void theSizeHintIsThatOfTheFrame();
    void producersDoNotWaitForTheEventLoop();
    void framesComeFromManyThreads();
    void theNewestOfManyThreadsStays();
};

void tst_MivoFrameWidget::aFrameIsShownPixelByPixel()
{
    MivoFrameWidget widget;
    widget.resize(40, 30);
    QVERIFY(widget.frame().isNull());
    QCOMPARE(paintedBy(widget).pixelColor(20, 15), QColor(Qt::black));
    const auto frame = makeFrame(QSize(40, 30), qRgb(10, 20, 30));
    uchar* const pixel = frame->getData() + 3 * (40 * 7 + 5);
    pixel[0] = 255;
    pixel[1] = 0;
    pixel[2] = 128;
    widget.showFrame(frame.get(), QSize(40, 30));
    const QImage painted = paintedBy(widget);
    QCOMPARE(painted.pixelColor(0, 0), QColor(10, 20, 30));
    QCOMPARE(painted.pixelColor(39, 29), QColor(10, 20, 30));
    QCOMPARE(painted.pixelColor(5, 7), QColor(255, 0, 128));
    QCOMPARE(widget.frame().size(), QSize(40, 30));
}

void tst_MivoFrameWidget::rowsAreReadWithoutPadding()
{
    // Five pixels are fifteen bytes: no multiple of four, to which rows of images are padded.
    MivoFrameWidget widget;
    MivoBuffer frame(5 * 4 * 3, true);
    for (int i = 0; i < 60; ++i)
        frame.getData()[i] = uchar(i);
    frame.setInUse();
    widget.showFrame(&frame, QSize(5, 4));
    paintedBy(widget);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 5; ++x) {
            const int first = 3 * (5 * y + x);
            QCOMPARE(widget.frame().pixelColor(x, y), QColor(first, first + 1, first + 2));
        }
    }
}

void tst_MivoFrameWidget::theRatioIsKept()
{
    MivoFrameWidget widget;
    widget.resize(100, 100);
    const auto frame = makeFrame(QSize(20, 10), qRgb(255, 255, 255));
    widget.showFrame(frame.get(), QSize(20, 10));
    QImage painted = paintedBy(widget);
    QCOMPARE(painted.pixelColor(50, 50), QColor(Qt::white));
    QCOMPARE(painted.pixelColor(2, 30), QColor(Qt::white));
    QCOMPARE(painted.pixelColor(97, 70), QColor(Qt::white));
    QCOMPARE(painted.pixelColor(50, 20), QColor(Qt::black));
    QCOMPARE(painted.pixelColor(50, 80), QColor(Qt::black));
    widget.resize(30, 10);
    painted = paintedBy(widget);
    QCOMPARE(painted.pixelColor(2, 5), QColor(Qt::black));
    QCOMPARE(painted.pixelColor(27, 5), QColor(Qt::black));
    QCOMPARE(painted.pixelColor(15, 5), QColor(Qt::white));
    QCOMPARE(widget.shownFrames(), quint64(1)); // however often it is painted
}

void tst_MivoFrameWidget::theBufferIsReleasedAtOnceAndCopied()
{
    MivoFrameWidget widget;
    const auto frame = makeFrame(QSize(4, 4), qRgb(1, 2, 3));
    widget.showFrame(frame.get(), QSize(4, 4));
    QVERIFY(!frame->isInUse());
    std::memset(frame->getData(), 200, 48);
    paintedBy(widget);
    QCOMPARE(widget.frame().pixelColor(0, 0), QColor(1, 2, 3));
}

void tst_MivoFrameWidget::aBufferThatIsNotInUseIsLeftAlone()
{
    // Releasing one that is not synchronised would be an error.
    MivoFrameWidget widget;
    std::vector<unsigned char> bytes(48, 7);
    MivoBuffer borrowing(48, bytes.data(), false);
    widget.showFrame(&borrowing, QSize(4, 4));
    paintedBy(widget);
    QCOMPARE(widget.frame().pixelColor(0, 0), QColor(7, 7, 7));
}

void tst_MivoFrameWidget::whatIsNoFrameIsSkipped_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("one byte too short") << QSize(4, 5);
    QTest::newRow("no width") << QSize(0, 4);
    QTest::newRow("negative") << QSize(-4, -4);
    QTest::newRow("no size") << QSize();
    QTest::newRow("beyond an int") << QSize(65536, 65536);
    QTest::newRow("beyond everything") << QSize(2147483647, 2147483647);
    QTest::newRow("one endless row") << QSize(2147483647, 1);
}

void tst_MivoFrameWidget::whatIsNoFrameIsSkipped()
{
    QFETCH(const QSize, size);
    MivoFrameWidget widget;
    const auto good = makeFrame(QSize(4, 4), qRgb(1, 2, 3));
    widget.showFrame(good.get(), QSize(4, 4));
    MivoBuffer bad(4 * 5 * 3 - 1, true);
    bad.setInUse();
    widget.showFrame(&bad, size);
    QVERIFY(!bad.isInUse());
    widget.showFrame(nullptr, QSize(4, 4));
    QCOMPARE(widget.skippedFrames(), quint64(2));
    paintedBy(widget);
    QCOMPARE(widget.shownFrames(), quint64(1));
    QCOMPARE(widget.frame().pixelColor(0, 0), QColor(1, 2, 3));
}

void tst_MivoFrameWidget::onlyTheNewestFrameIsShown()
{
    MivoFrameWidget widget;
    const auto first = makeFrame(QSize(4, 4), qRgb(1, 1, 1));
    const auto second = makeFrame(QSize(8, 4), qRgb(2, 2, 2), 5);
    widget.showFrame(first.get(), QSize(4, 4));
    widget.showFrame(second.get(), QSize(8, 4));
    QCOMPARE(widget.shownFrames(), quint64(0));
    QCOMPARE(widget.skippedFrames(), quint64(1));
    paintedBy(widget);
    QCOMPARE(widget.frame().size(), QSize(8, 4));
    QCOMPARE(widget.frame().pixelColor(7, 3), QColor(2, 2, 2));
    QCOMPARE(widget.shownFrames(), quint64(1));
    QCOMPARE(widget.skippedFrames(), quint64(1));
}

void tst_MivoFrameWidget::everyFrameCountsOnce()
{
    MivoFrameWidget widget;
    const auto frame = makeFrame(QSize(4, 4), qRgb(1, 1, 1));
    for (int i = 0; i < 30; ++i) {
        frame->setInUse();
        widget.showFrame(frame.get(), QSize(4, 4));
        if (i % 3 == 2)
            paintedBy(widget);
    }
    QCOMPARE(widget.shownFrames(), quint64(10));
    QCOMPARE(widget.skippedFrames(), quint64(20));
}

void tst_MivoFrameWidget::aHiddenWidgetSkips()
{
    MivoFrameWidget widget;
    const auto frame = makeFrame(QSize(4, 4), qRgb(1, 1, 1));
    for (int i = 0; i < 5; ++i) {
        widget.showFrame(frame.get(), QSize(4, 4));
        QCoreApplication::processEvents();
    }
    QCOMPARE(widget.shownFrames(), quint64(0));
    QCOMPARE(widget.skippedFrames(), quint64(4));
    widget.show();
    QTRY_COMPARE(widget.shownFrames(), quint64(1));
}

void tst_MivoFrameWidget::theSizeHintIsThatOfTheFrame()
{
    MivoFrameWidget widget;
    QCOMPARE(widget.sizeHint(), QSize(320, 240));
    const auto frame = makeFrame(QSize(64, 48), qRgb(1, 1, 1));
    widget.showFrame(frame.get(), QSize(64, 48));
    QCOMPARE(widget.sizeHint(), QSize(64, 48));
    paintedBy(widget);
    QCOMPARE(widget.sizeHint(), QSize(64, 48));
}

void tst_MivoFrameWidget::producersDoNotWaitForTheEventLoop()
{
    MivoFrameWidget widget;
    widget.show();
    // No event is handled here until the producer has ended, so that nothing is painted.
    Background producer([&] {
        const auto frame = makeFrame(QSize(4, 4), qRgb(1, 1, 1));
        for (int i = 0; i < 1000; ++i) {
            widget.showFrame(frame.get(), QSize(4, 4));
            frame->waitForRelease();
            frame->setInUse();
        }
    });
    QVERIFY(producer.ends());
    QCOMPARE(widget.skippedFrames(), quint64(999));
    QTRY_COMPARE(widget.shownFrames(), quint64(1));
}

void tst_MivoFrameWidget::framesComeFromManyThreads()
{
    MivoFrameWidget widget;
    widget.resize(64, 48);
    widget.show();
    const int producers = 4;
    const int frames = 500;
    std::vector<std::unique_ptr<Background>> threads;
    for (int i = 0; i < producers; ++i) {
        threads.push_back(std::make_unique<Background>([&widget, i] {
            const QSize size(16 + i, 12);
            for (int j = 0; j < frames; ++j) {
                const auto frame = makeFrame(size, qRgb(i, i, i));
                widget.showFrame(frame.get(), size);
                if (frame->isInUse())
                    qFatal("a frame was not released");
            }
        }));
    }
    for (const auto& thread : threads)
        QTRY_VERIFY_WITH_TIMEOUT(thread->isFinished(), 120000);
    const quint64 given = producers * frames;
    // The last one is painted sooner or later; none is lost, none counted twice.
    QTRY_COMPARE(widget.shownFrames() + widget.skippedFrames(), given);
    QVERIFY(widget.shownFrames() >= 1);
    const QImage last = widget.frame();
    const int producer = last.width() - 16;
    QCOMPARE(last.pixelColor(0, 0), QColor(producer, producer, producer));
    QCOMPARE(last.pixelColor(last.width() - 1, 11), QColor(producer, producer, producer));
}

void tst_MivoFrameWidget::theNewestOfManyThreadsStays()
{
    MivoFrameWidget widget;
    {
        std::vector<std::unique_ptr<Background>> threads;
        for (int i = 0; i < 3; ++i) {
            threads.push_back(std::make_unique<Background>([&widget] {
                const auto frame = makeFrame(QSize(4, 4), qRgb(9, 9, 9));
                for (int j = 0; j < 200; ++j)
                    widget.showFrame(frame.get(), QSize(4, 4));
            }));
        }
    }
    // All others have been given before.
    const auto frame = makeFrame(QSize(6, 4), qRgb(1, 2, 3));
    widget.showFrame(frame.get(), QSize(6, 4));
    paintedBy(widget);
    QCOMPARE(widget.frame().size(), QSize(6, 4));
    QCOMPARE(widget.shownFrames() + widget.skippedFrames(), quint64(601));
}

QTEST_MAIN(tst_MivoFrameWidget)
#include "tst_mivoframewidget.moc"
