#include "MivoXmlNode.h"
#include "MivoXmlElement_p.h"

#include <QDebug>
#include <QLocale>
#include <QTextStream>
#include <QXmlStreamReader>

#include <cmath>

namespace {

bool isAsciiNameStart(ushort c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool isAsciiNameChar(ushort c)
{
    return isAsciiNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

/** Whether @p name can be written and will be read again as the name of an element or attribute. */
bool isXmlName(const QString& name)
{
    if (name.isEmpty())
        return false;
    int i = isAsciiNameStart(name.at(0).unicode()) ? 1 : 0;
    while (i > 0 && i < name.size() && isAsciiNameChar(name.at(i).unicode()))
        ++i;
    if (i == name.size())
        return true;

    // Beyond ASCII the reader decides, so that nothing is written that it would refuse.
    QXmlStreamReader reader(QString(QLatin1Char('<') + name + QLatin1String("/>")));
    reader.setNamespaceProcessing(false);
    const bool isWhole = reader.readNextStartElement() && reader.qualifiedName() == name
        && reader.attributes().isEmpty();
    while (!reader.atEnd())
        reader.readNext();
    return isWhole && !reader.hasError();
}

/** The decimal text of @p value, which is 0 or more. */
QString digits(double value)
{
    for (int precision = 15; precision < 17; ++precision) {
        const QString text = QString::number(value, 'g', precision);
        if (QLocale::c().toDouble(text) == value)
            return text;
    }
    return QString::number(value, 'g', 17);
}

/** The text that writePrinted() is to write. */
thread_local QString printed;

/**
 * QDebug quotes, escapes or recodes every kind of text in one generation of Qt or another. It does
 * lend its text stream to a manipulator, which is given nothing else.
 */
QTextStream& writePrinted(QTextStream& stream)
{
    return stream << printed;
}

} // namespace

MivoXmlNode::MivoXmlNode() = default;

MivoXmlNode::MivoXmlNode(const QString& name, MivoXmlNode* parent)
{
    if (parent && !parent->isNull())
        *this = parent->addChild(name);
    else if (isXmlName(name))
        d = new MivoXmlElement(name);
}

MivoXmlNode::MivoXmlNode(MivoXmlElement* element)
    : d(element)
{
}

MivoXmlNode::MivoXmlNode(const MivoXmlNode& other)
    : d(MivoXmlElement::share(other.d))
{
}

MivoXmlNode::MivoXmlNode(MivoXmlNode&& other) noexcept
    : d(other.d)
{
    other.d = nullptr;
}

MivoXmlNode& MivoXmlNode::operator=(const MivoXmlNode& other)
{
    MivoXmlNode copy(other);
    qSwap(d, copy.d);
    return *this;
}

MivoXmlNode& MivoXmlNode::operator=(MivoXmlNode&& other) noexcept
{
    MivoXmlNode taken(std::move(other));
    qSwap(d, taken.d);
    return *this;
}

MivoXmlNode::~MivoXmlNode()
{
    MivoXmlElement::release(d);
}

bool MivoXmlNode::operator==(const MivoXmlNode& other) const
{
    return d == other.d;
}

bool MivoXmlNode::operator!=(const MivoXmlNode& other) const
{
    return !(*this == other);
}

bool MivoXmlNode::isNull() const
{
    return !d;
}

bool MivoXmlNode::hasData() const
{
    const MivoXmlPiece* piece = d ? d->first : nullptr;
    while (piece && piece->element())
        piece = piece->next;
    return piece;
}

QString MivoXmlNode::name() const
{
    return d ? d->text : QString();
}

QString MivoXmlNode::getAttribute(const QString& name) const
{
    return d ? d->attributes.value(name) : QString();
}

void MivoXmlNode::setAttribute(const QString& name, const QString& value)
{
    if (d && isXmlName(name))
        d->attributes.set(name, value.isNull() ? QString(QLatin1String("")) : value);
}

void MivoXmlNode::setAttribute(const QString& name, int value)
{
    setAttribute(name, QString::number(value));
}

void MivoXmlNode::setAttribute(const QString& name, unsigned int value)
{
    setAttribute(name, QString::number(value));
}

void MivoXmlNode::setAttribute(const QString& name, double value)
{
    // The sign is written here: not every generation of Qt writes that of zero.
    QString text = QLatin1String(std::signbit(value) && !std::isnan(value) ? "-" : "");
    if (std::isnan(value))
        text += QLatin1String("nan");
    else if (std::isinf(value))
        text += QLatin1String("inf");
    else
        text += digits(std::fabs(value));
    setAttribute(name, text);
}

QString MivoXmlNode::getData() const
{
    if (!d)
        return QString();
    QString data = QLatin1String("");
    for (const MivoXmlPiece* piece = d->first; piece; piece = piece->next) {
        if (piece->element())
            continue;
        if (data.isEmpty())
            data = piece->text; // shared, where it is the only one
        else
            data += piece->text;
    }
    return data;
}

void MivoXmlNode::insertData(const QString& data)
{
    if (d)
        d->appendText(data);
}

MivoXmlNode MivoXmlNode::getChild(const QString& name) const
{
    for (MivoXmlPiece* piece = d ? d->first : nullptr; piece; piece = piece->next) {
        if (piece->element() && piece->text == name)
            return MivoXmlNode(MivoXmlElement::share(piece->element()));
    }
    return MivoXmlNode();
}

QList<MivoXmlNode> MivoXmlNode::getChildNodes() const
{
    QList<MivoXmlNode> children;
    for (MivoXmlPiece* piece = d ? d->first : nullptr; piece; piece = piece->next) {
        if (piece->element())
            children.append(MivoXmlNode(MivoXmlElement::share(piece->element())));
    }
    return children;
}

MivoXmlNode MivoXmlNode::addChild(const QString& name)
{
    const MivoXmlNode child(d ? name : QString());
    appendChild(child);
    return child;
}

void MivoXmlNode::appendChild(const MivoXmlNode& child)
{
    if (!d || !child.d || child.d->holds(d))
        return;
    if (child.d->parent)
        child.d->parent->take(child.d);
    else
        MivoXmlElement::share(child.d);
    d->append(child.d);
}

QByteArray MivoXmlNode::toXml(int indent) const
{
    return d ? d->write(indent) : QByteArray();
}

MivoXmlNode MivoXmlNode::parse(const QByteArray& xml, QString* error)
{
    QString message;
    const MivoXmlNode root(MivoXmlElement::read(xml, &message));
    if (error)
        *error = message;
    return root;
}

QDebug operator<<(QDebug dbg, const MivoXmlNode& node)
{
    printed = node.isNull() ? QString(QLatin1String("MivoXmlNode(null)"))
                            : QString::fromUtf8(node.toXml(-1));
    dbg.nospace() << writePrinted;
    printed.clear();
    return dbg.space();
}
