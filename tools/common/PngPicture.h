#ifndef PNGPICTURE_H
#define PNGPICTURE_H

#include <QSize>
#include <QString>

/** PNG pictures in files. */
namespace PngPicture {

/**
 * Writes the pixels at @p rgb, rows of three bytes a pixel without padding, to @p file as
 * Files::write() does. Throws a Failure that names the file and the reason.
 */
void write(const QString& file, const unsigned char* rgb, QSize size);

} // namespace PngPicture

#endif
