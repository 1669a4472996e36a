#include "MivoField.h"

#include "MivoDebug_p.h"

QDebug operator<<(QDebug dbg, const MivoField& field)
{
    const MivoPlainText plain(dbg);
    dbg.nospace() << "MivoField("
                  << "id: ";
    mivoWriteQuoted(dbg, field.getId());
    dbg << " type: ";
    switch (field.getType()) {
    case MivoField::None:
        dbg << "None";
        break;
    case MivoField::ComboBox:
        dbg << "ComboBox"
            << " options: ";
        // The list leaves the stream in space mode, and the pieces after it are written as they
        // are, each with its blank.
        mivoWriteList(dbg, field.getComboBoxItems(), mivoWriteQuoted);
        dbg << " selected: " << field.getSelectedIndex();
        break;
    case MivoField::CheckBox:
        dbg << "CheckBox"
            << " checked: " << field.isChecked();
        break;
    case MivoField::RadioButton:
        dbg << "RadioButton"
            << " checked: " << field.isChecked();
        break;
    case MivoField::LineEdit:
        dbg << "LineEdit"
            << " text: ";
        mivoWriteQuoted(dbg, field.getText());
        dbg << " maxtextlength: " << field.getMaxTextLength();
        break;
    case MivoField::TextEdit:
        dbg << "TextEdit"
            << " text: ";
        mivoWriteQuoted(dbg, field.getText());
        break;
    case MivoField::SpinBox:
        dbg << "SpinBox"
            << " max: " << field.getSpinBoxMax() << " min: " << field.getSpinBoxMin()
            << " val: " << field.getIntValue();
        break;
    case MivoField::DoubleSpinBox:
        dbg << "DoubleSpinBox"
            << " max: " << field.getDoubleSpinBoxMax() << " min: " << field.getDoubleSpinBoxMin()
            << " val: " << field.getDoubleValue();
        break;
    case MivoField::Label:
        dbg << "Label"
            << " label: ";
        mivoWriteQuoted(dbg, field.getLabel());
        break;
    default:
        break;
    }
    dbg << ")";
    return dbg.space();
}

QDebug operator<<(QDebug dbg, const QList<MivoField>& fields)
{
    const MivoPlainText plain(dbg);
    for (int i = 0; i < fields.size(); ++i)
        dbg << fields.at(i);
    return dbg.space();
}
