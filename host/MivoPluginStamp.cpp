#include "MivoPluginStamp.h"

#include "MivoGlobal.h"
#include "MivoPlugin.h"

#include <QFile>
#include <QStringList>

#include <limits>

namespace {

/** The line before a stamp that stands as text, as mivo_add_plugin() writes it. */
const char mark[] = "\nmivo plug-in stamp\n";
const int longestText = 64 * 1024; // bytes

/** The fields that may be left out. */
const char* const userTexts[] = {"name", "title", "description", "author"};

#if defined(__GNUC__)
const char compilerAbi[] = "itanium";
#else
const char compilerAbi[] = "other";
#endif

/** As mivo_add_plugin() writes it. */
QString hostAbi()
{
    return QString::fromLatin1("%1-%2").arg(QLatin1String(compilerAbi)).arg(sizeof(void*) * 8);
}

/** The generation of Qt at run time, which is that of the build: Qt's soname carries it. */
int qtMajor()
{
    return QString::fromLatin1(qVersion()).section(QLatin1Char('.'), 0, 0).toInt();
}

/** A number that is written with digits alone; -1 when @p text is none, or too large for an int. */
int numberIn(const QString& text)
{
    for (int i = 0; i < int(text.size()); ++i) {
        if (text.at(i) < QLatin1Char('0') || text.at(i) > QLatin1Char('9'))
            return -1;
    }
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isNumber ? number : -1;
}

/** A number as JSON has it; -1 when @p value is none, or not a whole one that fits an int. */
int wholeNumber(const QVariant& value)
{
    const int type = value.userType();
    if (type != QMetaType::Double && type != QMetaType::LongLong && type != QMetaType::Int)
        return -1;
    const double number = value.toDouble();
    if (!(number >= 0 && number <= std::numeric_limits<int>::max()))
        return -1;
    const int whole = static_cast<int>(number);
    return whole == number ? whole : -1;
}

/** The first of the three numbers of a version; -1 when @p value is no version. */
int majorOf(const QVariant& value)
{
    if (value.userType() != QMetaType::QString)
        return -1;
    const QStringList parts = value.toString().split(QLatin1Char('.'));
    for (int i = 0; i < int(parts.size()); ++i) {
        if (numberIn(parts.at(i)) < 0)
            return -1;
    }
    return parts.size() == 3 ? numberIn(parts.first()) : -1;
}

/** As it stands in the stamp. */
QString textOf(const QVariant& value)
{
    if (value.userType() == QMetaType::QString)
        return QLatin1Char('"') + value.toString() + QLatin1Char('"');
    if (!value.isValid())
        return QString::fromLatin1("none");
    const QString text = value.toString();
    return text.isEmpty() ? QString::fromLatin1("null, or no single value") : text;
}

QString broken(const char* field, const QVariant& value)
{
    return QString::fromLatin1("a plug-in whose stamp is broken (%1: %2)")
        .arg(QLatin1String(field), textOf(value));
}

/**
 * The texts behind the marks in @p file, which is mapped: a plug-in with its debugging information
 * may be large.
 */
QList<QByteArray> markedTexts(QFile& file)
{
    QList<QByteArray> texts;
    const uchar* const bytes = file.map(0, file.size());
    if (!bytes || file.size() > std::numeric_limits<int>::max())
        return texts;
    const QByteArray content
        = QByteArray::fromRawData(reinterpret_cast<const char*>(bytes), int(file.size()));
    const int markLength = int(sizeof mark) - 1;
    for (int at = 0; (at = int(content.indexOf(mark, at))) >= 0;) {
        at += markLength;
        const QByteArray text = content.mid(at, longestText);
        const int end = int(text.indexOf('\0'));
        if (end > 0) // else the mark alone, as in this library
            texts.append(text.left(end));
    }
    return texts;
}

} // namespace

MivoPluginStamp::MivoPluginStamp()
    : unreadable(QString::fromLatin1("a plug-in without a stamp"))
{
}

MivoPluginStamp::MivoPluginStamp(const MivoPluginStamp&) = default;
MivoPluginStamp::MivoPluginStamp(MivoPluginStamp&&) noexcept = default;
MivoPluginStamp::~MivoPluginStamp() = default;
MivoPluginStamp& MivoPluginStamp::operator=(const MivoPluginStamp&) = default;
MivoPluginStamp& MivoPluginStamp::operator=(MivoPluginStamp&&) noexcept = default;

MivoPluginStamp MivoPluginStamp::fromMetaData(const QVariantMap& metaData)
{
    MivoPluginStamp stamp;
    if (metaData.isEmpty()) {
        stamp.unreadable = QString::fromLatin1(
            "a shared object that is no Qt plug-in: no class in it has Q_PLUGIN_METADATA");
        return stamp;
    }
    stamp.interfaceName = metaData.value(QLatin1String("IID")).toString();
    stamp.fields
        = metaData.value(QLatin1String("MetaData")).toMap().value(QLatin1String("mivo")).toMap();
    if (!stamp.interfaceName.startsWith(QLatin1String("MivoPlugin/")))
        stamp.unreadable
            = QString::fromLatin1("a plug-in of another program (\"%1\")").arg(stamp.interfaceName);
    else if (!stamp.fields.isEmpty())
        stamp.unreadable.clear();
    return stamp;
}

