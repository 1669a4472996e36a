#include "Commands.h"
#include "Console.h"
#include "DisplayText.h"
#include "Files.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const int longestName = 64;

/** What the template, a wizard of Qt Creator, has in place of the project's names. */
struct Placeholder
{
    QString name;
    QString text;
};

/** Words of C++ and names that CMake keeps for itself: no class, file or target can be called so. */
bool isTaken(const QString& name)
{
    static const QStringList taken
        = {"all",      "alignas",  "alignof",   "and",      "asm",       "auto",    "bool",
           "break",    "case",     "catch",     "char",     "class",     "clean",   "const",
           "continue", "decltype", "default",   "delete",   "do",        "double",  "else",
           "enum",     "explicit", "export",    "extern",   "false",     "float",   "for",
           "friend",   "goto",     "help",      "if",       "inline",    "install", "int",
           "long",     "mutable",  "namespace", "new",      "noexcept",  "not",     "nullptr",
           "operator", "or",       "package",   "private",  "protected", "public",  "register",
           "return",   "short",    "signed",    "sizeof",   "static",    "struct",  "switch",
           "template", "test",     "this",      "throw",    "true",      "try",     "typedef",
           "typeid",   "typename", "union",     "unsigned", "using",     "virtual", "void",
           "volatile", "while",    "xor"};
    return taken.contains(name);
}

void requireName(const QString& name)
{
    static const QRegularExpression identifier("\\A[A-Za-z][A-Za-z0-9_]*\\z");
    if (!identifier.match(name).hasMatch() || name.size() > longestName)
        throw UsageError(QString("found the name %1; expected a letter of A to Z or a to z, and "
                                 "behind it letters, digits and underscores, at most %2 in all")
                             .arg(quotedOneLine(name))
                             .arg(longestName));
    if (isTaken(name))
        throw UsageError(QString("found the name %1, a word of C++ or CMake; expected another one")
                             .arg(quotedOneLine(name)));
}

QByteArray resource(const QString& name)
{
    QFile file(":/template/" + name);
    if (!file.open(QIODevice::ReadOnly))
        throw Failure(QString("%1: is not in the program").arg(name));
    return file.readAll();
}

QList<Placeholder> placeholdersFor(const QString& name)
{
    return {{"PluginName", name},
            {"PluginClass", name.left(1).toUpper() + name.mid(1) + "Plugin"},
            {"PluginGuard", name.toUpper() + "PLUGIN"}};
}

QString filled(QString text, const QList<Placeholder>& placeholders)
{
    for (const Placeholder& placeholder : placeholders)
        text.replace("%{" + placeholder.name + '}', placeholder.text);
    return text;
}

[[noreturn]] void failWith(const QString& folder, int error)
{
    throw Failure(QString("%1: cannot be made: %2")
                      .arg(oneLine(folder),
                           QString::fromLocal8Bit(std::generic_category().message(error).c_str())));
}

/** A folder that goes again, with what is in it, unless it is kept. */
class NewFolder
{
public:
    /** Beside the project's own folder, under a name that nothing has. */
    explicit NewFolder(const QString& finalName)
        : name(finalName)
        , path(Files::bytesOf(finalName) + ".XXXXXX")
    {
        if (!::mkdtemp(path.data()))
            failWith(name, errno);
    }
    ~NewFolder()
    {
        if (!path.isEmpty())
            QDir(QFile::decodeName(path)).removeRecursively();
    }

    void write(const QString& file, const QByteArray& content) const
    {
        Files::write(Files::nameFrom((path + '/' + file.toUtf8()).constData()), content);
    }

    /** Gives the folder its own name, unless that is taken. */
    void keep()
    {
        // Files of one's own: readable by whom the user's mask says.
        const mode_t mask = ::umask(0);
        ::umask(mask);
        const QStringList files = QDir(QFile::decodeName(path)).entryList(QDir::Files);
        for (const QString& file : files)
            ::chmod((path + '/' + file.toUtf8()).constData(), 0666 & ~mask);
        ::chmod(path.constData(), 0777 & ~mask);
        // An empty folder of one's own is replaced as a whole; one of others is never touched.
        const QByteArray finalPath = Files::bytesOf(name);
        if (::mkdir(finalPath.constData(), 0777) != 0)
            failWith(name, errno);
        if (::rename(path.constData(), finalPath.constData()) != 0) {
            const int error = errno;
            ::rmdir(finalPath.constData());
            failWith(name, error);
        }
        path.clear();
    }

private:
    Q_DISABLE_COPY(NewFolder)

    const QString name;
    QByteArray path; // empty when there is nothing to be removed
};

} // namespace

void runNew(const Arguments& arguments)
{
    const QString name = arguments.operands.at(0);
    requireName(name);
    const QString parent = arguments.has("--dir") ? arguments.value("--dir") : QString(".");
    const QString folder = parent == "." ? name : parent + '/' + name;
    struct stat found = {};
    if (::lstat(Files::bytesOf(folder).constData(), &found) == 0)
        throw Failure(
            QString("%1: is there already; expected a name that nothing has").arg(oneLine(folder)));

    const QList<Placeholder> placeholders = placeholdersFor(name);
    const QJsonArray generators
        = QJsonDocument::fromJson(resource("wizard.json")).object().value("generators").toArray();
    const QJsonArray files = generators.at(0).toObject().value("data").toArray();
    NewFolder made(folder);
    for (const QJsonValue& value : files) {
        const QJsonObject file = value.toObject();
        const QString target = filled(file.value("target").toString(), placeholders);
        const QString content
            = filled(QString::fromUtf8(resource(file.value("source").toString())), placeholders);
        made.write(target.section('/', -1), content.toUtf8());
    }
    made.keep();
    Console::out(QString("made %1; its README.md says how it is built and tried").arg(folder));
}
