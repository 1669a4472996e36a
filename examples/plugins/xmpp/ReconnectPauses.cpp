#include "ReconnectPauses.h"

#include <QRandomGenerator>

#include <algorithm>

namespace {

const int firstMs = 1000;
const int longestMs = 60000;

} // namespace

int ReconnectPauses::next()
{
    const int pause = std::min(firstMs << tries, longestMs);
    if (pause < longestMs)
        ++tries;
    return pause - QRandomGenerator::global()->bounded(pause / 4 + 1);
}

void ReconnectPauses::reset()
{
    tries = 0;
}
