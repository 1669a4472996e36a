#include "MivoField.h"

#include "MivoField_p.h"

#include "MivoArg.h"
#include "MivoQt_p.h"
#include "MivoShared_p.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

namespace {

/**
 * What @p slot holds. Numbers are read by their bits: another member of the union may have been
 * written last, and its first byte need be neither of the two that make a bool.
 */
template <class T>
T stored(const T& slot)
{
    if constexpr (std::is_arithmetic_v<T>) {
        std::conditional_t<std::is_same_v<T, bool>, unsigned char, T> bits;
        std::memcpy(&bits, &slot, sizeof bits);
        return T(bits);
    } else {
        return slot;
    }
}

/** What @p slot of @p record holds; zero, false or nothing without a record. */
template <class T>
T valueOrDefault(const MivoFieldPrivate* record, T MivoFieldPrivate::*slot)
{
    return record ? stored(record->*slot) : T();
}

void requireRecord([[maybe_unused]] const MivoFieldPrivate* record)
{
    Q_ASSERT_X(record, "MivoField", "the field must not be null");
}

template <class T>
T valueOf(const MivoFieldPrivate* record, T MivoFieldPrivate::*slot)
{
    requireRecord(record);
    return valueOrDefault(record, slot);
}

void setFlag(MivoFieldPrivate* record, bool MivoFieldPrivate::*flag, bool on)
{
    requireRecord(record);
    if (record)
        record->*flag = on;
}

} // namespace

MivoFieldPrivate::MivoFieldPrivate(MivoField::Type fieldType, const QString& fieldLabel,
                                   const QString& fieldId, const QString& fieldGroup)
    : ref(1)
    , type(fieldType)
    , label(fieldLabel)
    , id(fieldId)
    , group(fieldGroup)
    , doubleSpinBoxMax(0) // the widest members, so that all of each slot is zero
    , doubleSpinBoxMin(0)
    , doubleValue(0)
    , readOnly(false)
    , visible(true)
    , pressed(false)
{
}

MivoFieldPrivate::MivoFieldPrivate(const MivoFieldPrivate&) = default;
MivoFieldPrivate::~MivoFieldPrivate() = default;

MivoFieldPrivate* MivoFieldPrivate::clone() const
{
    MivoFieldPrivate* const copy = new MivoFieldPrivate(*this);
    copy->ref = 1;
    return copy;
}

MivoField::MivoField()
    : d(nullptr)
{
}

MivoField::MivoField(Type type, const QString& label, const QString& id, const QString& text,
                     int maxTextLength, const QString& group)
    : d(new MivoFieldPrivate(type, label, id, group))
{
    d->maxTextLength = maxTextLength;
    d->text = text;
}

MivoField::MivoField(Type type, const QString& label, const QString& id, bool checked,
                     const QString& group)
    : d(new MivoFieldPrivate(type, label, id, group))
{
    d->checked = checked;
}

MivoField::MivoField(const QString& label, const QString& id, double max, double min, double value,
                     const QString& group)
    : d(new MivoFieldPrivate(DoubleSpinBox, label, id, group))
{
    d->doubleSpinBoxMax = max;
    d->doubleSpinBoxMin = min;
    d->doubleValue = value;
}

MivoField::MivoField(const QString& label, const QString& id, int max, int min, int value,
                     const QString& group)
    : d(new MivoFieldPrivate(SpinBox, label, id, group))
{
    d->spinBoxMax = max;
    d->spinBoxMin = min;
    d->intValue = value;
}

MivoField::MivoField(const QString& label, const QString& id, const QStringList& items,
                     int selectedIndex, const QString& group)
    : d(new MivoFieldPrivate(ComboBox, label, id, group))
{
    d->selectedIndex = static_cast<unsigned>(selectedIndex);
    d->comboBoxItems = items;
}

MivoField::MivoField(const QString& label, const QString& id, MivoPluginAction action,
                     const QString& group)
    : d(new MivoFieldPrivate(Button, label, id, group))
{
    d->action = action;
}

MivoField::MivoField(const QString& label, const QString& id, const QString& group)
    : d(new MivoFieldPrivate(Label, label, id, group))
{
}

