#ifndef MIVOXMLSOURCE_P_H
#define MIVOXMLSOURCE_P_H

#include <QIODevice>
#include <QXmlStreamReader>

/**
 * Finds what Qt's reader must not even see, for it hands tags and document type declarations out as a
 * whole, after it has compared every attribute with every other.
 */
class MivoXmlGuard
{
public:
    /**
     * How many of the next @p size bytes stand before the attribute that is one too many or deep
     * inside a document type declaration; all when there is neither. ASCII is ASCII in them. Where
     * they are no XML the answer means nothing, for the reader goes no further than that.
     */
    qint64 allowed(const char* bytes, qint64 size);

    /** Whether what was not allowed any more is a document type declaration. */
    bool isInDocumentType() const { return state == InDocumentType; }

private:
    enum State {
        InText,
        InMarkup, // behind "<"
        InDeclaration, // behind "<!"
        InCommentStart, // behind "<!-"
        InComment,
        InSection,
        InInstruction,
        InTag,
        InDocumentType // to the end, for it is refused
    };

    void endBehind(char c, char repeated, int times);

    State state = InText;
    char quote = 0; // in a tag: what the value ends with
    int run = 0; // of the character that must stand before the ">" that ends what this is in
    int attributes = 0;
    int documentTypeSize = 0;
};

/** Hands a document over to Qt's reader, as far as it may see it. */
class MivoXmlSource : public QIODevice
{
public:
    /** Makes @p reader read @p document, which stays as it is for as long as that goes on. */
    MivoXmlSource(const QByteArray& document, QXmlStreamReader* reader);

    /** What was found where the reader was not let on, and what was expected; else a null string. */
    QString error() const;
    /** Whether the document is guarded also when it declares this encoding. */
    bool canBeGuarded(const QString& encoding) const;

    bool isSequential() const override { return true; }
    bool atEnd() const override { return bytesAvailable() == 0; }
    qint64 bytesAvailable() const override { return isCut ? 0 : bytes.size() - position; }

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    const QByteArray bytes;
    qint64 position = 0;
    MivoXmlGuard guard;
    bool isWide = false; // in units of two or four bytes
    bool isCut = false;
};

#endif
