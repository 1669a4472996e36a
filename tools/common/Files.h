#ifndef FILES_H
#define FILES_H

#include <QByteArray>
#include <QString>

/**
 * Files that a user names: regular ones, also through symbolic links. What is something else, such
 * as a folder, a device or a FIFO, is refused before it is opened. All functions throw a Failure
 * that names the file and the reason.
 *
 * Names are texts of UTF-8 in which each byte that is none stands as a half surrogate of its own,
 * from 0xdc80 to 0xdcff, so that every name can be used.
 */
namespace Files {

/** The text for a name, or any other argument of a program, whatever the locale. */
QString nameFrom(const char* bytes);
/** The bytes that nameFrom() has made the text of. */
QByteArray bytesOf(const QString& name);

/** The content of a file of at most @p limit bytes. */
QByteArray read(const QString& name, qint64 limit);

/** Finds out whether write() can replace or make the file, and leaves all as it is. */
void requireWritable(const QString& name);
/**
 * Puts @p content in place of what the file held, as a whole or not at all. It has reached the disk
 * on return. The file keeps its owner and mode if the process may give them; a new one can be read
 * by its owner alone. The folder must be writable.
 */
void write(const QString& name, const QByteArray& content);

} // namespace Files

#endif
