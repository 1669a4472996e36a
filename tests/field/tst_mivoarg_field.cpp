#include "MivoArg.h"
#include "MivoField.h"
#include "MivoField_p.h"
#include "MivoPlugin.h"
#include "MivoPluginAction.h"
#include "TestErrors.h"

#include <QtTest>

#include <cmath>
#include <utility>

namespace {

MivoField textOfKind(int type, const QString& text)
{
    return MivoField(MivoField::Type(type), "label", "id", text, 20, "group");
}

MivoField checkBox(bool checked)
{
    return MivoField(MivoField::CheckBox, "label", "id", checked, "group");
}

MivoField spinBox(int value)
{
    return MivoField("label", "id", 10, 0, value, "group");
}

MivoField doubleSpinBox(double value)
{
    return MivoField("label", "id", 10.5, 0.5, value, "group");
}

MivoField comboBox(int index)
{
    return MivoField("label", "id",
                     QStringList() << "x"
                                   << "y",
                     index, "group");
}

class Plugin : public MivoPlugin
{
public:
    void act(QList<MivoArg>&) { }
};

} // namespace

Q_DECLARE_METATYPE(MivoField)
Q_DECLARE_METATYPE(MivoArg)

class tst_MivoArgField : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aFieldIsHeldAndRead();
    void aFieldListIsHeldAndRead();
    void theAccessorsRequireTheExactKind();
    void fieldsCompareByTheirOwnRule();
    void fieldListsCompareElementByElement();
    void deeplyNestedFieldsAreDestroyed();
    void aValueIsWrittenOnce_data();
    void aValueIsWrittenOnce();
    void anotherKindThrowsAndKeepsTheField_data();
    void anotherKindThrowsAndKeepsTheField();
    void kindsWithoutAValueAreLeftAlone_data();
    void kindsWithoutAValueAreLeftAlone();
    void notANumberCountsAsAChange();
    void zeroOfTheOtherSignIsNoChange();
};

void tst_MivoArgField::aFieldIsHeldAndRead()
{
    const MivoField field = spinBox(5);
    const MivoArg arg(field);
    QCOMPARE(arg.getType(), MivoArg::Field);
    QCOMPARE(int(arg.getType()), 15);
    QCOMPARE(arg.getTypeName(), QString("MivoArg::Field"));
    QCOMPARE(MivoFieldPrivate::get(arg.toField()), MivoFieldPrivate::get(field));

    // A field that is read is a copy: writing to it changes neither the variant nor the source.
    MivoField read = arg.toField();
    read.setIntValue(6);
    QCOMPARE(arg.toField().getIntValue(), 5);
    QCOMPARE(field.getIntValue(), 5);
    QVERIFY(MivoArg(MivoField()).toField().isNull());
}

void tst_MivoArgField::aFieldListIsHeldAndRead()
{
    const QList<MivoField> fields = QList<MivoField>() << spinBox(5) << checkBox(true);
    const MivoArg arg(fields);
    QCOMPARE(arg.getType(), MivoArg::FieldList);
    QCOMPARE(int(arg.getType()), 16);
    QCOMPARE(arg.getTypeName(), QString("MivoArg::FieldList"));
    QCOMPARE(arg.toFieldList().size(), 2);
    QCOMPARE(arg.toFieldList().at(0).getIntValue(), 5);
    QVERIFY(arg.toFieldList().at(1).isChecked());
    QVERIFY(MivoArg(QList<MivoField>()).toFieldList().isEmpty());
}

void tst_MivoArgField::theAccessorsRequireTheExactKind()
{
    const MivoArg field(spinBox(5));
    const MivoArg list(QList<MivoField>() << spinBox(5));
    QCOMPARE(errorOf([&] { field.toFieldList(); }),
             QString("MivoArg: cannot convert MivoArg::Field to MivoArg::FieldList"));
    QCOMPARE(errorOf([&] { list.toField(); }),
             QString("MivoArg: cannot convert MivoArg::FieldList to MivoArg::Field"));
    QCOMPARE(errorOf([&] { field.toInt(); }),
             QString("MivoArg: cannot convert MivoArg::Field to MivoArg::Int"));
    QCOMPARE(errorOf([&] { MivoArg().toField(); }),
             QString("MivoArg: cannot convert MivoArg::None to MivoArg::Field"));
}

