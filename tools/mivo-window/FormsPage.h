#ifndef FORMSPAGE_H
#define FORMSPAGE_H

#include "Session.h"

#include <QHash>
#include <QWidget>

class MivoFormWidget;
class QTabWidget;

/** The form of one plug-in. */
class FormTab : public QWidget
{
    Q_OBJECT

public:
    FormTab(Session& session, const PluginInfo& plugin, const QList<MivoField>& fields,
            QWidget* parent = nullptr);

    /** Whether it differs from what the plug-in has and what was saved last. */
    bool isChanged() const { return changed; }

    void loadFrom(const QString& file);
    void saveTo(const QString& file);

public Q_SLOTS:
    /** Asks for a file of values. */
    void load();
    void save();
    /** Shows what the plug-in has. */
    void restore();

Q_SIGNALS:
    void failed(const QString& message);
    void changedChanged();

private:
    void setChanged(bool isChanged);

    Session& session;
    const PluginInfo plugin;
    MivoFormWidget* const form;
    bool changed = false;
};

/** The forms of all plug-ins that have one. */
class FormsPage : public QWidget
{
    Q_OBJECT

public:
    explicit FormsPage(Session& session, QWidget* parent = nullptr);

    bool isFilled() const { return hasForms; }

Q_SIGNALS:
    void failed(const QString& message);
    void filled();

private:
    void takePlugins();
    void clear();
    void add(const PluginInfo& plugin, const QList<MivoField>& fields);

    Session& session;
    QTabWidget* const tabs;
    int awaited = 0;
    bool hasForms = false;
};

#endif
