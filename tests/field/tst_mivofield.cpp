#include "MivoArg.h"
#include "MivoCallActionEvent.h"
#include "MivoField.h"
#include "MivoField_p.h"
#include "MivoPlugin.h"

#include <QtTest>

#include <csignal>
#include <functional>
#include <limits>
#include <type_traits>
#include <utility>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

MivoFieldPrivate* recordOf(const MivoField& field)
{
    return MivoFieldPrivate::get(field);
}

bool shareOneRecord(const MivoField& a, const MivoField& b)
{
    return recordOf(a) == recordOf(b);
}

int handlesOf(const MivoField& field)
{
    return recordOf(field)->ref.loadRelaxed();
}

MivoField lineEdit(const QString& text = "text", int maxTextLength = 20)
{
    return MivoField(MivoField::LineEdit, "label", "id", text, maxTextLength, "group");
}

MivoField textOfKind(int type, const QString& text = "text", int maxTextLength = 20)
{
    return MivoField(MivoField::Type(type), "label", "id", text, maxTextLength, "group");
}

MivoField checkBox(bool checked)
{
    return MivoField(MivoField::CheckBox, "label", "id", checked, "group");
}

MivoField spinBox(int max = 10, int min = 0, int value = 5)
{
    return MivoField("label", "id", max, min, value, "group");
}

MivoField doubleSpinBox(double max = 10.5, double min = 0.5, double value = 5.5)
{
    return MivoField("label", "id", max, min, value, "group");
}

MivoField comboBox(int index = 1)
{
    return MivoField("label", "id",
                     QStringList() << "x"
                                   << "y",
                     index, "group");
}

MivoField image(const QByteArray& bytes)
{
    QByteArray copy = bytes;
    return MivoField("id", copy, "group");
}

class Plugin : public MivoPlugin
{
public:
    void act(QList<MivoArg>&) { }
};

MivoPluginAction::Member act()
{
    return static_cast<MivoPluginAction::Member>(&Plugin::act);
}

/** Keeps the actions that are posted to it. */
class Dispatcher : public QObject
{
public:
    Dispatcher() { MivoCallActionEvent::dispatcher = this; }
    ~Dispatcher() override { MivoCallActionEvent::dispatcher = nullptr; }

    bool event(QEvent* event) override
    {
        if (event->type() != MivoCallActionEvent::EventType)
            return QObject::event(event);
        const MivoCallActionEvent* const call = static_cast<MivoCallActionEvent*>(event);
        plugins << call->plugin;
        isAct = call->member == act();
        arguments << call->arguments;
        return true;
    }

    QList<MivoPlugin*> plugins;
    bool isAct = false;
    QList<QList<MivoArg>> arguments;
};

using Change = std::function<void(MivoField&)>;

/** Whether @p change, made in a process of its own, ends that process by an assertion. */
bool asserts(const Change& change)
{
    const pid_t child = fork();
    if (child == 0) {
        const rlimit noCore = {0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        signal(SIGABRT, SIG_DFL);
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
        MivoField null;
        change(null);
        _exit(0);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFSIGNALED(status)
        && WTERMSIG(status) == SIGABRT;
}

} // namespace

Q_DECLARE_METATYPE(MivoField)
Q_DECLARE_METATYPE(MivoArg)
Q_DECLARE_METATYPE(Change)

class tst_MivoField : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theNumbersOfTheKindsAreFixed_data();
    void theNumbersOfTheKindsAreFixed();
    void theNumberOfImagesCanBeReferredTo();
    void aDefaultConstructedFieldIsNull();
    void aMovedFromFieldIsNull();
    void eachConstructorStoresItsArguments();
    void aNewFieldIsVisibleAndNothingElse();
    void unsetSlotsAreZero();
    void kindsOutsideTheTableAreStored();
    void slotsAreReadWhateverTheKind();

    void copiesShareOneRecord();
    void assignmentSharesAndReleases();
    void assignmentToItselfChangesNothing();
    void aFieldFromInsideItsOwnRecordCanBeAssigned();
    void movingLeavesANullField();
    void settersDetach_data();
    void settersDetach();
    void aDetachedRecordHasEverything();
    void equalTextsAreNotWritten();
    void notANumberIsAlwaysWritten();
    void aNegativeZeroIsNotWrittenOverAZero();
    void flagsAreSeenThroughAllCopies();
    void imageBytesAreSeenThroughAllCopies();

    void limitsPullTheValueInside_data();
    void limitsPullTheValueInside();
    void doubleLimitsPullTheValueInside_data();
    void doubleLimitsPullTheValueInside();
    void anUnchangedLimitPullsNothing();
    void valuesOutsideTheLimitsAreStored();
    void indexesAndLengthsAreNotChecked();
    void theSelectedStringIsThatAtTheIndex_data();
    void theSelectedStringIsThatAtTheIndex();

    void theValueIsThatOfTheKind_data();
    void theValueIsThatOfTheKind();
    void equalityComparesWhatTheKindHas_data();
    void equalityComparesWhatTheKindHas();
    void someKindsEqualOnlyTheirCopies_data();
    void someKindsEqualOnlyTheirCopies();
    void aNullFieldEqualsAnEmptyOneOfKindNone();
    void whatNeedsARecordAssertsInADebugBuild_data();
    void whatNeedsARecordAssertsInADebugBuild();
    void aClickPostsTheAction();
    void aPluginHasNoFieldsByDefault();
};

