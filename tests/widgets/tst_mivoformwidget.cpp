#include "MivoArg.h"
#include "MivoCallActionEvent.h"
#include "MivoField_p.h"
#include "MivoFormWidget.h"
#include "MivoPlugin.h"
#include "MivoPluginAction.h"
#include "MivoSecret.h"

#include <QAccessible>
#include <QBuffer>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QWheelEvent>
#include <QtTest>

#include <cfloat>
#include <cmath>

Q_DECLARE_METATYPE(MivoField)

namespace {

const double notANumber = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();

MivoField line(const QString& id, const QString& text, int longest = 0, const QString& group = "G")
{
    return MivoField(MivoField::LineEdit, "Label of " + id, id, text, longest, group);
}
MivoField text(const QString& id, const QString& value, int longest = 0)
{
    return MivoField(MivoField::TextEdit, "Label of " + id, id, value, longest, "G");
}
MivoField radio(const QString& id, bool checked, const QString& group = "G")
{
    return MivoField(MivoField::RadioButton, "Label of " + id, id, checked, group);
}
MivoField check(const QString& id, bool checked)
{
    return MivoField(MivoField::CheckBox, "Label of " + id, id, checked, "G");
}
MivoField number(const QString& id, int minimum, int maximum, int value)
{
    return MivoField("Label of " + id, id, maximum, minimum, value, QString("G"));
}
MivoField real(const QString& id, double minimum, double maximum, double value)
{
    return MivoField("Label of " + id, id, maximum, minimum, value, QString("G"));
}
MivoField combo(const QString& id, const QStringList& items, int index)
{
    return MivoField("Label of " + id, id, items, index, QString("G"));
}

/** A form, shown, and what it has said. */
class Form
{
public:
    explicit Form(const QList<MivoField>& fields)
        : spy(&widget, &MivoFormWidget::changed)
    {
        widget.setFields(fields);
        widget.show();
    }

    template <class Editor>
    Editor* editor(const QString& id) const
    {
        Editor* const found = widget.findChild<Editor*>(id);
        if (!found)
            qFatal("no editor %s", qPrintable(id));
        return found;
    }

    QStringList changedIds() const
    {
        QStringList ids;
        for (const QList<QVariant>& arguments : spy)
            ids << arguments.at(0).toString();
        return ids;
    }

    /** The record of the form's field, to tell that it is the very one that was given. */
    const MivoFieldPrivate* record(int i) const
    {
        return MivoFieldPrivate::get(widget.fields().at(i));
    }

    MivoFormWidget widget;

private:
    QSignalSpy spy;
};

/** Types into an editor as a user does who has clicked into it and selected all. */
void retype(QWidget* editor, const QString& keys)
{
    editor->setFocus();
    QTest::keyClick(editor, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(editor, keys);
}

} // namespace

class tst_MivoFormWidget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyKindHasItsEditor();
    void kindsWithoutAnEditorComeBack();
    void groupsAreBoxesInOrderOfFirstAppearance();
    void editorsAreLabelledForScreenReaders();
    void ampersandsAreShownAndNoKeys();
    void labelsAndTextsAreNoMarkUp();
    void untouchedFieldsAreTheVeryOnes_data();
    void untouchedFieldsAreTheVeryOnes();

    void aLineIsEdited();
    void aLineKeepsToItsLength();
    void aShortenedLineKeepsPairsTogether();
    void aLineKeepsItsLineFeedsWhenItIsEdited();
    void aTextIsEdited();
    void aTextKeepsToItsLength();
    void aTextKeepsItsNoBreakSpaces();
    void aNumberIsEdited();
    void aNumberKeepsToItsLimits();
    void aNumberBeyondItsLimitsCanBeEnteredAsItIsShown();
    void allIntsAreWithinReach();
    void aRealIsEdited_data();
    void aRealIsEdited();
    void aRealIsShownInFull_data();
    void aRealIsShownInFull();
    void aRealStepsByRoundNumbers();
    void aRealKeepsToItsLimits();
    void aRealSpeaksTheUsersLanguage();
    void nothingCanBeEnteredWhereNothingIsAllowed();
    void aBoxIsTicked();
    void anItemIsChosen();
    void anIndexBeyondTheItemsStaysUntilOneIsChosen();
    void whatStaysTheSameIsNoChange();

    void radioButtonsExcludeEachOther();
    void twoCheckedRadioButtonsStayUntilOneIsTouched();
    void clickingACheckedRadioButtonTouchesItsGroup();
    void radioButtonsOfOtherGroupsStay();
    void aReadOnlyRadioButtonStays();
    void radioButtonsChangeBeforeAnybodyIsTold();

    void buttonsRunTheirActions();
    void picturesAreScaled();
    void invisibleFieldsAreHidden();
    void aGroupWithNothingToShowIsHidden();
    void readOnlyFieldsTakeNoInput();
    void theWheelChangesOnlyWhatHasTheFocus();
    void tabGoesFromFieldToField();

    void anotherFormReplacesTheFirst();
    void aReceiverMayShowAnotherForm();
    void aReceiverMayDeleteTheForm();
    void settingFieldsSaysNothing();
    void theFocusStaysOnTheFieldOfThatId();
    void cursorAndSelectionStayInAnUnchangedText_data();
    void cursorAndSelectionStayInAnUnchangedText();
    void aFormThatLooksTheSameIsNotMadeAnew();
    void whateverIsShownMakesTheFormAnew_data();
    void whateverIsShownMakesTheFormAnew();
    void aButtonRunsTheActionOfTheNewestForm();
    void aSecretIsMasked();
    void copiesOutsideAreNotChanged();
};

