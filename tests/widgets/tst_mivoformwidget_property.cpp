#include "MivoArg.h"
#include "MivoField_p.h"
#include "MivoFormWidget.h"
#include "MivoPluginAction.h"
#include "PropertyGenerators.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QtTest>

#include <cmath>
#include <cstring>

namespace {

/** Any code units at all: line ends, zeros and lone surrogates often. */
rc::Gen<QString> anyText()
{
    const auto unit = rc::gen::weightedOneOf<int>(
        {{4, rc::gen::inRange(0x20, 0x7f)},
         {3, rc::gen::element(0, 9, 10, 13, 0xa0, 0x2028, 0x2029, 0xd800, 0xdc00, 0xfdd0, 0xffff)},
         {2, rc::gen::inRange(0, 0x10000)}});
    return rc::gen::map(rc::gen::container<std::vector<int>>(unit),
                        [](const std::vector<int>& units) {
                            QString text;
                            for (const int each : units)
                                text.append(QChar(ushort(each)));
                            return text;
                        });
}

/** Often in the range of what people enter. */
rc::Gen<int> someInt()
{
    return rc::gen::oneOf(gen::anyInt(), rc::gen::inRange(-20, 20));
}

rc::Gen<double> someDouble()
{
    return rc::gen::oneOf(gen::anyDouble(), rc::gen::map(rc::gen::inRange(-200, 200), [](int i) {
                              return i / 10.0;
                          }));
}

QString idOf(int i)
{
    return QString("id%1").arg(i);
}

MivoField anyField(int i)
{
    const QString group = *rc::gen::element(QString("G"), QString("H"), QString());
    const QString id = idOf(i);
    MivoField field;
    switch (*rc::gen::inRange(0, 10)) {
    case 0:
        field = MivoField(MivoField::CheckBox, "check", id, *rc::gen::arbitrary<bool>(), group);
        break;
    case 1:
    case 2:
        field = MivoField(MivoField::RadioButton, "radio", id, *rc::gen::arbitrary<bool>(), group);
        break;
    case 3:
        field = MivoField(MivoField::Type(*rc::gen::inRange(4, 9)), "line", id, *anyText(),
                          *rc::gen::oneOf(gen::anyInt(), rc::gen::inRange(0, 6)), group);
        break;
    case 4:
        field = MivoField(MivoField::TextEdit, "text", id, *anyText(),
                          *rc::gen::oneOf(gen::anyInt(), rc::gen::inRange(0, 6)), group);
        break;
    case 5:
        field = MivoField("int", id, *someInt(), *someInt(), *someInt(), group);
        break;
    case 6:
        field = MivoField("real", id, *someDouble(), *someDouble(), *someDouble(), group);
        break;
    case 7: {
        QStringList items;
        for (const QString& item : *rc::gen::container<std::vector<QString>>(anyText()))
            items << item;
        field = MivoField("combo", id, items,
                          *rc::gen::oneOf(gen::anyInt(), rc::gen::inRange(0, 4)), group);
        break;
    }
    case 8:
        field = MivoField("label", id, group);
        break;
    default:
        field = MivoField(MivoField::Type(*rc::gen::inRange(0, 40)), *anyText(), id, QString(), 0,
                          group);
        break;
    }
    field.setReadOnly(*rc::gen::inRange(0, 6) == 0);
    field.setVisible(*rc::gen::inRange(0, 8) != 0);
    return field;
}

QList<MivoField> anyFields()
{
    QList<MivoField> fields;
    const int count = *rc::gen::inRange(1, 8);
    for (int i = 0; i < count; ++i) {
        if (*rc::gen::inRange(0, 20) == 0)
            fields << MivoField();
        else
            fields << anyField(i);
    }
    return fields;
}

template <class T>
QByteArray bitsOf(T value)
{
    return QByteArray(reinterpret_cast<const char*>(&value), int(sizeof value));
}

/** All that a record holds, bit for bit. */
QList<QByteArray> bitsOf(const MivoField& field)
{
    const MivoFieldPrivate* const record = MivoFieldPrivate::get(field);
    if (!record)
        return {};
    QList<QByteArray> bits;
    // The widest members of the slots.
    bits << bitsOf(int(record->type)) << bitsOf(record->doubleSpinBoxMax)
         << bitsOf(record->doubleSpinBoxMin) << bitsOf(record->doubleValue)
         << bitsOf(record->readOnly) << bitsOf(record->visible) << bitsOf(record->text.isNull());
    for (const QString& text : QStringList({record->label, record->id, record->group, record->text})
             + record->comboBoxItems)
        bits << QByteArray(reinterpret_cast<const char*>(text.utf16()), int(text.size()) * 2);
    return bits;
}

bool isRadio(const MivoField& field)
{
    return field.getType() == MivoField::RadioButton;
}

/** Whether the value that was entered keeps to the limits of the field. */
bool isWithinLimits(const MivoField& field)
{
    switch (int(MivoFieldPrivate::behaviourOf(field.getType()))) {
    case MivoField::LineEdit:
    case MivoField::TextEdit:
        return field.getMaxTextLength() <= 0 || field.getText().size() <= field.getMaxTextLength();
    case MivoField::SpinBox:
        return field.getIntValue() >= field.getSpinBoxMin()
            && field.getIntValue() <= field.getSpinBoxMax();
    case MivoField::DoubleSpinBox: // a NaN is no limit
        return std::isfinite(field.getDoubleValue())
            && !(field.getDoubleValue() < field.getDoubleSpinBoxMin())
            && !(field.getDoubleValue() > field.getDoubleSpinBoxMax());
    case MivoField::ComboBox:
        return field.getSelectedIndex() < unsigned(field.getComboBoxItems().size());
    default:
        return true;
    }
}

/** A key that stays in the editor. */
struct Key
{
    int key;
    Qt::KeyboardModifiers modifiers;
    QString text;
};

Key anyKey()
{
    static const int keys[] = {Qt::Key_Up,        Qt::Key_Down,     Qt::Key_Left,  Qt::Key_Right,
                               Qt::Key_PageUp,    Qt::Key_PageDown, Qt::Key_Home,  Qt::Key_End,
                               Qt::Key_Backspace, Qt::Key_Delete,   Qt::Key_Space, Qt::Key_Return};
    if (*rc::gen::inRange(0, 3) == 0) {
        const int key = keys[*rc::gen::inRange(0, int(sizeof keys / sizeof *keys))];
        const QString text = key == Qt::Key_Space ? QString(" ") : QString();
        return {key,
                *rc::gen::element(Qt::KeyboardModifiers(Qt::NoModifier),
                                  Qt::KeyboardModifiers(Qt::ShiftModifier)),
                text};
    }
    if (*rc::gen::inRange(0, 12) == 0)
        return {Qt::Key_A, Qt::ControlModifier, QString()};
    const QString characters("0123456789-+.,eEabz");
    return {0, Qt::NoModifier, characters.mid(*rc::gen::inRange(0, int(characters.size())), 1)};
}

void press(QWidget* editor, const Key& key)
{
    QTest::sendKeyEvent(QTest::Click, editor, Qt::Key(key.key), key.text, key.modifiers);
}

} // namespace

