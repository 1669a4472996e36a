#ifndef PROPOSALS_H
#define PROPOSALS_H

#include <QStringList>

/**
 * What a shell may put in place of the last of @p words, which stand on the command line after the
 * program's name. A line ":files" stands for the names of files, ":plugins" for those of plug-ins. For
 * the slots of a plug-in that one is loaded; it is not started.
 */
QStringList proposalsFor(const QStringList& words);

#endif
