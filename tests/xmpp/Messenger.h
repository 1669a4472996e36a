#ifndef MESSENGER_H
#define MESSENGER_H

#include "KeptLog.h"
#include "ProsodyServer.h"
#include "TestThreads.h"

#include <MivoArg.h>
#include <MivoBuddyContact.h>
#include <MivoBuddyGroup.h>
#include <MivoField.h>
#include <MivoHost.h>
#include <MivoHostLog.h>
#include <MivoPlugin.h>

#include <QMutex>
#include <QTemporaryDir>
#include <QtTest>

/** @file
 * A messenger with the plug-in "xmpp" in it, as its users see it: through calls, actions and forms.
 */

/** Waits until @p condition holds, asking for it now and then; false when it does not in time. */
template <class Condition>
bool eventually(Condition condition)
{
    for (const QDeadlineTimer patience(testBoundMs); !patience.hasExpired(); QThread::msleep(2)) {
        if (condition())
            return true;
    }
    return false;
}

/** What a watching plug-in was told of a message. */
struct Told
{
    MivoBuddy entry;
    QString event;
    QString id;
    QString text;
    qint64 time;
    QString from;
    QString reason;
};

/** A plug-in that asks for messages and signals, and keeps what it is told. */
class Watcher : public MivoPlugin
{
    Q_OBJECT

public:
    explicit Watcher(const QString& givenName)
        : ownName(givenName)
    {
    }

    QString name() const override { return ownName; }

    QList<Told> all() const
    {
        QMutexLocker locker(&mutex);
        return told;
    }
    QList<Told> all(const QString& event) const
    {
        QList<Told> found;
        for (const Told& one : all()) {
            if (one.event == event)
                found.append(one);
        }
        return found;
    }
    int count(const QString& event) const
    {
        QMutexLocker locker(&mutex);
        return counts.value(event);
    }

public Q_SLOTS:
    void message(QList<MivoArg>& arguments)
    {
        QMutexLocker locker(&mutex);
        told.append({arguments.at(0).toBuddy(), arguments.at(1).toString(),
                     arguments.at(2).toString(), arguments.at(3).toString(),
                     arguments.at(4).toInt64(), arguments.at(5).toString(),
                     arguments.at(6).toString()});
        ++counts[told.last().event];
    }

private:
    const QString ownName;
    mutable QMutex mutex;
    QList<Told> told;
    QHash<QString, int> counts;
};

/** What the host's log gets as long as this exists, in whatever thread; one at a time. */
class LoggedLines
{
public:
    LoggedLines() { KeptLog::start(); }
    ~LoggedLines() { MivoHostLog::setWriter(nullptr); }

    QStringList all() const
    {
        lines += KeptLog::take();
        return lines;
    }
    /** How many lines hold @p text. */
    int count(const QString& text) const { return int(all().filter(text).size()); }

private:
    Q_DISABLE_COPY(LoggedLines)

    mutable QStringList lines;
};

/** One of several plug-ins "xmpp" in a host, with an account. */
class Client
{
public:
    Client(MivoHost& usedHost, const QString& file, const QString& watcherName)
        : host(usedHost)
        , watcher(new Watcher(watcherName))
    {
        QString error;
        plugin = host.load(file, &error);
        if (!plugin)
            qFatal("%s", qPrintable(error));
        host.add(watcher);
    }

    QList<MivoArg> call(const QString& slot, const QList<MivoArg>& arguments = {}) const
    {
        return host.call(plugin, slot, arguments, watcher);
    }
    /** The sentence with which a call fails; empty when it does not. */
    QString failureOf(const QString& slot, const QList<MivoArg>& arguments = {}) const
    {
        try {
            call(slot, arguments);
            return QString();
        } catch (const MivoHostError& error) {
            return error.message();
        }
    }

    /** Fills fields of the form, by their ids, and gives it to the plug-in. */
    void fill(const QHash<QString, QVariant>& values) const
    {
        QList<MivoField> form = host.fields(plugin);
        for (auto value = values.cbegin(); value != values.cend(); ++value)
            setField(form, value.key(), value.value());
        host.applyFields(plugin, form);
    }
    static void setField(QList<MivoField>& form, const QString& id, const QVariant& value)
    {
        for (MivoField& field : form) {
            if (field.getId() != id)
                continue;
            switch (int(field.getType())) {
            case MivoField::CheckBox:
                field.setChecked(value.toBool());
                break;
            case MivoField::SpinBox:
                field.setIntValue(value.toInt());
                break;
            case MivoField::ComboBox:
                field.setSelectedIndex(value.toUInt());
                break;
            default:
                field.setText(value.toString());
            }
            return;
        }
        qFatal("there is no field %s", qPrintable(id));
    }
    MivoField field(const QString& id) const
    {
        for (const MivoField& field : host.fields(plugin)) {
            if (field.getId() == id)
                return field;
        }
        return MivoField();
    }

