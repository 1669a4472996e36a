#include "FailingMalloc.h"

#include "MivoField.h"
#include "MivoField_p.h"
#include "MivoPluginAction.h"
#include "MivoXmlNode.h"

#include "InstructionCount.h"

#include <QtTest>

#include <cstring>
#include <limits>
#include <vector>

namespace {

MivoField textOfKind(int type, const QString& text, int maxTextLength = 20)
{
    return MivoField(MivoField::Type(type), "label", "i", text, maxTextLength, "group");
}

MivoField checkOfKind(MivoField::Type type, bool checked, const QString& id = "i")
{
    return MivoField(type, "label", id, checked, "group");
}

MivoField spinBox(int max, int min, int value, const QString& id = "i")
{
    return MivoField("label", id, max, min, value, "group");
}

MivoField doubleSpinBox(double max, double min, double value)
{
    return MivoField("label", "i", max, min, value, "group");
}

MivoField comboBox(const QStringList& items, int index)
{
    return MivoField("label", "i", items, index, "group");
}

MivoXmlNode parsed(const QByteArray& xml)
{
    QString error;
    const MivoXmlNode node = MivoXmlNode::parse(xml, &error);
    if (node.isNull())
        qWarning("%s: %s", xml.constData(), qPrintable(error));
    return node;
}

bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/** Whether all that XML carries is the same, which operator== does not tell for every kind. */
bool sameContents(const MivoField& a, const MivoField& b)
{
    return a.getType() == b.getType() && a.getId() == b.getId() && a.getLabel() == b.getLabel()
        && a.getGroup() == b.getGroup() && a.getText() == b.getText()
        && a.getComboBoxItems() == b.getComboBoxItems()
        && sameBits(a.getDoubleSpinBoxMax(), b.getDoubleSpinBoxMax())
        && sameBits(a.getDoubleSpinBoxMin(), b.getDoubleSpinBoxMin())
        && sameBits(a.getDoubleValue(), b.getDoubleValue());
}

QList<int> values(const QList<MivoField>& fields)
{
    QList<int> values;
    for (const MivoField& field : fields)
        values << field.getIntValue();
    return values;
}

QByteArray spinBoxXml(const char* id, int value)
{
    return QString("<field type='spinbox' max='100' min='0' val='%2'><id>%1</id></field>")
        .arg(id)
        .arg(value)
        .toUtf8();
}

} // namespace

Q_DECLARE_METATYPE(MivoField)

class tst_MivoFieldXml : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyKindWritesItsElement_data();
    void everyKindWritesItsElement();
    void whatIsWrittenHasNoParent();
    void aListWritesItsFieldsInOrder();
    void theIdIsWrittenFirst();

    void readingRestoresWhatWasWritten_data();
    void readingRestoresWhatWasWritten();
    void doublesAreRestoredToTheBit_data();
    void doublesAreRestoredToTheBit();
    void aZeroToWhichALimitPullsKeepsItsSign();
    void readingMapsElementsToValues_data();
    void readingMapsElementsToValues();
    void otherElementsChangeNothing_data();
    void otherElementsChangeNothing();
    void kindsWithoutAValueAreNeverChanged_data();
    void kindsWithoutAValueAreNeverChanged();
    void aTextWithoutAnElementIsNull();
    void readingEqualValuesDoesNotDetach();
    void readingDetachesFromCopies();
    void readingIntoANullFieldDoesNothing();
    void shortOfMemoryNothingIsRead_data();
    void shortOfMemoryNothingIsRead();

    void mergingFollowsTheFields_data();
    void mergingFollowsTheFields();
    void mergingLeavesTheInputAlone();
    void mergingOtherElementsAnswersNothing_data();
    void mergingOtherElementsAnswersNothing();
    void mergingGrowsLinearly();
};

