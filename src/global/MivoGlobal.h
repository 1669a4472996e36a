#ifndef MIVOGLOBAL_H
#define MIVOGLOBAL_H

#include <QtGlobal>

/** @file
 * Version and export macro of libmivo_data. Written by hand, so that a build without CMake needs no
 * generated header; the CMake build reads the version from here.
 */

#define MIVO_VERSION_MAJOR 0
#define MIVO_VERSION_MINOR 1
#define MIVO_VERSION_PATCH 0
#define MIVO_VERSION_STR "0.1.0"

#ifdef MIVO_DATA_BUILD
#define MIVO_DATA_EXPORT Q_DECL_EXPORT
#else
#define MIVO_DATA_EXPORT Q_DECL_IMPORT
#endif

#endif
