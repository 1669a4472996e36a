#include "PngPicture.h"

#include "Failure.h"
#include "Files.h"

#include <png.h>

void PngPicture::write(const QString& file, const unsigned char* rgb, QSize size)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = png_uint_32(size.width());
    image.height = png_uint_32(size.height());
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t bytes = PNG_IMAGE_PNG_SIZE_MAX(image);
    QByteArray png(int(bytes), Qt::Uninitialized);
    if (!png_image_write_to_memory(&image, png.data(), &bytes, 0, rgb, 0, nullptr))
        throw Failure(
            QString("%1: cannot be written: %2").arg(file, QString::fromLatin1(image.message)));
    png.resize(int(bytes));
    Files::write(file, png);
}
