#ifndef MIVOTESTFORM_H
#define MIVOTESTFORM_H

#include "MivoTestOutcome.h"
#include "MivoTestText.h"

class MivoPlugin;
class MivoTestHost;

/**
 * The form of a plug-in as its user has it: fields are filled, taken over and buttons clicked.
 *
 *     MivoTestForm form = host.form(settings);
 *     form.fill("nickname", "Bob");
 *     form.apply();
 *     form.click("greet");
 *
 * What a user could not do fails the test at that line: to fill a field that is hidden or can only
 * be read, to choose an item that is not there, to pass a limit. A copy is another user's, with the
 * same values at first. It is used in the thread of the test, as long as its host exists.
 */
class MIVO_TEST_EXPORT MivoTestForm
{
public:
    MivoTestForm(const MivoTestForm& other);
    MivoTestForm& operator=(const MivoTestForm& other);
    ~MivoTestForm();

    /** As they are filled. */
    QList<MivoField> fields() const;
    /** The first of that id. Fails the test, and answers a null field, when there is none. */
    MivoField field(const QString& id, const MivoTestPlace& place = MivoTestPlace::here()) const;

    /**
     * Gives the first field of that id another value, of the kind of MivoField::getValue(); an item
     * of a combo box may be named by its text, too, and a literal is a String. A radio button that is checked unchecks the
     * others of its group.
     */
    template <class Value>
    void fill(const QString& id, const Value& value,
              const MivoTestPlace& place = MivoTestPlace::here())
    {
        fillWith(id, mivoValue(value), place);
    }

    /**
     * Gives the values to the plug-in (MivoPlugin::applyFields()), and then shows the form as the
     * plug-in answers it; fails when it refuses them.
     */
    MivoTestOutcome apply(const MivoTestPlace& place = MivoTestPlace::here());
    /**
     * Clicks the first button of that id and waits until its action has been delivered; fails when
     * there is no such button, when it has no action, and when the action throws.
     */
    MivoTestOutcome click(const QString& id, const MivoTestPlace& place = MivoTestPlace::here());
    /** Shows the form as the plug-in has it now: what was filled and not applied is gone. */
    MivoTestOutcome reload(const MivoTestPlace& place = MivoTestPlace::here());

private:
    friend class MivoTestHost;

    MivoTestForm(MivoTestHost& host, MivoPlugin* plugin, const QString& pluginName);
    void fillWith(const QString& id, const MivoArg& value, const MivoTestPlace& place);
    int find(const QString& id, QString* failure) const;
    QString whyNotFilled(int field, const MivoArg& value);

    MivoTestHost* host;
    MivoPlugin* plugin;
    QString pluginName;
    QList<MivoField> shown;
};

#endif
