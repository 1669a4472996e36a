#ifndef MIVOFIELD_H
#define MIVOFIELD_H

#include "MivoGlobal.h"

#include <QByteArray>
#include <QDebug>
#include <QList>
#include <QString>
#include <QStringList>

class MivoArg;
class MivoFieldPrivate;
class MivoPluginAction;
class MivoXmlNode;

/**
 * One field of a form: its kind, identifier, caption, group and current value.
 *
 * Copies share one record. A setter of a value first gives the handle a record of its own
 * (copy-on-write), unless the value stays the same, in which case nothing is written or copied. The
 * flags (setVisible(), setReadOnly(), setPressed()) and the image bytes belong to the record
 * instead: a change is seen through all copies, and must not be made while another thread uses one.
 * Apart from that, copies may be used in different threads at once; one MivoField object may not.
 *
 * Each kind has slots of its own, but no operation checks the kind; the slots of different kinds
 * overlap, so only those that fit the kind mean anything. A default-constructed field is null:
 * isNull(), the type, id, label, group, visibility and value of a null field may be read,
 * setVisible() does nothing, and it compares and is written as an empty field of kind None. Any
 * other operation asserts in a debug build; in a release build it answers zero, false or an empty
 * value and does nothing.
 */
class MIVO_DATA_EXPORT MivoField
{
public:
    /**
     * The numbers 5 to 8 are reserved for kinds of text, 13 is that of images. Any other number can
     * be stored, and is that of a kind without a value.
     */
    enum Type : int {
        None = 0,
        ComboBox = 1,
        CheckBox = 2,
        RadioButton = 3,
        LineEdit = 4,
        TextEdit = 9,
        SpinBox = 10,
        DoubleSpinBox = 11,
        Label = 12,
        Button = 14
    };

    /** The null field. */
    MivoField();
    /** A field of text: a LineEdit or TextEdit. */
    MivoField(Type type, const QString& label, const QString& id, const QString& text,
              int maxTextLength, const QString& group);
    /** A CheckBox or RadioButton. */
    MivoField(Type type, const QString& label, const QString& id, bool checked,
              const QString& group);
    /** A DoubleSpinBox; on purpose with the maximum before the minimum. */
    MivoField(const QString& label, const QString& id, double max, double min, double value,
              const QString& group);
    /** A SpinBox; on purpose with the maximum before the minimum. */
    MivoField(const QString& label, const QString& id, int max, int min, int value,
              const QString& group);
    /** A ComboBox. */
    MivoField(const QString& label, const QString& id, const QStringList& items, int selectedIndex,
              const QString& group);
    /** A Button that runs @p action when it is clicked. */
    MivoField(const QString& label, const QString& id, MivoPluginAction action,
              const QString& group);
    /** A Label. */
    MivoField(const QString& label, const QString& id, const QString& group);
    /** An image, which has no label. @p imgData is shared implicitly and not changed. */
    MivoField(const QString& id, QByteArray& imgData, const QString& group);

    MivoField(const MivoField& other);
    /** Takes @p other's record, which leaves @p other null. */
    MivoField(MivoField&& other) noexcept;
    ~MivoField();
    MivoField& operator=(const MivoField& other);
    MivoField& operator=(MivoField&& other) noexcept;

    /**
     * Whether both share one record, or have equal kinds, labels, ids and values (with limits and
     * items). The group plays no part. Labels, buttons, images and the reserved kinds 5 to 7 equal
     * only their own copies, on purpose; a NaN among the values equals nothing.
     */
    bool operator==(const MivoField& other) const;
    bool operator!=(const MivoField& other) const;

    bool isNull() const;

    Type getType() const;
    /** The key under which values are read from XML. */
    QString getId() const;
    QString getGroup() const;

    QString getLabel() const;
    void setLabel(const QString& label);

    // Kinds of text. The length is a hint to the user interface: setText() does not cut.
    QString getText() const;
    void setText(const QString& text);
    int getMaxTextLength() const;
    void setMaxTextLength(int length);

    // SpinBox. A new limit pulls the value inside it, but a value is stored as it is, and nothing
    // keeps the minimum below the maximum.
    int getIntValue() const;
    void setIntValue(int value);
    int getSpinBoxMin() const;
    void setSpinBoxMin(int minimum);
    int getSpinBoxMax() const;
    void setSpinBoxMax(int maximum);

    // DoubleSpinBox, with the same rules.
    double getDoubleValue() const;
    void setDoubleValue(double value);
    double getDoubleSpinBoxMin() const;
    void setDoubleSpinBoxMin(double minimum);
    double getDoubleSpinBoxMax() const;
    void setDoubleSpinBoxMax(double maximum);

    // CheckBox and RadioButton.
    bool isChecked() const;
    void setChecked(bool checked);

    // ComboBox.
    QStringList getComboBoxItems() const;
    void setComboBoxItems(const QStringList& items);
    /** Zero-based; may lie beyond the last item. */
    unsigned getSelectedIndex() const;
    void setSelectedIndex(unsigned index);
    /** The selected item; a null string when the index lies beyond the last one. */
    QString getSelectedString() const;

    /**
     * The image bytes inside the shared record: what is written to them, all copies see. The
     * reference is good until a setter is called on this field, or the record's last copy goes.
     */
    QByteArray& getImgData();

    // Flags of the shared record.
    bool getVisible() const;
    void setVisible(bool visible);
    bool isReadOnly() const;
    void setReadOnly(bool readOnly);
    bool isPressed() const;
    void setPressed(bool pressed);

    /**
     * What the user can change: a UInt (the index) for a ComboBox, a Bool for a CheckBox or
     * RadioButton, a String for kinds of text, an Int or Double for the spin boxes, None otherwise.
     */
    MivoArg getValue() const;

    /** Posts the action of a Button; does nothing when there is none. */
    void clicked();

    /** A new "field" element with the id, the kind and what the user can change. */
    MivoXmlNode toXml() const;
    /**
     * Takes the values of a "field" element over. Does nothing when the element has no id or
     * another one, or is of another kind, nor on a null field. Never changes id, kind, label or
     * group. What is no number, or none that fits, reads as 0; a box is checked by "1" alone; a
     * missing text reads as a null string. Short of memory it throws std::bad_alloc and the field is as
     * it was. Elements of one document are for one thread at a time.
     */
    void fromXml(const MivoXmlNode& node);

    /** A new "fieldlist" element with all @p fields in their order. */
    static MivoXmlNode toXml(const QList<MivoField>& fields);
    /**
     * The same @p fields in the same order, with the values that @p node, a "fieldlist" element,
     * has for them; an empty list when it is another element. Elements of unknown ids are ignored.
     * Of fields with one id the first takes all elements of that id over, the last of which wins.
     */
    static QList<MivoField> fromXml(const QList<MivoField>& fields, const MivoXmlNode& node);

private:
    friend class MivoFieldPrivate;

    void detach();
    template <class T>
    bool set(T MivoFieldPrivate::*slot, const T& value);

    MivoFieldPrivate* d;
};

Q_DECLARE_TYPEINFO(MivoField, Q_MOVABLE_TYPE);

/** "MivoField(", id, kind and values, ")"; leaves the stream in space mode. */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, const MivoField& field);
/** One field after the other, without brackets; leaves the stream in space mode. */
MIVO_DATA_EXPORT QDebug operator<<(QDebug dbg, const QList<MivoField>& fields);

#endif
