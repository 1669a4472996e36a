#ifndef MIVOFORMEDITORS_P_H
#define MIVOFORMEDITORS_P_H

#include <QDoubleSpinBox>
#include <QPlainTextEdit>
#include <QRadioButton>

#include <functional>

class MivoField;
class QLabel;

/** @file
 * The editors of a MivoFormWidget that are not Qt's as they stand.
 */

/**
 * Enters a double of any size and keeps all of it: it shows as many digits as tell the number from
 * its neighbours, and steps by a power of ten that suits the limits.
 */
class MivoDoubleEditor : public QDoubleSpinBox
{
public:
    /** With the field's limits and, as near as they allow, its value. */
    explicit MivoDoubleEditor(const MivoField& field);

    /** The number that stands there, to its last bit; value() may have rounded that off. */
    double number() const;

    QString textFromValue(double value) const override;
    double valueFromText(const QString& text) const override;
    QValidator::State validate(QString& text, int& position) const override;
    void stepBy(int steps) override;

private:
    double parse(const QString& text, bool* isNumber) const;
};

/** Enters lines of text and takes no more when the limit is reached. */
class MivoTextEditor : public QPlainTextEdit
{
public:
    /** No limit if it is 0 or less. */
    MivoTextEditor(const QString& text, int longest);

    /** Called when the text has changed and keeps to the limit. */
    std::function<void()> edited;

    QSize sizeHint() const override;

    /** The text with its lines ended by line feeds, all other characters as they are. */
    QString text() const;

private:
    void keepToLimit();

    const int longest;
    int length;
    bool isDropping;
};

/** A radio button that a click never switches off, also when no other excludes it. */
class MivoRadioButton : public QRadioButton
{
public:
    using QRadioButton::QRadioButton;

protected:
    void nextCheckState() override;
};

/** The first @p longest code units of a text, one less where that would cut a character in two. */
QString mivoShortened(const QString& text, int longest);

/** A label that shows the picture in @p bytes, scaled to a size that fits among editors. */
QLabel* mivoPictureLabel(QByteArray bytes);

/** Keeps the wheel from changing a widget that has not got the focus. */
class MivoWheelGuard : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override;
};

#endif
