#ifndef CONSOLE_H
#define CONSOLE_H

#include <QString>

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

/** Throws a Failure when anything that went to standard output could not be written. */
void requireWritten();

} // namespace Console

#endif
