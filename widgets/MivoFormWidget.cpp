#include "MivoFormWidget.h"

#include "MivoField_p.h"
#include "MivoFormEditors_p.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>
#include <QTextCursor>
#include <QVBoxLayout>

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

namespace {

/** A text in which no character marks a key. */
QString literal(QString text)
{
    return text.replace(QLatin1Char('&'), QLatin1String("&&"));
}

/** The kind that is the host's convention for secrets (MivoSecret.h), of those reserved for text. */
const int secretKind = 8;

/** The same to the last bit: a NaN is like itself. */
bool isAlike(double a, double b)
{
    quint64 one = 0;
    quint64 other = 0;
    std::memcpy(&one, &a, sizeof one);
    std::memcpy(&other, &b, sizeof other);
    return one == other;
}

/** Whether the editor of the one can stay for the other: all that is shown of them is the same. */
bool isAlike(const MivoField& a, const MivoField& b)
{
    const MivoFieldPrivate* const one = MivoFieldPrivate::get(a);
    const MivoFieldPrivate* const other = MivoFieldPrivate::get(b);
    if (one == other)
        return true;
    if (!one || !other || one->type != other->type || one->label != other->label
        || one->id != other->id || one->group != other->group || one->readOnly != other->readOnly
        || one->visible != other->visible)
        return false;
    switch (int(MivoFieldPrivate::behaviourOf(one->type))) { // not all kinds have names
    case MivoField::ComboBox:
        return one->selectedIndex == other->selectedIndex
            && one->comboBoxItems == other->comboBoxItems;
    case MivoField::CheckBox:
    case MivoField::RadioButton:
        return one->checked == other->checked;
    case MivoField::LineEdit:
        return one->text == other->text && one->maxTextLength == other->maxTextLength;
    case MivoField::TextEdit:
        return one->text == other->text && a.getMaxTextLength() == b.getMaxTextLength();
    case MivoField::SpinBox:
        return one->intValue == other->intValue && one->spinBoxMin == other->spinBoxMin
            && one->spinBoxMax == other->spinBoxMax;
    case MivoField::DoubleSpinBox:
        return isAlike(one->doubleValue, other->doubleValue)
            && isAlike(one->doubleSpinBoxMin, other->doubleSpinBoxMin)
            && isAlike(one->doubleSpinBoxMax, other->doubleSpinBoxMax);
    default:
        return one->imgData == other->imgData; // a button's action is asked for when it is clicked
    }
}

bool areAlike(const QList<MivoField>& some, const QList<MivoField>& others)
{
    return some.size() == others.size()
        && std::equal(some.begin(), some.end(), others.begin(),
                      [](const MivoField& a, const MivoField& b) { return isAlike(a, b); });
}

/** Where the user stands in the editor that has the focus. */
struct Typing
{
    QString id; ///< of the field; null when no editor has the focus
    QString text;
    int anchor = 0;
    int position = 0;

    static Typing in(const QWidget* form)
    {
        Typing typing;
        const QWidget* const focused = QApplication::focusWidget();
        if (!focused || !form->isAncestorOf(focused))
            return typing;
        typing.id = focused->objectName();
        if (const auto* const line = qobject_cast<const QLineEdit*>(focused)) {
            typing.text = line->text();
            typing.position = line->cursorPosition();
            const int start = line->selectionStart();
            typing.anchor = start < 0      ? typing.position
                : start == typing.position ? start + line->selectionLength()
                                           : start;
        } else if (const auto* const text = qobject_cast<const QPlainTextEdit*>(focused)) {
            typing.text = text->toPlainText();
            typing.position = text->textCursor().position();
            typing.anchor = text->textCursor().anchor();
        }
        return typing;
    }

    /** Puts the user there again. Where another text stands the cursor is left at its place. */
    void resumeIn(const QWidget* form) const
    {
        QWidget* const editor = id.isEmpty() ? nullptr : form->findChild<QWidget*>(id);
        if (!editor)
            return;
        editor->setFocus();
        if (auto* const line = qobject_cast<QLineEdit*>(editor)) {
            if (line->text() == text) {
                line->setCursorPosition(anchor);
                line->cursorForward(true, position - anchor);
            }
        } else if (auto* const edit = qobject_cast<QPlainTextEdit*>(editor)) {
            if (edit->toPlainText() == text) {
                QTextCursor cursor = edit->textCursor();
                cursor.setPosition(anchor);
                cursor.setPosition(position, QTextCursor::KeepAnchor);
                edit->setTextCursor(cursor);
            }
        }
    }
};

/** Whether both hold the same; to a QVariant doubles that are close may be equal. */
bool isSame(const QVariant& a, const QVariant& b)
{
    return a.userType() == QMetaType::Double ? a.toDouble() == b.toDouble() : a == b;
}

/** From now on no two buttons of the group are checked; at most one is. */
void exclude(QButtonGroup* group)
{
    group->setExclusive(true);
    // A group knows which one is checked if it was exclusive when the button came.
    const QList<QAbstractButton*> buttons = group->buttons();
    for (QAbstractButton* const button : buttons) {
        group->removeButton(button);
        group->addButton(button);
    }
}

} // namespace

