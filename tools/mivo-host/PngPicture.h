#ifndef PNGPICTURE_H
#define PNGPICTURE_H

#include <QSize>
#include <QString>

/** PNG pictures in files. Both functions throw a Failure that names the file and the reason. */
namespace PngPicture {

/** Finds out whether @p file can be written, and leaves it as it is. */
void requireWritable(const QString& file);
/**
 * Writes the pixels at @p rgb, rows of three bytes a pixel without padding, to @p file. There is
 * either the whole picture under that name in the end, or what was there before.
 */
void write(const QString& file, const unsigned char* rgb, QSize size);

} // namespace PngPicture

#endif