    /** Enters an account of @p server. */
    void enter(const ProsodyServer& server, const QString& user, int number = 1,
               const QHash<QString, QVariant>& more = {}) const
    {
        const auto id
            = [number](const char* name) { return QString("%1.%2").arg(number).arg(name); };
        QHash<QString, QVariant> values({{id("address"), user + "@" + ProsodyServer::domain()},
                                         {id("password"), user + "-secret"},
                                         {id("host"), "127.0.0.1"},
                                         {id("port"), int(server.port())},
                                         {id("resource"), "test"},
                                         {id("certificates"), server.certificates()}});
        for (auto value = more.cbegin(); value != more.cend(); ++value)
            values.insert(value.key(), value.value());
        fill(values);
    }

    QList<MivoArg> account(int index = 0) const
    {
        return call("accounts").value(index).toArgList();
    }
    QString state(int index = 0) const { return account(index).at(1).toString(); }
    QString stateText(int index = 0) const { return account(index).at(2).toString(); }
    bool becomes(const QString& wanted, int index = 0) const
    {
        return eventually([&] { return state(index) == wanted; });
    }

    /** The elements of the answer of the call "contacts" by address. */
    QHash<QString, QList<MivoArg>> contacts() const
    {
        QHash<QString, QList<MivoArg>> found;
        for (const MivoArg& one : call("contacts"))
            found.insert(one.toArgList().at(2).toString(), one.toArgList());
        return found;
    }
    QList<MivoArg> contact(const QString& address) const { return contacts().value(address); }
    MivoBuddy entry(const QString& address) const
    {
        const QList<MivoArg> found = contact(address);
        return found.isEmpty() ? MivoBuddy() : found.at(0).toBuddy();
    }
    /** "group/name: status" of each contact, sorted. */
    QStringList shown() const
    {
        QStringList lines;
        for (const MivoArg& one : call("contacts")) {
            const QList<MivoArg> values = one.toArgList();
            lines.append(QString("%1/%2: %3")
                             .arg(values.at(4).toString(), values.at(3).toString(),
                                  values.at(5).toPresence().getId()));
        }
        lines.sort();
        return lines;
    }

    MivoHost& host;
    MivoPlugin* plugin = nullptr;
    Watcher* const watcher; // the host's
};

/** A host with two clients, ann and bob, each in a plug-in of its own. */
class Messenger
{
public:
    Messenger()
        : ann(host, XMPP_PLUGIN, "ann's watcher")
        , bob(host, copyOf(XMPP_PLUGIN), "bob's watcher")
    {
    }
    ~Messenger() { host.shutdown(); }

    void start()
    {
        QString error;
        if (!host.start(&error))
            qFatal("%s", qPrintable(error));
        for (const Client* const client : {&ann, &bob})
            client->call("watchMessages", {MivoArg(QString("message"))});
    }

    /** Both are online and see each other, when this returns true. */
    bool connectBoth(const ProsodyServer& server)
    {
        for (const Client* const client : {&ann, &bob}) {
            const QString user = client == &ann ? "ann" : "bob";
            client->enter(server, user);
            client->call("connectAccount");
            if (!client->becomes("online"))
                return false;
        }
        return true;
    }
    /** Makes them friends. */
    bool befriend()
    {
        const MivoArg annAddress(QString("ann@localhost"));
        const MivoArg bobAddress(QString("bob@localhost"));
        ann.call("addContact",
                 {annAddress, bobAddress, MivoArg(QString("Bob")), MivoArg(QString("Friends"))});
        bob.call("addContact",
                 {bobAddress, annAddress, MivoArg(QString("Ann")), MivoArg(QString())});
        ann.call("askSubscription", {bobAddress});
        if (!eventually([&] { return bob.watcher->count("asks") > 0; }))
            return false;
        bob.call("answerSubscription", {annAddress, MivoArg(true)});
        bob.call("askSubscription", {annAddress});
        if (!eventually([&] { return ann.watcher->count("asks") > 0; }))
            return false;
        ann.call("answerSubscription", {bobAddress, MivoArg(true)});
        return eventually([&] {
            return ann.shown() == QStringList("Friends/Bob: online")
                && bob.shown() == QStringList("/Ann: online");
        });
    }

private:
    QString copyOf(const QString& file)
    {
        const QString copy = folder.filePath("second.so");
        QFile::copy(file, copy);
        return copy;
    }

    QTemporaryDir folder;

public:
    MivoHost host;
    Client ann;
    Client bob;
};

/** A server with the accounts of ann and bob that runs. */
inline void startWithAccounts(ProsodyServer& server)
{
    for (const char* user : {"ann", "bob"})
        server.addUser(user, QString(user) + "-secret");
    const QString failure = server.start();
    if (!failure.isEmpty())
        qFatal("%s", qPrintable(failure));
}

#endif