class tst_MivoFormWidgetProperty : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anUntouchedFormComesBackBitForBit();
    void randomKeysChangeExactlyTheFieldThatHasThem();
};

void tst_MivoFormWidgetProperty::anUntouchedFormComesBackBitForBit()
{
    MivoFormWidget widget;
    widget.show();
    QVERIFY(rc::check([&] {
        const QList<MivoField> fields = anyFields();
        QList<QList<QByteArray>> before;
        for (const MivoField& field : fields)
            before << bitsOf(field);
        const QSignalSpy changed(&widget, &MivoFormWidget::changed);
        widget.setFields(fields);
        for (const QString& id : {idOf(0), idOf(1), idOf(2)}) {
            if (QWidget* const editor = widget.findChild<QWidget*>(id)) {
                editor->setFocus();
                editor->clearFocus();
            }
        }
        QApplication::processEvents();
        widget.grab();
        const QList<MivoField> after = widget.fields();
        RC_ASSERT(after.size() == fields.size());
        for (int i = 0; i < fields.size(); ++i) {
            RC_ASSERT(MivoFieldPrivate::get(after.at(i)) == MivoFieldPrivate::get(fields.at(i)));
            RC_ASSERT(bitsOf(after.at(i)) == before.at(i));
        }
        RC_ASSERT(changed.count() == 0);
    }));
}

void tst_MivoFormWidgetProperty::randomKeysChangeExactlyTheFieldThatHasThem()
{
    MivoFormWidget widget;
    widget.show();
    int touched = 0;
    QVERIFY(rc::check([&] {
        const QList<MivoField> fields = anyFields();
        QList<QList<QByteArray>> before;
        for (const MivoField& field : fields)
            before << bitsOf(field);
        widget.setFields(fields);
        const int chosen = *rc::gen::inRange(0, int(fields.size()));
        QWidget* const editor = widget.findChild<QWidget*>(idOf(chosen));
        const bool isUsable = editor && editor->isVisible() && editor->isEnabled();
        RC_PRE(isUsable);
        const QSignalSpy changed(&widget, &MivoFormWidget::changed);
        editor->setFocus();
        const int keys = *rc::gen::inRange(1, 30);
        for (int i = 0; i < keys; ++i)
            press(editor, anyKey());
        editor->clearFocus();
        QApplication::processEvents();

        QSet<QString> told;
        for (const QList<QVariant>& arguments : changed)
            told << arguments.at(0).toString();
        const QList<MivoField> after = widget.fields();
        for (int i = 0; i < fields.size(); ++i) {
            const bool maybeChanged = i == chosen
                || (isRadio(fields.at(i)) && isRadio(fields.at(chosen))
                    && fields.at(i).getGroup() == fields.at(chosen).getGroup());
            const bool isChanged = bitsOf(after.at(i)) != before.at(i);
            RC_ASSERT(maybeChanged || !isChanged);
            RC_ASSERT(!(isChanged && fields.at(i).isReadOnly()));
            // Who was not told of has not changed; who was has been entered, and keeps to the limits.
            RC_ASSERT(!isChanged || told.contains(fields.at(i).getId()));
            if (told.contains(fields.at(i).getId())) {
                ++touched;
                RC_ASSERT(isWithinLimits(after.at(i)));
                RC_ASSERT(MivoFieldPrivate::get(after.at(i))
                          != MivoFieldPrivate::get(fields.at(i)));
            }
            RC_ASSERT(bitsOf(fields.at(i)) == before.at(i)); // the host's own copy
        }
        // One radio button of a touched group is checked, not counting those that are fixed.
        if (isRadio(fields.at(chosen)) && !told.isEmpty()) {
            int checked = 0;
            for (const MivoField& field : after) {
                checked += !field.isNull() && isRadio(field) && !field.isReadOnly()
                    && field.getGroup() == fields.at(chosen).getGroup() && field.isChecked();
            }
            RC_ASSERT(checked == 1);
        }
    }));
    QVERIFY(touched > 0);
}

QTEST_MAIN(tst_MivoFormWidgetProperty)
#include "tst_mivoformwidget_property.moc"
