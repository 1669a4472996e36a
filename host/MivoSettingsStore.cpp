#include "MivoSettingsStore_p.h"

#include "MivoField.h"
#include "MivoHostLog.h"
#include "MivoSecret.h"
#include "MivoXmlNode.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const qint64 largestFile = qint64(16) * 1024 * 1024; // bytes

std::runtime_error errorOf(const QString& file, const QString& reason)
{
    return std::runtime_error(
        QString::fromLatin1("%1 cannot be written: %2").arg(file, reason).toUtf8().constData());
}

std::runtime_error systemErrorOf(const QString& file)
{
    return errorOf(file, QString::fromLocal8Bit(std::strerror(errno)));
}

/** A new file, which goes again unless it gets its final name. Its owner alone may read it. */
class NewFile
{
public:
    explicit NewFile(const QString& finalFile)
        : file(finalFile)
        , name(QFile::encodeName(finalFile) + ".XXXXXX")
        , descriptor(::mkstemp(name.data())) // makes it with mode 0600
    {
        if (descriptor < 0)
            throw systemErrorOf(file);
    }
    ~NewFile()
    {
        if (descriptor >= 0) {
            ::close(descriptor);
            ::unlink(name.constData());
        }
    }

    void write(const QByteArray& content) const
    {
        for (int done = 0; done < int(content.size());) {
            const ssize_t written = ::write(descriptor, content.constData() + done,
                                            static_cast<size_t>(content.size() - done));
            if (written < 0 && errno != EINTR)
                throw systemErrorOf(file);
            done += written < 0 ? 0 : int(written);
        }
    }

    /** Gives it its name when all of it is on the disk. */
    void finish()
    {
        if (::fsync(descriptor) != 0
            || ::rename(name.constData(), QFile::encodeName(file).constData()) != 0)
            throw systemErrorOf(file);
        ::close(descriptor);
        descriptor = -1;
    }

private:
    Q_DISABLE_COPY(NewFile)

    const QString file;
    QByteArray name;
    int descriptor;
};

/** Has the new name of a file reach the disk. */
void syncFolder(const QString& folder)
{
    const int descriptor
        = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        ::fsync(descriptor);
        ::close(descriptor);
    }
}

} // namespace

MivoSettingsStore::MivoSettingsStore(const QString& keptFolder, bool withSecrets)
    : folder(keptFolder)
    , keepsSecrets(withSecrets)
{
}

MivoXmlNode MivoSettingsStore::read(const QString& plugin)
{
    QMutexLocker locker(&mutex);
    const QFileInfo info(fileOf(plugin));
    if (!info.exists())
        return MivoXmlNode();
    QFile file(info.filePath());
    QString error;
    MivoXmlNode node;
    if (!info.isFile()) {
        error = QString::fromLatin1("it is no file");
    } else if (info.size() > largestFile) {
        error = QString::fromLatin1("it has %1 bytes, of which %2 are allowed")
                    .arg(info.size())
                    .arg(largestFile);
    } else if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
    } else {
        node = MivoXmlNode::parse(file.readAll(), &error);
        if (!node.isNull() && node.name() != QLatin1String("fieldlist"))
            error = QString::fromLatin1("found the element \"%1\"; expected \"fieldlist\"")
                        .arg(node.name());
    }
    if (!error.isEmpty()) {
        setAside(plugin, error);
        return MivoXmlNode();
    }
    return node;
}

void MivoSettingsStore::write(const QString& plugin, const QList<MivoField>& fields)
{
    QMutexLocker locker(&mutex);
    const QString file = fileOf(plugin);
    if (untouchable.contains(plugin))
        throw errorOf(file, QString::fromLatin1("a broken one is there that cannot be moved away"));
    const QByteArray content
        = MivoField::toXml(keepsSecrets ? fields : mivoWithoutSecrets(fields)).toXml();
    if (!QFileInfo(folder).isDir()) {
        QDir().mkpath(QFileInfo(folder).absolutePath());
        if (::mkdir(QFile::encodeName(folder).constData(), 0700) != 0 && errno != EEXIST)
            throw systemErrorOf(folder);
    }
    NewFile written(file);
    written.write(content);
    written.finish();
    syncFolder(folder);
}

/** The name of a plug-in may be any text, the name of a file may not. */
QString MivoSettingsStore::fileOf(const QString& plugin) const
{
    return folder + QLatin1Char('/')
        + QString::fromLatin1(plugin.toUtf8().toPercentEncoding().constData())
        + QLatin1String(".xml");
}

void MivoSettingsStore::setAside(const QString& plugin, const QString& reason)
{
    const QString file = fileOf(plugin);
    QString aside = file + QLatin1String(".broken");
    // QFile::rename() replaces nothing.
    for (int i = 2; i < 1000 && QFile::exists(aside); ++i)
        aside = QString::fromLatin1("%1.broken-%2").arg(file).arg(i);
    const bool isAside = QFile::rename(file, aside);
    if (!isAside)
        untouchable.insert(plugin);
    MivoHostLog::write(QString::fromLatin1("%1: its settings in %2 cannot be read (%3): %4")
                           .arg(plugin, file, reason,
                                isAside ? QString::fromLatin1("they are kept as ") + aside
                                        : QString::fromLatin1("they stay as they are")));
}