void tst_MivoField::theNumbersOfTheKindsAreFixed_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("number");
    QTest::newRow("None") << int(MivoField::None) << 0;
    QTest::newRow("ComboBox") << int(MivoField::ComboBox) << 1;
    QTest::newRow("CheckBox") << int(MivoField::CheckBox) << 2;
    QTest::newRow("RadioButton") << int(MivoField::RadioButton) << 3;
    QTest::newRow("LineEdit") << int(MivoField::LineEdit) << 4;
    QTest::newRow("TextEdit") << int(MivoField::TextEdit) << 9;
    QTest::newRow("SpinBox") << int(MivoField::SpinBox) << 10;
    QTest::newRow("DoubleSpinBox") << int(MivoField::DoubleSpinBox) << 11;
    QTest::newRow("Label") << int(MivoField::Label) << 12;
    QTest::newRow("Button") << int(MivoField::Button) << 14;
}

void tst_MivoField::theNumbersOfTheKindsAreFixed()
{
    QFETCH(int, type);
    QFETCH(int, number);
    QCOMPARE(type, number);
}

void tst_MivoField::theNumberOfImagesCanBeReferredTo()
{
    const MivoField::Type& number = MivoFieldPrivate::Image;
    QCOMPARE(int(number), 13);
    QCOMPARE(image("bytes").getType(), MivoFieldPrivate::Image);
}

void tst_MivoField::aMovedFromFieldIsNull()
{
    static_assert(std::is_nothrow_move_constructible<MivoField>::value, "");
    static_assert(std::is_nothrow_move_assignable<MivoField>::value, "");
    MivoField source = spinBox();
    const MivoFieldPrivate* const record = recordOf(source);

    MivoField target(std::move(source));
    QVERIFY(source.isNull()); // NOLINT(bugprone-use-after-move)
    QVERIFY(recordOf(target) == record);
    MivoField assigned = checkBox(true);
    const MivoField replaced = assigned;
    assigned = std::move(target);
    QVERIFY(target.isNull()); // NOLINT(bugprone-use-after-move)
    QVERIFY(recordOf(assigned) == record);
    QCOMPARE(handlesOf(assigned), 1);
    QCOMPARE(handlesOf(replaced), 1);

    MivoField copy = assigned;
    assigned = std::move(copy); // of one record
    QVERIFY(copy.isNull()); // NOLINT(bugprone-use-after-move)
    QCOMPARE(handlesOf(assigned), 1);
    MivoField& itself = assigned;
    assigned = std::move(itself);
    QVERIFY(recordOf(assigned) == record);
    QCOMPARE(handlesOf(assigned), 1);
}

void tst_MivoField::aDefaultConstructedFieldIsNull()
{
    MivoField field;
    QVERIFY(field.isNull());
    QVERIFY(!recordOf(field));
    QCOMPARE(field.getType(), MivoField::None);
    QVERIFY(field.getId().isNull());
    QVERIFY(field.getLabel().isNull());
    QVERIFY(field.getGroup().isNull());
    QVERIFY(!field.getVisible());
    field.setVisible(true);
    QVERIFY(!field.getVisible());
    QCOMPARE(field.getValue().getType(), MivoArg::None);
    QVERIFY(field.isNull());
}