void tst_MivoFieldXml::everyKindWritesItsElement_data()
{
    QTest::addColumn<MivoField>("field");
    QTest::addColumn<QByteArray>("xml");
    QByteArray image("bytes");
    QTest::newRow("null") << MivoField() << QByteArray("<field type=\"none\"><id/></field>");
    QTest::newRow("None") << textOfKind(0, "t")
                          << QByteArray("<field type=\"none\"><id>i</id></field>");
    QTest::newRow("ComboBox") << comboBox(QStringList() << "x"
                                                        << ""
                                                        << "y",
                                          -1)
                              << QByteArray("<field selectedindex=\"4294967295\" type=\"combobox\">"
                                            "<id>i</id><string>x</string><string/>"
                                            "<string>y</string></field>");
    QTest::newRow("ComboBox without items")
        << comboBox(QStringList(), 0)
        << QByteArray("<field selectedindex=\"0\" type=\"combobox\"><id>i</id></field>");
    QTest::newRow("CheckBox") << checkOfKind(MivoField::CheckBox, true)
                              << QByteArray(
                                     "<field checked=\"1\" type=\"checkbox\"><id>i</id></field>");
    QTest::newRow("RadioButton") << checkOfKind(
        MivoField::RadioButton,
        false) << QByteArray("<field checked=\"0\" type=\"radiobutton\"><id>i</id></field>");
    for (int type = 4; type <= 8; ++type)
        QTest::addRow("kind %d", type)
            << textOfKind(type, "t", -3)
            << QByteArray("<field maxlength=\"-3\" type=\"lineedit\"><id>i</id>"
                          "<string>t</string></field>");
    QTest::newRow("TextEdit") << textOfKind(9, "t")
                              << QByteArray("<field type=\"textedit\"><id>i</id>"
                                            "<string>t</string></field>");
    QTest::newRow("SpinBox") << spinBox(10, -2, 5)
                             << QByteArray("<field max=\"10\" min=\"-2\" type=\"spinbox\" "
                                           "val=\"5\"><id>i</id></field>");
    QTest::newRow("DoubleSpinBox")
        << doubleSpinBox(10.5, -2.25, 0.125)
        << QByteArray("<field max=\"10.5\" min=\"-2.25\" type=\"doublespinbox\" "
                      "val=\"0.125\"><id>i</id></field>");
    QTest::newRow("Label") << MivoField("l", "i", "g") << QByteArray("<field><id>i</id></field>");
    QTest::newRow("image") << MivoField("i", image, "g") << QByteArray("<field><id>i</id></field>");
    QTest::newRow("Button") << MivoField("l", "i", MivoPluginAction(), "g")
                            << QByteArray("<field><id>i</id></field>");
    QTest::newRow("kind 15") << textOfKind(15, "t") << QByteArray("<field><id>i</id></field>");
    QTest::newRow("kind -1") << textOfKind(-1, "t") << QByteArray("<field><id>i</id></field>");
    QTest::newRow("highest kind") << textOfKind(0x7fffffff, "t")
                                  << QByteArray("<field><id>i</id></field>");
}

void tst_MivoFieldXml::everyKindWritesItsElement()
{
    QFETCH(MivoField, field);
    QFETCH(QByteArray, xml);
    const QStringList locales = {"C", "de_DE", "tr_TR", "ar_EG"};
    for (const QString& locale : locales) {
        QLocale::setDefault(QLocale(locale));
        QCOMPARE(field.toXml().toXml(-1), xml);
    }
    QLocale::setDefault(QLocale::c());
}

void tst_MivoFieldXml::whatIsWrittenHasNoParent()
{
    const MivoXmlNode field = spinBox(10, 0, 5).toXml();
    const MivoXmlNode list = MivoField::toXml(QList<MivoField>() << spinBox(10, 0, 5));
    MivoXmlNode root("root", nullptr);
    root.appendChild(field);
    root.appendChild(list);
    QCOMPARE(root.getChildNodes().size(), 2);
}