class MivoFormWidgetPrivate
{
public:
    explicit MivoFormWidgetPrivate(MivoFormWidget* widget);

    /** What one field is edited with. */
    struct Editor
    {
        QWidget* widget = nullptr; ///< null for a kind without one
        bool isCaptioned = false; ///< it shows the label itself
        std::function<QVariant()> value; ///< what it shows; empty where there is nothing to edit
        std::function<void(MivoField& field, const QVariant& value)> write;
        QVariant lastValue;
        bool isExact = true; ///< what it shows is the field's value
    };

    void build();
    QWidget* buildGroup(const QString& group, const std::vector<int>& members);
    void buildEditor(int i);
    void buildRadioButton(int i, QButtonGroup*& exclusion);

    /** Takes over what stands in these editors, and says what has changed. */
    void takeOver(const std::vector<int>& indexes, bool isTyped = false);
    /** Has the editor's signal lead to takeOver(). */
    template <class Widget, class Signal>
    void watch(int i, const Widget* widget, Signal signal, bool isTyped = false)
    {
        QObject::connect(widget, signal, watcher.get(),
                         [this, i, isTyped] { takeOver({i}, isTyped); });
    }

    MivoFormWidget* const q;
    QList<MivoField> fields;
    std::vector<Editor> editors; ///< one for each field
    QWidget* content = nullptr;
    /** The receiver of all signals: what its connections lead to goes with it. */
    std::unique_ptr<QObject> watcher;
    MivoWheelGuard wheelGuard;
};

MivoFormWidgetPrivate::MivoFormWidgetPrivate(MivoFormWidget* widget)
    : q(widget)
{
}

void MivoFormWidgetPrivate::build()
{
    watcher = std::make_unique<QObject>();
    editors.assign(std::size_t(fields.size()), Editor());
    content = new QWidget(q);
    QVBoxLayout* const boxes = new QVBoxLayout(content);
    boxes->setContentsMargins(0, 0, 0, 0);

    QStringList groups;
    QHash<QString, std::vector<int>> members;
    for (int i = 0; i < fields.size(); ++i) {
        const QString group = fields.at(i).getGroup();
        if (!members.contains(group))
            groups.append(group);
        members[group].push_back(i);
    }
    for (const QString& group : std::as_const(groups))
        boxes->addWidget(buildGroup(group, members.value(group)));
    boxes->addStretch();
    q->layout()->addWidget(content);
}

QWidget* MivoFormWidgetPrivate::buildGroup(const QString& group, const std::vector<int>& members)
{
    QWidget* const box = group.isEmpty() ? new QWidget : new QGroupBox(literal(group));
    QFormLayout* const rows = new QFormLayout(box);
    rows->setRowWrapPolicy(QFormLayout::WrapLongRows);
    rows->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);

    QButtonGroup* exclusion = nullptr;
    bool isAnyVisible = false;
    for (const int i : members) {
        const MivoField& field = fields.at(i);
        Editor& editor = editors[std::size_t(i)];
        if (field.getType() == MivoField::RadioButton)
            buildRadioButton(i, exclusion);
        else
            buildEditor(i);
        if (!editor.widget)
            continue;
        editor.widget->setObjectName(field.getId());
        if (!field.getLabel().isEmpty())
            editor.widget->setAccessibleName(field.getLabel());
        if (editor.value) {
            editor.lastValue = editor.value();
            if (!editor.isExact)
                editor.widget->setToolTip(MivoFormWidget::tr("This cannot be shown as it is. It "
                                                             "stays so until you change it."));
            editor.widget->setFocusPolicy(Qt::StrongFocus); // the wheel does not give the focus
            editor.widget->installEventFilter(&wheelGuard);
        }
        QLabel* label = nullptr;
        if (editor.isCaptioned) {
            rows->addRow(editor.widget);
        } else {
            label = new QLabel(literal(field.getLabel()));
            label->setTextFormat(Qt::PlainText);
            label->setBuddy(editor.widget);
            rows->addRow(label, editor.widget);
        }
        if (field.getVisible()) {
            isAnyVisible = true;
        } else {
            editor.widget->hide();
            if (label)
                label->hide();
        }
    }
    if (exclusion) {
        int checked = 0;
        const QList<QAbstractButton*> buttons = exclusion->buttons();
        for (const QAbstractButton* const button : buttons)
            checked += button->isChecked();
        if (checked <= 1)
            exclude(exclusion);
    }
    box->setVisible(isAnyVisible);
    return box;
}

