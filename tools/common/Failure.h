#ifndef FAILURE_H
#define FAILURE_H

#include <QString>

#include <stdexcept>

/**
 * Something asked for that could not be done. The message is fit for a terminal, whatever stood in
 * what it was made of: see oneLine().
 */
class Failure : public std::runtime_error
{
public:
    explicit Failure(const QString& message);

    QString message() const;
};

#endif