MivoField::MivoField(const QString& id, QByteArray& imgData, const QString& group)
    : d(new MivoFieldPrivate(MivoFieldPrivate::Image, QString(), id, group))
{
    d->imgData = imgData;
}

MivoField::MivoField(const MivoField& other)
    : d(other.d)
{
    tAtomicAttach(d);
}

MivoField::MivoField(MivoField&& other) noexcept
    : d(std::exchange(other.d, nullptr))
{
}

MivoField::~MivoField()
{
    tAtomicDetach(d);
}

MivoField& MivoField::operator=(const MivoField& other)
{
    // Attached first: other may live inside the record that is released.
    MivoFieldPrivate* const released = d;
    d = other.d;
    tAtomicAttach(d);
    tAtomicDetach(released);
    return *this;
}

MivoField& MivoField::operator=(MivoField&& other) noexcept
{
    MivoFieldPrivate* const taken = std::exchange(other.d, nullptr);
    tAtomicDetach(std::exchange(d, taken));
    return *this;
}

bool MivoField::operator==(const MivoField& other) const
{
    if (d == other.d)
        return true;
    if (getType() != other.getType() || getLabel() != other.getLabel() || getId() != other.getId())
        return false;
    const auto sameValue = [&](auto slot) { return valueOf(d, slot) == valueOf(other.d, slot); };
    switch (static_cast<int>(getType())) {
    case None:
        return true;
    case ComboBox:
        return sameValue(&MivoFieldPrivate::selectedIndex)
            && sameValue(&MivoFieldPrivate::comboBoxItems);
    case CheckBox:
    case RadioButton:
        return sameValue(&MivoFieldPrivate::checked);
    case LineEdit:
    case 8: // alone among the reserved kinds
        return sameValue(&MivoFieldPrivate::text) && sameValue(&MivoFieldPrivate::maxTextLength);
    case TextEdit:
        return sameValue(&MivoFieldPrivate::text);
    case SpinBox:
        return sameValue(&MivoFieldPrivate::intValue) && sameValue(&MivoFieldPrivate::spinBoxMax)
            && sameValue(&MivoFieldPrivate::spinBoxMin);
    case DoubleSpinBox:
        return sameValue(&MivoFieldPrivate::doubleValue)
            && sameValue(&MivoFieldPrivate::doubleSpinBoxMax)
            && sameValue(&MivoFieldPrivate::doubleSpinBoxMin);
    default:
        return false;
    }
}

bool MivoField::operator!=(const MivoField& other) const
{
    return !(*this == other);
}

bool MivoField::isNull() const
{
    return !d;
}

MivoField::Type MivoField::getType() const
{
    return valueOrDefault(d, &MivoFieldPrivate::type);
}

QString MivoField::getId() const
{
    return valueOrDefault(d, &MivoFieldPrivate::id);
}

QString MivoField::getGroup() const
{
    return valueOrDefault(d, &MivoFieldPrivate::group);
}

QString MivoField::getLabel() const
{
    return valueOrDefault(d, &MivoFieldPrivate::label);
}

void MivoField::setLabel(const QString& label)
{
    set(&MivoFieldPrivate::label, label);
}

QString MivoField::getText() const
{
    return valueOf(d, &MivoFieldPrivate::text);
}

void MivoField::setText(const QString& text)
{
    set(&MivoFieldPrivate::text, text);
}

int MivoField::getMaxTextLength() const
{
    return valueOf(d, &MivoFieldPrivate::maxTextLength);
}

void MivoField::setMaxTextLength(int length)
{
    set(&MivoFieldPrivate::maxTextLength, length);
}

int MivoField::getIntValue() const
{
    return valueOf(d, &MivoFieldPrivate::intValue);
}

void MivoField::setIntValue(int value)
{
    set(&MivoFieldPrivate::intValue, value);
}

int MivoField::getSpinBoxMin() const
{
    return valueOf(d, &MivoFieldPrivate::spinBoxMin);
}

void MivoField::setSpinBoxMin(int minimum)
{
    if (set(&MivoFieldPrivate::spinBoxMin, minimum))
        d->intValue = std::max(stored(d->intValue), minimum);
}

int MivoField::getSpinBoxMax() const
{
    return valueOf(d, &MivoFieldPrivate::spinBoxMax);
}