void tst_MivoFormWidget::everyKindHasItsEditor()
{
    QByteArray picture;
    const Form form(
        {combo("combo", {"a", "b"}, 1), check("check", true), radio("radio", true),
         line("line", "text"), MivoField(MivoField::Type(7), "Seven", "seven", "7", 0, "G"),
         text("text", "a\nb"), number("int", -5, 5, 3), real("double", 0, 1, 0.25),
         MivoField("Some words", "label", "G"),
         MivoField("Press", "button", MivoPluginAction(), "G"), MivoField("image", picture, "G")});
    QCOMPARE(form.editor<QComboBox>("combo")->currentText(), QString("b"));
    QCOMPARE(form.editor<QComboBox>("combo")->count(), 2);
    QVERIFY(form.editor<QCheckBox>("check")->isChecked());
    QVERIFY(form.editor<QRadioButton>("radio")->isChecked());
    QCOMPARE(form.editor<QLineEdit>("line")->text(), QString("text"));
    QCOMPARE(form.editor<QLineEdit>("seven")->text(), QString("7"));
    QCOMPARE(form.editor<QPlainTextEdit>("text")->toPlainText(), QString("a\nb"));
    QCOMPARE(form.editor<QSpinBox>("int")->value(), 3);
    QCOMPARE(form.editor<QSpinBox>("int")->minimum(), -5);
    QCOMPARE(form.editor<QSpinBox>("int")->maximum(), 5);
    QCOMPARE(form.editor<QDoubleSpinBox>("double")->value(), 0.25);
    QCOMPARE(form.editor<QDoubleSpinBox>("double")->maximum(), 1.0);
    QCOMPARE(form.editor<QLabel>("label")->text(), QString("Some words"));
    QCOMPARE(form.editor<QPushButton>("button")->text(), QString("Press"));
    QVERIFY(!form.editor<QLabel>("image")->text().isEmpty()); // no picture
}

void tst_MivoFormWidget::kindsWithoutAnEditorComeBack()
{
    const QList<MivoField> fields
        = {MivoField(), MivoField(MivoField::None, "n", "none", "x", 3, "G"),
           MivoField(MivoField::Type(99), "n", "odd", "x", 3, "H"), line("line", "x")};
    const Form form(fields);
    QCOMPARE(form.widget.fields().size(), 4);
    for (int i = 0; i < 4; ++i)
        QCOMPARE(form.record(i), MivoFieldPrivate::get(fields.at(i)));
    QVERIFY(!form.widget.findChild<QWidget*>("none"));
    QVERIFY(!form.widget.findChild<QWidget*>("odd"));
}

void tst_MivoFormWidget::groupsAreBoxesInOrderOfFirstAppearance()
{
    const Form form({line("a", "", 0, "Second letter: B & co"), line("b", "", 0, "A"),
                     line("c", "", 0, "Second letter: B & co"), line("d", "", 0, "")});
    QStringList titles;
    int lastTop = -1;
    for (const QString& id : {QString("a"), QString("b"), QString("d")}) {
        const QLineEdit* const editor = form.editor<QLineEdit>(id);
        const QGroupBox* const box = qobject_cast<QGroupBox*>(editor->parentWidget());
        titles << (box ? box->title() : QString("none"));
        const int top = editor->mapToGlobal(QPoint()).y();
        QVERIFY(top > lastTop);
        lastTop = top;
    }
    QCOMPARE(titles, QStringList({"Second letter: B && co", "A", "none"}));
    QCOMPARE(form.editor<QLineEdit>("c")->parentWidget(),
             form.editor<QLineEdit>("a")->parentWidget());
    QCOMPARE(form.widget.findChildren<QGroupBox*>().size(), 2);
}

void tst_MivoFormWidget::editorsAreLabelledForScreenReaders()
{
    const Form form({line("line", ""), check("check", true), number("int", 0, 1, 0)});
    for (const QString& id : {QString("line"), QString("check"), QString("int")}) {
        QWidget* const editor = form.editor<QWidget>(id);
        QCOMPARE(QAccessible::queryAccessibleInterface(editor)->text(QAccessible::Name),
                 "Label of " + id);
    }
    bool isBuddy = false;
    for (const QLabel* const label : form.widget.findChildren<QLabel*>())
        isBuddy = isBuddy || label->buddy() == form.editor<QLineEdit>("line");
    QVERIFY(isBuddy);
}

void tst_MivoFormWidget::ampersandsAreShownAndNoKeys()
{
    const Form form({MivoField(MivoField::CheckBox, "Salt & pepper", "check", true, "G"),
                     MivoField(MivoField::LineEdit, "Salt & pepper", "line", "", 0, "G")});
    QCOMPARE(form.editor<QCheckBox>("check")->text(), QString("Salt && pepper"));
    QVERIFY(form.editor<QCheckBox>("check")->shortcut().isEmpty());
    QCOMPARE(form.editor<QCheckBox>("check")->accessibleName(), QString("Salt & pepper"));
}

void tst_MivoFormWidget::labelsAndTextsAreNoMarkUp()
{
    const Form form(
        {MivoField("<b>bold</b>", "label", "G"), line("line", "x"), text("text", "<b>bold</b>")});
    for (const QLabel* const label : form.widget.findChildren<QLabel*>())
        QCOMPARE(label->textFormat(), Qt::PlainText);
    QCOMPARE(form.editor<QPlainTextEdit>("text")->toPlainText(), QString("<b>bold</b>"));
}

void tst_MivoFormWidget::untouchedFieldsAreTheVeryOnes_data()
{
    QTest::addColumn<QList<MivoField>>("fields");
    const auto row = [](const char* name, const MivoField& field) {
        QTest::newRow(name) << QList<MivoField>({field});
    };
    row("above the limits", number("x", 0, 10, 50));
    row("below the limits", number("x", 0, 10, -50));
    row("all ints", number("x", INT_MIN, INT_MAX, INT_MIN));
    row("limits the wrong way round", number("x", 10, 0, 5));
    row("0.1", real("x", 0, 1, 0.1));
    row("a third", real("x", 0, 1, 1.0 / 3));
    row("1e300", real("x", -1e300, 1e300, 1e300));
    row("denormal", real("x", 0, 1, 5e-324));
    row("minus zero", real("x", -1, 1, -0.0));
    row("NaN", real("x", 0, 1, notANumber));
    row("NaN as limits", real("x", notANumber, notANumber, 3));
    row("infinite", real("x", -infinity, infinity, -infinity));
    row("infinite limits the wrong way round", real("x", infinity, -infinity, 0));
    row("real above the limits", real("x", 0, 1, 7));
    row("line with line feeds", line("x", "a\nb\r\nc"));
    row("line too long", line("x", "abcdef", 3));
    row("lone surrogate", line("x", QString(QChar(0xD800)) + "a"));
    row("lone surrogate at the end", text("x", "a" + QString(QChar(0xDC00))));
    row("zero character", text("x", QString("a") + QChar(0) + "b"));
    row("text with every line end", text("x", "a\r\nb\rc\u2028d\u2029e\n"));
    row("null text", text("x", QString()));
    row("text too long", text("x", "abcdef", 3));
    row("index beyond the items", combo("x", {"a"}, 5));
    row("index -1", combo("x", {"a"}, -1));
    row("no items", combo("x", {}, 0));
    row("radio button", radio("x", true));
    QTest::newRow("two radio buttons") << QList<MivoField>({radio("x", true), radio("y", true)});
}

