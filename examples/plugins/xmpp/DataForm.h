#ifndef DATAFORM_H
#define DATAFORM_H

#include <MivoField.h>
#include <MivoXmlNode.h>

/**
 * A form of a server (XEP-0004) as fields, and back. docs/xmpp.md has the table of what becomes what.
 * What has no field of its own is kept, shown as a label, and sent back unchanged.
 */
class DataForm
{
public:
    /** No form. */
    DataForm();
    /** From an element "x" of the namespace jabber:x:data; else no form. */
    explicit DataForm(const MivoXmlNode& element);

    bool isNull() const { return form.isNull(); }
    /** Whether there is something to be filled in: a result is only shown. */
    bool isQuestion() const;
    QString title() const;

    /** The fields to show; their ids begin with @p prefix. */
    QList<MivoField> fields(const QString& prefix, const QString& group) const;
    /**
     * Takes the values of those of @p given that are fields of the form. Returns nothing, or one
     * sentence on what is wrong, and has then changed nothing.
     */
    QString setValues(const QString& prefix, const QList<MivoField>& given);
    /** What keeps the form from being submitted: one sentence; empty when nothing does. */
    QString lack() const;
    /** The filled-in form, an element "x" of type "submit". */
    MivoXmlNode submission() const;

private:
    struct Item
    {
        MivoXmlNode element;
        QString type;
        QString id; // without prefix; unlike that of any other item
        QStringList values;
    };

    QString labelOf(const Item& item) const;
    MivoField fieldOf(const Item& item, const QString& prefix, const QString& group) const;

    MivoXmlNode form;
    QList<Item> items;
};

#endif
