#include "FormsPage.h"

#include "DisplayText.h"
#include "Failure.h"
#include "FieldValues.h"

#include <MivoFormWidget.h>
#include <MivoXmlNode.h>

#include <QFileDialog>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScrollArea>
#include <QTabWidget>
#include <QVBoxLayout>

FormTab::FormTab(Session& usedSession, const PluginInfo& shownPlugin,
                 const QList<MivoField>& fields, QWidget* parent)
    : QWidget(parent)
    , session(usedSession)
    , plugin(shownPlugin)
    , form(new MivoFormWidget)
{
    setObjectName("form." + plugin.name);
    form->setFields(fields);
    QScrollArea* const area = new QScrollArea;
    area->setWidget(form);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    QPushButton* const loadButton = new QPushButton(tr("&Load…"));
    QPushButton* const saveButton = new QPushButton(tr("&Save…"));
    QPushButton* const restoreButton = new QPushButton(tr("&Restore"));
    loadButton->setObjectName("load");
    loadButton->setToolTip(tr("Take values from a file"));
    saveButton->setObjectName("save");
    saveButton->setToolTip(tr("Write the values to a file"));
    restoreButton->setObjectName("restore");
    restoreButton->setToolTip(tr("Show the values that the plug-in has"));

    QHBoxLayout* const buttons = new QHBoxLayout;
    buttons->addWidget(loadButton);
    buttons->addWidget(saveButton);
    buttons->addStretch();
    buttons->addWidget(restoreButton);
    QVBoxLayout* const layout = new QVBoxLayout(this);
    layout->addWidget(area, 1);
    layout->addLayout(buttons);
    connect(form, &MivoFormWidget::changed, this, [this] { setChanged(true); });
    connect(loadButton, &QPushButton::clicked, this, &FormTab::load);
    connect(saveButton, &QPushButton::clicked, this, &FormTab::save);
    connect(restoreButton, &QPushButton::clicked, this, &FormTab::restore);
}

void FormTab::setChanged(bool isChanged)
{
    changed = isChanged;
    Q_EMIT changedChanged();
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
        form->setFields(MivoField::fromXml(form->fields(), FieldValues::read(file)));
        setChanged(true);
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
        FieldValues::write(file, form->fields());
        setChanged(false);
    } catch (const Failure& failure) {
        Q_EMIT failed(failure.message());
    }
}

void FormTab::restore()
{
    session.fields(plugin, this, [this](const QList<MivoField>& fields, const QString& error) {
        if (!error.isEmpty()) {
            Q_EMIT failed(tr("The form of %1 was not restored: %2").arg(plugin.name, error));
            return;
        }
        form->setFields(fields);
        setChanged(false);
    });
}

FormsPage::FormsPage(Session& usedSession, QWidget* parent)
    : QWidget(parent)
    , session(usedSession)
    , tabs(new QTabWidget)
{
    setObjectName("forms");
    tabs->setObjectName("formTabs");
    tabs->setDocumentMode(true);
    QVBoxLayout* const layout = new QVBoxLayout(this);
    layout->addWidget(tabs);
    connect(&session, &Session::opened, this, &FormsPage::takePlugins);
    connect(&session, &Session::closing, this, &FormsPage::clear);
    takePlugins();
}

void FormsPage::clear()
{
    hasForms = false;
    while (tabs->count() > 0) {
        QWidget* const tab = tabs->widget(0);
        tabs->removeTab(0);
        delete tab;
    }
}

void FormsPage::takePlugins()
{
    clear();
    const QList<PluginInfo> plugins = session.plugins();
    awaited = int(plugins.size());
    for (const PluginInfo& plugin : plugins) {
        session.fields(
            plugin, this, [this, plugin](const QList<MivoField>& fields, const QString& error) {
                if (!error.isEmpty())
                    Q_EMIT failed(tr("The form of %1 cannot be shown: %2").arg(plugin.name, error));
                else if (!fields.isEmpty())
                    add(plugin, fields);
                if (--awaited == 0) {
                    hasForms = true;
                    Q_EMIT filled();
                }
            });
    }
}

void FormsPage::add(const PluginInfo& plugin, const QList<MivoField>& fields)
{
    const QString title = oneLine(plugin.name).replace('&', "&&");
    FormTab* const tab = new FormTab(session, plugin, fields);
    tabs->addTab(tab, title);
    connect(tab, &FormTab::failed, this, &FormsPage::failed);
    connect(tab, &FormTab::changedChanged, this, [this, tab, title] {
        tabs->setTabText(tabs->indexOf(tab), tab->isChanged() ? title + " *" : title);
    });
}
