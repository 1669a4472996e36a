#ifndef TESTERRORS_H
#define TESTERRORS_H

#include <QString>

#include <stdexcept>

/** The message of the std::runtime_error that @p piece throws; a null string when it throws none.
 */
template <class Piece>
QString errorOf(Piece piece)
{
    try {
        piece();
    } catch (const std::runtime_error& error) {
        return QString::fromUtf8(error.what());
    }
    return QString();
}

#endif