void MivoFormWidgetPrivate::buildRadioButton(int i, QButtonGroup*& exclusion)
{
    const MivoField& field = fields.at(i);
    Editor& editor = editors[std::size_t(i)];
    MivoRadioButton* const radio = new MivoRadioButton(literal(field.getLabel()));
    radio->setAutoExclusive(false); // the group excludes, once one is touched
    radio->setChecked(field.isChecked());
    radio->setEnabled(!field.isReadOnly());
    editor.widget = radio;
    editor.isCaptioned = true;
    editor.value = [radio] { return radio->isChecked(); };
    editor.write
        = [](MivoField& written, const QVariant& value) { written.setChecked(value.toBool()); };
    if (field.isReadOnly())
        return;

    if (!exclusion) {
        exclusion = new QButtonGroup(content);
        exclusion->setExclusive(false);
    }
    exclusion->addButton(radio);
    // They change together, before anybody is told.
    const QString group = field.getGroup();
    const auto takeOverGroup = [this, group] {
        std::vector<int> radios;
        for (int j = 0; j < fields.size(); ++j) {
            if (fields.at(j).getType() == MivoField::RadioButton
                && fields.at(j).getGroup() == group)
                radios.push_back(j);
        }
        takeOver(radios);
    };
    const auto touch = [exclusion, radio, takeOverGroup] {
        if (!exclusion->exclusive()) {
            const QList<QAbstractButton*> buttons = exclusion->buttons();
            for (QAbstractButton* const button : buttons) {
                const QSignalBlocker blocker(button);
                button->setChecked(button == radio);
            }
            exclude(exclusion);
        }
        takeOverGroup();
    };
    // A click on a button that is checked already touches the group too.
    QObject::connect(radio, &QRadioButton::toggled, watcher.get(), touch);
    QObject::connect(radio, &QRadioButton::clicked, watcher.get(), touch);
}

