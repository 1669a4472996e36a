#ifndef MIVOXMLNODE_H
#define MIVOXMLNODE_H

#include <QByteArray>
#include <QList>
#include <QString>

#ifdef MIVO_XML_BUILD
#define MIVO_XML_EXPORT Q_DECL_EXPORT
#else
#define MIVO_XML_EXPORT Q_DECL_IMPORT
#endif

class MivoXmlElement;
class QDebug;

/**
 * Stand-in for the messenger's XML library: a handle to an element of a tree.
 *
 * Copies refer to the same element, so a change through one handle is seen through all. An element
 * lives as long as a handle to it, to an element that holds it or to its root does; what outlives
 * the element that held it is a root itself from then on. Handles may be used in every thread, but
 * those to elements of one tree in only one thread at a time; as long as there is a handle to its
 * root, other threads may copy their handles and let go of them meanwhile. Every operation is safe
 * on a null handle: getters answer null strings, null handles and empty lists, the others do
 * nothing.
 *
 * Text is kept as it is given. Names must be XML names, with at most one colon: what is given
 * another name is not made.
 */
class MIVO_XML_EXPORT MivoXmlNode
{
public:
    /** A null handle. */
    MivoXmlNode();
    /**
     * A new element, the last child of @p parent or, when that is null or a null handle, the root
     * of a tree of its own. A @p name that is no XML name, such as the empty one, makes a null
     * handle.
     */
    explicit MivoXmlNode(const QString& name, MivoXmlNode* parent = nullptr);
    MivoXmlNode(const MivoXmlNode& other);
    /** Leaves @p other a null handle. */
    MivoXmlNode(MivoXmlNode&& other) noexcept;
    MivoXmlNode& operator=(const MivoXmlNode& other);
    MivoXmlNode& operator=(MivoXmlNode&& other) noexcept;
    ~MivoXmlNode();

    /** Whether both handles refer to the same element, or both are null. */
    bool operator==(const MivoXmlNode& other) const;
    bool operator!=(const MivoXmlNode& other) const;

    bool isNull() const;
    /** Whether the element has character data of its own, be it white space alone. */
    bool hasData() const;

    QString name() const;

    /** The text of the attribute @p name; a null string when there is none, never for an empty one.
     */
    QString getAttribute(const QString& name) const;
    /** Adds or replaces an attribute; nothing happens when @p name is no XML name. */
    void setAttribute(const QString& name, const QString& value);
    void setAttribute(const QString& name, int value);
    void setAttribute(const QString& name, unsigned int value);
    /**
     * Writes 15 to 17 significant digits, as few of them as read back as the same value, in the C
     * locale; "inf", "-inf" and "nan" for what has no digits.
     */
    void setAttribute(const QString& name, double value);

    /**
     * The character data of the element, pieces between its children joined; that of the children
     * is not part of it. Empty, but not null, for an element without any.
     */
    QString getData() const;
    /** Adds @p data behind all that the element holds; an empty text adds nothing. */
    void insertData(const QString& data);

    /** The first child element of that name, a null handle when there is none. */
    MivoXmlNode getChild(const QString& name) const;
    /** The child elements in document order. */
    QList<MivoXmlNode> getChildNodes() const;
    /** Appends a new element and answers it; a null handle when @p name is no XML name. */
    MivoXmlNode addChild(const QString& name);
    /**
     * Makes @p child the last child, taken from wherever it was, another tree included: all handles
     * to it stay valid. Nothing happens when it is this element or holds it.
     */
    void appendChild(const MivoXmlNode& child);

    /**
     * The element as well-formed UTF-8 without an XML declaration, the same bytes in every run and
     * on every Qt: attributes are sorted by name, and what XML cannot carry (control characters,
     * lone surrogates, U+FFFE and U+FFFF) becomes U+FFFD. Characters that Qt 4.8 takes for none
     * (U+FDD0 to U+FDEF and the last two of the planes 1 to 16) are written as references. Elements
     * that hold elements only are laid out in lines, each level @p indent blanks (at most 16)
     * deeper, with a line end behind the last; with a negative @p indent all is written without a
     * break. Empty for a null handle.
     */
    QByteArray toXml(int indent = 2) const;

    /**
     * Reads a document of at most 256 MiB and 256 levels, with at most 1,000 attributes in a start
     * tag and without a document type declaration, in UTF-8, UTF-16, UTF-32, US-ASCII or a set of
     * one byte a character that Qt knows. Refusing one takes no more than reading a good one.
     * parse(node.toXml()) gives back every name and text that XML can carry. White space between
     * elements that have no other text beside them is layout and dropped, unless the element holds
     * a CDATA section; so are comments and processing instructions.
     *
     * On failure answers a null handle and sets @p error to a message that begins with "line L,
     * column C: ", both counted from 1; on success sets it to a null string.
     */
    static MivoXmlNode parse(const QByteArray& xml, QString* error = nullptr);

private:
    explicit MivoXmlNode(MivoXmlElement* element); // takes over a share of it

    MivoXmlElement* d = nullptr;
};

Q_DECLARE_TYPEINFO(MivoXmlNode, Q_MOVABLE_TYPE);

/** Writes the element as XML without layout, "MivoXmlNode(null)" for a null handle, and a blank. */
MIVO_XML_EXPORT QDebug operator<<(QDebug dbg, const MivoXmlNode& node);

#endif