void tst_MivoFormWidget::untouchedFieldsAreTheVeryOnes()
{
    QFETCH(const QList<MivoField>, fields);
    Form form(fields);
    // Looking at it is no touching: the focus goes through all and keys move the cursor.
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(&form.widget, Qt::Key_Tab);
    const QList<QWidget*> editors = form.widget.findChildren<QWidget*>("x");
    for (QWidget* const editor : editors) {
        editor->setFocus();
        if (qobject_cast<QComboBox*>(editor))
            continue; // there they choose
        QTest::keyClick(editor, Qt::Key_Home);
        QTest::keyClick(editor, Qt::Key_Right, Qt::ShiftModifier);
        if (!qobject_cast<QPlainTextEdit*>(editor))
            QTest::keyClick(editor, Qt::Key_Return); // a spin box answers it with its value
        editor->clearFocus();
    }
    QCoreApplication::processEvents();
    QCOMPARE(form.widget.fields().size(), fields.size());
    for (int i = 0; i < fields.size(); ++i)
        QCOMPARE(form.record(i), MivoFieldPrivate::get(fields.at(i)));
    QCOMPARE(form.changedIds(), QStringList());
}

void tst_MivoFormWidget::aLineIsEdited()
{
    const Form form({line("a", "one"), line("b", "two")});
    QTest::keyClicks(form.editor<QLineEdit>("a"), "x");
    QCOMPARE(form.widget.fields().at(0).getText(), QString("xone"));
    QTest::keyClick(form.editor<QLineEdit>("a"), Qt::Key_End);
    QTest::keyClicks(form.editor<QLineEdit>("a"), "y");
    QCOMPARE(form.widget.fields().at(0).getText(), QString("xoney"));
    QCOMPARE(form.widget.fields().at(1).getText(), QString("two"));
    QCOMPARE(form.changedIds(), QStringList({"a", "a"}));
}

void tst_MivoFormWidget::aLineKeepsToItsLength()
{
    const Form form({line("a", "one", 5), line("free", QString(40000, 'x'), 0)});
    retype(form.editor<QLineEdit>("a"), "1234567");
    QCOMPARE(form.widget.fields().at(0).getText(), QString("12345"));
    QTest::keyClick(form.editor<QLineEdit>("free"), Qt::Key_End);
    QTest::keyClicks(form.editor<QLineEdit>("free"), "y");
    QCOMPARE(form.widget.fields().at(1).getText().size(), 40001);
}

void tst_MivoFormWidget::aShortenedLineKeepsPairsTogether()
{
    const QString clef = QString::fromUcs4(U"\U0001D11E");
    const Form form({line("a", "ab" + clef + "c", 3), text("b", "ab" + clef + "c", 3)});
    QCOMPARE(form.editor<QLineEdit>("a")->text(), QString("ab"));
    QCOMPARE(form.editor<QPlainTextEdit>("b")->toPlainText(), QString("ab"));
}

void tst_MivoFormWidget::aLineKeepsItsLineFeedsWhenItIsEdited()
{
    const Form form({line("a", "one\ntwo")});
    QTest::keyClick(form.editor<QLineEdit>("a"), Qt::Key_End);
    QTest::keyClicks(form.editor<QLineEdit>("a"), "x");
    QCOMPARE(form.widget.fields().at(0).getText(), QString("one\ntwox"));
}

void tst_MivoFormWidget::aTextIsEdited()
{
    const Form form({text("a", "one\r\ntwo")});
    QPlainTextEdit* const editor = form.editor<QPlainTextEdit>("a");
    QTest::keyClicks(editor, "x");
    QTest::keyClick(editor, Qt::Key_Return);
    QCOMPARE(form.widget.fields().at(0).getText(), QString("x\none\ntwo"));
    QTest::keyClick(editor, Qt::Key_Z, Qt::ControlModifier);
    QVERIFY(form.widget.fields().at(0).getText().endsWith("one\ntwo"));
    QCOMPARE(form.changedIds().value(0), QString("a"));
}

void tst_MivoFormWidget::aTextKeepsToItsLength()
{
    const Form form({text("a", "12345", 8), text("long", "12345678", 5)});
    QPlainTextEdit* const editor = form.editor<QPlainTextEdit>("a");
    QTest::keyClick(editor, Qt::Key_Right);
    QTest::keyClicks(editor, "abcdef");
    QCOMPARE(form.widget.fields().at(0).getText(), QString("1abc2345"));
    editor->insertPlainText("pasted");
    QCOMPARE(form.widget.fields().at(0).getText(), QString("1abc2345"));
    QCOMPARE(editor->toPlainText(), QString("1abc2345"));
    QTest::keyClick(editor, Qt::Key_Backspace);
    editor->insertPlainText(QString::fromUcs4(U"\U0001D11E")); // two code units, room for one
    QCOMPARE(form.widget.fields().at(0).getText(), QString("1ab2345"));
    QTest::keyClicks(form.editor<QPlainTextEdit>("long"), "x");
    QCOMPARE(form.editor<QPlainTextEdit>("long")->toPlainText(), QString("12345"));
    QCOMPARE(form.widget.fields().at(1).getText(), QString("12345678")); // nothing was entered
}

void tst_MivoFormWidget::aTextKeepsItsNoBreakSpaces()
{
    const Form form({text("a", QString("10\u00A0km"))});
    QTest::keyClicks(form.editor<QPlainTextEdit>("a"), "x");
    QCOMPARE(form.widget.fields().at(0).getText(), QString("x10\u00A0km"));
}