void tst_MivoFieldXml::aListWritesItsFieldsInOrder()
{
    QCOMPARE(MivoField::toXml(QList<MivoField>()).toXml(-1), QByteArray("<fieldlist/>"));
    const MivoXmlNode node
        = MivoField::toXml(QList<MivoField>() << checkOfKind(MivoField::CheckBox, true, "b")
                                              << MivoField("l", "a", "g")
                                              << checkOfKind(MivoField::CheckBox, false, "b"));
    QCOMPARE(node.toXml(-1),
             QByteArray("<fieldlist><field checked=\"1\" type=\"checkbox\"><id>b</id></field>"
                        "<field><id>a</id></field>"
                        "<field checked=\"0\" type=\"checkbox\"><id>b</id></field></fieldlist>"));
}

void tst_MivoFieldXml::theIdIsWrittenFirst()
{
    const QList<MivoXmlNode> children = comboBox(QStringList() << "x"
                                                               << "y",
                                                 0)
                                            .toXml()
                                            .getChildNodes();
    QCOMPARE(children.size(), 3);
    QCOMPARE(children.at(0).name(), QString("id"));
    QCOMPARE(children.at(1).getData(), QString("x"));
    QCOMPARE(children.at(2).getData(), QString("y"));
}

void tst_MivoFieldXml::readingRestoresWhatWasWritten_data()
{
    QTest::addColumn<MivoField>("written");
    QTest::addColumn<MivoField>("target");
    QTest::newRow("ComboBox") << comboBox(QStringList() << "x"
                                                        << ""
                                                        << " \t"
                                                        << "x",
                                          3)
                              << comboBox(QStringList() << "old", 0);
    QTest::newRow("ComboBox, highest index")
        << comboBox(QStringList(), -1) << comboBox(QStringList() << "old", 0);
    for (const auto type : {MivoField::CheckBox, MivoField::RadioButton}) {
        QTest::addRow("kind %d, on", int(type))
            << checkOfKind(type, true) << checkOfKind(type, false);
        QTest::addRow("kind %d, off", int(type))
            << checkOfKind(type, false) << checkOfKind(type, true);
    }
    const QString odd = QString::fromUtf8(" <a>&\"' \r\n\t\xc3\xa9 \xf0\x9f\x98\x80 \n");
    for (int type = 4; type <= 9; ++type) {
        // A TextEdit keeps its own length: it is not written.
        const int length = type == 9 ? 1 : INT_MIN;
        QTest::addRow("kind %d", type) << textOfKind(type, odd, length) << textOfKind(type, "o", 1);
        QTest::addRow("kind %d, empty", type)
            << textOfKind(type, "", length) << textOfKind(type, "old", 1);
        QTest::addRow("kind %d, white space", type)
            << textOfKind(type, " \n ", length) << textOfKind(type, "old", 1);
    }
    QTest::newRow("SpinBox") << spinBox(10, 0, 5) << spinBox(1, -1, 0);
    QTest::newRow("SpinBox, extremes")
        << spinBox(INT_MAX, INT_MIN, INT_MIN) << spinBox(INT_MIN, INT_MAX, 0);
    QTest::newRow("SpinBox, limits crossed") << spinBox(3, 7, 5) << spinBox(100, 0, 50);
    QTest::newRow("SpinBox, value outside") << spinBox(10, 0, 100) << spinBox(10, 0, 5);
    QTest::newRow("SpinBox, value below") << spinBox(10, 0, -100) << spinBox(10, 0, 5);
    QTest::newRow("DoubleSpinBox") << doubleSpinBox(10.5, 0.5, 5.5) << doubleSpinBox(1, -1, 0.25);
}

void tst_MivoFieldXml::readingRestoresWhatWasWritten()
{
    QFETCH(MivoField, written);
    QFETCH(MivoField, target);
    const MivoXmlNode node = written.toXml();
    MivoField direct = target;
    direct.fromXml(node);
    QVERIFY(sameContents(direct, written));
    MivoField reread = target;
    reread.fromXml(parsed(node.toXml()));
    QVERIFY(sameContents(reread, written));
}