void MivoFormWidgetPrivate::buildEditor(int i)
{
    const MivoField& field = fields.at(i);
    if (field.isNull())
        return;
    Editor& editor = editors[std::size_t(i)];
    const bool isReadOnly = field.isReadOnly();
    switch (int(MivoFieldPrivate::behaviourOf(field.getType()))) { // not all kinds have names
    case MivoField::ComboBox: {
        QComboBox* const box = new QComboBox;
        box->addItems(field.getComboBoxItems());
        const unsigned index = field.getSelectedIndex();
        box->setCurrentIndex(index < unsigned(box->count()) ? int(index) : -1);
        box->setEnabled(!isReadOnly);
        editor.widget = box;
        editor.isExact = box->currentIndex() >= 0;
        editor.value = [box] { return box->currentIndex(); };
        editor.write = [](MivoField& written, const QVariant& value) {
            written.setSelectedIndex(unsigned(value.toInt()));
        };
        watch(i, box, QOverload<int>::of(&QComboBox::currentIndexChanged));
        break;
    }
    case MivoField::CheckBox: {
        QCheckBox* const box = new QCheckBox(literal(field.getLabel()));
        box->setChecked(field.isChecked());
        box->setEnabled(!isReadOnly);
        editor.widget = box;
        editor.isCaptioned = true;
        editor.value = [box] { return box->isChecked(); };
        editor.write
            = [](MivoField& written, const QVariant& value) { written.setChecked(value.toBool()); };
        watch(i, box, &QCheckBox::toggled);
        break;
    }
    case MivoField::LineEdit: {
        QLineEdit* const line = new QLineEdit;
        const int longest = field.getMaxTextLength();
        line->setMaxLength(longest > 0 ? longest : std::numeric_limits<int>::max());
        line->setText(mivoShortened(field.getText(), longest));
        line->setCursorPosition(0);
        line->setReadOnly(isReadOnly);
        if (int(field.getType()) == secretKind)
            line->setEchoMode(QLineEdit::Password);
        editor.widget = line;
        editor.isExact = line->text() == field.getText();
        editor.value = [line] { return line->text(); };
        editor.write
            = [](MivoField& written, const QVariant& value) { written.setText(value.toString()); };
        watch(i, line, &QLineEdit::textChanged);
        break;
    }
    case MivoField::TextEdit: {
        MivoTextEditor* const text = new MivoTextEditor(field.getText(), field.getMaxTextLength());
        text->setReadOnly(isReadOnly);
        editor.widget = text;
        editor.isExact = text->text() == field.getText();
        editor.value = [text] { return text->text(); };
        editor.write
            = [](MivoField& written, const QVariant& value) { written.setText(value.toString()); };
        const QPointer<QObject> form(watcher.get());
        text->edited = [this, form, i] {
            if (form)
                takeOver({i});
        };
        break;
    }
    case MivoField::SpinBox: {
        QSpinBox* const box = new QSpinBox;
        const int value = field.getIntValue();
        if (field.getSpinBoxMin() <= field.getSpinBoxMax()) {
            box->setRange(field.getSpinBoxMin(), field.getSpinBoxMax());
        } else {
            box->setRange(value, value); // there is nothing to enter
            box->setEnabled(false);
        }
        box->setValue(value);
        box->setReadOnly(isReadOnly);
        editor.widget = box;
        editor.isExact = box->value() == value;
        editor.value = [box] { return box->value(); };
        editor.write = [](MivoField& written, const QVariant& changed) {
            written.setIntValue(changed.toInt());
        };
        watch(i, box, QOverload<int>::of(&QSpinBox::valueChanged));
        watch(i, box->findChild<QLineEdit*>(), &QLineEdit::textEdited, true);
        break;
    }
    case MivoField::DoubleSpinBox: {
        MivoDoubleEditor* const box = new MivoDoubleEditor(field);
        const double minimum = field.getDoubleSpinBoxMin();
        const double maximum = field.getDoubleSpinBoxMax();
        box->setReadOnly(isReadOnly);
        editor.widget = box;
        editor.isExact = box->number() == field.getDoubleValue();
        editor.value = [box] { return box->number(); };
        editor.write = [minimum, maximum](MivoField& written, const QVariant& value) {
            double number = value.toDouble();
            // The editor's own limits are rounded where they are close to zero.
            if (number < minimum)
                number = minimum;
            if (number > maximum)
                number = maximum;
            written.setDoubleValue(number);
        };
        watch(i, box, QOverload<double>::of(&QDoubleSpinBox::valueChanged));
        watch(i, box->findChild<QLineEdit*>(), &QLineEdit::textEdited, true);
        break;
    }
    case MivoField::Label: {
        QLabel* const label = new QLabel(field.getLabel());
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        editor.widget = label;
        editor.isCaptioned = true;
        break;
    }
    case MivoFieldPrivate::Image:
        editor.widget = mivoPictureLabel(MivoFieldPrivate::get(field)->imgData);
        editor.isCaptioned = true;
        break;
    case MivoField::Button: {
        QPushButton* const button = new QPushButton(literal(field.getLabel()));
        button->setAutoDefault(false);
        button->setEnabled(!isReadOnly);
        editor.widget = button;
        editor.isCaptioned = true;
        QObject::connect(button, &QPushButton::clicked, watcher.get(), [this, i] {
            MivoField clicked = fields.at(i);
            clicked.clicked();
        });
        break;
    }
    default:
        break;
    }
}

void MivoFormWidgetPrivate::takeOver(const std::vector<int>& indexes, bool isTyped)
{
    QStringList ids;
    for (const int i : indexes) {
        Editor& editor = editors[std::size_t(i)];
        const QVariant value = editor.value();
        if (isSame(value, editor.lastValue) && (editor.isExact || !isTyped))
            continue;
        editor.lastValue = value;
        editor.isExact = true;
        editor.widget->setToolTip(QString());
        editor.write(fields[i], value);
        ids.append(fields.at(i).getId());
    }
    // A receiver may show another form, or delete this one.
    const QPointer<MivoFormWidget> form(q);
    for (const QString& id : std::as_const(ids)) {
        if (form)
            Q_EMIT form->changed(id);
    }
}

MivoFormWidget::MivoFormWidget(QWidget* parent)
    : QWidget(parent)
    , d(new MivoFormWidgetPrivate(this))
{
    QVBoxLayout* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
}

MivoFormWidget::~MivoFormWidget() = default;

QList<MivoField> MivoFormWidget::fields() const
{
    return d->fields;
}

void MivoFormWidget::setFields(const QList<MivoField>& fields)
{
    if (d->content && areAlike(fields, d->fields)) {
        d->fields = fields; // whoever types goes on
        return;
    }
    Typing typing;
    if (d->content) {
        typing = Typing::in(d->content);
        // One of the old editors may be what has led here: it goes when it has returned, and is not
        // to be found by its name until then.
        d->watcher.reset();
        for (const MivoFormWidgetPrivate::Editor& editor : d->editors) {
            if (editor.widget)
                editor.widget->setObjectName(QString());
        }
        d->content->hide();
        layout()->removeWidget(d->content);
        d->content->deleteLater();
    }
    d->fields = fields;
    d->build();
    d->content->show();
    typing.resumeIn(d->content);
}