void tst_MivoFormWidget::aNumberIsEdited()
{
    const Form form({number("a", 0, 100, 5)});
    retype(form.editor<QSpinBox>("a"), "42");
    QCOMPARE(form.widget.fields().at(0).getIntValue(), 42);
    QTest::keyClick(form.editor<QSpinBox>("a"), Qt::Key_Up);
    QCOMPARE(form.widget.fields().at(0).getIntValue(), 43);
    QCOMPARE(form.widget.fields().at(0).getSpinBoxMax(), 100);
    QCOMPARE(form.changedIds(), QStringList({"a", "a", "a"})); // 4, 42, 43
}

void tst_MivoFormWidget::aNumberKeepsToItsLimits()
{
    const Form form({number("a", 10, 20, 50)});
    QSpinBox* const editor = form.editor<QSpinBox>("a");
    QCOMPARE(editor->value(), 20);
    QVERIFY(!editor->toolTip().isEmpty()); // it says that it shows something else
    QTest::keyClick(editor, Qt::Key_Up);
    QCOMPARE(form.widget.fields().at(0).getIntValue(), 50);
    QTest::keyClick(editor, Qt::Key_Down);
    QCOMPARE(form.widget.fields().at(0).getIntValue(), 19);
    QVERIFY(editor->toolTip().isEmpty());
    retype(editor, "99");
    QVERIFY(form.widget.fields().at(0).getIntValue() <= 20);
    QVERIFY(form.widget.fields().at(0).getIntValue() >= 10);
}

void tst_MivoFormWidget::aNumberBeyondItsLimitsCanBeEnteredAsItIsShown()
{
    const Form form({number("a", 0, 20, 50), real("b", 0, 20, 50)});
    retype(form.editor<QSpinBox>("a"), "20");
    QCOMPARE(form.widget.fields().at(0).getIntValue(), 20);
    retype(form.editor<QDoubleSpinBox>("b"), "20");
    QCOMPARE(form.widget.fields().at(1).getDoubleValue(), 20.0);
    QVERIFY(form.changedIds().contains("a") && form.changedIds().contains("b"));
}

void tst_MivoFormWidget::allIntsAreWithinReach()
{
    const Form form({number("a", INT_MIN, INT_MAX, 0)});
    QSpinBox* const editor = form.editor<QSpinBox>("a");
    retype(editor, "2147483647");
    QCOMPARE(form.widget.fields().at(0).getIntValue(), INT_MAX);
    QTest::keyClick(editor, Qt::Key_Up);
    QCOMPARE(form.widget.fields().at(0).getIntValue(), INT_MAX);
    retype(editor, "-2147483648");
    QCOMPARE(form.widget.fields().at(0).getIntValue(), INT_MIN);
    QTest::keyClick(editor, Qt::Key_Down);
    QCOMPARE(form.widget.fields().at(0).getIntValue(), INT_MIN);
}

void tst_MivoFormWidget::aRealIsEdited_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<double>("value");
    QTest::newRow("0.1") << "0.1" << 0.1;
    QTest::newRow("many digits") << "0.12345678901234567" << 0.12345678901234567;
    QTest::newRow("exponent") << "-1.5e-12" << -1.5e-12;
    QTest::newRow("large") << "1e300" << 1e300;
    QTest::newRow("largest") << "1.7976931348623157e308" << DBL_MAX;
    QTest::newRow("small") << "1e-300" << 1e-300;
}

void tst_MivoFormWidget::aRealIsEdited()
{
    QFETCH(const QString, typed);
    QFETCH(const double, value);
    const Form form({real("a", -infinity, infinity, 7)});
    retype(form.editor<QDoubleSpinBox>("a"), typed);
    QVERIFY(form.widget.fields().at(0).getDoubleValue() == value);
}

void tst_MivoFormWidget::aRealIsShownInFull_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("shown");
    QTest::newRow("0.1") << 0.1 << "0.1";
    QTest::newRow("0.5") << 0.5 << "0.5";
    QTest::newRow("whole") << 100000.0 << "100000";
    QTest::newRow("third") << 1.0 / 3 << "0.3333333333333333";
    QTest::newRow("large") << 1e300 << "1e+300";
    QTest::newRow("small") << 1e-9 << "1e-09";
    QTest::newRow("zero") << 0.0 << "0";
    QTest::newRow("negative") << -12.75 << "-12.75";
}

void tst_MivoFormWidget::aRealIsShownInFull()
{
    QFETCH(const double, value);
    QFETCH(const QString, shown);
    const Form form({real("a", -infinity, infinity, value)});
    QCOMPARE(form.editor<QDoubleSpinBox>("a")->text(), shown);
}

void tst_MivoFormWidget::aRealStepsByRoundNumbers()
{
    const Form form({real("unit", 0, 1, 0.5), real("free", -infinity, infinity, 0.5),
                     real("percent", 0, 100, 99.5), real("tiny", 0, 1e-6, 0)});
    const auto after = [&](const QString& id, Qt::Key key, int times) {
        for (int i = 0; i < times; ++i)
            QTest::keyClick(form.editor<QDoubleSpinBox>(id), key);
        return form.editor<QDoubleSpinBox>(id)->text();
    };
    QCOMPARE(after("unit", Qt::Key_Up, 7), QString("0.57"));
    QCOMPARE(after("unit", Qt::Key_Down, 50), QString("0.07"));
    QCOMPARE(after("free", Qt::Key_Down, 2), QString("-1.5"));
    QCOMPARE(after("percent", Qt::Key_Up, 1), QString("100"));
    QCOMPARE(after("tiny", Qt::Key_Up, 3), QString("3e-08"));
    QCOMPARE(form.widget.fields().at(0).getDoubleValue(), 0.07);
}

