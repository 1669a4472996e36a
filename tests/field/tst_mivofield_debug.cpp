#include "DebugText.h"

#include "MivoArg.h"
#include "MivoField.h"
#include "MivoPluginAction.h"

#include <QtTest>

namespace {

MivoField spinBox()
{
    return MivoField("label", "a", 10, 0, 5, "group");
}

MivoField textOfKind(int type)
{
    return MivoField(MivoField::Type(type), "label", "i", QString("t"), 9, "group");
}

} // namespace

Q_DECLARE_METATYPE(MivoField)

class tst_MivoFieldDebug : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyKindPrintsItsPieces_data();
    void everyKindPrintsItsPieces();
    void aListIsItsFieldsAndABlank_data();
    void aListIsItsFieldsAndABlank();
};

void tst_MivoFieldDebug::everyKindPrintsItsPieces_data()
{
    QTest::addColumn<MivoField>("field");
    QTest::addColumn<QString>("text");
    QByteArray image("bytes");
    QTest::newRow("None") << textOfKind(MivoField::None) << "MivoField(id: \"i\" type: None) ";
    QTest::newRow("CheckBox") << MivoField(MivoField::CheckBox, "l", "i", true, "g")
                              << "MivoField(id: \"i\" type: CheckBox checked: true) ";
    QTest::newRow("RadioButton") << MivoField(MivoField::RadioButton, "l", "i", false, "g")
                                 << "MivoField(id: \"i\" type: RadioButton checked: false) ";
    QTest::newRow("ComboBox without items, index -1")
        << MivoField("l", "i", QStringList(), -1, "g")
        << "MivoField(id: \"i\" type: ComboBox options: ()  selected:  4294967295 )  ";
    QTest::newRow("ComboBox with one item")
        << MivoField("l", "i", QStringList() << QString("a\"\n\\"), 0, "g")
        << "MivoField(id: \"i\" type: ComboBox options: (\"a\"\n\\\")  selected:  0 )  ";
    QTest::newRow("Label") << MivoField("a label", "i", "g")
                           << "MivoField(id: \"i\" type: Label label: \"a label\") ";
    QTest::newRow("LineEdit") << textOfKind(
        MivoField::LineEdit) << "MivoField(id: \"i\" type: LineEdit text: \"t\" maxtextlength: 9) ";
    QTest::newRow("TextEdit") << textOfKind(MivoField::TextEdit)
                              << "MivoField(id: \"i\" type: TextEdit text: \"t\") ";
    QTest::newRow("SpinBox, extremes")
        << MivoField("l", "i", INT_MAX, INT_MIN, -1, "g")
        << "MivoField(id: \"i\" type: SpinBox max: 2147483647 min: -2147483648 val: -1) ";
    QTest::newRow("DoubleSpinBox")
        << MivoField("l", "i", 1e15, -0.5, 100000.0, "g")
        << "MivoField(id: \"i\" type: DoubleSpinBox max: 1e+15 min: -0.5 val: 100000) ";
    QTest::newRow("DoubleSpinBox, no numbers")
        << MivoField("l", "i", qInf(), -qInf(), qQNaN(), "g")
        << "MivoField(id: \"i\" type: DoubleSpinBox max: inf min: -inf val: nan) ";
    QTest::newRow("Button") << MivoField("l", "i", MivoPluginAction(), "g")
                            << "MivoField(id: \"i\" type: ) ";
    QTest::newRow("image") << MivoField("i", image, "g") << "MivoField(id: \"i\" type: ) ";
    const int nameless[] = {-1, 5, 6, 7, 8, 13, 15, 0x7fffffff};
    for (const int type : nameless)
        QTest::newRow(qPrintable(QString("kind %1").arg(type)))
            << textOfKind(type) << "MivoField(id: \"i\" type: ) ";
    const QString odd = QString("q\" n\n t\t b\\ \u00e9 \U0001f600 z") + QChar(0) + QString("!");
    QTest::newRow("texts are unchanged")
        << MivoField(MivoField::TextEdit, "l", odd, odd, 1, "g")
        << QString("MivoField(id: \"" + odd + "\" type: TextEdit text: \"" + odd + "\") ");
    QTest::newRow("null texts are empty") << MivoField(QString(), QString(), QString())
                                          << "MivoField(id: \"\" type: Label label: \"\") ";
}

void tst_MivoFieldDebug::everyKindPrintsItsPieces()
{
    QFETCH(MivoField, field);
    QFETCH(QString, text);
    compareDebugText(field, text);
}

void tst_MivoFieldDebug::aListIsItsFieldsAndABlank_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("text");
    const QString one = "MivoField(id: \"a\" type: SpinBox max: 10 min: 0 val: 5) ";
    QTest::newRow("none") << 0 << " ";
    QTest::newRow("one") << 1 << one + " ";
    QTest::newRow("three") << 3 << one + one + one + " ";
}

void tst_MivoFieldDebug::aListIsItsFieldsAndABlank()
{
    QFETCH(int, count);
    QFETCH(QString, text);
    QList<MivoField> fields;
    for (int i = 0; i < count; ++i)
        fields << spinBox();
    compareDebugText(fields, text);
}

QTEST_APPLESS_MAIN(tst_MivoFieldDebug)
#include "tst_mivofield_debug.moc"