void tst_MivoFieldXml::doublesAreRestoredToTheBit_data()
{
    QTest::addColumn<double>("value");
    using Limits = std::numeric_limits<double>;
    const double numbers[] = {0.0,
                              -0.0,
                              0.1,
                              1.0 / 3,
                              1e23,
                              -123456789.125,
                              9007199254740993.0,
                              5e-324,
                              -5e-324,
                              Limits::min(),
                              Limits::min() - Limits::denorm_min(),
                              Limits::max(),
                              Limits::lowest(),
                              1 + Limits::epsilon(),
                              Limits::infinity(),
                              -Limits::infinity()};
    for (const double number : numbers)
        QTest::newRow(QByteArray::number(number, 'g', 17)) << number;
}

void tst_MivoFieldXml::doublesAreRestoredToTheBit()
{
    QFETCH(double, value);
    const QStringList locales = {"C", "de_DE", "tr_TR", "ar_EG"};
    for (const QString& locale : locales) {
        QLocale::setDefault(QLocale(locale));
        MivoField field = doubleSpinBox(2, -2, 1);
        field.fromXml(parsed(doubleSpinBox(value, value, value).toXml().toXml()));
        QVERIFY(sameBits(field.getDoubleValue(), value));
        QVERIFY(sameBits(field.getDoubleSpinBoxMin(), value));
        QVERIFY(sameBits(field.getDoubleSpinBoxMax(), value));

        MivoField notANumber = doubleSpinBox(2, -2, 1);
        notANumber.fromXml(parsed(doubleSpinBox(qQNaN(), qQNaN(), qQNaN()).toXml().toXml()));
        QVERIFY(qIsNaN(notANumber.getDoubleValue()));
        QVERIFY(qIsNaN(notANumber.getDoubleSpinBoxMin()));
        QVERIFY(qIsNaN(notANumber.getDoubleSpinBoxMax()));
    }
    QLocale::setDefault(QLocale::c());
}

void tst_MivoFieldXml::aZeroToWhichALimitPullsKeepsItsSign()
{
    // The maximum pulls the value to its own zero, over which an equal one is not written.
    MivoField field = doubleSpinBox(2, -2, 1);
    field.fromXml(parsed(doubleSpinBox(0.0, -1, -0.0).toXml().toXml()));
    QVERIFY(sameBits(field.getDoubleValue(), 0.0));
    QVERIFY(field == doubleSpinBox(0.0, -1, -0.0));
}