void tst_MivoFormWidget::aRealKeepsToItsLimits()
{
    const Form form({real("a", 0, 1, 0.5), real("n", 0, 1, notANumber)});
    QDoubleSpinBox* const editor = form.editor<QDoubleSpinBox>("a");
    for (const QString& typed : {QString("5"), QString("-1"), QString("1e999"), QString("nan"),
                                 QString("inf"), QString("--"), QString("1e")}) {
        retype(editor, typed);
        editor->clearFocus();
        const double value = form.widget.fields().at(0).getDoubleValue();
        QVERIFY2(value >= 0 && value <= 1, qPrintable(typed));
    }
    QCOMPARE(form.editor<QDoubleSpinBox>("n")->value(), 0.0);
    QTest::keyClick(form.editor<QDoubleSpinBox>("n"), Qt::Key_Up);
    QCOMPARE(form.widget.fields().at(1).getDoubleValue(), 0.01);
}

void tst_MivoFormWidget::aRealSpeaksTheUsersLanguage()
{
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    {
        const Form form({real("a", 0, 10000, 1234.5)});
        QDoubleSpinBox* const editor = form.editor<QDoubleSpinBox>("a");
        QCOMPARE(editor->text(), QString("1234,5"));
        retype(editor, "0,25");
        QCOMPARE(form.widget.fields().at(0).getDoubleValue(), 0.25);
    }
    QLocale::setDefault(before);
}

void tst_MivoFormWidget::nothingCanBeEnteredWhereNothingIsAllowed()
{
    const Form form(
        {number("a", 10, 0, 5), real("b", 10, 0, 5), real("c", infinity, infinity, notANumber)});
    QVERIFY(!form.editor<QSpinBox>("a")->isEnabled());
    QCOMPARE(form.editor<QSpinBox>("a")->value(), 5);
    QVERIFY(!form.editor<QDoubleSpinBox>("b")->isEnabled());
    QCOMPARE(form.editor<QDoubleSpinBox>("b")->text(), QString("5"));
    QVERIFY(!form.editor<QDoubleSpinBox>("c")->isEnabled());
    QCOMPARE(form.editor<QDoubleSpinBox>("c")->text(), QString("nan"));
}

void tst_MivoFormWidget::aBoxIsTicked()
{
    const Form form({check("a", true), check("b", true)});
    QTest::keyClick(form.editor<QCheckBox>("a"), Qt::Key_Space);
    QCOMPARE(form.widget.fields().at(0).isChecked(), false);
    QCOMPARE(form.widget.fields().at(1).isChecked(), true);
    QCOMPARE(form.changedIds(), QStringList({"a"}));
}

void tst_MivoFormWidget::anItemIsChosen()
{
    const Form form({combo("a", {"x", "y", "z"}, 0)});
    QTest::keyClick(form.editor<QComboBox>("a"), Qt::Key_Down);
    QCOMPARE(form.widget.fields().at(0).getSelectedIndex(), 1u);
    QTest::keyClicks(form.editor<QComboBox>("a"), "z");
    QCOMPARE(form.widget.fields().at(0).getSelectedIndex(), 2u);
    QCOMPARE(form.changedIds(), QStringList({"a", "a"}));
}

void tst_MivoFormWidget::anIndexBeyondTheItemsStaysUntilOneIsChosen()
{
    const Form form({combo("a", {"x", "y"}, 2)});
    QCOMPARE(form.editor<QComboBox>("a")->currentIndex(), -1);
    QCOMPARE(form.widget.fields().at(0).getSelectedIndex(), 2u);
    QTest::keyClick(form.editor<QComboBox>("a"), Qt::Key_Down);
    QCOMPARE(form.widget.fields().at(0).getSelectedIndex(), 0u);
}

void tst_MivoFormWidget::whatStaysTheSameIsNoChange()
{
    const Form form(
        {combo("a", {"x", "y"}, 1), number("b", 0, 5, 5), text("c", "t"), line("d", "line")});
    QTest::keyClick(form.editor<QComboBox>("a"), Qt::Key_Down);
    QTest::keyClick(form.editor<QSpinBox>("b"), Qt::Key_Up);
    QTest::keyClick(form.editor<QPlainTextEdit>("c"), Qt::Key_Backspace);
    QTest::keyClick(form.editor<QLineEdit>("d"), Qt::Key_Backspace);
    form.editor<QPlainTextEdit>("c")->document()->setDefaultFont(QFont("Monospace", 20));
    form.editor<QPlainTextEdit>("c")->selectAll();
    QCOMPARE(form.changedIds(), QStringList());
}

void tst_MivoFormWidget::radioButtonsExcludeEachOther()
{
    Form form({radio("a", true), radio("b", false), radio("c", false)});
    form.editor<QRadioButton>("b")->click();
    QCOMPARE(form.widget.fields().at(0).isChecked(), false);
    QCOMPARE(form.widget.fields().at(1).isChecked(), true);
    QCOMPARE(form.widget.fields().at(2).isChecked(), false);
    QCOMPARE(form.changedIds(), QStringList({"a", "b"}));
    form.widget.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&form.widget));
    form.editor<QRadioButton>("b")->setFocus();
    QTest::keyClick(form.editor<QRadioButton>("b"), Qt::Key_Down);
    QVERIFY(form.widget.fields().at(2).isChecked());
    QVERIFY(!form.widget.fields().at(1).isChecked());
}

void tst_MivoFormWidget::twoCheckedRadioButtonsStayUntilOneIsTouched()
{
    const Form form({radio("a", true), radio("b", true), radio("c", false), line("l", "x")});
    QVERIFY(form.editor<QRadioButton>("a")->isChecked());
    QVERIFY(form.editor<QRadioButton>("b")->isChecked());
    QTest::keyClicks(form.editor<QLineEdit>("l"), "y");
    QVERIFY(form.widget.fields().at(0).isChecked() && form.widget.fields().at(1).isChecked());
    QTest::keyClick(form.editor<QRadioButton>("c"), Qt::Key_Space);
    QVERIFY(!form.widget.fields().at(0).isChecked());
    QVERIFY(!form.widget.fields().at(1).isChecked());
    QVERIFY(form.widget.fields().at(2).isChecked());
    QCOMPARE(form.changedIds(), QStringList({"l", "a", "b", "c"}));
    form.editor<QRadioButton>("a")->click();
    QVERIFY(form.widget.fields().at(0).isChecked());
    QVERIFY(!form.widget.fields().at(2).isChecked());
}

