#ifndef FUZZFILE_H
#define FUZZFILE_H

#include "FuzzTarget.h"

#include <QString>

#include <sys/mman.h>
#include <unistd.h>

/** A file in memory that holds an input. */
class FuzzFile
{
public:
    FuzzFile(const unsigned char* data, size_t size)
        : descriptor(memfd_create("input", MFD_CLOEXEC))
    {
        require(descriptor >= 0 && write(descriptor, data, size) == ssize_t(size),
                "there is memory for a file");
    }
    ~FuzzFile() { close(descriptor); }

    QString name() const { return QString::fromLatin1("/proc/self/fd/%1").arg(descriptor); }

private:
    Q_DISABLE_COPY(FuzzFile)
    const int descriptor;
};

#endif
