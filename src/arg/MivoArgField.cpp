#include "MivoArg.h"

#include "MivoField.h"
#include "MivoField_p.h"

namespace {

template <class T, class Parameter>
bool write(MivoField& field, T (MivoField::*get)() const, void (MivoField::*set)(Parameter),
           const MivoArg& value, T (MivoArg::*to)() const)
{
    if ((field.*get)() == (value.*to)())
        return false;
    (field.*set)((value.*to)());
    return true;
}

} // namespace

bool MivoArg::setFieldValue(MivoField& field, const MivoArg& value)
{
    switch (MivoFieldPrivate::behaviourOf(field.getType())) {
    case MivoField::ComboBox:
        return write(field, &MivoField::getSelectedIndex, &MivoField::setSelectedIndex, value,
                     &MivoArg::toUInt);
    case MivoField::CheckBox:
    case MivoField::RadioButton:
        return write(field, &MivoField::isChecked, &MivoField::setChecked, value, &MivoArg::toBool);
    case MivoField::LineEdit:
    case MivoField::TextEdit:
        return write(field, &MivoField::getText, &MivoField::setText, value, &MivoArg::toString);
    case MivoField::SpinBox:
        return write(field, &MivoField::getIntValue, &MivoField::setIntValue, value,
                     &MivoArg::toInt);
    case MivoField::DoubleSpinBox:
        return write(field, &MivoField::getDoubleValue, &MivoField::setDoubleValue, value,
                     &MivoArg::toDouble);
    case MivoField::Label:
        return write(field, &MivoField::getLabel, &MivoField::setLabel, value, &MivoArg::toString);
    default:
        return false;
    }
}