void tst_MivoField::eachConstructorStoresItsArguments()
{
    const MivoField text(MivoField::TextEdit, "l", "i", QString("t"), 7, "g");
    QCOMPARE(text.getType(), MivoField::TextEdit);
    QCOMPARE(text.getLabel(), QString("l"));
    QCOMPARE(text.getId(), QString("i"));
    QCOMPARE(text.getText(), QString("t"));
    QCOMPARE(text.getMaxTextLength(), 7);
    QCOMPARE(text.getGroup(), QString("g"));

    const MivoField check(MivoField::RadioButton, "l", "i", true, "g");
    QCOMPARE(check.getType(), MivoField::RadioButton);
    QCOMPARE(check.getLabel(), QString("l"));
    QCOMPARE(check.getId(), QString("i"));
    QVERIFY(check.isChecked());
    QCOMPARE(check.getGroup(), QString("g"));

    const MivoField doubleSpin("l", "i", 9.5, -1.5, 2.25, "g");
    QCOMPARE(doubleSpin.getType(), MivoField::DoubleSpinBox);
    QCOMPARE(doubleSpin.getLabel(), QString("l"));
    QCOMPARE(doubleSpin.getId(), QString("i"));
    QCOMPARE(doubleSpin.getDoubleSpinBoxMax(), 9.5);
    QCOMPARE(doubleSpin.getDoubleSpinBoxMin(), -1.5);
    QCOMPARE(doubleSpin.getDoubleValue(), 2.25);
    QCOMPARE(doubleSpin.getGroup(), QString("g"));

    const MivoField spin("l", "i", 9, -1, 2, "g");
    QCOMPARE(spin.getType(), MivoField::SpinBox);
    QCOMPARE(spin.getLabel(), QString("l"));
    QCOMPARE(spin.getId(), QString("i"));
    QCOMPARE(spin.getSpinBoxMax(), 9);
    QCOMPARE(spin.getSpinBoxMin(), -1);
    QCOMPARE(spin.getIntValue(), 2);
    QCOMPARE(spin.getGroup(), QString("g"));

    const MivoField combo("l", "i",
                          QStringList() << "a"
                                        << "b",
                          1, "g");
    QCOMPARE(combo.getType(), MivoField::ComboBox);
    QCOMPARE(combo.getLabel(), QString("l"));
    QCOMPARE(combo.getId(), QString("i"));
    QCOMPARE(combo.getComboBoxItems(),
             QStringList() << "a"
                           << "b");
    QCOMPARE(combo.getSelectedIndex(), 1u);
    QCOMPARE(combo.getGroup(), QString("g"));

    Plugin plugin;
    const MivoPluginAction action(&plugin, act(), QList<MivoArg>() << MivoArg(1));
    const MivoField button("l", "i", action, "g");
    QCOMPARE(button.getType(), MivoField::Button);
    QCOMPARE(button.getLabel(), QString("l"));
    QCOMPARE(button.getId(), QString("i"));
    QVERIFY(recordOf(button)->action == action);
    QCOMPARE(button.getGroup(), QString("g"));

    const MivoField label("l", "i", "g");
    QCOMPARE(label.getType(), MivoField::Label);
    QCOMPARE(label.getLabel(), QString("l"));
    QCOMPARE(label.getId(), QString("i"));
    QCOMPARE(label.getGroup(), QString("g"));

    QByteArray bytes("bytes");
    MivoField picture("i", bytes, "g");
    QCOMPARE(int(picture.getType()), 13);
    QVERIFY(picture.getLabel().isNull());
    QCOMPARE(picture.getId(), QString("i"));
    QCOMPARE(picture.getImgData(), QByteArray("bytes"));
    QCOMPARE(bytes, QByteArray("bytes"));
    QCOMPARE(picture.getGroup(), QString("g"));
}

void tst_MivoField::aNewFieldIsVisibleAndNothingElse()
{
    MivoField field = spinBox();
    QVERIFY(!field.isNull());
    QVERIFY(field.getVisible());
    QVERIFY(!field.isReadOnly());
    QVERIFY(!field.isPressed());
    QCOMPARE(handlesOf(field), 1);
    QVERIFY(field.getText().isNull());
    QVERIFY(field.getComboBoxItems().isEmpty());
    QVERIFY(!recordOf(field)->action.isValid());
    QVERIFY(field.getImgData().isNull());
}

void tst_MivoField::unsetSlotsAreZero()
{
    const MivoField field("label", "id", "group");
    QCOMPARE(field.getMaxTextLength(), 0);
    QCOMPARE(field.getDoubleSpinBoxMax(), 0.0);
    QCOMPARE(field.getDoubleSpinBoxMin(), 0.0);
    QCOMPARE(field.getDoubleValue(), 0.0);
    QCOMPARE(lineEdit().getDoubleValue(), 0.0);
    QCOMPARE(checkBox(true).getIntValue(), 1);
}

void tst_MivoField::kindsOutsideTheTableAreStored()
{
    QCOMPARE(sizeof(MivoField::Type), size_t(4));
    QCOMPARE(int(textOfKind(0x7ffffff0).getType()), 0x7ffffff0);
    QCOMPARE(int(textOfKind(6).getType()), 6);
    QCOMPARE(int(textOfKind(-1).getType()), -1);
    QVERIFY(textOfKind(-1) != textOfKind(-1));
}

void tst_MivoField::slotsAreReadWhateverTheKind()
{
    QVERIFY(spinBox(10, 0, 5).isChecked());
    QVERIFY(!spinBox(10, 0, 0).isChecked());
    QCOMPARE(spinBox(10, 0, 5).getSelectedIndex(), 10u);
    QCOMPARE(lineEdit("text", 20).getSpinBoxMax(), 20);

    MivoField field = spinBox(10, 0, 5);
    const MivoField copy = field;
    field.setChecked(true);
    QVERIFY(shareOneRecord(field, copy));
    field.setDoubleValue(2.5);
    QCOMPARE(field.getDoubleValue(), 2.5);
    QVERIFY(!field.isChecked());
    field.setIntValue(0x01020304);
    QCOMPARE(field.getIntValue(), 0x01020304);
}

