#ifndef MANPAGE_H
#define MANPAGE_H

#include <QString>

/** The manual page of the program, in the language of man(7), made of commands(). */
QString manPage();

#endif
