#ifndef MIVOFAKEPLUGIN_P_H
#define MIVOFAKEPLUGIN_P_H

#include "MivoFakePlugin.h"

#include <MivoPlugin.h>

#include <QHash>
#include <QMutex>
#include <QPointer>

/** What a fake knows; the test and the plug-in in the host share it. */
class MivoFakePluginPrivate
{
public:
    explicit MivoFakePluginPrivate(const QString& name);

    /** The names of one kind of slots and what they do. */
    struct Slots
    {
        QStringList names;
        QHash<QString, MivoFakePlugin::Slot> slotsByName;
    };

    void set(Slots& kind, const QString& name, const MivoFakePlugin::Slot& slot);
    QStringList namesOf(const Slots& kind) const;
    /**
     * Takes the name of a slot off @p arguments, keeps the rest and answers the slot. Throws a
     * std::invalid_argument when there is none.
     */
    MivoFakePlugin::Slot taken(const Slots& kind, const QString& what, QList<MivoArg>& arguments);
    /** A sentence on each thing that it was asked and has no slot for, since the last time. */
    QStringList takeUnexpected();

    const QString name;
    QPointer<MivoPlugin> plugin; // of the test's thread alone

    mutable QMutex mutex; // of all below
    Slots calls;
    Slots actions;
    QHash<QString, QList<QList<MivoArg>>> asked;
    QStringList unexpected;
};

/** The plug-in in the host. Its slots are those that its record names. */
class MivoFakeInHost : public MivoPlugin
{
    Q_OBJECT
    Q_CLASSINFO("MivoSlots", "by name")

public:
    explicit MivoFakeInHost(const std::shared_ptr<MivoFakePluginPrivate>& record);
    ~MivoFakeInHost() override;

    QString name() const override;
    QStringList callSlots() const override;
    QStringList actionSlots() const override;
    void callByName(MivoPlugin* sender, QList<MivoArg>& arguments) override;
    void runByName(QList<MivoArg>& arguments) override;

private:
    const std::shared_ptr<MivoFakePluginPrivate> d;
};

#endif