void tst_MivoFieldXml::readingMapsElementsToValues_data()
{
    QTest::addColumn<MivoField>("target");
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<MivoField>("expected");

    const char* const notChecked[] = {"",
                                      " checked=''",
                                      " checked='0'",
                                      " checked='true'",
                                      " checked='2'",
                                      " checked=' 1'",
                                      " checked='01'"};
    for (const char* const attribute : notChecked)
        QTest::addRow("not checked:%s", attribute)
            << checkOfKind(MivoField::CheckBox, true)
            << QByteArray("<field type='checkbox'") + attribute + "><id>i</id></field>"
            << checkOfKind(MivoField::CheckBox, false);

    const auto spin = [](const char* name, const char* value, int read) {
        QTest::addRow("int: %s", name) << spinBox(10, 10, 10)
                                       << QByteArray("<field type='spinbox' max='") + value
                + "' min='" + value + "' val='" + value + "'><id>i</id></field>"
                                       << spinBox(read, read, read);
    };
    spin("plus", "+7", 7);
    spin("not a number", "seven", 0);
    spin("number and more", "7x", 0);
    spin("empty", "", 0);
    spin("fraction", "7.5", 0);
    spin("grouped", "1,000", 0);
    spin("grouped the German way", "1.000", 0);
    spin("one above the highest", "2147483648", 0);
    spin("one below the lowest", "-2147483649", 0);
    spin("far out of range", "99999999999999999999", 0);
    spin("highest", "2147483647", INT_MAX);
    spin("lowest", "-2147483648", INT_MIN);
    spin("other digits", "\xd9\xa7", 0);

    const auto doubleSpin = [](const char* value, double read) {
        QTest::addRow("double: %s", value) << doubleSpinBox(10, 10, 10)
                                           << QByteArray("<field type='doublespinbox' max='")
                + value + "' min='" + value + "' val='" + value + "'><id>i</id></field>"
                                           << doubleSpinBox(read, read, read);
    };
    doubleSpin("7", 7);
    doubleSpin("-7.25e2", -725);
    doubleSpin("seven", 0);
    doubleSpin("7.5x", 0);
    doubleSpin("", 0);
    doubleSpin("7,5", 0);
    doubleSpin("1,000", 0);
    doubleSpin("1.000", 1);
    doubleSpin("1.234.567", 0);
    doubleSpin("\xd9\xa7", 0);
    doubleSpin("inf", qInf());
    doubleSpin("-inf", -qInf());
    doubleSpin("1e400", 0); // out of range
    doubleSpin("-1e400", 0);
    doubleSpin("1e308", 1e308);

    QTest::newRow("no numbers at all")
        << spinBox(10, 1, 5) << QByteArray("<field type='spinbox'><id>i</id></field>")
        << spinBox(0, 0, 0);
    QTest::newRow("numbers with blanks around them")
        << spinBox(10, 1, 5)
        << QByteArray("<field type='spinbox' max=' 7' min='7 ' val=' 7 '><id>i</id></field>")
        << spinBox(0, 0, 0);
    QTest::newRow("value outside the limits")
        << spinBox(10, 1, 5)
        << QByteArray("<field type='spinbox' max='20' min='15' val='3'><id>i</id></field>")
        << spinBox(20, 15, 3);
    QTest::newRow("index no number")
        << comboBox(QStringList() << "x", 5)
        << QByteArray("<field type='combobox' selectedindex='-1'><id>i</id></field>")
        << comboBox(QStringList(), 0);
    QTest::newRow("index beyond an int")
        << comboBox(QStringList() << "x", 5)
        << QByteArray("<field type='combobox' selectedindex='4294967295'><id>i</id></field>")
        << comboBox(QStringList(), -1);
    QTest::newRow("items among other elements, deeper ones not counted")
        << comboBox(QStringList() << "x", 5)
        << QByteArray("<field type='combobox' selectedindex='1'><string>a</string><other/>"
                      "<id>i</id><string><string>deep</string></string>"
                      "<group><string>deep</string></group><string>b</string></field>")
        << comboBox(QStringList() << "a"
                                  << ""
                                  << "b",
                    1);
    QTest::newRow("text: the first string counts")
        << textOfKind(9, "old")
        << QByteArray("<field type='textedit'><string>a</string><string>b</string>"
                      "<id>i</id></field>")
        << textOfKind(9, "a");
    QTest::newRow("LineEdit, no length")
        << textOfKind(4, "old", 7)
        << QByteArray("<field type='lineedit'><id>i</id><string>a</string></field>")
        << textOfKind(4, "a", 0);
    QTest::newRow("the first id counts")
        << checkOfKind(MivoField::CheckBox, false)
        << QByteArray("<field type='checkbox' checked='1'><id>i</id><id>other</id></field>")
        << checkOfKind(MivoField::CheckBox, true);
    QTest::newRow("the name of the element does not count")
        << checkOfKind(MivoField::CheckBox, false)
        << QByteArray("<other type='checkbox' checked='1'><id>i</id></other>")
        << checkOfKind(MivoField::CheckBox, true);
}

void tst_MivoFieldXml::readingMapsElementsToValues()
{
    QFETCH(MivoField, target);
    QFETCH(QByteArray, xml);
    QFETCH(MivoField, expected);
    const MivoXmlNode node = parsed(xml);
    QVERIFY(!node.isNull());
    const QStringList locales = {"C", "de_DE", "tr_TR", "ar_EG"};
    for (const QString& locale : locales) {
        QLocale::setDefault(QLocale(locale));
        MivoField field = target;
        field.fromXml(node);
        QVERIFY(sameContents(field, expected));
    }
    QLocale::setDefault(QLocale::c());
}