void tst_MivoField::copiesShareOneRecord()
{
    const MivoField field = spinBox();
    {
        const MivoField copy(field);
        QVERIFY(shareOneRecord(copy, field));
        QCOMPARE(handlesOf(field), 2);
    }
    QCOMPARE(handlesOf(field), 1);
    const MivoField nothing;
    const MivoField copyOfNothing(nothing);
    QVERIFY(copyOfNothing.isNull());
}

void tst_MivoField::assignmentSharesAndReleases()
{
    const MivoField kept = spinBox();
    const MivoField other = lineEdit();
    MivoField field = kept;
    MivoField& result = (field = other);
    QCOMPARE(&result, &field);
    QVERIFY(shareOneRecord(field, other));
    QCOMPARE(handlesOf(kept), 1);
    QCOMPARE(handlesOf(other), 2);
    field = MivoField();
    QVERIFY(field.isNull());
    QCOMPARE(handlesOf(other), 1);
    field = kept;
    QVERIFY(shareOneRecord(field, kept));
}

void tst_MivoField::assignmentToItselfChangesNothing()
{
    MivoField field = spinBox();
    const MivoField& alias = field;
    field = alias;
    QCOMPARE(handlesOf(field), 1);
    QCOMPARE(field.getIntValue(), 5);
}

void tst_MivoField::aFieldFromInsideItsOwnRecordCanBeAssigned()
{
    Plugin plugin;
    const MivoPluginAction action(&plugin, act(), QList<MivoArg>() << MivoArg(spinBox()));
    MivoField field("label", "id", action, "group");
    const QList<MivoArg> stored = recordOf(field)->action.getActionData();
    field = stored.at(0).toField();
    QCOMPARE(field.getIntValue(), 5);
}

void tst_MivoField::movingLeavesANullField()
{
    MivoField field = spinBox();
    MivoFieldPrivate* const record = recordOf(field);
    const MivoField taken(std::move(field));
    QVERIFY(field.isNull());
    QCOMPARE(recordOf(taken), record);
    QCOMPARE(handlesOf(taken), 1);
}

