#ifndef FORMSPAGE_H
#define FORMSPAGE_H

#include "BackgroundHost.h"

#include <QSet>
#include <QWidget>

class MivoFormWidget;
class QCheckBox;
class QPushButton;
class QTabWidget;

/**
 * The form of one plug-in. What the user has changed stays until it is handed over or given up,
 * also when the plug-in has changed the form meanwhile.
 */
class FormTab : public QWidget
{
    Q_OBJECT

public:
    FormTab(BackgroundHost& host, const PluginInfo& plugin, const QList<MivoField>& fields,
            QWidget* parent = nullptr);

    /** Whether there is something that the plug-in does not have. */
    bool isChanged() const { return !touched.isEmpty(); }
    const MivoPlugin* plugin() const { return shown.plugin; }

    void loadFrom(const QString& file);
    void saveTo(const QString& file);

public Q_SLOTS:
    /** Hands the values to the plug-in and shows the form as it then is. */
    void apply();
    /** Asks for a file of values. */
    void load();
    void save();
    /** Gives up what has been changed. */
    void restore();
    /** Shows what the plug-in has where nothing has been changed. */
    void follow();

Q_SIGNALS:
    void failed(const QString& message);
    void changedChanged();

private:
    void take(QList<MivoField> fields);
    void describe();

    BackgroundHost& host;
    const PluginInfo shown;
    MivoFormWidget* const form;
    QPushButton* const applyButton;
    QCheckBox* const withSecrets;
    QSet<QString> touched; ///< the ids of fields that the user has changed
    int requests = 0; ///< to the plug-in; only what answers the last one is shown
    bool isApplying = false;
};

/** The forms of all plug-ins that have one. */
class FormsPage : public QWidget
{
    Q_OBJECT

public:
    explicit FormsPage(BackgroundHost& host, QWidget* parent = nullptr);

    /** Whether all forms that have been asked for are shown. */
    bool isFilled() const { return awaited == 0; }

Q_SIGNALS:
    void failed(const QString& message);

private:
    void takePlugins();
    void clear();
    void ask(const PluginInfo& plugin);
    void follow(const MivoPlugin* plugin);
    void add(const PluginInfo& plugin, const QList<MivoField>& fields);

    BackgroundHost& host;
    QTabWidget* const tabs;
    int awaited = 0;
};

#endif