void tst_MivoFieldXml::otherElementsChangeNothing_data()
{
    QTest::addColumn<QByteArray>("xml");
    const auto row
        = [](const char* name, const char* xml) { QTest::newRow(name) << QByteArray(xml); };
    row("no id", "<field type='checkbox' checked='1'/>");
    row("id without text", "<field type='checkbox' checked='1'><id/></field>");
    row("id as attribute", "<field type='checkbox' checked='1' id='i'/>");
    row("another id", "<field type='checkbox' checked='1'><id>j</id></field>");
    row("id with a blank", "<field type='checkbox' checked='1'><id>i </id></field>");
    row("id of another case", "<field type='checkbox' checked='1'><id>I</id></field>");
    row("id in a second place", "<field type='checkbox' checked='1'><id>j</id><id>i</id></field>");
    row("another type", "<field type='radiobutton' checked='1'><id>i</id></field>");
    row("type of another case", "<field type='CheckBox' checked='1'><id>i</id></field>");
    row("no type", "<field checked='1'><id>i</id></field>");
    row("a list", "<fieldlist><field type='checkbox' checked='1'><id>i</id></field></fieldlist>");
}

void tst_MivoFieldXml::otherElementsChangeNothing()
{
    QFETCH(QByteArray, xml);
    MivoField field = checkOfKind(MivoField::CheckBox, false);
    field.fromXml(parsed(xml));
    QVERIFY(!field.isChecked());
    field.fromXml(MivoXmlNode());
    QVERIFY(!field.isChecked());

    // An id without text is nobody's, not even that of a field without id.
    MivoField nameless = checkOfKind(MivoField::CheckBox, false, "");
    nameless.fromXml(parsed(xml));
    QVERIFY(!nameless.isChecked());
}

void tst_MivoFieldXml::kindsWithoutAValueAreNeverChanged_data()
{
    QTest::addColumn<MivoField>("field");
    QByteArray image("bytes");
    QTest::newRow("None") << textOfKind(0, "t");
    QTest::newRow("Label") << MivoField("l", "i", "g");
    QTest::newRow("image") << MivoField("i", image, "g");
    QTest::newRow("Button") << MivoField("l", "i", MivoPluginAction(), "g");
    QTest::newRow("kind 15") << textOfKind(15, "t");
}

void tst_MivoFieldXml::kindsWithoutAValueAreNeverChanged()
{
    QFETCH(MivoField, field);
    const MivoField before = field;
    const char* const types[] = {"", "none", "textedit", "lineedit", "checkbox", "label", "button"};
    for (const char* const type : types) {
        field.fromXml(parsed(QByteArray("<field type='") + type
                             + "' checked='1' maxlength='3' val='7'><id>i</id>"
                               "<string>new</string></field>"));
        QCOMPARE(MivoFieldPrivate::get(field), MivoFieldPrivate::get(before));
    }
    field.fromXml(parsed("<field><id>i</id><string>new</string></field>"));
    QCOMPARE(MivoFieldPrivate::get(field), MivoFieldPrivate::get(before));
    QCOMPARE(field.getText(), before.getText());
}

void tst_MivoFieldXml::aTextWithoutAnElementIsNull()
{
    for (const int type : {4, 6, 9}) {
        MivoField field = textOfKind(type, "old");
        field.fromXml(parsed(type == 9 ? "<field type='textedit'><id>i</id></field>"
                                       : "<field type='lineedit'><id>i</id></field>"));
        QVERIFY(field.getText().isNull());
    }
}

void tst_MivoFieldXml::readingEqualValuesDoesNotDetach()
{
    const QList<MivoField> fields = QList<MivoField>()
        << comboBox(QStringList() << "x", 1) << checkOfKind(MivoField::CheckBox, true)
        << textOfKind(4, "t") << textOfKind(9, "t") << spinBox(10, 0, 5)
        << doubleSpinBox(10.5, 0.1, 5.5);
    for (const MivoField& field : fields) {
        MivoField copy = field;
        copy.fromXml(parsed(field.toXml().toXml()));
        QCOMPARE(MivoFieldPrivate::get(copy), MivoFieldPrivate::get(field));
    }
}

void tst_MivoFieldXml::readingDetachesFromCopies()
{
    const MivoField field = spinBox(10, 0, 5);
    MivoField copy = field;
    copy.fromXml(spinBox(20, 1, 6).toXml());
    QCOMPARE(copy.getIntValue(), 6);
    QCOMPARE(field.getIntValue(), 5);
    QCOMPARE(field.getSpinBoxMax(), 10);
}