void tst_MivoField::settersDetach_data()
{
    QTest::addColumn<MivoField>("field");
    QTest::addColumn<Change>("keep");
    QTest::addColumn<Change>("change");
    QTest::addColumn<Change>("check");

#define ROW(field, setter, getter, same, other)                                                    \
    QTest::newRow(#setter) << (field) << Change([](MivoField& f) { f.setter(same); })              \
                           << Change([](MivoField& f) { f.setter(other); })                        \
                           << Change([](MivoField& f) { QCOMPARE(f.getter(), other); })
    ROW(lineEdit(), setLabel, getLabel, QString("label"), QString("other"));
    ROW(lineEdit(), setText, getText, QString("text"), QString("other"));
    ROW(lineEdit(), setMaxTextLength, getMaxTextLength, 20, -1);
    ROW(spinBox(), setIntValue, getIntValue, 5, 6);
    ROW(spinBox(), setSpinBoxMin, getSpinBoxMin, 0, 1);
    ROW(spinBox(), setSpinBoxMax, getSpinBoxMax, 10, 11);
    ROW(doubleSpinBox(), setDoubleSpinBoxMin, getDoubleSpinBoxMin, 0.5, 1.5);
    ROW(doubleSpinBox(), setDoubleSpinBoxMax, getDoubleSpinBoxMax, 10.5, 11.5);
    ROW(doubleSpinBox(), setDoubleValue, getDoubleValue, 5.5, 6.5);
    ROW(checkBox(false), setChecked, isChecked, false, true);
    ROW(comboBox(), setComboBoxItems, getComboBoxItems, QStringList({"x", "y"}), QStringList("z"));
    ROW(comboBox(), setSelectedIndex, getSelectedIndex, 1u, 0u);
#undef ROW
}

void tst_MivoField::settersDetach()
{
    QFETCH(MivoField, field);
    QFETCH(Change, keep);
    QFETCH(Change, change);
    QFETCH(Change, check);

    const MivoField original = field;
    const MivoArg value = original.getValue();
    const QString label = original.getLabel();

    keep(field);
    QVERIFY(shareOneRecord(field, original));

    const int handles = handlesOf(original);
    change(field);
    check(field);
    QVERIFY(!shareOneRecord(field, original));
    QCOMPARE(handlesOf(field), 1);
    QCOMPARE(handlesOf(original), handles - 1);
    QVERIFY(original.getValue() == value);
    QCOMPARE(original.getLabel(), label);

    // Alone on its record, a field is written in place.
    MivoFieldPrivate* const record = recordOf(field);
    keep(field);
    change(field);
    check(field);
    QCOMPARE(recordOf(field), record);
}

void tst_MivoField::aDetachedRecordHasEverything()
{
    Plugin plugin;
    const MivoPluginAction action(&plugin, act(), QList<MivoArg>() << MivoArg(1) << MivoArg(2));
    MivoField field("label", "id", action, "group");
    MivoFieldPrivate* const record = recordOf(field);
    record->doubleSpinBoxMax = 1.5;
    record->doubleSpinBoxMin = 2.5;
    record->doubleValue = 3.5;
    record->comboBoxItems = QStringList("item");
    record->imgData = "image";
    field.setText("text");
    field.setReadOnly(true);
    field.setVisible(false);
    field.setPressed(true);

    const MivoField original = field;
    field.setLabel("other");
    QVERIFY(!shareOneRecord(field, original));
    QCOMPARE(field.getType(), MivoField::Button);
    QCOMPARE(field.getLabel(), QString("other"));
    QCOMPARE(field.getId(), QString("id"));
    QCOMPARE(field.getGroup(), QString("group"));
    QCOMPARE(field.getDoubleSpinBoxMax(), 1.5);
    QCOMPARE(field.getDoubleSpinBoxMin(), 2.5);
    QCOMPARE(field.getDoubleValue(), 3.5);
    QCOMPARE(field.getComboBoxItems(), QStringList("item"));
    QCOMPARE(field.getText(), QString("text"));
    QVERIFY(recordOf(field)->action == action);
    QVERIFY(field.isReadOnly());
    QVERIFY(!field.getVisible());
    QVERIFY(field.isPressed());
    QCOMPARE(field.getImgData(), QByteArray("image"));

    // From here on the flags and bytes are the copy's own.
    field.setPressed(false);
    field.getImgData()[0] = 'I';
    QVERIFY(original.isPressed());
    QCOMPARE(MivoField(original).getImgData(), QByteArray("image"));
}

void tst_MivoField::equalTextsAreNotWritten()
{
    MivoField field = lineEdit("");
    field.setText(QString());
    QVERIFY(!field.getText().isNull());
}

void tst_MivoField::notANumberIsAlwaysWritten()
{
    MivoField field = doubleSpinBox(qQNaN(), qQNaN(), qQNaN());
    const auto detaches = [&field](void (MivoField::*set)(double)) {
        const MivoField copy = field;
        (field.*set)(qQNaN());
        return !shareOneRecord(field, copy);
    };
    QVERIFY(detaches(&MivoField::setDoubleValue));
    QVERIFY(detaches(&MivoField::setDoubleSpinBoxMin));
    QVERIFY(detaches(&MivoField::setDoubleSpinBoxMax));
}

void tst_MivoField::aNegativeZeroIsNotWrittenOverAZero()
{
    MivoField field = doubleSpinBox(1, -1, 0.0);
    field.setDoubleValue(-0.0);
    QVERIFY(!std::signbit(field.getDoubleValue()));
}

void tst_MivoField::flagsAreSeenThroughAllCopies()
{
    MivoField field = checkBox(false);
    const MivoField copy = field;
    field.setVisible(false);
    field.setReadOnly(true);
    field.setPressed(true);
    QVERIFY(shareOneRecord(field, copy));
    QVERIFY(!copy.getVisible());
    QVERIFY(copy.isReadOnly());
    QVERIFY(copy.isPressed());
    field.setVisible(true);
    field.setReadOnly(false);
    field.setPressed(false);
    QVERIFY(copy.getVisible());
    QVERIFY(!copy.isReadOnly());
    QVERIFY(!copy.isPressed());
}

void tst_MivoField::imageBytesAreSeenThroughAllCopies()
{
    MivoField field = image("old");
    MivoField copy = field;
    field.getImgData() = "new";
    QVERIFY(shareOneRecord(field, copy));
    QCOMPARE(copy.getImgData(), QByteArray("new"));
}

void tst_MivoField::limitsPullTheValueInside_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<int>("min");
    QTest::addColumn<int>("max");
    QTest::addColumn<int>("value");
    const auto max
        = [](int limit) { return Change([=](MivoField& f) { f.setSpinBoxMax(limit); }); };
    const auto min
        = [](int limit) { return Change([=](MivoField& f) { f.setSpinBoxMin(limit); }); };
    QTest::newRow("maximum below the value") << max(3) << 0 << 3 << 3;
    QTest::newRow("maximum at the value") << max(5) << 0 << 5 << 5;
    QTest::newRow("maximum above the value") << max(6) << 0 << 6 << 5;
    QTest::newRow("lowest maximum") << max(INT_MIN) << 0 << INT_MIN << INT_MIN;
    QTest::newRow("minimum above the value") << min(7) << 7 << 10 << 7;
    QTest::newRow("minimum at the value") << min(5) << 5 << 10 << 5;
    QTest::newRow("minimum below the value") << min(4) << 4 << 10 << 5;
    QTest::newRow("minimum above the maximum") << min(20) << 20 << 10 << 20;
    QTest::newRow("both, crossed") << Change([](MivoField& f) {
        f.setSpinBoxMax(3);
        f.setSpinBoxMin(7);
    }) << 7 << 3 << 7;
}

