#include "MivoTestForm.h"

#include "MivoTestHost.h"
#include "MivoTestOutcome_p.h"

#include <MivoCallSlotTimeoutException.h>
#include <MivoField_p.h>
#include <MivoHost.h>

namespace {

/** Runs @p piece, which asks the plug-in, and answers why it has failed; null when it has not. */
template <class Piece>
QString failureOf(const QString& plugin, Piece piece)
{
    try {
        piece();
        return QString();
    } catch (const MivoHostError& error) {
        return error.message();
    } catch (const MivoCallSlotTimeoutException&) {
        return QStringLiteral("%1 has not answered in time").arg(plugin);
    }
}

} // namespace

MivoTestForm::MivoTestForm(MivoTestHost& ownHost, MivoPlugin* ownPlugin,
                           const QString& ownPluginName)
    : host(&ownHost)
    , plugin(ownPlugin)
    , pluginName(ownPluginName)
{
}

MivoTestForm::MivoTestForm(const MivoTestForm&) = default;
MivoTestForm& MivoTestForm::operator=(const MivoTestForm&) = default;
MivoTestForm::~MivoTestForm() = default;

QList<MivoField> MivoTestForm::fields() const
{
    return shown;
}

MivoField MivoTestForm::field(const QString& id, const MivoTestPlace& place) const
{
    QString failure;
    const int index = find(id, &failure);
    if (index < 0)
        mivoFail(failure, place);
    return shown.value(index);
}

void MivoTestForm::fillWith(const QString& id, const MivoArg& value, const MivoTestPlace& place)
{
    QString failure;
    const int index = find(id, &failure);
    if (index >= 0)
        failure = whyNotFilled(index, value);
    if (!failure.isNull())
        mivoFail(failure, place);
}

MivoTestOutcome MivoTestForm::apply(const MivoTestPlace& place)
{
    return MivoTestOutcome(MivoTestOutcomePrivate::finished(
        place, failureOf(pluginName, [this] { shown = host->host().applyFields(plugin, shown); })));
}

MivoTestOutcome MivoTestForm::click(const QString& id, const MivoTestPlace& place)
{
    QString failure = QStringLiteral("%1: found no button \"%2\" in the form").arg(pluginName, id);
    for (const MivoField& candidate : qAsConst(shown)) {
        if (candidate.getId() != id || candidate.getType() != MivoField::Button)
            continue;
        const MivoPluginAction action = MivoFieldPrivate::get(candidate)->action;
        if (action.isValid())
            return host->post(action, place);
        failure = QStringLiteral("%1: the button \"%2\" has no action").arg(pluginName, id);
        break;
    }
    return MivoTestOutcome(MivoTestOutcomePrivate::finished(place, failure));
}

MivoTestOutcome MivoTestForm::reload(const MivoTestPlace& place)
{
    return MivoTestOutcome(MivoTestOutcomePrivate::finished(
        place, failureOf(pluginName, [this] { shown = host->host().fields(plugin); })));
}

int MivoTestForm::find(const QString& id, QString* failure) const
{
    QStringList ids;
    for (int i = 0; i < int(shown.size()); ++i) {
        if (shown.at(i).getId() == id)
            return i;
        ids.append(shown.at(i).getId());
    }
    *failure = QStringLiteral("%1: found no field \"%2\" in the form; expected %3")
                   .arg(pluginName, id,
                        ids.isEmpty() ? QStringLiteral("that there is any")
                                      : QStringLiteral("one of: ") + ids.join(QLatin1String(", ")));
    return -1;
}

/** Fills the field, unless a user could not: then says why. */
QString MivoTestForm::whyNotFilled(int index, const MivoArg& value)
{
    MivoField& field = shown[index];
    const QString who
        = QStringLiteral("%1: the field \"%2\" cannot be filled: ").arg(pluginName, field.getId());
    const auto found = [&](const QString& expected) {
        return who + QStringLiteral("found %1; expected %2").arg(mivoTestText(value), expected);
    };
    const MivoArg::Type kind = field.getValue().getType();
    if (kind == MivoArg::None)
        return who + QStringLiteral("it has no value: ") + mivoTestText(field);
    if (!field.getVisible() || field.isReadOnly())
        return who + QStringLiteral("it is ")
            + QLatin1String(field.isReadOnly() ? "read-only" : "hidden");

    MivoArg filled;
    const QStringList items = field.getComboBoxItems();
    const bool isChoice = field.getType() == MivoField::ComboBox;
    if (isChoice && value.getType() == MivoArg::String) {
        const int item = int(items.indexOf(value.toString()));
        if (item < 0)
            return found(QStringLiteral("one of: ") + items.join(QLatin1String(", ")));
        filled = MivoArg(static_cast<unsigned int>(item));
    } else if (value.getType() == kind) {
        filled = value;
    } else {
        return found(mivoTestText(kind));
    }

    bool isWithin = true;
    if (isChoice)
        isWithin = filled.toUInt() < static_cast<unsigned int>(items.size());
    else if (field.getType() == MivoField::SpinBox)
        isWithin
            = filled.toInt() >= field.getSpinBoxMin() && filled.toInt() <= field.getSpinBoxMax();
    else if (field.getType() == MivoField::DoubleSpinBox)
        isWithin = filled.toDouble() >= field.getDoubleSpinBoxMin()
            && filled.toDouble() <= field.getDoubleSpinBoxMax();
    else if (kind == MivoArg::String && field.getMaxTextLength() > 0)
        isWithin = filled.toString().size() <= field.getMaxTextLength();
    if (!isWithin)
        return found(QStringLiteral("a value within its limits: ") + mivoTestText(field));

    MivoArg::setFieldValue(field, filled);
    if (field.getType() == MivoField::RadioButton && field.isChecked()) {
        for (int i = 0; i < int(shown.size()); ++i) {
            if (i != index && shown.at(i).getType() == MivoField::RadioButton
                && shown.at(i).getGroup() == field.getGroup())
                shown[i].setChecked(false);
        }
    }
    return QString();
}