void tst_MivoFormWidget::clickingACheckedRadioButtonTouchesItsGroup()
{
    const Form form({radio("a", true), radio("b", true)});
    form.editor<QRadioButton>("b")->click();
    QVERIFY(!form.widget.fields().at(0).isChecked());
    QVERIFY(form.widget.fields().at(1).isChecked());
    QVERIFY(form.editor<QRadioButton>("b")->isChecked());
    QCOMPARE(form.changedIds(), QStringList({"a"}));
    form.editor<QRadioButton>("b")->click();
    QVERIFY(form.widget.fields().at(1).isChecked());
}

void tst_MivoFormWidget::radioButtonsOfOtherGroupsStay()
{
    const Form form({radio("a", true, "G"), radio("b", true, "H"), radio("c", false, "G"),
                     radio("d", true, "")});
    form.editor<QRadioButton>("c")->click();
    QVERIFY(!form.widget.fields().at(0).isChecked());
    QVERIFY(form.widget.fields().at(1).isChecked());
    QVERIFY(form.widget.fields().at(3).isChecked());
}

void tst_MivoFormWidget::aReadOnlyRadioButtonStays()
{
    MivoField fixed = radio("a", true);
    fixed.setReadOnly(true);
    MivoField hidden = radio("b", true);
    hidden.setVisible(false);
    const Form form({fixed, hidden, radio("c", false), radio("d", false)});
    form.editor<QRadioButton>("c")->click();
    QVERIFY(form.widget.fields().at(0).isChecked());
    QVERIFY(!form.widget.fields().at(1).isChecked()); // it is one of the choices
    QVERIFY(form.widget.fields().at(2).isChecked());
    form.editor<QRadioButton>("a")->click();
    QVERIFY(form.widget.fields().at(2).isChecked());
}

void tst_MivoFormWidget::radioButtonsChangeBeforeAnybodyIsTold()
{
    const Form form({radio("a", true), radio("b", false)});
    int checked = 0;
    connect(&form.widget, &MivoFormWidget::changed, this, [&] {
        checked += 10;
        for (const MivoField& field : form.widget.fields())
            checked += field.isChecked();
    });
    form.editor<QRadioButton>("b")->click();
    QCOMPARE(checked, 22); // told twice, one checked each time
}

void tst_MivoFormWidget::buttonsRunTheirActions()
{
    class Receiver : public QObject
    {
    public:
        int actions = 0;

    protected:
        void customEvent(QEvent* event) override { actions += event->type() == QEvent::Type(1009); }
    };
    Receiver receiver;
    MivoCallActionEvent::dispatcher = &receiver;
    MivoPlugin plugin;
    const MivoPluginAction action(&plugin, &MivoPlugin::runByName, {MivoArg(QString("x"))});
    MivoField off("Off", "off", action, "G");
    off.setReadOnly(true);
    const Form form({MivoField("Press", "button", action, "G"), off});
    form.editor<QPushButton>("button")->click();
    QTest::keyClick(form.editor<QPushButton>("button"), Qt::Key_Space);
    form.editor<QPushButton>("off")->click();
    QCoreApplication::processEvents();
    QCOMPARE(receiver.actions, 2);
    MivoCallActionEvent::dispatcher = nullptr;
    QCOMPARE(form.changedIds(), QStringList());
}

void tst_MivoFormWidget::picturesAreScaled()
{
    const auto picture = [](int width, int height) {
        QImage image(width, height, QImage::Format_RGB32);
        image.fill(Qt::red);
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "PNG");
        return bytes;
    };
    QByteArray small = picture(8, 4);
    QByteArray fitting = picture(100, 100);
    QByteArray large = picture(1600, 100);
    QByteArray broken("no picture");
    const Form form({MivoField("small", small, "G"), MivoField("fitting", fitting, "G"),
                     MivoField("large", large, "G"), MivoField("broken", broken, "G")});
    QCOMPARE(form.editor<QLabel>("small")->size(), QSize(64, 32));
    QCOMPARE(form.editor<QLabel>("fitting")->size(), QSize(100, 100));
    QCOMPARE(form.editor<QLabel>("large")->size(), QSize(320, 20));
    QCOMPARE(form.editor<QLabel>("small")->grab().toImage().pixelColor(32, 16), QColor(Qt::red));
    QCOMPARE(form.editor<QLabel>("broken")->text(), QString("This picture cannot be shown."));
    MivoField copy = form.widget.fields().at(0);
    QCOMPARE(copy.getImgData(), small);
}

void tst_MivoFormWidget::invisibleFieldsAreHidden()
{
    MivoField hidden = line("a", "secret");
    hidden.setVisible(false);
    const Form form({hidden, line("b", "x")});
    QVERIFY(form.editor<QLineEdit>("a")->isHidden());
    QVERIFY(form.editor<QLineEdit>("b")->isVisible());
    int labels = 0;
    for (const QLabel* const label : form.widget.findChildren<QLabel*>())
        labels += label->isVisible();
    QCOMPARE(labels, 1);
    QCOMPARE(form.widget.fields().at(0).getText(), QString("secret"));
}

void tst_MivoFormWidget::aGroupWithNothingToShowIsHidden()
{
    MivoField hidden = line("a", "x", 0, "Secrets");
    hidden.setVisible(false);
    const Form form({hidden, line("b", "x", 0, "Others")});
    for (const QGroupBox* const box : form.widget.findChildren<QGroupBox*>())
        QCOMPARE(box->isVisible(), box->title() == QString("Others"));
}

void tst_MivoFormWidget::readOnlyFieldsTakeNoInput()
{
    QList<MivoField> fields
        = {line("line", "x"),     text("text", "x"),    number("int", 0, 9, 5),
           real("real", 0, 9, 5), check("check", true), combo("combo", {"a", "b"}, 0),
           radio("radio", false)};
    for (MivoField& field : fields)
        field.setReadOnly(true);
    const Form form(fields);
    for (const MivoField& field : fields) {
        QWidget* const editor = form.editor<QWidget>(field.getId());
        editor->setFocus();
        for (const int key :
             {Qt::Key_7, Qt::Key_Up, Qt::Key_Down, Qt::Key_Space, Qt::Key_Backspace})
            QTest::keyClick(editor, Qt::Key(key));
    }
    QCOMPARE(form.changedIds(), QStringList());
    QVERIFY(form.editor<QLineEdit>("line")->isEnabled()); // so that it can be copied
}

