// Compiled together with the library's own source under QT_NO_DEBUG, to test what a release build
// answers; what a debug build does is up to the library that the other tests link.
#include "MivoField.h"

#include <QtTest>

class tst_MivoFieldNull : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void accessorsAnswerDefaults();
    void settersDoNothing();
    void whatIsWrittenToTheImageIsNotKept();
};

void tst_MivoFieldNull::accessorsAnswerDefaults()
{
    const MivoField field;
    QVERIFY(field.getText().isNull());
    QCOMPARE(field.getMaxTextLength(), 0);
    QCOMPARE(field.getIntValue(), 0);
    QCOMPARE(field.getSpinBoxMin(), 0);
    QCOMPARE(field.getSpinBoxMax(), 0);
    QCOMPARE(field.getDoubleValue(), 0.0);
    QCOMPARE(field.getDoubleSpinBoxMin(), 0.0);
    QCOMPARE(field.getDoubleSpinBoxMax(), 0.0);
    QVERIFY(!field.isChecked());
    QVERIFY(field.getComboBoxItems().isEmpty());
    QCOMPARE(field.getSelectedIndex(), 0u);
    QVERIFY(field.getSelectedString().isNull());
    QVERIFY(!field.isReadOnly());
    QVERIFY(!field.isPressed());
}

void tst_MivoFieldNull::settersDoNothing()
{
    MivoField field;
    field.setLabel("label");
    field.setText("text");
    field.setMaxTextLength(1);
    field.setIntValue(1);
    field.setSpinBoxMin(1);
    field.setSpinBoxMax(1);
    field.setDoubleValue(1);
    field.setDoubleSpinBoxMin(1);
    field.setDoubleSpinBoxMax(1);
    field.setChecked(true);
    field.setComboBoxItems(QStringList("item"));
    field.setSelectedIndex(1);
    field.setReadOnly(true);
    field.setPressed(true);
    field.clicked();
    QVERIFY(field.isNull());
    QVERIFY(field.getLabel().isNull());
}

void tst_MivoFieldNull::whatIsWrittenToTheImageIsNotKept()
{
    MivoField field;
    QVERIFY(field.getImgData().isEmpty());
    field.getImgData() = "bytes";
    QVERIFY(field.getImgData().isEmpty());
    QVERIFY(field.isNull());
}

QTEST_APPLESS_MAIN(tst_MivoFieldNull)
#include "tst_mivofield_null.moc"
