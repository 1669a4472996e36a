#pragma once

#include <QString>

// A messenger's own: a class, and not written by this project's rules.
class MivoVideoClip
{
public:
    MivoVideoClip(int width = 0)
        : width(width)
        , height(0)
        , framesPerSecond(0)
        , durationMs(0)
    {
    }
    void setSource(QString source, int unused) { this->source = source; }

    int width, height, framesPerSecond;
    quint64 durationMs;
    QString source;
};