void tst_MivoFormWidget::theWheelChangesOnlyWhatHasTheFocus()
{
    Form form({number("a", 0, 9, 5), combo("b", {"x", "y", "z"}, 1), line("l", "")});
    const auto turn = [&](QWidget* editor) {
        const QPointF centre = editor->rect().center();
        QWheelEvent event(centre, editor->mapToGlobal(centre.toPoint()), QPoint(), QPoint(0, 120),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(editor, &event);
    };
    form.widget.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&form.widget));
    form.editor<QLineEdit>("l")->setFocus();
    turn(form.editor<QSpinBox>("a"));
    turn(form.editor<QComboBox>("b"));
    QCOMPARE(form.changedIds(), QStringList());
    form.editor<QSpinBox>("a")->setFocus();
    turn(form.editor<QSpinBox>("a"));
    QCOMPARE(form.changedIds(), QStringList({"a"}));
}

void tst_MivoFormWidget::tabGoesFromFieldToField()
{
    Form form({line("a", "", 0, "G"), line("b", "", 0, "H"), text("c", ""), line("d", "", 0, "H")});
    form.widget.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&form.widget));
    form.editor<QLineEdit>("a")->setFocus();
    QStringList order;
    for (int i = 0; i < 4; ++i) {
        order << QApplication::focusWidget()->objectName();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    QCOMPARE(order, QStringList({"a", "c", "b", "d"})); // box by box
}

void tst_MivoFormWidget::anotherFormReplacesTheFirst()
{
    Form form({line("a", "x"), number("n", 0, 9, 5)});
    QTest::keyClicks(form.editor<QLineEdit>("a"), "y");
    QPointer<QLineEdit> old = form.editor<QLineEdit>("a");
    form.widget.setFields({line("b", "z")});
    QCOMPARE(form.widget.fields().size(), 1);
    QCOMPARE(form.widget.fields().at(0).getId(), QString("b"));
    QVERIFY(!form.widget.findChild<QLineEdit*>("a"));
    if (old)
        old->setText("late"); // nobody listens any more
    QCOMPARE(form.widget.fields().at(0).getText(), QString("z"));
    QCOMPARE(form.changedIds(), QStringList({"a"}));
    QTRY_VERIFY(!old);
    form.widget.setFields({});
    QVERIFY(form.widget.fields().isEmpty());
}

void tst_MivoFormWidget::aReceiverMayShowAnotherForm()
{
    Form form({radio("a", true), radio("b", false), check("c", false)});
    int told = 0;
    connect(&form.widget, &MivoFormWidget::changed, this, [&] {
        ++told;
        form.widget.setFields({line("x", QString::number(told))});
    });
    form.editor<QRadioButton>("b")->click();
    QCOMPARE(told, 2);
    QCOMPARE(form.widget.fields().at(0).getText(), QString("2"));
    QTest::keyClicks(form.editor<QLineEdit>("x"), "y");
    QCOMPARE(told, 3);
    QCoreApplication::processEvents();
}

void tst_MivoFormWidget::aReceiverMayDeleteTheForm()
{
    const auto form = new MivoFormWidget;
    form->setFields({radio("a", true), radio("b", false)});
    connect(form, &MivoFormWidget::changed, form, &QObject::deleteLater);
    form->findChild<QRadioButton*>("b")->click();
    const QPointer<MivoFormWidget> pointer(form);
    QTRY_VERIFY(!pointer);
}

void tst_MivoFormWidget::settingFieldsSaysNothing()
{
    Form form({number("a", 0, 9, 50), combo("b", {}, 7)});
    form.widget.setFields({number("a", 0, 99, 12), combo("b", {"x"}, 0), check("c", true)});
    form.widget.setFields(form.widget.fields());
    QCOMPARE(form.changedIds(), QStringList());
}

void tst_MivoFormWidget::theFocusStaysOnTheFieldOfThatId()
{
    Form form({line("a", "x"), line("b", "y")});
    form.widget.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&form.widget));
    form.editor<QLineEdit>("b")->setFocus();
    form.widget.setFields({line("b", "z"), line("a", "x")});
    QCOMPARE(QApplication::focusWidget(), static_cast<QWidget*>(form.editor<QLineEdit>("b")));
}

void tst_MivoFormWidget::cursorAndSelectionStayInAnUnchangedText_data()
{
    QTest::addColumn<int>("anchor");
    QTest::addColumn<int>("position");
    QTest::newRow("cursor") << 2 << 2;
    QTest::newRow("selected forwards") << 1 << 4;
    QTest::newRow("selected backwards") << 4 << 1;
}

void tst_MivoFormWidget::cursorAndSelectionStayInAnUnchangedText()
{
    QFETCH(int, anchor);
    QFETCH(int, position);
    Form form({line("a", "abcdef"), text("t", "abcdef")});
    form.widget.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&form.widget));
    auto* editor = form.editor<QLineEdit>("a");
    editor->setFocus();
    editor->setCursorPosition(anchor);
    editor->cursorForward(true, position - anchor);
    form.widget.setFields({line("a", "abcdef"), text("t", "abcdef"), check("new", true)});
    QVERIFY(form.editor<QLineEdit>("a") != editor);
    editor = form.editor<QLineEdit>("a");
    QCOMPARE(editor->cursorPosition(), position);
    QCOMPARE(editor->selectedText(),
             QString("abcdef").mid(std::min(anchor, position), std::abs(position - anchor)));

    QPlainTextEdit* edit = form.editor<QPlainTextEdit>("t");
    edit->setFocus();
    QTextCursor cursor = edit->textCursor();
    cursor.setPosition(anchor);
    cursor.setPosition(position, QTextCursor::KeepAnchor);
    edit->setTextCursor(cursor);
    form.widget.setFields({line("a", "abcdef"), text("t", "abcdef")});
    edit = form.editor<QPlainTextEdit>("t");
    QCOMPARE(edit->textCursor().anchor(), anchor);
    QCOMPARE(edit->textCursor().position(), position);
    form.widget.setFields({text("t", "another")});
    QCOMPARE(form.editor<QPlainTextEdit>("t")->textCursor().position(), 0);
}

