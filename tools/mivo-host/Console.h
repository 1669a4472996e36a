#ifndef CONSOLE_H
#define CONSOLE_H

#include <QString>

#include <cstdio>

/**
 * Standard output and standard error, in whole lines of UTF-8, from any thread. Each line is written
 * as oneLine() makes it, whatever it comes from.
 */
namespace Console {

/** To be called first: a stream that is closed is not to be taken for a file that is opened later. */
void prepare();

void out(const QString& line);
void error(const QString& line);
/** Texts whose line feeds and tabs are meant, such as a usage or what displayText() has made. */
void outLines(const QString& text);
void errorLines(const QString& text);
/** A line on standard output that begins with the name of the calling thread. */
void say(const QString& what);
/** Has say() write to standard error from now on, or to standard output again. */
void sayOnError(bool isOnError);
/** The object name of the calling thread, "main" for the main thread. */
QString threadName();

/** Told of lines before they are written, in the threads that write them; null for none. */
typedef void (*Listener)(const QByteArray& lines);
void setListener(Listener listener);
/** Writes in place of this, in the threads that write and not at once; null for none. */
typedef void (*Writer)(std::FILE* file, const QByteArray& lines);
void setWriter(Writer writer);

/** Throws a Failure when anything that went to standard output could not be written. */
void requireWritten();

} // namespace Console

#endif
