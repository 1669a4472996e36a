#ifndef MIVOPLUGINACTION_H
#define MIVOPLUGINACTION_H

#include "MivoArg.h"

/**
 * A bound, deferred call of one member function of a plug-in, with the arguments to pass.
 *
 * Running an action never calls the plug-in: it posts a MivoCallActionEvent to
 * MivoCallActionEvent::dispatcher, from whose event loop the call is made later, in the thread of
 * the dispatcher. An action may be run from any thread. The plug-in is only pointed to; it must
 * outlive the delivery. Copies are independent values and share the argument list implicitly.
 */
class MIVO_DATA_EXPORT MivoPluginAction
{
public:
    typedef void (MivoPlugin::*Member)(QList<MivoArg>&);

    /** An action that is not valid: no plug-in, no member, no arguments. */
    MivoPluginAction();
    MivoPluginAction(MivoPlugin* plugin, Member member, const QList<MivoArg>& arguments);
    MivoPluginAction(const MivoPluginAction& other);
    /** Leaves @p other without plug-in, member and arguments. */
    MivoPluginAction(MivoPluginAction&& other) noexcept;
    ~MivoPluginAction();
    MivoPluginAction& operator=(const MivoPluginAction& other);
    MivoPluginAction& operator=(MivoPluginAction&& other) noexcept;

    /**
     * Same plug-in, same member and equal argument lists, element by element. How deep actions are
     * nested in each other's arguments does not matter.
     */
    bool operator==(const MivoPluginAction& other) const;
    bool operator!=(const MivoPluginAction& other) const;

    /** Whether there are a plug-in and a member to call; the arguments play no part. */
    bool isValid() const;

    /** The stored arguments. */
    QList<MivoArg> getActionData() const;

    /**
     * Posts the call with @p arguments. An empty list is replaced by the stored arguments, which
     * the caller then sees in it; the two lists are never merged. What the member does to the list
     * stays in the event. Does nothing, the list included, when the action is not valid.
     */
    void operator()(QList<MivoArg>& arguments);
    /** Posts the call with the stored arguments; does nothing when the action is not valid. */
    void operator()();

private:
    void post(const QList<MivoArg>& callArguments) const;
    void swap(MivoPluginAction& other) noexcept;

    MivoPlugin* plugin;
    Member member;
    QList<MivoArg> arguments;
};

Q_DECLARE_TYPEINFO(MivoPluginAction, Q_MOVABLE_TYPE);

#endif
