#ifndef MIVOFRAMEWIDGET_H
#define MIVOFRAMEWIDGET_H

#include "MivoWidgetsGlobal.h"

#include <QImage>
#include <QWidget>

#include <memory>

class MivoBuffer;
class MivoFrameWidgetPrivate;

/**
 * Shows the newest of the frames that it is given, as large as fits and in its own ratio.
 *
 * Frames may be given in any thread, in several at once; none of them waits for painting. A frame
 * that a newer one overtakes before it is painted is skipped. All else belongs to the thread of the
 * user interface, and the widget must outlive all that give it frames.
 */
class MIVO_WIDGETS_EXPORT MivoFrameWidget : public QWidget
{
    Q_OBJECT

public:
    explicit MivoFrameWidget(QWidget* parent = nullptr);
    ~MivoFrameWidget() override;

    /**
     * Shows a frame of @p size pixels: 24-bit red, green and blue, row by row from the top without
     * padding. May be called in any thread, which copies the bytes; a buffer that is in use is
     * released before the call returns. Bytes beyond the frame are ignored. A buffer that is null
     * or too short for the size, and a size without pixels, count as skipped.
     */
    void showFrame(MivoBuffer* buffer, QSize size);

    /** The frame that was painted last; null before the first. */
    QImage frame() const;
    /** How many frames have been painted. May be called in any thread. */
    quint64 shownFrames() const;
    /** How many frames were given that never will be painted. May be called in any thread. */
    quint64 skippedFrames() const;

    /** The size of the frame; 320 x 240 before the first. */
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Q_DISABLE_COPY(MivoFrameWidget)

    const std::unique_ptr<MivoFrameWidgetPrivate> d;
};

#endif