void tst_MivoFormWidget::aFormThatLooksTheSameIsNotMadeAnew()
{
    const auto fields = [] {
        return QList<MivoField>({line("a", "x"), text("t", "y"), radio("r", true), check("c", true),
                                 number("n", 0, 9, 5), real("d", 0, 1, notANumber),
                                 combo("b", {"x", "y"}, 1), MivoField("A label", "l", QString("G")),
                                 MivoField()});
    };
    Form form(fields());
    const QPointer<QLineEdit> editor = form.editor<QLineEdit>("a");
    const QList<MivoField> others = fields();
    form.widget.setFields(others);
    QCOMPARE(form.editor<QLineEdit>("a"), editor.data());
    QVERIFY(form.widget.fields().at(7) == others.at(7)); // the very fields that were given
    QTest::keyClicks(editor, "z");
    QCOMPARE(form.widget.fields().at(0).getText(), QString("zx"));
    form.widget.setFields(fields());
    QCOMPARE(form.editor<QLineEdit>("a")->text(), QString("x"));
}

void tst_MivoFormWidget::whateverIsShownMakesTheFormAnew_data()
{
    QTest::addColumn<MivoField>("before");
    QTest::addColumn<MivoField>("after");
    MivoField readOnly = line("a", "x");
    readOnly.setReadOnly(true);
    MivoField hidden = line("a", "x");
    hidden.setVisible(false);
    QByteArray someBytes("one");
    QByteArray otherBytes("two");
    QTest::newRow("text") << line("a", "x") << line("a", "y");
    QTest::newRow("length") << line("a", "x") << line("a", "x", 9);
    QTest::newRow("group") << line("a", "x") << line("a", "x", 0, "H");
    QTest::newRow("id") << line("a", "x") << line("b", "x");
    QTest::newRow("kind") << line("a", "x") << text("a", "x");
    QTest::newRow("label") << MivoField("State: on", "a", "G") << MivoField("State: off", "a", "G");
    QTest::newRow("read-only") << line("a", "x") << readOnly;
    QTest::newRow("hidden") << line("a", "x") << hidden;
    QTest::newRow("lines") << text("a", "x") << text("a", "y");
    QTest::newRow("lines' length") << text("a", "x") << text("a", "x", 9);
    QTest::newRow("radio button") << radio("a", true) << radio("a", false);
    QTest::newRow("check box") << check("a", true) << check("a", false);
    QTest::newRow("number") << number("a", 0, 9, 5) << number("a", 0, 9, 6);
    QTest::newRow("minimum") << number("a", 0, 9, 5) << number("a", 1, 9, 5);
    QTest::newRow("maximum") << number("a", 0, 9, 5) << number("a", 0, 8, 5);
    QTest::newRow("double") << real("a", 0, 1, 0.0) << real("a", 0, 1, -0.0);
    QTest::newRow("double's minimum") << real("a", 0, 1, 0.5) << real("a", 0.1, 1, 0.5);
    QTest::newRow("double's maximum") << real("a", 0, 1, 0.5) << real("a", 0, 2, 0.5);
    QTest::newRow("item") << combo("a", {"x", "y"}, 0) << combo("a", {"x", "y"}, 1);
    QTest::newRow("items") << combo("a", {"x", "y"}, 0) << combo("a", {"x", "z"}, 0);
    QTest::newRow("image") << MivoField("a", someBytes, "G") << MivoField("a", otherBytes, "G");
    QTest::newRow("null") << line("a", "x") << MivoField();
}

void tst_MivoFormWidget::whateverIsShownMakesTheFormAnew()
{
    QFETCH(MivoField, before);
    QFETCH(MivoField, after);
    Form form({before, line("other", "")});
    const QLineEdit* const other = form.editor<QLineEdit>("other");
    form.widget.setFields({after, line("other", "")});
    QVERIFY(form.editor<QLineEdit>("other") != other);
}

void tst_MivoFormWidget::aButtonRunsTheActionOfTheNewestForm()
{
    const auto button = [] { return MivoField("Button", "b", MivoPluginAction(), QString("G")); };
    Form form({button()});
    const QPushButton* const shown = form.editor<QPushButton>("b");
    const QList<MivoField> newest = {button()};
    form.widget.setFields(newest);
    QCOMPARE(static_cast<const QPushButton*>(form.editor<QPushButton>("b")), shown);
    QVERIFY(form.widget.fields().at(0) == newest.at(0));
}

void tst_MivoFormWidget::aSecretIsMasked()
{
    const MivoField secret(MivoSecretField, "Password", "p", "sesame", 64, "G");
    Form form({secret, line("a", "sesame")});
    auto* const editor = form.editor<QLineEdit>("p");
    QCOMPARE(editor->text(), QString("sesame"));
    QCOMPARE(editor->displayText().size(), 6);
    QVERIFY(!editor->displayText().contains(QRegularExpression("[a-z]")));
    QCOMPARE(form.editor<QLineEdit>("a")->displayText(), QString("sesame"));
    QTest::keyClicks(editor, "!");
    QCOMPARE(form.widget.fields().at(0).getText(), QString("!sesame"));
    QCOMPARE(form.widget.fields().at(0).getType(), MivoSecretField);
    const QAccessibleInterface* const read = QAccessible::queryAccessibleInterface(editor);
    QVERIFY(!read->text(QAccessible::Value).contains("sesame"));
}

void tst_MivoFormWidget::copiesOutsideAreNotChanged()
{
    const QList<MivoField> fields = {line("a", "x")};
    const Form form(fields);
    QTest::keyClicks(form.editor<QLineEdit>("a"), "y");
    QCOMPARE(fields.at(0).getText(), QString("x"));
    const QList<MivoField> taken = form.widget.fields();
    QTest::keyClicks(form.editor<QLineEdit>("a"), "z");
    QCOMPARE(taken.at(0).getText(), QString("yx"));
}

QTEST_MAIN(tst_MivoFormWidget)
#include "tst_mivoformwidget.moc"
