#include "MivoFrameWidget.h"

#include "MivoBuffer.h"

#include <QMetaObject>
#include <QMutex>
#include <QMutexLocker>
#include <QPainter>

#include <cstring>
#include <utility>

class MivoFrameWidgetPrivate
{
public:
    quint64 nextTurn();
    /** Returns whether the thread of the user interface has to be told. */
    bool offer(QImage image, quint64 turn);
    /** The newest frame, if it has not been painted yet. */
    QImage take();

    mutable QMutex mutex; ///< guards what follows, for moments only
    quint64 turns = 0; ///< frames that were given
    quint64 newestTurn = 0; ///< the turn of the newest frame that can be shown
    QImage newest; ///< null when it has been painted
    bool isTold = false;
    quint64 shown = 0;
    quint64 skipped = 0;

    QImage painted; ///< of the thread of the user interface alone
};

namespace {

/** A copy of the frame; null when the bytes do not hold it. */
QImage copyOf(MivoBuffer& buffer, QSize size)
{
    const qint64 lineBytes = qint64(size.width()) * 3;
    // The first two keep the product in range.
    if (size.isEmpty() || lineBytes > buffer.getSize()
        || lineBytes * size.height() > buffer.getSize() || !buffer.getData())
        return QImage();
    QImage image(size, QImage::Format_RGB888);
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(image.scanLine(y), buffer.getData() + lineBytes * y, std::size_t(lineBytes));
    return image;
}

} // namespace

quint64 MivoFrameWidgetPrivate::nextTurn()
{
    const QMutexLocker locker(&mutex);
    return ++turns;
}

bool MivoFrameWidgetPrivate::offer(QImage image, quint64 turn)
{
    const QMutexLocker locker(&mutex);
    if (image.isNull() || turn < newestTurn) {
        ++skipped;
        return false;
    }
    newestTurn = turn;
    if (!newest.isNull())
        ++skipped;
    newest.swap(image); // the one that is skipped goes after the lock
    return !std::exchange(isTold, true);
}

QImage MivoFrameWidgetPrivate::take()
{
    const QMutexLocker locker(&mutex);
    if (!newest.isNull())
        ++shown;
    return std::exchange(newest, QImage());
}

MivoFrameWidget::MivoFrameWidget(QWidget* parent)
    : QWidget(parent)
    , d(new MivoFrameWidgetPrivate)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(16, 12);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

MivoFrameWidget::~MivoFrameWidget() = default;

void MivoFrameWidget::showFrame(MivoBuffer* buffer, QSize size)
{
    const quint64 turn = d->nextTurn();
    QImage image;
    if (buffer) {
        image = copyOf(*buffer, size);
        if (buffer->isInUse())
            buffer->release();
    }
    if (!d->offer(std::move(image), turn))
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            QSize newSize;
            {
                const QMutexLocker locker(&d->mutex);
                d->isTold = false;
                newSize = d->newest.size();
            }
            if (!newSize.isEmpty() && newSize != d->painted.size())
                updateGeometry();
            update();
        },
        Qt::QueuedConnection);
}

QImage MivoFrameWidget::frame() const
{
    return d->painted;
}

quint64 MivoFrameWidget::shownFrames() const
{
    const QMutexLocker locker(&d->mutex);
    return d->shown;
}

quint64 MivoFrameWidget::skippedFrames() const
{
    const QMutexLocker locker(&d->mutex);
    return d->skipped;
}

QSize MivoFrameWidget::sizeHint() const
{
    const QMutexLocker locker(&d->mutex);
    if (!d->newest.isNull())
        return d->newest.size();
    return d->painted.isNull() ? QSize(320, 240) : d->painted.size();
}

void MivoFrameWidget::paintEvent(QPaintEvent*)
{
    const QImage newest = d->take();
    if (!newest.isNull())
        d->painted = newest;

    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    if (d->painted.isNull())
        return;
    QRect target(QPoint(), d->painted.size().scaled(size(), Qt::KeepAspectRatio));
    target.moveCenter(rect().center());
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(target, d->painted);
}
