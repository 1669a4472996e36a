#include "Files.h"

#include "Failure.h"

#include <QRandomGenerator>
#include <QtGlobal>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const QString& name, const char* what, const QString& why)
{
    throw Failure(QString("%1: %2: %3").arg(name, QString(what), why));
}

const char cannotRead[] = "cannot be read";
const char cannotWrite[] = "cannot be written";

QString reasonOf(int error)
{
    return QString::fromLocal8Bit(std::generic_category().message(error).c_str());
}

QString kindOf(mode_t mode)
{
    if (S_ISDIR(mode))
        return "a folder";
    if (S_ISFIFO(mode))
        return "a FIFO";
    if (S_ISSOCK(mode))
        return "a socket";
    return "a device";
}

QString notRegular(mode_t mode)
{
    return QString("found %1; expected a regular file").arg(kindOf(mode));
}

/** An open file; closes it. */
class Descriptor
{
public:
    explicit Descriptor(int openedNumber)
        : number(openedNumber)
    {
    }
    ~Descriptor()
    {
        if (number >= 0)
            ::close(number);
    }

    bool isOpen() const { return number >= 0; }
    int get() const { return number; }

private:
    Q_DISABLE_COPY(Descriptor)

    int number;
};

/** Opens a regular file for reading. */
int openRegular(const QString& name)
{
    const QByteArray path = Files::bytesOf(name);
    struct stat found = {};
    if (::stat(path.constData(), &found) != 0)
        fail(name, cannotRead, reasonOf(errno));
    if (!S_ISREG(found.st_mode))
        fail(name, cannotRead, notRegular(found.st_mode));
    // Another file may have taken the name by now: nothing is waited for.
    const int file = ::open(path.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0)
        fail(name, cannotRead, reasonOf(errno));
    if (::fstat(file, &found) != 0 || !S_ISREG(found.st_mode)) {
        ::close(file);
        fail(name, cannotRead, notRegular(found.st_mode));
    }
    return file;
}

/** The size of the character in UTF-8 that @p bytes begins with; 0 when there is none. */
int characterSize(const QByteArray& bytes, int at)
{
    if (bytes.mid(at, 3) == "\xef\xbb\xbf") // which decoders take for a mark and leave out
        return 3;
    for (int size = 1; size <= 4 && at + size <= bytes.size(); ++size) {
        const QByteArray character = bytes.mid(at, size);
        if (QString::fromUtf8(character).toUtf8() == character)
            return size;
    }
    return 0;
}

/** A file under a name of its own, which takes the place of another one in the end or goes. */
class Replacement
{
public:
    /** Throws a Failure when @p replacedName is nothing that can be replaced. */
    explicit Replacement(const QString& replacedName)
        : name(replacedName)
        , path(finalPath())
        , folder(::open(folderOf(path).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC))
        , file(makeFile())
    {
        if (exists)
            keepOwnerAndMode();
    }

    ~Replacement()
    {
        if (!temporaryName.isEmpty())
            ::unlinkat(folder.get(), temporaryName.constData(), 0);
    }

    void commit(const QByteArray& content)
    {
        for (qint64 written = 0; written < content.size();) {
            const ssize_t count = ::write(file.get(), content.constData() + written,
                                          std::size_t(content.size() - written));
            if (count < 0 && errno != EINTR)
                fail(name, cannotWrite, reasonOf(errno));
            written += std::max(count, ssize_t(0));
        }
        if (::fsync(file.get()) != 0
            || ::renameat(folder.get(), temporaryName.constData(), folder.get(),
                          path.mid(path.lastIndexOf('/') + 1).constData())
                != 0)
            fail(name, cannotWrite, reasonOf(errno));
        temporaryName.clear();
        // The new entry of the folder is flushed where the folder may be read.
        const Descriptor readable(::openat(folder.get(), ".", O_RDONLY | O_CLOEXEC));
        if (readable.isOpen())
            ::fsync(readable.get());
    }

private:
    Q_DISABLE_COPY(Replacement)

    static QByteArray folderOf(const QByteArray& filePath)
    {
        const int end = int(filePath.lastIndexOf('/'));
        return end < 0 ? QByteArray(".") : filePath.left(end + 1);
    }

