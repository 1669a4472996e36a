#ifndef MIVOFORMWIDGET_H
#define MIVOFORMWIDGET_H

#include "MivoField.h"
#include "MivoWidgetsGlobal.h"

#include <QWidget>

#include <memory>

class MivoFormWidgetPrivate;

/**
 * A form for people: an editor for each field, in a titled box for each group, the boxes in the
 * order in which their groups first appear.
 *
 * | kind                   | editor                                                            |
 * |------------------------|-------------------------------------------------------------------|
 * | ComboBox               | QComboBox; nothing is chosen when the index lies beyond the items |
 * | CheckBox, RadioButton  | QCheckBox, QRadioButton                                           |
 * | LineEdit, kinds 5 to 7 | QLineEdit                                                         |
 * | kind 8, for secrets    | QLineEdit that shows dots                                         |
 * | TextEdit               | QPlainTextEdit                                                    |
 * | SpinBox, DoubleSpinBox | QSpinBox, QDoubleSpinBox                                          |
 * | Label, images          | QLabel                                                            |
 * | Button                 | QPushButton; runs MivoField::clicked()                            |
 *
 * The editor has the field's id as its object name. Other kinds and null fields have none. An
 * invisible field's editor is hidden, a read-only field's takes no input.
 *
 * A field keeps its value bit for bit until the user changes it, also where its editor cannot show
 * it: a number outside the limits, a text that is too long. What the user enters keeps to the
 * limits; a length of 0 or less is none, nor is a NaN, and with a minimum above the maximum nothing
 * can be entered. The radio buttons of one group exclude each other, once one of them is touched;
 * a read-only one stays as it is. The wheel changes only the editor that has the focus.
 */
class MIVO_WIDGETS_EXPORT MivoFormWidget : public QWidget
{
    Q_OBJECT

public:
    explicit MivoFormWidget(QWidget* parent = nullptr);
    ~MivoFormWidget() override;

    /** The fields in the order given, with the values that the user has changed. */
    QList<MivoField> fields() const;
    /**
     * Shows other fields, or the same with other values or flags; emits nothing. The editor in
     * which the user types keeps the focus when a field of its id stays, and the cursor with an
     * unchanged text.
     */
    void setFields(const QList<MivoField>& fields);

Q_SIGNALS:
    /** The user has changed the field of that id; of radio buttons, each one that has changed. */
    void changed(const QString& id);

private:
    Q_DISABLE_COPY(MivoFormWidget)

    const std::unique_ptr<MivoFormWidgetPrivate> d;
};

#endif
