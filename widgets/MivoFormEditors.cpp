#include "MivoFormEditors_p.h"

#include "MivoField.h"

#include <QBuffer>
#include <QButtonGroup>
#include <QEvent>
#include <QImageReader>
#include <QLabel>
#include <QLocale>
#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace {

const double largest = DBL_MAX;

/** Pictures of more pixels are not worth their memory here. */
const qint64 mostPixels = qint64(64) * 1000 * 1000;
const QSize largestPicture(320, 160);
const QSize smallestPicture(64, 64);

/** A hundredth of the range, as a power of ten; 1 where the limits are far apart. */
double stepWithin(double minimum, double maximum)
{
    const double hundredth = maximum / 100 - minimum / 100;
    if (hundredth >= 1 || hundredth <= 0)
        return 1;
    return std::pow(10, std::floor(std::log10(hundredth) + 1e-9));
}

} // namespace

MivoDoubleEditor::MivoDoubleEditor(const MivoField& field)
{
    const double value = field.getDoubleValue();
    // An infinite limit is none, nor is a NaN.
    const double low = std::isnan(field.getDoubleSpinBoxMin())
        ? -largest
        : std::fmax(field.getDoubleSpinBoxMin(), -largest);
    const double high = std::isnan(field.getDoubleSpinBoxMax())
        ? largest
        : std::fmin(field.getDoubleSpinBoxMax(), largest);

    setDecimals(DBL_MAX_10_EXP + DBL_DIG); // so many that rounding to them changes next to nothing
    if (low > high || !std::isfinite(low) || !std::isfinite(high)) {
        // There is nothing to enter: the value is shown as it is.
        setRange(0, 0);
        setSpecialValueText(textFromValue(value));
        setEnabled(false);
        return;
    }
    setRange(low, high);
    setSingleStep(stepWithin(low, high));
    setValue(std::isnan(value) ? 0 : std::fmin(std::fmax(value, low), high));
}

double MivoDoubleEditor::number() const
{
    bool isNumber = false;
    const double entered = parse(text(), &isNumber);
    return isNumber && entered >= minimum() && entered <= maximum() ? entered : value();
}

QString MivoDoubleEditor::textFromValue(double value) const
{
    QLocale numbers = locale();
    numbers.setNumberOptions(QLocale::OmitGroupSeparator);
    const double size = std::fabs(value);
    const bool isPlain = size == 0 || (size >= 1e-5 && size < 1e15);
    return numbers.toString(value, isPlain ? 'f' : 'g', QLocale::FloatingPointShortest);
}

double MivoDoubleEditor::valueFromText(const QString& text) const
{
    bool isNumber = false;
    const double number = parse(text, &isNumber);
    return isNumber ? number : value();
}

QValidator::State MivoDoubleEditor::validate(QString& text, int&) const
{
    bool isNumber = false;
    const double number = parse(text, &isNumber);
    if (isNumber && number >= minimum() && number <= maximum())
        return QValidator::Acceptable;
    // What may become one when more is typed.
    const QLocale numbers = locale();
    const QString allowed = QStringLiteral("+-eE .,") + numbers.decimalPoint()
        + numbers.negativeSign() + numbers.positiveSign() + numbers.exponential();
    for (const QChar character : std::as_const(text)) {
        if (!character.isDigit() && !allowed.contains(character))
            return QValidator::Invalid;
    }
    return QValidator::Intermediate;
}

void MivoDoubleEditor::stepBy(int steps)
{
    interpretText();
    // As many digits as a double surely has: 0.1 and 0.2 make 0.3.
    const QString sum = QString::number(value() + steps * singleStep(), 'g', DBL_DIG);
    setValue(std::fmin(std::fmax(sum.toDouble(), minimum()), maximum()));
    selectAll();
}

double MivoDoubleEditor::parse(const QString& text, bool* isNumber) const
{
    QLocale numbers = locale();
    numbers.setNumberOptions(QLocale::RejectGroupSeparator);
    const double number = numbers.toDouble(text.trimmed(), isNumber);
    *isNumber = *isNumber && std::isfinite(number);
    return number;
}

MivoTextEditor::MivoTextEditor(const QString& text, int longestText)
    : longest(longestText)
    , length(0)
    , isDropping(false)
{
    setTabChangesFocus(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    setPlainText(mivoShortened(text, longest));
    length = document()->characterCount() - 1;
    connect(document(), &QTextDocument::contentsChanged, this, [this] { keepToLimit(); });
}

QSize MivoTextEditor::sizeHint() const
{
    const int lines = 5;
    return {QPlainTextEdit::sizeHint().width(),
            fontMetrics().lineSpacing() * lines + 2 * int(document()->documentMargin())
                + 2 * frameWidth()};
}

QString MivoTextEditor::text() const
{
    // Not toPlainText(), which turns no-break spaces into others.
    QString raw = document()->toRawText();
    for (QChar& character : raw) {
        if (character == QChar::ParagraphSeparator || character == QChar::LineSeparator)
            character = QLatin1Char('\n');
    }
    return raw;
}

void MivoTextEditor::keepToLimit()
{
    if (isDropping)
        return;
    const int excess = document()->characterCount() - 1 - std::max(longest, length);
    if (longest > 0 && excess > 0) {
        // What has just been entered stands before the cursor.
        QTextCursor cursor = textCursor();
        int start = std::max(0, cursor.position() - excess);
        if (start > 0 && document()->characterAt(start).isLowSurrogate()
            && document()->characterAt(start - 1).isHighSurrogate())
            --start;
        isDropping = true;
        cursor.joinPreviousEditBlock();
        cursor.setPosition(start, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        cursor.endEditBlock();
        isDropping = false;
    }
    length = document()->characterCount() - 1;
    if (edited)
        edited();
}

void MivoRadioButton::nextCheckState()
{
    // An exclusive group comes this way to switch off the button that was checked before.
    setChecked(!group() || !group()->exclusive() || !isChecked());
}

QString mivoShortened(const QString& text, int longest)
{
    if (longest <= 0 || text.size() <= longest)
        return text;
    const bool cutsPair
        = text.at(longest - 1).isHighSurrogate() && text.at(longest).isLowSurrogate();
    return text.left(cutsPair ? longest - 1 : longest);
}

QLabel* mivoPictureLabel(QByteArray bytes)
{
    QLabel* const label = new QLabel;
    QBuffer device(&bytes);
    device.open(QIODevice::ReadOnly);
    QImageReader reader(&device);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    QImage image;
    if (qint64(size.width()) * size.height() <= mostPixels)
        image = reader.read();
    if (image.isNull()) {
        label->setText(QLabel::tr("This picture cannot be shown."));
        label->setEnabled(false);
        return label;
    }
    const auto fits
        = [&](QSize box) { return image.width() <= box.width() && image.height() <= box.height(); };
    QSize shown = image.size();
    if (!fits(largestPicture))
        shown.scale(largestPicture, Qt::KeepAspectRatio);
    else if (fits(smallestPicture))
        shown.scale(smallestPicture, Qt::KeepAspectRatio);
    label->setPixmap(QPixmap::fromImage(image));
    label->setScaledContents(true);
    label->setFixedSize(shown.expandedTo(QSize(1, 1)));
    return label;
}

bool MivoWheelGuard::eventFilter(QObject* watched, QEvent* event)
{
    const QWidget* const widget = qobject_cast<QWidget*>(watched);
    if (event->type() != QEvent::Wheel || !widget || widget->hasFocus())
        return false;
    event->ignore(); // goes on to the area that scrolls
    return true;
}