void tst_MivoField::limitsPullTheValueInside()
{
    QFETCH(Change, change);
    MivoField field = spinBox(10, 0, 5);
    const MivoField copy = field;
    change(field);
    QTEST(field.getSpinBoxMin(), "min");
    QTEST(field.getSpinBoxMax(), "max");
    QTEST(field.getIntValue(), "value");
    QCOMPARE(copy.getIntValue(), 5);
}

void tst_MivoField::doubleLimitsPullTheValueInside_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<double>("value");
    const auto max
        = [](double limit) { return Change([=](MivoField& f) { f.setDoubleSpinBoxMax(limit); }); };
    const auto min
        = [](double limit) { return Change([=](MivoField& f) { f.setDoubleSpinBoxMin(limit); }); };
    QTest::newRow("maximum below the value") << max(3.25) << 3.25;
    QTest::newRow("maximum above the value") << max(6.0) << 5.5;
    QTest::newRow("maximum -inf") << max(-qInf()) << -qInf();
    QTest::newRow("maximum not a number") << max(qQNaN()) << 5.5;
    QTest::newRow("minimum above the value") << min(7.25) << 7.25;
    QTest::newRow("minimum below the value") << min(4.0) << 5.5;
    QTest::newRow("minimum +inf") << min(qInf()) << qInf();
    QTest::newRow("minimum not a number") << min(qQNaN()) << 5.5;
}

void tst_MivoField::doubleLimitsPullTheValueInside()
{
    QFETCH(Change, change);
    QFETCH(double, value);
    MivoField field = doubleSpinBox(10.5, 0.5, 5.5);
    change(field);
    QVERIFY(field.getDoubleValue() == value);

    MivoField notANumber = doubleSpinBox(10.5, 0.5, qQNaN());
    change(notANumber);
    QVERIFY(qIsNaN(notANumber.getDoubleValue()));
}

void tst_MivoField::anUnchangedLimitPullsNothing()
{
    MivoField field = spinBox(10, 0, 100);
    const MivoField copy = field;
    field.setSpinBoxMax(10);
    QCOMPARE(field.getIntValue(), 100);
    QVERIFY(shareOneRecord(field, copy));
    MivoField doubles = doubleSpinBox(10, 0, -100);
    doubles.setDoubleSpinBoxMin(0);
    QCOMPARE(doubles.getDoubleValue(), -100.0);
}

void tst_MivoField::valuesOutsideTheLimitsAreStored()
{
    MivoField field = spinBox(3, 7, 5);
    field.setIntValue(100);
    QCOMPARE(field.getIntValue(), 100);
    MivoField doubles = doubleSpinBox(3, 7, 5);
    doubles.setDoubleValue(-100.5);
    QCOMPARE(doubles.getDoubleValue(), -100.5);
}

void tst_MivoField::indexesAndLengthsAreNotChecked()
{
    MivoField combo = comboBox();
    combo.setSelectedIndex(0xffffffffu);
    QCOMPARE(combo.getSelectedIndex(), 0xffffffffu);
    MivoField line = lineEdit();
    line.setMaxTextLength(-7);
    QCOMPARE(line.getMaxTextLength(), -7);
    line.setText("longer than that");
    QCOMPARE(line.getText(), QString("longer than that"));
}

void tst_MivoField::theSelectedStringIsThatAtTheIndex_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("selected");
    QTest::newRow("first") << 0 << "x";
    QTest::newRow("last") << 1 << "y";
    QTest::newRow("one too far") << 2 << QString();
    QTest::newRow("-1") << -1 << QString();
    QTest::newRow("lowest") << INT_MIN << QString();
}

void tst_MivoField::theSelectedStringIsThatAtTheIndex()
{
    QFETCH(int, index);
    QFETCH(QString, selected);
    const MivoField field = comboBox(index);
    QCOMPARE(field.getSelectedIndex(), unsigned(index));
    QCOMPARE(field.getSelectedString(), selected);
    QCOMPARE(field.getSelectedString().isNull(), selected.isNull());
}

