#ifndef MIVOXMLATTRIBUTES_P_H
#define MIVOXMLATTRIBUTES_P_H

#include <QString>

#include <vector>

/**
 * The attributes of an element, sorted by name. They stand in runs, one behind the other and each so
 * short that an addition moves few; nearly every element has one run.
 */
class MivoXmlAttributes
{
public:
    struct Attribute
    {
        QString name;
        QString value; // never null
    };
    typedef std::vector<Attribute> Run;

    /** The value of the attribute @p name; a null string when there is none. */
    QString value(const QString& name) const;
    /** Adds or replaces one. Without memory for it, nothing changes. */
    void set(QString name, QString value);
    /** Makes room for @p count, which are to be set next. */
    void reserve(int count);

    /** All in order; none of the runs is empty, unless there is just room made. */
    const std::vector<Run>& inOrder() const { return runs; }

private:
    size_t runOf(const QString& name) const;
    void split(size_t index);

    std::vector<Run> runs;
};

#endif