void tst_MivoArgField::fieldsCompareByTheirOwnRule()
{
    QVERIFY(MivoArg(spinBox(5)) == MivoArg(spinBox(5)));
    QVERIFY(MivoArg(spinBox(5)) != MivoArg(spinBox(6)));
    const MivoField label("label", "id", "group");
    QVERIFY(MivoArg(label) == MivoArg(label));
    QVERIFY(MivoArg(label) != MivoArg(MivoField("label", "id", "group")));
}

void tst_MivoArgField::fieldListsCompareElementByElement()
{
    const auto list = [](int a, int b) { return QList<MivoField>() << spinBox(a) << spinBox(b); };
    QVERIFY(MivoArg(list(1, 2)) == MivoArg(list(1, 2)));
    QVERIFY(MivoArg(list(1, 2)) != MivoArg(list(1, 3)));
    QVERIFY(MivoArg(list(1, 2)) != MivoArg(QList<MivoField>() << spinBox(1)));
    QVERIFY(MivoArg(QList<MivoField>()) == MivoArg(QList<MivoField>()));
}

void tst_MivoArgField::deeplyNestedFieldsAreDestroyed()
{
    Plugin plugin;
    const auto member = static_cast<MivoPluginAction::Member>(&Plugin::act);
    MivoArg asField;
    MivoArg asList;
    for (int depth = 0; depth < 100000; ++depth) {
        QList<MivoArg> arguments;
        arguments << std::move(asField);
        MivoArg field(MivoField("l", "i", MivoPluginAction(&plugin, member, arguments), "g"));
        swap(asField, field);

        QList<MivoArg> listArguments;
        listArguments << std::move(asList);
        MivoArg list(QList<MivoField>()
                     << MivoField("l", "i", MivoPluginAction(&plugin, member, listArguments), "g"));
        swap(asList, list);
    }
    QCOMPARE(asField.toField().getType(), MivoField::Button);
    QCOMPARE(asList.toFieldList().size(), 1);
}

void tst_MivoArgField::aValueIsWrittenOnce_data()
{
    QTest::addColumn<MivoField>("field");
    QTest::addColumn<MivoArg>("value");
    QTest::addColumn<MivoField>("expected");
    QTest::newRow("ComboBox") << comboBox(0) << MivoArg(7u) << comboBox(7);
    QTest::newRow("CheckBox") << checkBox(false) << MivoArg(true) << checkBox(true);
    QTest::newRow("RadioButton") << MivoField(MivoField::RadioButton, "l", "i", true, "g")
                                 << MivoArg(false)
                                 << MivoField(MivoField::RadioButton, "l", "i", false, "g");
    for (int type = 4; type <= 9; ++type)
        QTest::newRow(qPrintable(QString("kind %1").arg(type)))
            << textOfKind(type, "old") << MivoArg(QString("new")) << textOfKind(type, "new");
    QTest::newRow("SpinBox, outside its limits") << spinBox(5) << MivoArg(-100) << spinBox(-100);
    QTest::newRow("DoubleSpinBox") << doubleSpinBox(5.5) << MivoArg(6.5) << doubleSpinBox(6.5);
    QTest::newRow("Label") << MivoField("label", "i", "g") << MivoArg(QString("new"))
                           << MivoField("new", "i", "g");
}

void tst_MivoArgField::aValueIsWrittenOnce()
{
    QFETCH(MivoField, field);
    QFETCH(MivoArg, value);
    QFETCH(MivoField, expected);
    const MivoField before = field;
    QVERIFY(MivoArg::setFieldValue(field, value));
    QVERIFY(field.getValue() == expected.getValue());
    QCOMPARE(field.getLabel(), expected.getLabel());
    QVERIFY(MivoFieldPrivate::get(field) != MivoFieldPrivate::get(before));

    const MivoField after = field;
    QVERIFY(!MivoArg::setFieldValue(field, value));
    QCOMPARE(MivoFieldPrivate::get(field), MivoFieldPrivate::get(after));
}

