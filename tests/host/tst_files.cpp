#include <Failure.h>
#include <Files.h>

#include <QtTest>

#include <functional>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

QByteArray contentOf(const QByteArray& path)
{
    const int file = ::open(path.constData(), O_RDONLY);
    char bytes[64];
    const ssize_t count = ::read(file, bytes, sizeof bytes);
    ::close(file);
    return count < 0 ? QByteArray("cannot be read") : QByteArray(bytes, int(count));
}

mode_t modeOf(const QString& name)
{
    struct stat found = {};
    return ::stat(Files::bytesOf(name).constData(), &found) == 0 ? found.st_mode : 0;
}

} // namespace

/** Reading and replacing files that a user names. */
class FilesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void everyNameHasAText_data();
    void everyNameHasAText();
    void whatIsNoRegularFileIsRefused_data();
    void whatIsNoRegularFileIsRefused();
    void aFileIsReadUpToTheLimit();
    void aNewFileCanBeReadByItsOwnerAlone();
    void aReplacedFileKeepsOwnerAndMode();
    void aGroupThatCannotBeKeptGetsNoMoreThanAllOthers();
    void aFileThatMustNotBeWrittenIsNotReplaced();
    void aLinkStaysAndItsFileIsReplaced();
    void whatIsThereIsNeverWrittenTo();
    void aProbeLeavesAllAsItIs();

private:
    QString path(const char* name) const { return folder->filePath(name); }
    QStringList entries() const
    {
        return QDir(folder->path())
            .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QScopedPointer<QTemporaryDir> folder;
};

void FilesTest::init()
{
    folder.reset(new QTemporaryDir);
    QVERIFY(folder->isValid());
}

void FilesTest::everyNameHasAText_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("size");
    QTest::newRow("nothing") << QByteArray() << 0;
    QTest::newRow("ASCII") << QByteArray("a.xml") << 5;
    QTest::newRow("UTF-8") << QByteArray("\xc3\xa9\xf0\x9f\x98\x80.xml") << 7;
    QTest::newRow("Latin-1") << QByteArray("caf\xe9.xml") << 8;
    QTest::newRow("all wrong bytes") << QByteArray("\x80\xbf\xc0\xc1\xfe\xff") << 6;
    QTest::newRow("too long a form") << QByteArray("\xc0\xaf") << 2;
    QTest::newRow("a half surrogate") << QByteArray("\xed\xb2\x80") << 3;
    QTest::newRow("a mark") << QByteArray("\xef\xbb\xbf"
                                          "a\xff\xef\xbb\xbf")
                            << 4;
    QTest::newRow("cut off") << QByteArray("a\xf0\x9f\x98") << 4;
    QTest::newRow("after a cut") << QByteArray("\xf0\x9f\xc3\xa9") << 3;
}

void FilesTest::everyNameHasAText()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, size);
    const QString name = Files::nameFrom(bytes.constData());
    QCOMPARE(int(name.size()), size);
    QCOMPARE(Files::bytesOf(name), bytes);
    if (bytes.isEmpty())
        return;
    const QString file = folder->path() + '/' + name;
    Files::write(file, "content");
    QCOMPARE(Files::read(file, 100), QByteArray("content"));
    const QByteArray found = folder->path().toUtf8() + '/' + bytes;
    QCOMPARE(contentOf(found), QByteArray("content"));
    // Qt takes no folder away that holds such names.
    QCOMPARE(::unlink(found.constData()), 0);
}

void FilesTest::whatIsNoRegularFileIsRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("found");
    QTest::newRow("folder") << "folder"
                            << "a folder";
    QTest::newRow("FIFO") << "fifo"
                          << "a FIFO";
    QTest::newRow("link to a FIFO") << "link"
                                    << "a FIFO";
    QTest::newRow("socket") << "socket"
                            << "a socket";
    QTest::newRow("device") << "/dev/full"
                            << "a device";
}

