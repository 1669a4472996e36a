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
/** Whether all of a name, or of any other argument, is UTF-8. */
bool isUtf8(const QString& name);
/** The bytes that nameFrom() has made the text of. */
QByteArray bytesOf(const QString& name);

/** The content of a file of at most @p limit bytes. */
QByteArray read(const QString& name, qint64 limit);

/**
 * A file under a name that every function takes which opens files by UTF-8 names, as those of Qt
 * and of plug-ins do: its own, or one that leads to it as long as this object exists.
 */
class Utf8Name
{
public:
    explicit Utf8Name(const QString& name);
    ~Utf8Name();

    QString name() const { return usable; }
    /** @p message with the file's own name in place of the other. */
    QString withOwnName(QString message) const;

private:
    Q_DISABLE_COPY(Utf8Name)

    const QString own;
    QString usable;
    int descriptor = -1;
};

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
