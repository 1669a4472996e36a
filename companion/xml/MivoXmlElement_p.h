#ifndef MIVOXMLELEMENT_P_H
#define MIVOXMLELEMENT_P_H

#include "MivoXmlAttributes_p.h"

#include <QAtomicInt>
#include <QString>

class MivoXmlElement;

// What a document may have at most, so that none costs more than its length suggests.
const int mivoXmlMaxDepth = 256;
const int mivoXmlMaxAttributes = 1000;
const int mivoXmlMaxBytes = 256 * 1024 * 1024;

/** What XML takes for white space. */
inline bool mivoIsXmlSpace(ushort c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

inline bool mivoIsXmlSpace(const QString& text)
{
    for (int i = 0; i < text.size(); ++i) {
        if (!mivoIsXmlSpace(text.at(i).unicode()))
            return false;
    }
    return true;
}

/** One of the things that an element holds, in document order: a piece of text or an element. */
class MivoXmlPiece
{
public:
    explicit MivoXmlPiece(QString pieceText)
        : text(std::move(pieceText))
    {
    }

    /** The element, when it is one. */
    inline MivoXmlElement* element();
    inline const MivoXmlElement* element() const;

    MivoXmlPiece* previous = nullptr;
    MivoXmlPiece* next = nullptr;
    QString text; // never empty; the name of an element

protected:
    MivoXmlPiece(QString name, bool pieceIsElement)
        : text(std::move(name))
        , isElement(pieceIsElement)
    {
    }

private:
    Q_DISABLE_COPY(MivoXmlPiece)

    const bool isElement = false;
};

/**
 * The record that all handles to one element share. Its count is that of the handles, and one more
 * when another element holds it; an element that loses the one that held it is the root of a tree
 * of its own from then on.
 */
class MivoXmlElement : public MivoXmlPiece
{
public:
    /** An element without anything, with a count of 1. */
    explicit MivoXmlElement(QString name)
        : MivoXmlPiece(std::move(name), true)
        , ref(1)
    {
    }

    /** Takes one share more of @p element, which may be null, and answers it. */
    static MivoXmlElement* share(MivoXmlElement* element);
    /** Gives up a share of @p element, which may be null. */
    static void release(MivoXmlElement* element);

    /** Whether @p element is this one or stands anywhere in it. */
    bool holds(const MivoXmlElement* element) const;

    /** Puts @p piece, which nobody holds, last. The caller's share of an element passes to this. */
    void append(MivoXmlPiece* piece) { insert(piece, last); }
    /** Puts @p piece behind @p other, one of those that this holds, or when that is null in front. */
    void insert(MivoXmlPiece* piece, MivoXmlPiece* other);
    /** Takes @p piece out. This one's share of an element passes to the caller. */
    void take(MivoXmlPiece* piece);

    /** Adds @p added, which may be empty, behind all that is there. */
    void appendText(const QString& added);

    /** The bytes that MivoXmlNode::toXml() answers. */
    QByteArray write(int indent) const;
    /** The root of a document, with a count of 1; null after an error, told with its place. */
    static MivoXmlElement* read(const QByteArray& xml, QString* error);

    QAtomicInt ref;
    MivoXmlElement* parent = nullptr;
    MivoXmlPiece* first = nullptr;
    MivoXmlPiece* last = nullptr;
    MivoXmlAttributes attributes;

private:
    ~MivoXmlElement() = default;
};

MivoXmlElement* MivoXmlPiece::element()
{
    return isElement ? static_cast<MivoXmlElement*>(this) : nullptr;
}

const MivoXmlElement* MivoXmlPiece::element() const
{
    return isElement ? static_cast<const MivoXmlElement*>(this) : nullptr;
}

#endif
