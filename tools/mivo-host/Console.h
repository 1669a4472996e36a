#ifndef CONSOLE_H
#define CONSOLE_H

#include <QString>

/** Standard output and standard error, in whole lines of UTF-8, from any thread. */
namespace Console {

void out(const QString& line);
void error(const QString& line);
/** A line on standard output that begins with the name of the calling thread. */
void say(const QString& what);
/** The object name of the calling thread, "main" for the main thread. */
QString threadName();

} // namespace Console

#endif
