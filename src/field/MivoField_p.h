#ifndef MIVOFIELD_P_H
#define MIVOFIELD_P_H

#include "MivoField.h"
#include "MivoPluginAction.h"

#include <QAtomicInt>

/**
 * The record that all copies of one MivoField share until one of them is given another value.
 *
 * The members of each union overlap: which of them means something depends on the kind.
 */
class MIVO_DATA_EXPORT MivoFieldPrivate
{
public:
    /** The kind of images has a number, but no name. */
    static constexpr MivoField::Type Image = static_cast<MivoField::Type>(13);

    MivoFieldPrivate(MivoField::Type type, const QString& label, const QString& id,
                     const QString& group);
    ~MivoFieldPrivate();

    /** The record of @p field; null for the null field. It stays owned by its handles. */
    static MivoFieldPrivate* get(const MivoField& field) { return field.d; }

    /** LineEdit for the reserved kinds of text too, which behave like it; else @p type itself. */
    static MivoField::Type behaviourOf(MivoField::Type type)
    {
        return type > MivoField::LineEdit && type < MivoField::TextEdit ? MivoField::LineEdit
                                                                        : type;
    }

    /** A copy with a count of 1. */
    MivoFieldPrivate* clone() const;

    QAtomicInt ref;
    MivoField::Type type;
    QString label;
    QString id;
    QString group;
    union {
        int maxTextLength;
        int spinBoxMax;
        unsigned selectedIndex;
        double doubleSpinBoxMax;
    };
    union {
        int spinBoxMin;
        double doubleSpinBoxMin;
    };
    union {
        bool checked;
        int intValue;
        double doubleValue;
    };
    QStringList comboBoxItems;
    QString text;
    MivoPluginAction action;
    bool readOnly;
    bool visible;
    bool pressed;
    QByteArray imgData;

private:
    MivoFieldPrivate(const MivoFieldPrivate& other);
    MivoFieldPrivate& operator=(const MivoFieldPrivate&) = delete;
};

#endif
