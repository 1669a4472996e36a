#ifndef MIVODISPATCHER_H
#define MIVODISPATCHER_H

#include "MivoHostGlobal.h"

#include <QObject>

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

Q_SIGNALS:
    /** A member of @p plugin has been called; emitted in the dispatcher's thread. */
    void delivered(MivoPlugin* plugin);
};

#endif