void tst_MivoFieldXml::readingIntoANullFieldDoesNothing()
{
    MivoField field;
    field.fromXml(parsed("<field type='none'><id>i</id></field>"));
    field.fromXml(MivoField().toXml());
    field.fromXml(MivoXmlNode());
    QVERIFY(field.isNull());
}

void tst_MivoFieldXml::shortOfMemoryNothingIsRead_data()
{
    QTest::addColumn<MivoField>("before");
    QTest::addColumn<MivoField>("after");
    QTest::addColumn<bool>("isShared");
    for (const bool isShared : {false, true}) {
        const char* const handles = isShared ? "shared" : "alone";
        const auto row = [&](const char* name, const MivoField& before, const MivoField& after) {
            QTest::addRow("%s, %s", name, handles) << before << after << isShared;
        };
        row("SpinBox", spinBox(10, 0, 5), spinBox(20, 1, 15));
        row("DoubleSpinBox", doubleSpinBox(10, 0, 5), doubleSpinBox(20, 1, 15));
        row("LineEdit", textOfKind(4, "old", 7), textOfKind(4, "new", 8));
        row("ComboBox", comboBox(QStringList("old"), 0),
            comboBox(QStringList() << "a"
                                   << "b",
                     1));
    }
}

void tst_MivoFieldXml::shortOfMemoryNothingIsRead()
{
    QFETCH(MivoField, before);
    QFETCH(MivoField, after);
    QFETCH(bool, isShared);
    if (!FAILING_MALLOC)
        QSKIP("The sanitizer's allocation functions do not fail.");
    const MivoXmlNode node = after.toXml();
    int failures = 0;
    for (;; ++failures) {
        MivoField field = before;
        if (!isShared) {
            field.setLabel("a record of its own");
            field.setLabel("label");
        }
        if (runsWithFailingAllocation(failures, [&] { field.fromXml(node); })) {
            QVERIFY(sameContents(field, after));
            break;
        }
        QVERIFY(sameContents(field, before));
    }
    QVERIFY(failures > 0);
}

void tst_MivoFieldXml::mergingFollowsTheFields_data()
{
    QTest::addColumn<QString>("ids");
    QTest::addColumn<QByteArray>("elements");
    QTest::addColumn<QList<int>>("expected");
    QTest::newRow("nothing for anybody") << "a b" << QByteArray() << (QList<int>() << 0 << 1);
    QTest::newRow("in another order")
        << "a b c" << spinBoxXml("c", 30) + spinBoxXml("a", 10) + spinBoxXml("b", 20)
        << (QList<int>() << 10 << 20 << 30);
    QTest::newRow("for one of them")
        << "a b c" << spinBoxXml("b", 20) << (QList<int>() << 0 << 20 << 2);
    QTest::newRow("unknown id") << "a" << spinBoxXml("x", 10) << (QList<int>() << 0);
    QTest::newRow("several for one, the last wins")
        << "a b" << spinBoxXml("a", 10) + spinBoxXml("b", 20) + spinBoxXml("a", 30)
        << (QList<int>() << 30 << 20);
    QTest::newRow("one for several, the first takes it")
        << "a b a" << spinBoxXml("a", 10) << (QList<int>() << 10 << 1 << 2);
    QTest::newRow("several for several, the first takes all")
        << "a a" << spinBoxXml("a", 10) + spinBoxXml("a", 20) << (QList<int>() << 20 << 1);
    QTest::newRow("taken, also where the type is another")
        << "a a" << QByteArray("<field type='checkbox' checked='1'><id>a</id></field>")
        << (QList<int>() << 0 << 1);
    QTest::newRow("a later one of another type wins nothing")
        << "a"
        << spinBoxXml("a", 10) + QByteArray("<field type='checkbox' checked='0'><id>a</id></field>")
        << (QList<int>() << 10);
    QTest::newRow("other elements") << "a"
                                    << spinBoxXml("a", 10).replace("field", "Field") + "<fieldlist>"
            + spinBoxXml("a", 20) + "</fieldlist>"
                                    << (QList<int>() << 0);
    QTest::newRow("text between elements")
        << "a"
        << "text" + spinBoxXml("a", 10) + "text" << (QList<int>() << 10);
    QTest::newRow("id without text") << "a" << spinBoxXml("", 10) << (QList<int>() << 0);
    QTest::newRow("id without text, field without id")
        << "" << QByteArray("<field type='spinbox'/>") + spinBoxXml("", 10) << (QList<int>() << 0);
    QTest::newRow("no fields") << QString() << spinBoxXml("a", 10) << QList<int>();
}

