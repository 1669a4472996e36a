#include "PngPicture.h"

#include "Commands.h"

#include <QFileInfo>
#include <QSaveFile>

#include <png.h>

namespace {

[[noreturn]] void fail(const QString& file, const QString& reason)
{
    throw Failure(QString("%1: cannot write the picture: %2").arg(file, reason));
}

void open(QSaveFile& picture)
{
    const QString file = picture.fileName();
    const QFileInfo present(file);
    // Even a device would be replaced by the picture, if the user may do that.
    if (present.exists() && !present.isFile())
        fail(file, "found something that is no file under this name");
    if (!picture.open(QIODevice::WriteOnly))
        fail(file, picture.errorString());
}

QByteArray encoded(const QString& file, const unsigned char* rgb, QSize size)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = png_uint_32(size.width());
    image.height = png_uint_32(size.height());
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t bytes = PNG_IMAGE_PNG_SIZE_MAX(image);
    QByteArray png(int(bytes), Qt::Uninitialized);
    if (!png_image_write_to_memory(&image, png.data(), &bytes, 0, rgb, 0, nullptr))
        fail(file, QString::fromLatin1(image.message));
    png.resize(int(bytes));
    return png;
}

} // namespace

void PngPicture::requireWritable(const QString& file)
{
    QSaveFile probe(file);
    open(probe);
}

void PngPicture::write(const QString& file, const unsigned char* rgb, QSize size)
{
    const QByteArray png = encoded(file, rgb, size);
    QSaveFile picture(file);
    open(picture);
    // Flushed here, since commit() overlooks a flush that fails, and would put an empty file there.
    if (picture.write(png) != png.size() || !picture.flush() || !picture.commit())
        fail(file, picture.errorString());
}