void tst_MivoArgField::anotherKindThrowsAndKeepsTheField_data()
{
    QTest::addColumn<MivoField>("field");
    QTest::addColumn<MivoArg>("value");
    QTest::addColumn<QString>("message");

    struct Target
    {
        QString name;
        MivoField field;
        MivoArg::Type wanted;
    };
    QList<Target> targets;
    targets << Target{"ComboBox", comboBox(1), MivoArg::UInt}
            << Target{"CheckBox", checkBox(true), MivoArg::Bool}
            << Target{"RadioButton", MivoField(MivoField::RadioButton, "l", "i", true, "g"),
                      MivoArg::Bool}
            << Target{"SpinBox", spinBox(1), MivoArg::Int}
            << Target{"DoubleSpinBox", doubleSpinBox(1), MivoArg::Double}
            << Target{"Label", MivoField("1", "id", "group"), MivoArg::String};
    for (int type = 4; type <= 9; ++type)
        targets << Target{QString("kind %1").arg(type), textOfKind(type, "1"), MivoArg::String};

    // Each is the 1 that the fields hold, as far as the kind has one; 0 would be a change.
    const QList<MivoArg> values = QList<MivoArg>()
        << MivoArg() << MivoArg('1') << MivoArg(static_cast<unsigned char>(1)) << MivoArg(1)
        << MivoArg(0) << MivoArg(1u) << MivoArg(1LL) << MivoArg(1ULL) << MivoArg(1.0f)
        << MivoArg(1.0) << MivoArg(QString("1")) << MivoArg(QStringList("1")) << MivoArg(true)
        << MivoArg(QList<MivoArg>() << 1) << MivoArg(spinBox(1));
    for (const Target& target : std::as_const(targets)) {
        for (int i = 0; i < values.size(); ++i) {
            const MivoArg::Type kind = values.at(i).getType();
            const QString from = mivo_arg_type(kind);
            if (kind != target.wanted)
                QTest::addRow("%s, value %d, %s", qPrintable(target.name), i, qPrintable(from))
                    << target.field << values.at(i)
                    << QString("MivoArg: cannot convert %1 to %2")
                           .arg(from, mivo_arg_type(target.wanted));
        }
    }
}

void tst_MivoArgField::anotherKindThrowsAndKeepsTheField()
{
    QFETCH(MivoField, field);
    QFETCH(MivoArg, value);
    QFETCH(QString, message);
    const MivoField before = field;
    QCOMPARE(errorOf([&] { MivoArg::setFieldValue(field, value); }), message);
    QCOMPARE(MivoFieldPrivate::get(field), MivoFieldPrivate::get(before));
}

void tst_MivoArgField::kindsWithoutAValueAreLeftAlone_data()
{
    QTest::addColumn<MivoField>("field");
    QByteArray bytes;
    QTest::newRow("null") << MivoField();
    QTest::newRow("None") << textOfKind(0, "text");
    QTest::newRow("image") << MivoField("id", bytes, "group");
    QTest::newRow("Button") << MivoField("l", "i", MivoPluginAction(), "g");
    for (const int type : {-1, 13, 15, 0x7fffffff})
        QTest::addRow("kind %d", type) << textOfKind(type, "text");
}

void tst_MivoArgField::kindsWithoutAValueAreLeftAlone()
{
    QFETCH(MivoField, field);
    const MivoField before = field;
    QVERIFY(!MivoArg::setFieldValue(field, MivoArg(QString("new"))));
    QVERIFY(!MivoArg::setFieldValue(field, MivoArg()));
    QCOMPARE(MivoFieldPrivate::get(field), MivoFieldPrivate::get(before));
}

void tst_MivoArgField::notANumberCountsAsAChange()
{
    MivoField field = doubleSpinBox(qQNaN());
    QVERIFY(MivoArg::setFieldValue(field, MivoArg(qQNaN())));
    QVERIFY(MivoArg::setFieldValue(field, MivoArg(qQNaN())));
}

void tst_MivoArgField::zeroOfTheOtherSignIsNoChange()
{
    MivoField field = doubleSpinBox(0.0);
    QVERIFY(!MivoArg::setFieldValue(field, MivoArg(-0.0)));
    QVERIFY(!std::signbit(field.getDoubleValue()));
}

QTEST_APPLESS_MAIN(tst_MivoArgField)
#include "tst_mivoarg_field.moc"