void tst_MivoFieldXml::mergingFollowsTheFields()
{
    QFETCH(QString, ids);
    QFETCH(QByteArray, elements);
    QFETCH(QList<int>, expected);
    QList<MivoField> fields;
    if (!ids.isNull()) {
        const QStringList list = ids.split(' ');
        for (const QString& id : list)
            fields << spinBox(100, 0, int(fields.size()), id);
    }
    const QList<MivoField> merged
        = MivoField::fromXml(fields, parsed("<fieldlist>" + elements + "</fieldlist>"));
    QCOMPARE(values(merged), expected);
    for (int i = 0; i < fields.size(); ++i)
        QCOMPARE(merged.at(i).getId(), fields.at(i).getId());
}

void tst_MivoFieldXml::mergingLeavesTheInputAlone()
{
    const QList<MivoField> fields = QList<MivoField>()
        << spinBox(100, 0, 1, "a") << spinBox(100, 0, 2, "b");
    const QList<MivoField> merged = MivoField::fromXml(
        fields, parsed("<fieldlist>" + spinBoxXml("a", 10) + spinBoxXml("b", 2) + "</fieldlist>"));
    QCOMPARE(values(merged), QList<int>() << 10 << 2);
    QCOMPARE(values(fields), QList<int>() << 1 << 2);
    QVERIFY(MivoFieldPrivate::get(merged.at(0)) != MivoFieldPrivate::get(fields.at(0)));
    QCOMPARE(MivoFieldPrivate::get(merged.at(1)), MivoFieldPrivate::get(fields.at(1)));
}

void tst_MivoFieldXml::mergingOtherElementsAnswersNothing_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::newRow("a field") << spinBoxXml("a", 10);
    QTest::newRow("another case") << QByteArray("<FieldList/>");
    QTest::newRow("a list inside")
        << QByteArray("<settings><fieldlist>" + spinBoxXml("a", 10) + "</fieldlist></settings>");
}

void tst_MivoFieldXml::mergingOtherElementsAnswersNothing()
{
    QFETCH(QByteArray, xml);
    const QList<MivoField> fields = QList<MivoField>() << spinBox(100, 0, 1, "a");
    QVERIFY(MivoField::fromXml(fields, parsed(xml)).isEmpty());
    QVERIFY(MivoField::fromXml(fields, MivoXmlNode()).isEmpty());
}

void tst_MivoFieldXml::mergingGrowsLinearly()
{
    if (!canCountInstructions())
        QSKIP("instructions are not counted in this build");

    const auto merging = [](int count) {
        QList<MivoField> fields;
        QList<MivoField> reversed;
        for (int i = 0; i < count; ++i) {
            const QString id = QString("field %1").arg(i);
            fields << spinBox(count, 0, 0, id);
            reversed.prepend(spinBox(count, 0, i, id));
        }
        return [fields, node = MivoField::toXml(reversed)] {
            const QList<MivoField> merged = MivoField::fromXml(fields, node);
            if (merged.size() != fields.size() || merged.last().getIntValue() != merged.size() - 1)
                qFatal("the fields are not merged");
        };
    };
    const double growth = tenfoldGrowth(merging, 1000);
    QVERIFY(growth > 5);
    QVERIFY(growth <= 12);
}

QTEST_APPLESS_MAIN(tst_MivoFieldXml)
#include "tst_mivofield_xml.moc"
