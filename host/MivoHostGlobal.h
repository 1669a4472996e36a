#ifndef MIVOHOSTGLOBAL_H
#define MIVOHOSTGLOBAL_H

#include <QtGlobal>

#ifdef MIVO_HOST_BUILD
#define MIVO_HOST_EXPORT Q_DECL_EXPORT
#else
#define MIVO_HOST_EXPORT Q_DECL_IMPORT
#endif

#endif
