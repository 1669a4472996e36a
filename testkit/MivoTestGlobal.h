#ifndef MIVOTESTGLOBAL_H
#define MIVOTESTGLOBAL_H

#include <QtGlobal>

#ifdef MIVO_TEST_BUILD
#define MIVO_TEST_EXPORT Q_DECL_EXPORT
#else
#define MIVO_TEST_EXPORT Q_DECL_IMPORT
#endif

#endif
