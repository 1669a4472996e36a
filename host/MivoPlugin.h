#ifndef MIVOPLUGIN_H
#define MIVOPLUGIN_H

#include "MivoArg.h"
#include "MivoBuddy.h"
#include "MivoHostGlobal.h"

#include <QObject>
#include <QtPlugin>

class MivoField;
class MivoHost;
class MivoService;

/** The plug-in interface; a host loads only plug-ins that were built for its own. */
#define MIVO_PLUGIN_INTERFACE 2
#define MivoPlugin_iid "MivoPlugin/2"

/**
 * Stands once in a source of every plug-in: the @p Class of the plug-in that is built as @p name. On
 * Qt 4.8 it makes the plug-in's entrance and Q_PLUGIN_METADATA() says nothing; on later ones it is
 * the other way round.
 */
#if QT_VERSION < 0x050000
#define MIVO_EXPORT_PLUGIN(name, Class) Q_EXPORT_PLUGIN2(name, Class)
#define Q_PLUGIN_METADATA(metaData)
#else
#define MIVO_EXPORT_PLUGIN(name, Class)
#endif

/**
 * The base of all plug-ins.
 *
 * A plug-in is a QObject that lives in the thread which the host gives it, together with what it
 * creates there. Its slots of two shapes can be called by name:
 *
 *     void slot(MivoPlugin* sender, QList<MivoArg>& arguments);
 *     void slot(QList<MivoArg>& arguments);
 *
 * The first is a synchronous call, which runs in the plug-in's own thread and answers by what it
 * leaves in the arguments. The second is an action, which runs in the dispatcher's thread and
 * answers nothing. What a slot throws is caught by the host: the caller is told, or the host's log.
 *
 * A plug-in whose slots are known at run time alone overrides callSlots(), actionSlots(),
 * callByName() and runByName(), and says so by Q_CLASSINFO("MivoSlots", "by name"): the host then
 * passes every name on.
 *
 * A plug-in belongs to its host, which deletes it in its thread; one that deletes itself is
 * reported and never used again. What its constructor, name(), version() or services() throws
 * while it is being loaded refuses it.
 */
class MIVO_HOST_EXPORT MivoPlugin : public QObject
{
    Q_OBJECT

public:
    explicit MivoPlugin(QObject* parent = nullptr);
    ~MivoPlugin() override;

    /** The name under which other plug-ins find this one; the name of the class by default. */
    virtual QString name() const;
    /** The plug-in's own version; empty by default. */
    virtual QString version() const;
    /**
     * Called once, in the plug-in's thread, after all plug-ins of the host have been loaded.
     * Returns whether the plug-in can work: the host cannot be started otherwise. True by default.
     */
    virtual bool initialise(MivoHost& host);
    /**
     * Called once, in the plug-in's thread, before it ends; not when initialise() has not been
     * called, nor when the thread has ended on its own. Does nothing by default.
     */
    virtual void shutdown();
    /** What the plug-in offers to its users; nothing by default. */
    virtual QList<MivoService> services() const;
    /**
     * The form of the plug-in's settings; no fields by default. Called in the plug-in's thread,
     * once that runs.
     */
    virtual QList<MivoField> fields() const;
    /**
     * Takes over what the user has chosen in the form, which fields() then shows. Called in the
     * plug-in's thread, with the fields of fields() and other values. Returns nothing on success,
     * or one sentence for the user on what is wrong, and has then changed nothing. By default the
     * form is for show: all values are refused.
     */
    virtual QString applyFields(const QList<MivoField>& fields);

    /**
     * The names of the slots that can be called synchronously, in order of declaration, once each.
     * Asked for in any thread.
     */
    virtual QStringList callSlots() const;
    /** The names of the slots that can be run as actions, likewise. */
    virtual QStringList actionSlots() const;

    /**
     * Calls the synchronous slot whose name is the first of @p arguments with the others. Never
     * throws: the answer is the Bool true and the arguments as the slot left them, or the Bool
     * false and the String of what went wrong.
     */
    virtual void callByName(MivoPlugin* sender, QList<MivoArg>& arguments);
    /**
     * Runs the action slot whose name is the first of @p arguments with the others. Throws what the
     * slot throws, and a std::invalid_argument when there is no such slot. An action that is bound
     * to this is run without arguments: given ones would take the place of the name.
     */
    virtual void runByName(QList<MivoArg>& arguments);

Q_SIGNALS:
    // Emitted in any thread, when what is told of can already be asked for.

    /** These entries of the plug-in's contact list have other texts or presences. */
    void entriesChanged(const QList<MivoBuddy>& entries);
    /** Entries of the plug-in's contact list have come, gone or moved. */
    void contactListChanged();
    /** fields() answers something else than before. */
    void formChanged();

private:
    friend class MivoHost;
    friend class MivoHostPrivate;

    // What the host posts to the plug-in's thread.
    void initialiseInThread(MivoPlugin* sender, QList<MivoArg>& arguments);
    void fieldsInThread(MivoPlugin* sender, QList<MivoArg>& arguments);
    void applyFieldsInThread(MivoPlugin* sender, QList<MivoArg>& arguments);
    void shutdownInThread(MivoPlugin* sender, QList<MivoArg>& arguments);
};

Q_DECLARE_METATYPE(QList<MivoBuddy>)

#endif