void tst_MivoField::theValueIsThatOfTheKind_data()
{
    QTest::addColumn<MivoField>("field");
    QTest::addColumn<MivoArg>("value");
    QTest::newRow("null") << MivoField() << MivoArg();
    QTest::newRow("None") << textOfKind(0) << MivoArg();
    QTest::newRow("ComboBox") << comboBox(1) << MivoArg(1u);
    QTest::newRow("CheckBox") << checkBox(true) << MivoArg(true);
    QTest::newRow("RadioButton") << MivoField(MivoField::RadioButton, "l", "i", false, "g")
                                 << MivoArg(false);
    for (int type = 4; type <= 9; ++type)
        QTest::newRow(qPrintable(QString("kind %1").arg(type)))
            << textOfKind(type) << MivoArg(QString("text"));
    QTest::newRow("SpinBox") << spinBox(10, 0, 5) << MivoArg(5);
    QTest::newRow("DoubleSpinBox") << doubleSpinBox(10.5, 0.5, 5.5) << MivoArg(5.5);
    QTest::newRow("Label") << MivoField("l", "i", "g") << MivoArg();
    QTest::newRow("image") << image("bytes") << MivoArg();
    QTest::newRow("Button") << MivoField("l", "i", MivoPluginAction(), "g") << MivoArg();
    QTest::newRow("kind 15") << textOfKind(15) << MivoArg();
    QTest::newRow("highest kind") << textOfKind(0x7fffffff) << MivoArg();
    QTest::newRow("kind -1") << textOfKind(-1) << MivoArg();
}

void tst_MivoField::theValueIsThatOfTheKind()
{
    QFETCH(MivoField, field);
    QFETCH(MivoArg, value);
    QCOMPARE(field.getValue().getTypeName(), value.getTypeName());
    QVERIFY(field.getValue() == value);
}

void tst_MivoField::equalityComparesWhatTheKindHas_data()
{
    QTest::addColumn<MivoField>("a");
    QTest::addColumn<MivoField>("b");
    QTest::addColumn<bool>("equal");
    const MivoField check = checkBox(true);
    QTest::newRow("same contents") << check << checkBox(true) << true;
    QTest::newRow("a copy") << check << check << true;
    QTest::newRow("another kind") << check
                                  << MivoField(MivoField::RadioButton, "label", "id", true, "group")
                                  << false;
    QTest::newRow("another label")
        << check << MivoField(MivoField::CheckBox, "other", "id", true, "group") << false;
    QTest::newRow("another id") << check
                                << MivoField(MivoField::CheckBox, "label", "other", true, "group")
                                << false;
    QTest::newRow("another group")
        << check << MivoField(MivoField::CheckBox, "label", "id", true, "other") << true;
    QTest::newRow("CheckBox, other state") << check << checkBox(false) << false;
    MivoField hidden = checkBox(true);
    hidden.setVisible(false);
    hidden.setReadOnly(true);
    hidden.setPressed(true);
    QTest::newRow("other flags") << check << hidden << true;

    QTest::newRow("None, other text") << textOfKind(0, "a") << textOfKind(0, "b", 1) << true;
    QTest::newRow("ComboBox, same") << comboBox(1) << comboBox(1) << true;
    QTest::newRow("ComboBox, other index") << comboBox(1) << comboBox(0) << false;
    QTest::newRow("ComboBox, other items")
        << comboBox(1) << MivoField("label", "id", QStringList() << "x", 1, "group") << false;
    QTest::newRow("RadioButton, other state")
        << MivoField(MivoField::RadioButton, "l", "i", true, "g")
        << MivoField(MivoField::RadioButton, "l", "i", false, "g") << false;
    for (const int type : {4, 8}) {
        const QByteArray kind = QByteArray("kind ") + QByteArray::number(type);
        QTest::newRow(kind + ", same") << textOfKind(type) << textOfKind(type) << true;
        QTest::newRow(kind + ", other text") << textOfKind(type) << textOfKind(type, "o") << false;
        QTest::newRow(kind + ", other length")
            << textOfKind(type) << textOfKind(type, "text", 21) << false;
    }
    QTest::newRow("TextEdit, same") << textOfKind(9) << textOfKind(9) << true;
    QTest::newRow("TextEdit, other text") << textOfKind(9) << textOfKind(9, "other") << false;
    QTest::newRow("TextEdit, other length") << textOfKind(9) << textOfKind(9, "text", 1) << true;
    QTest::newRow("SpinBox, same") << spinBox(3, 1, 2) << spinBox(3, 1, 2) << true;
    QTest::newRow("SpinBox, other maximum") << spinBox(3, 1, 2) << spinBox(4, 1, 2) << false;
    QTest::newRow("SpinBox, other minimum") << spinBox(3, 1, 2) << spinBox(3, 0, 2) << false;
    QTest::newRow("SpinBox, other value") << spinBox(3, 1, 2) << spinBox(3, 1, 3) << false;
    const MivoField doubles = doubleSpinBox(3, 1, 2);
    QTest::newRow("DoubleSpinBox, same") << doubles << doubleSpinBox(3, 1, 2) << true;
    QTest::newRow("DoubleSpinBox, other maximum") << doubles << doubleSpinBox(4, 1, 2) << false;
    QTest::newRow("DoubleSpinBox, other minimum") << doubles << doubleSpinBox(3, 0, 2) << false;
    QTest::newRow("DoubleSpinBox, last bit of the value")
        << doubles << doubleSpinBox(3, 1, 2 + 2 * std::numeric_limits<double>::epsilon()) << false;
    QTest::newRow("DoubleSpinBox, zeros of both signs")
        << doubleSpinBox(0.0, 0.0, 0.0) << doubleSpinBox(-0.0, -0.0, -0.0) << true;
    QTest::newRow("DoubleSpinBox, not a number")
        << doubleSpinBox(3, 1, qQNaN()) << doubleSpinBox(3, 1, qQNaN()) << false;
    const MivoField notANumber = doubleSpinBox(3, 1, qQNaN());
    QTest::newRow("not a number, a copy") << notANumber << notANumber << true;
}

