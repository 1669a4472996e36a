#include "MivoFakePlugin.h"

#include "MivoFakePlugin_p.h"
#include "MivoTestOutcome_p.h"

#include <MivoHostLog.h>

#include <QMutexLocker>
#include <QtTest>

#include <stdexcept>

MivoFakePluginPrivate::MivoFakePluginPrivate(const QString& ownName)
    : name(ownName)
{
}

void MivoFakePluginPrivate::set(Slots& kind, const QString& slotName,
                                const MivoFakePlugin::Slot& slot)
{
    QMutexLocker locker(&mutex);
    if (!kind.names.contains(slotName))
        kind.names.append(slotName);
    kind.slotsByName.insert(slotName, slot);
}

QStringList MivoFakePluginPrivate::namesOf(const Slots& kind) const
{
    QMutexLocker locker(&mutex);
    return kind.names;
}

MivoFakePlugin::Slot MivoFakePluginPrivate::taken(const Slots& kind, const QString& what,
                                                  QList<MivoArg>& arguments)
{
    const QString slot = arguments.isEmpty() ? QString() : arguments.takeFirst().toString();
    QMutexLocker locker(&mutex);
    asked[slot].append(arguments);
    if (kind.names.contains(slot))
        return kind.slotsByName.value(slot);
    const QString known = kind.names.isEmpty()
        ? QStringLiteral("none")
        : QStringLiteral("one of: ") + kind.names.join(QLatin1String(", "));
    unexpected.append(QStringLiteral("the fake \"%1\" was asked for the %2 \"%3\"; expected %4")
                          .arg(name, what, slot, known));
    throw std::invalid_argument(unexpected.last().toStdString());
}

QStringList MivoFakePluginPrivate::takeUnexpected()
{
    QMutexLocker locker(&mutex);
    const QStringList sentences = unexpected;
    unexpected.clear();
    return sentences;
}

MivoFakeInHost::MivoFakeInHost(const std::shared_ptr<MivoFakePluginPrivate>& record)
    : d(record)
{
}

MivoFakeInHost::~MivoFakeInHost() = default;

QString MivoFakeInHost::name() const
{
    return d->name;
}

QStringList MivoFakeInHost::callSlots() const
{
    return d->namesOf(d->calls);
}

QStringList MivoFakeInHost::actionSlots() const
{
    return d->namesOf(d->actions);
}

void MivoFakeInHost::callByName(MivoPlugin*, QList<MivoArg>& arguments)
{
    try {
        const MivoFakePlugin::Slot slot = d->taken(d->calls, QStringLiteral("call"), arguments);
        if (slot)
            slot(arguments);
        arguments.prepend(MivoArg(true));
    } catch (...) {
        arguments = {MivoArg(false), MivoArg(MivoHostLog::currentException())};
    }
}

void MivoFakeInHost::runByName(QList<MivoArg>& arguments)
{
    const MivoFakePlugin::Slot slot = d->taken(d->actions, QStringLiteral("action"), arguments);
    if (slot)
        slot(arguments);
}

MivoFakePlugin::MivoFakePlugin(const QString& name)
    : d(std::make_shared<MivoFakePluginPrivate>(name))
{
}

MivoFakePlugin::~MivoFakePlugin()
{
    // What the lambdas have captured may go now.
    QMutexLocker locker(&d->mutex);
    d->calls = MivoFakePluginPrivate::Slots();
    d->actions = MivoFakePluginPrivate::Slots();
}

QString MivoFakePlugin::name() const
{
    return d->name;
}

MivoPlugin* MivoFakePlugin::plugin() const
{
    return d->plugin;
}

void MivoFakePlugin::answer(const QString& slot, const Slot& answer)
{
    d->set(d->calls, slot, answer);
}

void MivoFakePlugin::take(const QString& slot, const Slot& taken)
{
    d->set(d->actions, slot, taken);
}

QList<QList<MivoArg>> MivoFakePlugin::asked(const QString& slot) const
{
    QMutexLocker locker(&d->mutex);
    return d->asked.value(slot);
}

QList<QList<MivoArg>> MivoFakePlugin::waitFor(const QString& slot, int times, int boundMs,
                                              const MivoTestPlace& place) const
{
    const bool came = QTest::qWaitFor([&] { return asked(slot).size() >= times; }, boundMs);
    const QList<QList<MivoArg>> all = asked(slot);
    if (!came)
        mivoFail(QStringLiteral("\"%1\" of the fake \"%2\" was asked %3 times within %4 ms; "
                                "expected %5")
                     .arg(slot, d->name)
                     .arg(all.size())
                     .arg(boundMs)
                     .arg(times),
                 place);
    return all;
}