void FilesTest::whatIsNoRegularFileIsRefused()
{
    QFETCH(QString, name);
    QFETCH(QString, found);
    QVERIFY(QDir(folder->path()).mkdir("folder"));
    QCOMPARE(::mkfifo(path("fifo").toUtf8().constData(), 0600), 0);
    QVERIFY(QFile::link("fifo", path("link")));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, path("socket").toUtf8().constData(), sizeof address.sun_path);
    const int server = ::socket(AF_UNIX, SOCK_STREAM, 0);
    QCOMPARE(::bind(server, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ::close(server);

    const QString file = name.startsWith('/') ? name : folder->filePath(name);
    const mode_t mode = modeOf(file);
    const auto refusal = [&](const char* what) {
        return QString("%1: %2: found %3; expected a regular file").arg(file, QString(what), found);
    };
    const auto messageOf = [](const std::function<void()>& use) {
        try {
            use();
        } catch (const Failure& failure) {
            return failure.message();
        }
        return QString("no failure");
    };
    // Whoever opened the FIFO would wait here.
    QCOMPARE(messageOf([&] { Files::read(file, 100); }), refusal("cannot be read"));
    QCOMPARE(messageOf([&] { Files::write(file, "x"); }), refusal("cannot be written"));
    QCOMPARE(messageOf([&] { Files::requireWritable(file); }), refusal("cannot be written"));
    QCOMPARE(modeOf(file), mode);
    QCOMPARE(entries().size(), 4);
}

void FilesTest::aFileIsReadUpToTheLimit()
{
    Files::write(path("file"), QByteArray(100000, 'x'));
    QCOMPARE(Files::read(path("file"), 100000), QByteArray(100000, 'x'));
    try {
        Files::read(path("file"), 99999);
        QFAIL("a file above the limit was read");
    } catch (const Failure& failure) {
        QCOMPARE(failure.message(),
                 path("file")
                     + ": cannot be read: found more than 99999 bytes; expected at most 99999");
    }
    // Files that the system makes while they are read do not tell their size.
    QVERIFY(Files::read("/proc/self/status", 100000).startsWith("Name:"));
}

void FilesTest::aNewFileCanBeReadByItsOwnerAlone()
{
    const mode_t mask = ::umask(0);
    Files::write(path("new"), "x");
    ::umask(mask);
    QCOMPARE(int(modeOf(path("new")) & 07777), 0600);
}

void FilesTest::aReplacedFileKeepsOwnerAndMode()
{
    const QByteArray file = path("old").toUtf8();
    Files::write(path("old"), "old");
    QCOMPARE(::chmod(file.constData(), 0640), 0);
    const bool isRoot = ::geteuid() == 0;
    if (isRoot)
        QCOMPARE(::chown(file.constData(), 12345, 54321), 0);
    Files::write(path("old"), "new");
    QCOMPARE(contentOf(file), QByteArray("new"));
    struct stat found = {};
    QCOMPARE(::stat(file.constData(), &found), 0);
    QCOMPARE(int(found.st_mode & 07777), 0640);
    if (isRoot) {
        QCOMPARE(int(found.st_uid), 12345);
        QCOMPARE(int(found.st_gid), 54321);
    }
}

void FilesTest::aGroupThatCannotBeKeptGetsNoMoreThanAllOthers()
{
    if (::geteuid() != 0)
        QSKIP("another user's file takes root to be made");
    const QByteArray file = path("old").toUtf8();
    Files::write(path("old"), "old");
    QCOMPARE(::chown(file.constData(), 12345, 54321), 0);
    QCOMPARE(::chmod(file.constData(), 0664), 0);
    QCOMPARE(::chown(folder->path().toUtf8().constData(), 12345, 12345), 0);
    // In a process of its own, which has given root away.
    const pid_t child = ::fork();
    if (child == 0) {
        bool isWritten = ::setgid(12345) == 0 && ::setuid(12345) == 0;
        try {
            Files::write(path("old"), "new");
        } catch (const Failure&) {
            isWritten = false;
        }
        ::_exit(isWritten ? 0 : 1);
    }
    int status = -1;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QCOMPARE(status, 0);
    struct stat found = {};
    QCOMPARE(::stat(file.constData(), &found), 0);
    QCOMPARE(int(found.st_gid), 12345);
    QCOMPARE(int(found.st_mode & 07777), 0644);
}

void FilesTest::aFileThatMustNotBeWrittenIsNotReplaced()
{
    if (::geteuid() == 0)
        QSKIP("root may write every file");
    Files::write(path("old"), "old");
    QCOMPARE(::chmod(path("old").toUtf8().constData(), 0400), 0);
    QVERIFY_EXCEPTION_THROWN(Files::write(path("old"), "new"), Failure);
    QCOMPARE(contentOf(path("old").toUtf8()), QByteArray("old"));
}

void FilesTest::aLinkStaysAndItsFileIsReplaced()
{
    QVERIFY(QDir(folder->path()).mkdir("other"));
    Files::write(path("other/file"), "old");
    QVERIFY(QFile::link("other/file", path("link")));
    Files::write(path("link"), "new");
    QVERIFY(QFileInfo(path("link")).isSymLink());
    QCOMPARE(contentOf(path("other/file").toUtf8()), QByteArray("new"));

    QVERIFY(QFile::link("nowhere", path("dangling")));
    try {
        Files::write(path("dangling"), "x");
        QFAIL("a link that leads nowhere was followed");
    } catch (const Failure& failure) {
        QVERIFY2(failure.message().endsWith("found a symbolic link that leads nowhere; expected a "
                                            "regular file"),
                 failure.what());
    }
    QVERIFY(!QFile::exists(path("nowhere")));
}

/** The one who reads the old file goes on reading it: the new one is another. */
void FilesTest::whatIsThereIsNeverWrittenTo()
{
    Files::write(path("file"), "old");
    const int reader = ::open(path("file").toUtf8().constData(), O_RDONLY);
    QCOMPARE(::link(path("file").toUtf8().constData(), path("second").toUtf8().constData()), 0);
    Files::write(path("file"), "new");
    char bytes[8];
    QCOMPARE(int(::read(reader, bytes, sizeof bytes)), 3);
    ::close(reader);
    QCOMPARE(QByteArray(bytes, 3), QByteArray("old"));
    QCOMPARE(contentOf(path("second").toUtf8()), QByteArray("old"));
    QCOMPARE(contentOf(path("file").toUtf8()), QByteArray("new"));
    QCOMPARE(entries(), QStringList({"file", "second"}));
}

void FilesTest::aProbeLeavesAllAsItIs()
{
    Files::requireWritable(path("new"));
    QCOMPARE(entries(), QStringList());
    Files::write(path("old"), "old");
    Files::requireWritable(path("old"));
    QCOMPARE(contentOf(path("old").toUtf8()), QByteArray("old"));
    QCOMPARE(entries(), QStringList("old"));
    QVERIFY_EXCEPTION_THROWN(Files::requireWritable(path("no/such/folder")), Failure);
    QVERIFY_EXCEPTION_THROWN(Files::requireWritable(QString()), Failure);
}

QTEST_GUILESS_MAIN(FilesTest)
#include "tst_files.moc"