void tst_MivoField::equalityComparesWhatTheKindHas()
{
    QFETCH(MivoField, a);
    QFETCH(MivoField, b);
    QFETCH(bool, equal);
    QCOMPARE(a == b, equal);
    QCOMPARE(b == a, equal);
    QCOMPARE(a != b, !equal);
}

void tst_MivoField::someKindsEqualOnlyTheirCopies_data()
{
    QTest::addColumn<MivoField>("field");
    QTest::addColumn<MivoField>("same");
    for (const int type : {5, 6, 7, 12, 13, 14, 15, 0x7fffffff})
        QTest::newRow(qPrintable(QString("kind %1").arg(type)))
            << textOfKind(type) << textOfKind(type);
    QTest::newRow("Label") << MivoField("l", "i", "g") << MivoField("l", "i", "g");
    QTest::newRow("image") << image("bytes") << image("bytes");
}

void tst_MivoField::someKindsEqualOnlyTheirCopies()
{
    QFETCH(MivoField, field);
    QFETCH(MivoField, same);
    QVERIFY(!(field == same));
    QVERIFY(field != same);
    const MivoField copy = field;
    QVERIFY(field == copy);
    QVERIFY(!(field != copy));
}

void tst_MivoField::aNullFieldEqualsAnEmptyOneOfKindNone()
{
    const MivoField null;
    QVERIFY(null == MivoField());
    const MivoField empty(MivoField::None, "", QString(), QString("text"), 1, "group");
    QVERIFY(null == empty);
    QVERIFY(empty == null);
    QVERIFY(null != textOfKind(0));
    QVERIFY(textOfKind(0) != null);
    const MivoField label("", "", "");
    QVERIFY(null != label);
    QVERIFY(label != null);
}

void tst_MivoField::whatNeedsARecordAssertsInADebugBuild_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<bool>("asserted");
    const auto row = [](const char* name, bool asserted, const Change& change) {
        QTest::newRow(name) << change << asserted;
    };
    row("getText", true, [](MivoField& f) { f.getText(); });
    row("getIntValue", true, [](MivoField& f) { f.getIntValue(); });
    row("getSelectedString", true, [](MivoField& f) { f.getSelectedString(); });
    row("setLabel", true, [](MivoField& f) { f.setLabel("l"); });
    row("setSpinBoxMax", true, [](MivoField& f) { f.setSpinBoxMax(1); });
    row("setReadOnly", true, [](MivoField& f) { f.setReadOnly(true); });
    row("isPressed", true, [](MivoField& f) { f.isPressed(); });
    row("getImgData", true, [](MivoField& f) { f.getImgData(); });
    row("clicked", true, [](MivoField& f) { f.clicked(); });
    row("null-safe getters", false, [](MivoField& f) {
        f.getId();
        f.getLabel();
        f.getGroup();
        f.getType();
        f.getVisible();
        f.getValue();
    });
    row("setVisible", false, [](MivoField& f) { f.setVisible(true); });
}

void tst_MivoField::whatNeedsARecordAssertsInADebugBuild()
{
#ifdef QT_NO_DEBUG
    QSKIP("a release build answers defaults");
#endif
    QFETCH(Change, change);
    QFETCH(bool, asserted);
    QCOMPARE(asserts(change), asserted);
}

void tst_MivoField::aClickPostsTheAction()
{
    Dispatcher dispatcher;
    Plugin plugin;
    MivoField button("l", "i", MivoPluginAction(&plugin, act(), QList<MivoArg>() << MivoArg(7)),
                     "g");
    button.clicked();
    QVERIFY(dispatcher.plugins.isEmpty());
    QCoreApplication::sendPostedEvents(&dispatcher);
    QCOMPARE(dispatcher.plugins, QList<MivoPlugin*>() << &plugin);
    QVERIFY(dispatcher.isAct);
    QCOMPARE(dispatcher.arguments.at(0).size(), 1);
    QCOMPARE(dispatcher.arguments.at(0).at(0).toInt(), 7);

    // No other kind has an action.
    spinBox().clicked();
    QCoreApplication::sendPostedEvents(&dispatcher);
    QCOMPARE(dispatcher.plugins.size(), 1);
}

void tst_MivoField::aPluginHasNoFieldsByDefault()
{
    const MivoPlugin plugin;
    QVERIFY(plugin.fields().isEmpty());
}

QTEST_GUILESS_MAIN(tst_MivoField)
#include "tst_mivofield.moc"
