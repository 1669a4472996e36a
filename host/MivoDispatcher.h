#ifndef MIVODISPATCHER_H
#define MIVODISPATCHER_H

#include "MivoHostGlobal.h"

#include <QMutex>
#include <QObject>
#include <QSet>

class MivoPlugin;

/**
 * Delivers posted plug-in actions: it calls their members in the thread that the dispatcher lives
 * in. What a member throws is written to the host's log.
 */
class MIVO_HOST_EXPORT MivoDispatcher : public QObject
{
    Q_OBJECT

public:
    explicit MivoDispatcher(QObject* parent = nullptr);
    ~MivoDispatcher() override;

    bool event(QEvent* event) override;

    /**
     * The plug-in whose action is being delivered, null between two deliveries; it may be asked for
     * in any thread.
     */
    const MivoPlugin* servedPlugin() const;

public Q_SLOTS:
    /**
     * @p plugin is gone: what has been posted for it is dropped, with a line in the log. To be
     * called in any thread, before anything else can get its address.
     */
    void forget(QObject* plugin);

Q_SIGNALS:
    /** A member of @p plugin has been called; emitted in the dispatcher's thread. */
    void delivered(MivoPlugin* plugin);

private:
    void setServedPlugin(const MivoPlugin* plugin);
    bool hasGone(const MivoPlugin* plugin) const;

    mutable QMutex mutex;
    QSet<const QObject*> gone;
    const MivoPlugin* served;
};

#endif
