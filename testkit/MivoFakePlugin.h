#ifndef MIVOFAKEPLUGIN_H
#define MIVOFAKEPLUGIN_H

#include "MivoArg.h"
#include "MivoTestOutcome.h"

#include <functional>
#include <memory>

class MivoFakePluginPrivate;

/**
 * Stands for another plug-in, with lambdas as its slots, and keeps what it was asked:
 *
 *     MivoFakePlugin history("history");
 *     history.answer("append", [](QList<MivoArg>& arguments) { arguments = mivoValues(1); });
 *     MivoTestHost host;
 *     host.add(history);
 *
 * Other plug-ins find it by its name and call it by the names of its slots, as they do with any.
 * What the fake has no slot for is refused and fails the test: at the latest when the host is shut
 * down.
 *
 * A fake is made before its host, which it outlives; it may be given to one host. It is used in the
 * thread of the test; the lambdas run in the thread of the plug-in that it stands for, or in the
 * dispatcher's, and what they throw reaches the caller as what a plug-in throws does.
 */
class MIVO_TEST_EXPORT MivoFakePlugin
{
public:
    /** Is given the arguments, and leaves its answer in them. */
    typedef std::function<void(QList<MivoArg>& arguments)> Slot;

    explicit MivoFakePlugin(const QString& name);
    /** The plug-in itself goes with its host; from here on it has no slots. */
    ~MivoFakePlugin();

    QString name() const;
    /** Null before it is given to a host, and once that has been shut down. */
    MivoPlugin* plugin() const;

    /** Answers synchronous calls of @p slot; in place of what answered before. */
    void answer(const QString& slot, const Slot& answer);
    /** Takes actions of the name @p slot; without @p taken they are only kept. */
    void take(const QString& slot, const Slot& taken = Slot());

    /** The arguments of all calls and actions of @p slot so far, in their order. */
    QList<QList<MivoArg>> asked(const QString& slot) const;
    /**
     * Waits until @p slot has been asked @p times, and answers as asked(). Fails the test when that
     * takes longer than @p boundMs milliseconds. Meanwhile the events of the test's thread are
     * served.
     */
    QList<QList<MivoArg>> waitFor(const QString& slot, int times = 1, int boundMs = 30000,
                                  const MivoTestPlace& place = MivoTestPlace::here()) const;

private:
    friend class MivoTestHost;
    Q_DISABLE_COPY(MivoFakePlugin)

    const std::shared_ptr<MivoFakePluginPrivate> d;
};

#endif
