#include "FormsPage.h"

#include "DisplayText.h"
#include "Failure.h"
#include "FieldValues.h"

#include <MivoFormWidget.h>
#include <MivoSecret.h>
#include <MivoXmlNode.h>

#include <QCheckBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScrollArea>
#include <QTabWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

QString titleOf(const PluginInfo& plugin)
{
    return oneLine(plugin.name).replace('&', "&&");
}

} // namespace

FormTab::FormTab(BackgroundHost& usedHost, const PluginInfo& shownPlugin,
                 const QList<MivoField>& fields, QWidget* parent)
    : QWidget(parent)
    , host(usedHost)
    , shown(shownPlugin)
    , form(new MivoFormWidget)
    , applyButton(new QPushButton(tr("A&pply")))
    , withSecrets(new QCheckBox(tr("Save pass&words too")))
{
    setObjectName("form." + shown.name);
    form->setFields(fields);
    QScrollArea* const area = new QScrollArea;
    area->setWidget(form);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    QPushButton* const loadButton = new QPushButton(tr("&Load…"));
    QPushButton* const saveButton = new QPushButton(tr("Save &as…"));
    QPushButton* const restoreButton = new QPushButton(tr("Res&tore"));
    applyButton->setObjectName("apply");
    applyButton->setToolTip(tr("Hand the values to the plug-in"));
    loadButton->setObjectName("load");
    loadButton->setToolTip(tr("Take values from a file"));
    saveButton->setObjectName("save");
    saveButton->setToolTip(tr("Write the values to a file"));
    withSecrets->setObjectName("withSecrets");
    restoreButton->setObjectName("restore");
    restoreButton->setToolTip(tr("Show the values that the plug-in has"));

    QHBoxLayout* const buttons = new QHBoxLayout;
    buttons->addWidget(loadButton);
    buttons->addWidget(saveButton);
    buttons->addWidget(withSecrets);
    buttons->addStretch();
    buttons->addWidget(restoreButton);
    buttons->addWidget(applyButton);
    QVBoxLayout* const layout = new QVBoxLayout(this);
    layout->addWidget(area, 1);
    layout->addLayout(buttons);
    connect(form, &MivoFormWidget::changed, this, [this](const QString& id) {
        touched.insert(id);
        describe();
    });
    connect(applyButton, &QPushButton::clicked, this, &FormTab::apply);
    connect(loadButton, &QPushButton::clicked, this, &FormTab::load);
    connect(saveButton, &QPushButton::clicked, this, &FormTab::save);
    connect(restoreButton, &QPushButton::clicked, this, &FormTab::restore);
    describe();
}

void FormTab::describe()
{
    const QList<MivoField> fields = form->fields();
    withSecrets->setVisible(std::any_of(fields.begin(), fields.end(), mivoIsSecret));
    applyButton->setEnabled(isChanged() && !isApplying);
    Q_EMIT changedChanged();
}

/** Shows a form of the plug-in, with what the user has changed in place of its values. */
void FormTab::take(QList<MivoField> fields)
{
    const QList<MivoField> before = form->fields();
    for (MivoField& field : fields) {
        if (!touched.contains(field.getId()))
            continue;
        for (const MivoField& changed : before) {
            if (changed.getId() == field.getId() && changed.getType() == field.getType())
                MivoArg::setFieldValue(field, changed.getValue());
        }
    }
    form->setFields(fields);
    describe();
}

void FormTab::apply()
{
    isApplying = true;
    const QSet<QString> applied = touched;
    touched.clear();
    describe();
    const int request = ++requests;
    host.applyFields(shown, form->fields(), this,
                     [this, applied, request](const FormAnswer& answer) {
                         isApplying = false;
                         if (!answer.error.isEmpty()) {
                             touched += applied;
                             describe();
                             Q_EMIT failed(answer.error);
                         } else if (request == requests) {
                             take(answer.fields);
                         } else {
                             describe(); // a later answer is on its way
                         }
                     });
}

void FormTab::load()
{
    QFileDialog* const dialog = new QFileDialog(this, tr("Load values into the form"));
    dialog->setObjectName("loadValues");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    connect(dialog, &QFileDialog::fileSelected, this, &FormTab::loadFrom);
    dialog->open();
}

