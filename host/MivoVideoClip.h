#ifndef MIVOVIDEOCLIP_H
#define MIVOVIDEOCLIP_H

#include "MivoHostGlobal.h"

#include <QString>

/** A reference to a piece of video, passed by value. */
struct MIVO_HOST_EXPORT MivoVideoClip
{
    int width = 0; ///< pixels
    int height = 0; ///< pixels
    int framesPerSecond = 0;
    quint64 durationMs = 0; ///< milliseconds
    QString source; ///< where the video comes from: a file name or an address
};

Q_DECLARE_TYPEINFO(MivoVideoClip, Q_MOVABLE_TYPE);

#endif