    /** Where the file itself is, past symbolic links, or will be. */
    QByteArray finalPath()
    {
        const QByteArray given = Files::bytesOf(name);
        exists = ::stat(given.constData(), &present) == 0;
        if (!exists) {
            const int error = errno;
            struct stat link = {};
            if (error == ENOENT && ::lstat(given.constData(), &link) == 0)
                fail(name, cannotWrite,
                     "found a symbolic link that leads nowhere; expected a regular file");
            if (error != ENOENT || given.isEmpty() || given.endsWith('/'))
                fail(name, cannotWrite, reasonOf(error));
            return given;
        }
        if (!S_ISREG(present.st_mode))
            fail(name, cannotWrite, notRegular(present.st_mode));
        // Whoever must not write the file must not replace it either.
        if (::faccessat(AT_FDCWD, given.constData(), W_OK, AT_EACCESS) != 0)
            fail(name, cannotWrite, reasonOf(errno));
        const std::unique_ptr<char, decltype(&std::free)> resolved(
            ::realpath(given.constData(), nullptr), &std::free);
        if (!resolved)
            fail(name, cannotWrite, reasonOf(errno));
        return resolved.get();
    }

    int makeFile()
    {
        if (!folder.isOpen())
            fail(name, cannotWrite, reasonOf(errno));
        for (int attempt = 0; attempt < 100; ++attempt) {
            const QByteArray candidate
                = ".mivo-" + QByteArray::number(QRandomGenerator::system()->generate64(), 36);
            // Never what is there already, be it a link that somebody has laid.
            const int made = ::openat(folder.get(), candidate.constData(),
                                      O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
            if (made >= 0) {
                temporaryName = candidate;
                return made;
            }
            if (errno != EEXIST)
                break;
        }
        fail(name, cannotWrite, reasonOf(errno));
    }

    void keepOwnerAndMode() const
    {
        mode_t mode = present.st_mode & 0777;
        if (::fchown(file.get(), present.st_uid, present.st_gid) != 0
            && ::fchown(file.get(), uid_t(-1), present.st_gid) != 0) {
            // Another group gets no more than all others get.
            mode = (mode & 0707) | (mode & ((mode & 07) << 3));
        }
        static_cast<void>(::fchmod(file.get(), mode));
    }

    const QString name;
    bool exists = false;
    struct stat present = {};
    const QByteArray path;
    const Descriptor folder;
    QByteArray temporaryName; // empty when there is nothing to be removed
    const Descriptor file;
};

} // namespace

QString Files::nameFrom(const char* bytes)
{
    const QByteArray all(bytes);
    QString name = QString::fromUtf8(all);
    if (name.toUtf8() == all)
        return name;
    name.clear();
    for (int at = 0; at < all.size();) {
        const int size = characterSize(all, at);
        if (size == 0)
            name += QChar(ushort(0xdc00 + uchar(all.at(at))));
        else if (all.mid(at, size) == "\xef\xbb\xbf")
            name += QChar(0xfeff);
        else
            name += QString::fromUtf8(all.mid(at, size));
        at += std::max(size, 1);
    }
    return name;
}

bool Files::isUtf8(const QString& name)
{
    return nameFrom(name.toUtf8().constData()) == name;
}

QByteArray Files::bytesOf(const QString& name)
{
    QByteArray bytes;
    int begin = 0; // of what is UTF-8
    for (int i = 0; i < name.size(); ++i) {
        const ushort code = name.at(i).unicode();
        const bool isByte
            = code >= 0xdc80 && code <= 0xdcff && (i == 0 || !name.at(i - 1).isHighSurrogate());
        if (!isByte)
            continue;
        bytes += name.mid(begin, i - begin).toUtf8();
        bytes += char(code - 0xdc00);
        begin = i + 1;
    }
    return bytes + name.mid(begin).toUtf8();
}

QByteArray Files::read(const QString& name, qint64 limit)
{
    const Descriptor file(openRegular(name));
    QByteArray content;
    char piece[65536];
    for (;;) {
        const ssize_t count = ::read(file.get(), piece, sizeof piece);
        if (count == 0)
            return content;
        if (count < 0 && errno != EINTR)
            fail(name, cannotRead, reasonOf(errno));
        content.append(piece, int(std::max(count, ssize_t(0))));
        if (content.size() > limit)
            fail(name, cannotRead,
                 QString("found more than %1 bytes; expected at most %1").arg(limit));
    }
}

Files::Utf8Name::Utf8Name(const QString& name)
    : own(name)
    , usable(name)
{
    if (isUtf8(name))
        return;
    descriptor = openRegular(name);
    usable = QString("/proc/self/fd/%1").arg(descriptor);
}

Files::Utf8Name::~Utf8Name()
{
    if (descriptor >= 0)
        ::close(descriptor);
}

QString Files::Utf8Name::withOwnName(QString message) const
{
    return descriptor < 0 ? message : message.replace(usable, own);
}

void Files::requireWritable(const QString& name)
{
    const Replacement probe(name);
}

void Files::write(const QString& name, const QByteArray& content)
{
    Replacement(name).commit(content);
}