void MivoField::setSpinBoxMax(int maximum)
{
    if (set(&MivoFieldPrivate::spinBoxMax, maximum))
        d->intValue = std::min(stored(d->intValue), maximum);
}

double MivoField::getDoubleValue() const
{
    return valueOf(d, &MivoFieldPrivate::doubleValue);
}

void MivoField::setDoubleValue(double value)
{
    set(&MivoFieldPrivate::doubleValue, value);
}

double MivoField::getDoubleSpinBoxMin() const
{
    return valueOf(d, &MivoFieldPrivate::doubleSpinBoxMin);
}

// The value comes first in max() and min(), so that a NaN on either side changes nothing.

void MivoField::setDoubleSpinBoxMin(double minimum)
{
    if (set(&MivoFieldPrivate::doubleSpinBoxMin, minimum))
        d->doubleValue = std::max(stored(d->doubleValue), minimum);
}

double MivoField::getDoubleSpinBoxMax() const
{
    return valueOf(d, &MivoFieldPrivate::doubleSpinBoxMax);
}

void MivoField::setDoubleSpinBoxMax(double maximum)
{
    if (set(&MivoFieldPrivate::doubleSpinBoxMax, maximum))
        d->doubleValue = std::min(stored(d->doubleValue), maximum);
}

bool MivoField::isChecked() const
{
    return valueOf(d, &MivoFieldPrivate::checked);
}

void MivoField::setChecked(bool checked)
{
    set(&MivoFieldPrivate::checked, checked);
}

QStringList MivoField::getComboBoxItems() const
{
    return valueOf(d, &MivoFieldPrivate::comboBoxItems);
}

void MivoField::setComboBoxItems(const QStringList& items)
{
    set(&MivoFieldPrivate::comboBoxItems, items);
}

unsigned MivoField::getSelectedIndex() const
{
    return valueOf(d, &MivoFieldPrivate::selectedIndex);
}

void MivoField::setSelectedIndex(unsigned index)
{
    set(&MivoFieldPrivate::selectedIndex, index);
}

QString MivoField::getSelectedString() const
{
    const QStringList items = getComboBoxItems();
    const unsigned index = getSelectedIndex();
    return index < static_cast<unsigned>(items.size()) ? items.at(static_cast<int>(index))
                                                       : QString();
}

QByteArray& MivoField::getImgData()
{
    requireRecord(d);
    if (d)
        return d->imgData;
    static thread_local QByteArray nothing;
    nothing.clear();
    return nothing;
}

bool MivoField::getVisible() const
{
    return valueOrDefault(d, &MivoFieldPrivate::visible);
}

void MivoField::setVisible(bool visible)
{
    if (d)
        d->visible = visible;
}

bool MivoField::isReadOnly() const
{
    return valueOf(d, &MivoFieldPrivate::readOnly);
}

void MivoField::setReadOnly(bool readOnly)
{
    setFlag(d, &MivoFieldPrivate::readOnly, readOnly);
}

bool MivoField::isPressed() const
{
    return valueOf(d, &MivoFieldPrivate::pressed);
}

void MivoField::setPressed(bool pressed)
{
    setFlag(d, &MivoFieldPrivate::pressed, pressed);
}

MivoArg MivoField::getValue() const
{
    switch (MivoFieldPrivate::behaviourOf(getType())) {
    case ComboBox:
        return getSelectedIndex();
    case CheckBox:
    case RadioButton:
        return isChecked();
    case LineEdit:
    case TextEdit:
        return getText();
    case SpinBox:
        return getIntValue();
    case DoubleSpinBox:
        return getDoubleValue();
    default:
        return MivoArg();
    }
}

void MivoField::clicked()
{
    requireRecord(d);
    if (d)
        d->action();
}

void MivoField::detach()
{
    if (mivoLoadAcquire(d->ref) == 1)
        return;
    MivoFieldPrivate* const shared = d;
    d = shared->clone();
    tAtomicDetach(shared);
}

/** The rule of all setters of values. Returns whether the value is another one. */
template <class T>
bool MivoField::set(T MivoFieldPrivate::*slot, const T& value)
{
    requireRecord(d);
    if (!d || stored(d->*slot) == value)
        return false;
    detach();
    d->*slot = value;
    return true;
}