MivoPluginStamp MivoPluginStamp::fromText(const QString& fileName)
{
    MivoPluginStamp stamp;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        stamp.unreadable
            = QString::fromLatin1("a file that cannot be read (%1)").arg(file.errorString());
        return stamp;
    }
    const QList<QByteArray> found = markedTexts(file);
    if (found.size() > 1)
        stamp.unreadable = QString::fromLatin1("a plug-in with %1 stamps").arg(found.size());
    if (found.size() != 1)
        return stamp;

    stamp.unreadable.clear();
    const QStringList lines = QString::fromUtf8(found.first().constData()).split(QLatin1Char('\n'));
    for (int i = 0; i < int(lines.size()); ++i) {
        if (lines.at(i).isEmpty())
            continue;
        const QString key = lines.at(i).section(QLatin1Char('='), 0, 0);
        const QString value = lines.at(i).section(QLatin1Char('='), 1);
        if (key == QLatin1String("iid"))
            stamp.interfaceName = value;
        else if (stamp.fields.contains(key))
            stamp.unreadable
                = QString::fromLatin1("a plug-in whose stamp is broken (%1 stands twice)").arg(key);
        else if (key == QLatin1String("requires"))
            stamp.fields.insert(key, QVariant(value.split(QLatin1Char(','))).toList());
        else if (key == QLatin1String("interface") || key == QLatin1String("qt"))
            stamp.fields.insert(key,
                                numberIn(value) >= 0 ? QVariant(numberIn(value)) : QVariant(value));
        else
            stamp.fields.insert(key, value);
    }
    return stamp;
}

QString MivoPluginStamp::misfit() const
{
    if (!unreadable.isEmpty())
        return unreadable;

    const QVariant interfaceNumber = fields.value(QLatin1String("interface"));
    if (wholeNumber(interfaceNumber) < 0)
        return broken("interface", interfaceNumber);
    if (wholeNumber(interfaceNumber) != MIVO_PLUGIN_INTERFACE)
        return QString::fromLatin1("a plug-in for interface %1").arg(wholeNumber(interfaceNumber));
    if (interfaceName != QLatin1String(MivoPlugin_iid))
        return QString::fromLatin1(
                   "a plug-in whose IID \"%1\" is not that of its stamp's interface %2")
            .arg(interfaceName)
            .arg(MIVO_PLUGIN_INTERFACE);

    const QVariant qt = fields.value(QLatin1String("qt"));
    if (wholeNumber(qt) < 0)
        return broken("qt", qt);
    if (wholeNumber(qt) != qtMajor())
        return QString::fromLatin1("a plug-in for Qt %1").arg(wholeNumber(qt));

    const QVariant abi = fields.value(QLatin1String("abi"));
    if (abi.userType() != QMetaType::QString || abi.toString().isEmpty())
        return broken("abi", abi);
    if (abi.toString() != hostAbi())
        return QString::fromLatin1("a plug-in for compiler ABI %1").arg(abi.toString());

    const QVariant library = fields.value(QLatin1String("library"));
    if (majorOf(library) < 0)
        return broken("library", library);
    if (majorOf(library) != MIVO_VERSION_MAJOR)
        return QString::fromLatin1("a plug-in for libmivo_data %1").arg(library.toString());

    for (unsigned i = 0; i < sizeof userTexts / sizeof *userTexts; ++i) {
        const QVariant text = fields.value(QLatin1String(userTexts[i]));
        if (text.isValid() && (text.userType() != QMetaType::QString || text.toString().isEmpty()))
            return broken(userTexts[i], text);
    }
    const QVariant required = fields.value(QLatin1String("requires"));
    if (required.isValid() && required.userType() != QMetaType::QVariantList)
        return broken("requires", required);
    const QVariantList names = required.toList();
    for (int i = 0; i < int(names.size()); ++i) {
        if (names.at(i).userType() != QMetaType::QString || names.at(i).toString().isEmpty())
            return broken("requires", names.at(i));
    }
    return QString();
}

QString MivoPluginStamp::name() const
{
    return fields.value(QLatin1String("name")).toString();
}

QString MivoPluginStamp::title() const
{
    return fields.value(QLatin1String("title")).toString();
}

QString MivoPluginStamp::description() const
{
    return fields.value(QLatin1String("description")).toString();
}

QString MivoPluginStamp::author() const
{
    return fields.value(QLatin1String("author")).toString();
}

QStringList MivoPluginStamp::requirements() const
{
    return fields.value(QLatin1String("requires")).toStringList();
}

QString MivoPluginStamp::needed()
{
    return QString::fromLatin1("a plug-in made by mivo_add_plugin() for libmivo_data %1.x, plug-in "
                               "interface %2, Qt %3 and compiler ABI %4")
        .arg(MIVO_VERSION_MAJOR)
        .arg(MIVO_PLUGIN_INTERFACE)
        .arg(qtMajor())
        .arg(hostAbi());
}
