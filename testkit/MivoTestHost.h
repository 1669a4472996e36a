#ifndef MIVOTESTHOST_H
#define MIVOTESTHOST_H

#include "MivoTestForm.h"
#include "MivoTestOutcome.h"

class MivoFakePlugin;
class MivoHost;
class MivoPlugin;
class MivoTestHostPrivate;

/**
 * Runs plug-ins in a test as a host does: each in a thread of its own, beside the thread of a
 * dispatcher.
 *
 *     MivoTestHost host;
 *     EchoPlugin* const echo = host.add(new EchoPlugin);
 *     host.start();
 *     QCOMPARE(host.call(echo, "sum", mivoValues(40, 2)).values(), mivoValues(42));
 *
 * What goes wrong fails the test function that is running, with a sentence that names what was found
 * and what was expected, at the line of the test that asked for it; see MivoTestOutcome, also for
 * the many ways to expect a failure. Every wait is bounded.
 *
 * In the end nothing of the plug-ins may be left: the test fails for each thread that still runs,
 * each MivoTimer that has neither fired nor been stopped, and each QObject that was made in a thread
 * of the host or of a plug-in and still exists. So threads of the test's own must have ended by
 * then. A MivoTimer that has fired keeps ticking until its thread ends and is not counted, nor are
 * threads of QThreadPool and MivoGarbageCollector.
 *
 * One at a time, and used in the thread of the test, in which a QCoreApplication exists
 * (QTEST_GUILESS_MAIN). Make it before the plug-ins: timers that they start in their constructors
 * are known by their names then.
 */
class MIVO_TEST_EXPORT MivoTestHost
{
public:
    /** How long every wait is, in milliseconds, unless setBound() says otherwise. */
    static constexpr int DefaultBoundMs = 30000;

    explicit MivoTestHost(const MivoTestPlace& place = MivoTestPlace::here());
    /** Shuts down, which fails the test as shutdown() says, at the line where the host was made. */
    ~MivoTestHost();

    /** In milliseconds; calls wait 30000 at most, as they do in every host. */
    void setBound(int milliseconds);

    /** Takes over a plug-in that was made in the thread of the test; before start(). */
    template <class Plugin>
    Plugin* add(Plugin* plugin)
    {
        addPlugin(plugin);
        return plugin;
    }
    /** Adds a fake, once; before start(). */
    MivoPlugin* add(MivoFakePlugin& fake);

    /** Starts the threads and initialises the plug-ins; fails when one of them cannot work. */
    MivoTestOutcome start(const MivoTestPlace& place = MivoTestPlace::here());

    /**
     * Calls a slot by its name in the plug-in's thread. The call has been posted on return, and the
     * outcome is waited for when it is asked for its values.
     */
    MivoTestOutcome call(MivoPlugin* plugin, const QString& slot,
                         const QList<MivoArg>& arguments = QList<MivoArg>(),
                         MivoPlugin* sender = nullptr,
                         const MivoTestPlace& place = MivoTestPlace::here());
    /**
     * Posts an action by its name to the dispatcher. The outcome is there when it has been
     * delivered, without values; it has failed when the action threw.
     */
    MivoTestOutcome post(MivoPlugin* plugin, const QString& slot,
                         const QList<MivoArg>& arguments = QList<MivoArg>(),
                         const MivoTestPlace& place = MivoTestPlace::here());
    /** As post(), with an action that is there: that of a service, for instance. */
    MivoTestOutcome post(const MivoPluginAction& action,
                         const MivoTestPlace& place = MivoTestPlace::here());

    /**
     * Lets a timer of the plug-in expire now, in the plug-in's thread, whatever time it has left:
     * the MivoTimer that was first started under that name of those that run, or a QTimer of that
     * object name. Fails when there is none, and when what it calls throws.
     */
    MivoTestOutcome fireTimer(MivoPlugin* plugin, const QString& name,
                              const MivoTestPlace& place = MivoTestPlace::here());

    /** The form of the plug-in; the test fails, and it has no fields, when it cannot be made. */
    MivoTestForm form(MivoPlugin* plugin, const MivoTestPlace& place = MivoTestPlace::here());

    /**
     * Lines of the host's log since the last time. What an action that nobody waits for has thrown
     * stands there, and fails the test in the end unless it was taken.
     */
    QStringList takeLog();

    /** Objects of this class, by its QMetaObject, may be left: caches of other libraries. */
    void allowLeft(const QString& className);

    /**
     * Shuts the plug-ins down and ends the threads. Fails when one of them does not end, when
     * something of theirs is left, when a fake was asked for what it does not have, and when an
     * action threw. Has succeeded the second time.
     */
    MivoTestOutcome shutdown(const MivoTestPlace& place = MivoTestPlace::here());

    /** The host that runs them, for all that is not offered here. */
    MivoHost& host() const;

private:
    friend class MivoTestForm;
    Q_DISABLE_COPY(MivoTestHost)

    void addPlugin(MivoPlugin* plugin);

    MivoTestHostPrivate* const d;
};

#endif