void FormTab::loadFrom(const QString& file)
{
    try {
        const QList<MivoField> before = form->fields();
        const QList<MivoField> loaded = MivoField::fromXml(before, FieldValues::read(file));
        for (int i = 0; i < loaded.size(); ++i) {
            if (!(loaded.at(i).getValue() == before.at(i).getValue()))
                touched.insert(loaded.at(i).getId());
        }
        form->setFields(loaded);
        describe();
    } catch (const Failure& failure) {
        Q_EMIT failed(failure.message());
    }
}

void FormTab::save()
{
    QFileDialog* const dialog = new QFileDialog(this, tr("Save the values of the form"));
    dialog->setObjectName("saveValues");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix("xml");
    connect(dialog, &QFileDialog::fileSelected, this, &FormTab::saveTo);
    dialog->open();
}

void FormTab::saveTo(const QString& file)
{
    try {
        FieldValues::write(file, form->fields(),
                           withSecrets->isChecked() ? FieldValues::WithSecrets
                                                    : FieldValues::WithoutSecrets);
    } catch (const Failure& failure) {
        Q_EMIT failed(failure.message());
    }
}

void FormTab::restore()
{
    const int request = ++requests;
    host.fields(shown, this, [this, request](const FormAnswer& answer) {
        if (!answer.error.isEmpty()) {
            Q_EMIT failed(tr("The form was not restored: %1").arg(answer.error));
            return;
        }
        if (request != requests)
            return;
        touched.clear();
        take(answer.fields);
    });
}

void FormTab::follow()
{
    const int request = ++requests;
    host.fields(shown, this, [this, request](const FormAnswer& answer) {
        if (answer.error.isEmpty() && request == requests)
            take(answer.fields);
    });
}

FormsPage::FormsPage(BackgroundHost& usedHost, QWidget* parent)
    : QWidget(parent)
    , host(usedHost)
    , tabs(new QTabWidget)
{
    setObjectName("forms");
    tabs->setObjectName("formTabs");
    tabs->setDocumentMode(true);
    QVBoxLayout* const layout = new QVBoxLayout(this);
    layout->addWidget(tabs);
    connect(&host, &BackgroundHost::opened, this, &FormsPage::takePlugins);
    connect(&host, &BackgroundHost::closing, this, &FormsPage::clear);
    connect(&host, &BackgroundHost::formChanged, this, &FormsPage::follow);
    takePlugins();
}

void FormsPage::clear()
{
    awaited = 0;
    while (tabs->count() > 0) {
        QWidget* const tab = tabs->widget(0);
        tabs->removeTab(0);
        delete tab;
    }
}

void FormsPage::takePlugins()
{
    clear();
    for (const PluginInfo& plugin : host.plugins())
        ask(plugin);
}

void FormsPage::ask(const PluginInfo& plugin)
{
    ++awaited;
    host.fields(plugin, this, [this, plugin](const FormAnswer& answer) {
        if (host.plugins().isEmpty() || host.plugins().first().generation != plugin.generation)
            return; // of plug-ins that have been stopped
        --awaited;
        if (!answer.error.isEmpty())
            Q_EMIT failed(tr("A form cannot be shown: %1").arg(answer.error));
        else if (!answer.fields.isEmpty())
            add(plugin, answer.fields);
    });
}

void FormsPage::follow(const MivoPlugin* plugin)
{
    for (int i = 0; i < tabs->count(); ++i) {
        FormTab* const tab = qobject_cast<FormTab*>(tabs->widget(i));
        if (tab && tab->plugin() == plugin) {
            tab->follow();
            return;
        }
    }
    // One that had no form so far.
    for (const PluginInfo& known : host.plugins()) {
        if (known.plugin == plugin)
            ask(known);
    }
}

void FormsPage::add(const PluginInfo& plugin, const QList<MivoField>& fields)
{
    for (int i = 0; i < tabs->count(); ++i) {
        FormTab* const tab = qobject_cast<FormTab*>(tabs->widget(i));
        if (tab && tab->plugin() == plugin.plugin) {
            tab->follow(); // it had been asked for twice
            return;
        }
    }
    const QString title = titleOf(plugin);
    FormTab* const tab = new FormTab(host, plugin, fields);
    tabs->addTab(tab, title);
    connect(tab, &FormTab::failed, this, &FormsPage::failed);
    connect(tab, &FormTab::changedChanged, this, [this, tab, title] {
        tabs->setTabText(tabs->indexOf(tab), tab->isChanged() ? title + " *" : title);
    });
}
