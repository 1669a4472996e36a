#ifndef EXAMPLEPLUGINS_H
#define EXAMPLEPLUGINS_H

#include <QString>

/**
 * The file of the example plug-in @p name in the build tree, or beside an installed program; throws
 * a Failure when it is in neither.
 */
QString examplePlugin(const QString& name);

#endif
