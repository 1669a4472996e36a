#include "XmppPlugin.h"

#include "ServerCommands.h"

#include <MivoAccountConnection.h>
#include <MivoBuddyMerged_p.h>
#include <MivoBuddyResource.h>
#include <MivoBuddyTemporary.h>
#include <MivoField.h>
#include <MivoHost.h>
#include <MivoHostLog.h>
#include <MivoSecret.h>

#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <stdexcept>

MIVO_EXPORT_PLUGIN(xmpp, XmppPlugin)

namespace {

/** The form has room for so many; the kept settings of all are there from the start. */
const int mostAccounts = 8;
const int mostSeconds = 3600;

QStringList statuses()
{
    return {"online", "chat", "away", "xa", "dnd"};
}

[[noreturn]] void refuse(const QString& sentence)
{
    throw std::runtime_error(sentence.toStdString());
}

QString idOf(int number, const char* name)
{
    return QString("%1.%2").arg(number).arg(name);
}

QString formPrefix(int number)
{
    return idOf(number, "form.");
}

QString groupName(int number)
{
    return QString("Account %1").arg(number);
}

void requireArguments(const QList<MivoArg>& arguments, int least, int most)
{
    if (arguments.size() < least || arguments.size() > most)
        refuse(QString("found %1 arguments; expected %2")
                   .arg(arguments.size())
                   .arg(least == most ? QString::number(least)
                                      : QString("%1 to %2").arg(least).arg(most)));
}

Jid addressFrom(const QString& text)
{
    const Jid jid(text);
    if (!jid.isValid())
        refuse(QString("found \"%1\"; expected an address such as ann@example.org").arg(text));
    return jid;
}

} // namespace

XmppPlugin::XmppPlugin()
    : places(mostAccounts)
{
}

XmppPlugin::~XmppPlugin()
{
    for (Place& place : places)
        place.account.reset();
}

QString XmppPlugin::name() const
{
    return "xmpp";
}

QString XmppPlugin::version() const
{
    return MIVO_VERSION_STR;
}

bool XmppPlugin::initialise(MivoHost& startedBy)
{
    host = &startedBy;
    list.reset(new Contacts);
    connect(list.get(), &Contacts::entriesChanged, this, &MivoPlugin::entriesChanged);
    connect(list.get(), &Contacts::listChanged, this, &MivoPlugin::contactListChanged);
    for (int i = 1; i <= mostAccounts; ++i) {
        const auto button = [this, i](const char* id, const char* slot, const char* argument) {
            QList<MivoArg> arguments({MivoArg(i)});
            if (argument)
                arguments.append(MivoArg(QString(argument)));
            places[size_t(i) - 1].buttons.insert(idOf(i, id), host->action(this, slot, arguments));
        };
        button("connect", "connectAccount", nullptr);
        button("disconnect", "disconnectAccount", nullptr);
        button("runCommand", "runCommand", nullptr);
        for (const char* action : {"prev", "next", "complete", "cancel"})
            button(action, "proceedCommand", action);
    }
    return true;
}

void XmppPlugin::shutdown()
{
    for (Place& place : places) {
        if (place.account)
            place.account->shutDown();
        place.account.reset();
    }
    list.reset();
}

// The form

QList<MivoField> XmppPlugin::fields() const
{
    QList<MivoField> form;
    bool isShown = true; // all that are in use, and the first that is free
    for (int i = 1; i <= mostAccounts; ++i) {
        const Place& place = places.at(size_t(i) - 1);
        const auto begin = form.size();
        addAccountFields(form, place, i);
        for (auto j = begin; j < form.size(); ++j)
            form[j].setVisible(isShown || place.account);
        if (!place.account)
            isShown = false;
        else
            addCommandFields(form, place, i);
    }
    return form;
}

void XmppPlugin::addAccountFields(QList<MivoField>& form, const Place& place, int number) const
{
    const QString group = groupName(number);
    const AccountSettings& settings = place.settings;
    const auto id = [number](const char* name) { return idOf(number, name); };
    const auto button = [&](const char* label, const char* name) {
        form.append(MivoField(label, id(name), place.buttons.value(id(name)), group));
    };
    form.append(MivoField(MivoField::LineEdit, "Address", id("address"), settings.stream.address, 0,
                          group));
    form.append(
        MivoField(MivoSecretField, "Password", id("password"), settings.stream.password, 0, group));
    form.append(MivoField(MivoField::LineEdit, "Host (empty: that of the address)", id("host"),
                          settings.stream.host, 0, group));
    form.append(MivoField("Port (0: the usual one)", id("port"), 65535, 0,
                          int(settings.stream.port), group));
    form.append(MivoField(MivoField::LineEdit, "Resource (empty: of the server's choice)",
                          id("resource"), settings.resource, 0, group));
    form.append(MivoField(MivoField::CheckBox, "Require encryption", id("encrypted"),
                          settings.stream.mustBeEncrypted, group));
    form.append(MivoField(MivoField::LineEdit, "File of trusted certificates (empty: the system's)",
                          id("certificates"), settings.stream.certificates, 0, group));
    form.append(MivoField(MivoField::CheckBox, "Accept unknown certificates", id("acceptUnknown"),
                          settings.stream.acceptsUnknown, group));
    form.append(MivoField("Try the connection after so many seconds of silence", id("check"),
                          mostSeconds, 1, settings.checkSeconds, group));
    form.append(MivoField(MivoField::CheckBox, "Connect at the start", id("atStart"),
                          settings.connectsAtStart, group));
    button("Connect", "connect");
    button("Disconnect", "disconnect");
    form.append(MivoField(place.account ? place.account->stateText() : QString("No account yet"),
                          id("state"), group));
}

void XmppPlugin::addCommandFields(QList<MivoField>& form, const Place& place, int number) const
{
    const ServerCommands& commands = *place.commands;
    const QString group = QString("Commands of the server of %1").arg(place.account->address());
    const auto id = [number](const char* name) { return idOf(number, name); };
    const auto button = [&](const char* label, const char* name) {
        form.append(MivoField(label, id(name), place.buttons.value(id(name)), group));
    };
    if (!commands.names().isEmpty()) {
        form.append(
            MivoField("Command", id("command"), commands.names(), place.chosenCommand, group));
        button("Run the command", "runCommand");
    }
    if (!commands.note().isEmpty())
        form.append(MivoField(commands.note(), id("commandNote"), group));
    if (!commands.form().isNull()) {
        const QString title = commands.form().title();
        form += commands.form().fields(formPrefix(number),
                                       title.isEmpty() ? QString("Form of the server") : title);
    }
    const QList<QPair<QString, const char*>> steps(
        {{"Back", "prev"}, {"Next", "next"}, {"Complete", "complete"}, {"Cancel", "cancel"}});
    for (const auto& step : steps) {
        if (commands.actions().contains(step.second))
            button(step.first.toLatin1().constData(), step.second);
    }
}

QString XmppPlugin::applyFields(const QList<MivoField>& fields)
{
    QHash<QString, MivoField> given;
    for (const MivoField& field : fields)
        given.insert(field.getId(), field);
    std::vector<AccountSettings> wanted;
    QSet<QString> addresses;
    for (int i = 1; i <= mostAccounts; ++i) {
        const Place& place = places.at(size_t(i) - 1);
        AccountSettings settings = place.settings;
        const auto field = [&](const char* name) { return given.constFind(idOf(i, name)); };
        const auto takeText = [&](const char* name, QString& text, bool isTrimmed) {
            if (field(name) != given.constEnd())
                text = isTrimmed ? field(name)->getText().trimmed() : field(name)->getText();
        };
        const auto takeNumber = [&](const char* name, int most, auto& number) {
            if (field(name) != given.constEnd())
                number = static_cast<std::decay_t<decltype(number)>>(
                    qBound(0, field(name)->getIntValue(), most));
        };
        const auto takeCheck = [&](const char* name, bool& isChecked) {
            if (field(name) != given.constEnd())
                isChecked = field(name)->isChecked();
        };
        takeText("address", settings.stream.address, true);
        takeText("password", settings.stream.password, false);
        takeText("host", settings.stream.host, true);
        takeNumber("port", 65535, settings.stream.port);
        takeText("resource", settings.resource, true);
        takeCheck("encrypted", settings.stream.mustBeEncrypted);
        takeText("certificates", settings.stream.certificates, true);
        takeCheck("acceptUnknown", settings.stream.acceptsUnknown);
        takeNumber("check", mostSeconds, settings.checkSeconds);
        settings.checkSeconds = qMax(1, settings.checkSeconds);
        takeCheck("atStart", settings.connectsAtStart);

        const QString& address = settings.stream.address;
        const Jid jid(address);
        const QString who = groupName(i) + ": ";
        if (!address.isEmpty()
            && (!jid.isValid() || !jid.bare().contains('@') || !jid.resource().isEmpty()))
            return who
                + QString("found the address \"%1\"; expected one such as ann@example.org")
                      .arg(address);
        if (!address.isEmpty() && addresses.contains(jid.key()))
            return who + QString("found the address %1 a second time").arg(address);
        addresses.insert(jid.key());
        if (place.account && place.account->address() != address
            && place.account->state() != Account::Offline)
            return who
                + QString("%1 is in use: disconnect it before its address is changed")
                      .arg(place.account->address());
        if (!settings.resource.isEmpty() && !Jid("a@b/" + settings.resource).isValid())
            return who
                + "found a resource that is none; expected a name without control characters";
        const QFileInfo certificates(settings.stream.certificates);
        if (!settings.stream.certificates.isEmpty()
            && (!certificates.isFile() || !certificates.isReadable()))
            return who
                + QString("found the file of certificates \"%1\", which cannot be read; expected a "
                          "file in the format PEM")
                      .arg(settings.stream.certificates);
        wanted.push_back(settings);
    }
    // The forms of servers come last: they check and take over at once.
    for (int i = 1; i <= mostAccounts; ++i) {
        Place& place = places.at(size_t(i) - 1);
        if (!place.account)
            continue;
        const QString refusal = place.commands->form().setValues(formPrefix(i), fields);
        if (!refusal.isEmpty())
            return refusal;
        const auto command = given.constFind(idOf(i, "command"));
        if (command != given.constEnd())
            place.chosenCommand = int(qMin<quint32>(command->getSelectedIndex(), 0x7fffffff));
    }
    for (size_t i = 0; i < places.size(); ++i) {
        Place& place = places[i];
        place.settings = wanted[i];
        const QString& address = place.settings.stream.address;
        if (place.account && place.account->address() != address)
            closeAccount(place);
        if (!place.account && !address.isEmpty())
            openAccount(place);
        else if (place.account)
            place.account->setSettings(place.settings);
    }
    Q_EMIT formChanged();
    return QString();
}

void XmppPlugin::openAccount(Place& place)
{
    place.account.reset(new Account(place.settings, *list, this));
    place.commands = new ServerCommands(place.account.get());
    place.chosenCommand = 0;
    Account* const account = place.account.get();
    ServerCommands* const commands = place.commands;
    connect(account, &Account::messageChanged, this, &XmppPlugin::tell);
    connect(account, &Account::stateChanged, this, [this, account, commands] {
        if (account->state() == Account::Online)
            commands->refresh();
        else
            commands->clear();
        Q_EMIT formChanged();
    });
    connect(commands, &ServerCommands::changed, this, [this, account, commands] {
        if (!commands->note().isEmpty())
            MivoHostLog::write(QString("xmpp: %1: %2").arg(account->address(), commands->note()));
        Q_EMIT formChanged();
    });
    if (place.settings.connectsAtStart)
        account->connectNow();
}

void XmppPlugin::closeAccount(Place& place)
{
    list->removeAll(place.account->connection());
    place.commands = nullptr;
    place.account.reset();
}

// What the arguments of calls name

XmppPlugin::Place& XmppPlugin::placeOf(const MivoArg& account)
{
    if (account.getType() == MivoArg::Int) {
        const int number = account.toInt();
        if (number < 1 || number > mostAccounts || !places[size_t(number) - 1].account)
            refuse(QString("there is no account %1: enter its address first").arg(number));
        return places[size_t(number) - 1];
    }
    const QString address = account.toString();
    for (Place& place : places) {
        if (place.account && Jid(place.account->address()).key() == Jid(address).key())
            return place;
    }
    refuse(QString("found the account \"%1\"; expected one that has been entered").arg(address));
}

QList<Account*> XmppPlugin::accountsOf(const MivoArg& account) const
{
    QList<Account*> found;
    if (account.getType() != MivoArg::None)
        return {const_cast<XmppPlugin*>(this)->placeOf(account).account.get()};
    for (const Place& place : places) {
        if (place.account)
            found.append(place.account.get());
    }
    if (found.isEmpty())
        refuse("there is no account yet: enter its address in the form");
    return found;
}

XmppPlugin::Target XmppPlugin::targetOf(const MivoArg& entry) const
{
    const QList<Account*> all = accountsOf(MivoArg());
    const auto ofOwner = [&all](const MivoAccountConnection* owner) -> Account* {
        for (Account* const account : all) {
            if (account->connection() == owner)
                return account;
        }
        refuse("found an entry of an account that is none of this plug-in's");
    };
    if (entry.getType() == MivoArg::String) {
        const Jid address = addressFrom(entry.toString());
        Account* best = all.first();
        for (Account* const account : all) {
            if (list->find(account->connection(), address).isValid())
                return {account, address};
            if (best->state() != Account::Online && account->state() == Account::Online)
                best = account;
        }
        return {best, address};
    }
    const MivoBuddy buddy = entry.toBuddy();
    if (const MivoBuddyTemporary temporary = buddy; temporary.isValid())
        return {ofOwner(temporary.getAccount()), Jid(temporary.getId())};
    MivoBuddyContact contact = buddy;
    if (const MivoBuddyMergedPrivate* const merged = MivoBuddyMergedPrivate::get(buddy)) {
        contact = merged->contacts.value(0);
        for (const MivoBuddyContact& one : qAsConst(merged->contacts)) {
            if (ofOwner(one.getAccount())->state() == Account::Online) {
                contact = one;
                break;
            }
        }
    }
    if (!contact.isValid())
        refuse(
            "found an entry that is nobody; expected a contact, a merged or a temporary contact");
    return {ofOwner(contact.getAccount()), Jid(contact.getId())};
}

const RosterItem& XmppPlugin::itemOf(const Target& target) const
{
    const RosterItem* const item = list->item(target.account->connection(), target.address);
    if (!item)
        refuse(QString("%1 is not on the contact list of %2")
                   .arg(target.address.bare(), target.account->address()));
    return *item;
}

// Calls that answer

void XmppPlugin::accounts(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 0, 0);
    const QStringList states({"offline", "connecting", "online", "waiting"});
    for (const Place& place : places) {
        if (place.account)
            arguments.append(MivoArg(QList<MivoArg>(
                {MivoArg(place.account->address()), MivoArg(states.at(place.account->state())),
                 MivoArg(place.account->stateText()), MivoArg(place.account->plannedPause())})));
    }
}

void XmppPlugin::roster(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 0, 0);
    for (const MivoBuddyGroup& group : list->groups())
        arguments.append(MivoArg(MivoBuddy(group)));
}

void XmppPlugin::contacts(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 0, 1);
    const MivoArg chosen = arguments.value(0);
    arguments.clear();
    for (Account* const account : accountsOf(chosen)) {
        const MivoAccountConnection* const owner = account->connection();
        for (const MivoBuddy& entry : list->entries(owner)) {
            const MivoBuddyContact contact(entry);
            const MivoBuddyTemporary temporary(entry);
            const QString id = contact.isValid() ? contact.getId() : temporary.getId();
            const Jid address(id);
            MivoArg picture;
            for (const MivoField& field : contact.getExtraInfo()) {
                if (field.getId() == "picture" && !MivoField(field).getImgData().isEmpty())
                    picture = MivoArg(field);
            }
            QList<MivoArg> clients;
            for (const MivoBuddyResource& resource :
                 contact.isValid() ? contact.getResources() : temporary.getResources())
                clients.append(MivoArg(QList<MivoArg>({MivoArg(resource.getName()),
                                                       MivoArg(int(resource.getPriority())),
                                                       MivoArg(resource.getPresence())})));
            arguments.append(MivoArg(QList<MivoArg>(
                {MivoArg(entry), MivoArg(account->address()), MivoArg(id),
                 MivoArg(entry.getDisplay()), MivoArg(list->groupOf(owner, address)),
                 MivoArg(contact.isValid() ? contact.getPresence() : temporary.getPresence()),
                 MivoArg(contact.getSubscription().getId()), MivoArg(entry.unreadMessages()),
                 picture, MivoArg(clients), MivoArg(account->isAsking(address))})));
        }
    }
}

void XmppPlugin::openConversation(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 1, 1);
    const Target target = targetOf(arguments.first());
    arguments.clear();
    for (const Message& message : target.account->conversation(target.address))
        arguments.append(MivoArg(message.toArguments()));
}

void XmppPlugin::watchMessages(MivoPlugin* sender, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 1, 2);
    const QString slot = arguments.first().toString();
    MivoPlugin* const watcher = arguments.size() == 2 ? arguments.at(1).toPlugin() : sender;
    host->action(watcher, slot, {}); // throws when there is none
    watchers.insert(watcher, slot);
    arguments.clear();
}

void XmppPlugin::unwatchMessages(MivoPlugin* sender, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 0, 1);
    watchers.remove(arguments.size() == 1 ? arguments.first().toPlugin() : sender);
    arguments.clear();
}

void XmppPlugin::tell(const Message& message)
{
    QList<MivoArg> told = message.toArguments();
    told.prepend(MivoArg(message.entry));
    const QList<MivoPlugin*> watching = watchers.keys();
    for (MivoPlugin* const watcher : watching) {
        try {
            host->action(watcher, watchers.value(watcher), told)();
        } catch (const MivoHostError&) { // it has gone
            watchers.remove(watcher);
        }
    }
}

// Calls that are actions too

void XmppPlugin::sendMessage(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 2, 2);
    const Target target = targetOf(arguments.first());
    const QString text = arguments.at(1).toString();
    if (text.isEmpty())
        refuse("found an empty message; expected a text");
    arguments = {MivoArg(target.account->sendMessage(target.address, text))};
}

void XmppPlugin::markRead(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 1, 1);
    const MivoArg entry = arguments.first();
    arguments.clear();
    // Of a merged contact all messages are shown, and so have been read.
    if (entry.getType() == MivoArg::Buddy) {
        if (const auto* const merged = MivoBuddyMergedPrivate::get(entry.toBuddy())) {
            const QList<MivoBuddyContact> contacts = merged->contacts;
            for (const MivoBuddyContact& contact : contacts) {
                const Target target = targetOf(MivoArg(MivoBuddy(contact)));
                target.account->markRead(target.address);
            }
            return;
        }
    }
    const Target target = targetOf(entry);
    target.account->markRead(target.address);
}

void XmppPlugin::connectAccount(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 0, 1);
    for (Account* const account : accountsOf(arguments.value(0)))
        account->connectNow();
    arguments.clear();
}

void XmppPlugin::disconnectAccount(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 0, 1);
    for (Account* const account : accountsOf(arguments.value(0)))
        account->disconnectNow();
    arguments.clear();
}

void XmppPlugin::setPresence(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 2, 3);
    const QString status = arguments.first().toString();
    if (!statuses().contains(status))
        refuse(QString("found the status \"%1\"; expected one of %2")
                   .arg(status, statuses().join(", ")));
    for (Account* const account : accountsOf(arguments.value(2)))
        account->setOwnPresence(status, arguments.at(1).toString());
    arguments.clear();
}

void XmppPlugin::setPicture(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 2, 2);
    Account& account = *placeOf(arguments.first()).account;
    QFile file(arguments.at(1).toString());
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
        refuse(QString("found the picture \"%1\", which cannot be read; expected a file")
                   .arg(file.fileName()));
    if (file.size() > Account::LargestPicture)
        refuse(QString("found a picture of %1 bytes; expected at most %2")
                   .arg(file.size())
                   .arg(Account::LargestPicture));
    account.setOwnPicture(file.readAll());
    arguments.clear();
}

void XmppPlugin::addContact(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 4, 4);
    Account& account = *placeOf(arguments.first()).account;
    account.setRosterItem(addressFrom(arguments.at(1).toString()), arguments.at(2).toString(),
                          {arguments.at(3).toString()});
    arguments.clear();
}

void XmppPlugin::renameContact(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 2, 2);
    const Target target = targetOf(arguments.first());
    target.account->setRosterItem(target.address, arguments.at(1).toString(),
                                  itemOf(target).groups);
    arguments.clear();
}

void XmppPlugin::moveContact(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 2, 2);
    const Target target = targetOf(arguments.first());
    const QString group = arguments.at(1).toString();
    const RosterItem item = itemOf(target);
    // The contact leaves the group that it is shown in; without a new one, all of them.
    QStringList groups;
    if (!group.isEmpty()) {
        groups = item.groups;
        groups.removeAll(list->groupOf(target.account->connection(), target.address));
        groups.removeAll(group);
        groups.prepend(group);
    }
    target.account->setRosterItem(target.address, item.name, groups);
    arguments.clear();
}

void XmppPlugin::removeContact(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 1, 1);
    const Target target = targetOf(arguments.first());
    itemOf(target);
    target.account->removeRosterItem(target.address);
    arguments.clear();
}

void XmppPlugin::askSubscription(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 1, 1);
    const Target target = targetOf(arguments.first());
    target.account->sendSubscription(target.address, "subscribe");
    arguments.clear();
}

void XmppPlugin::answerSubscription(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 2, 2);
    const Target target = targetOf(arguments.first());
    target.account->sendSubscription(target.address,
                                     arguments.at(1).toBool() ? "subscribed" : "unsubscribed");
    arguments.clear();
}

void XmppPlugin::runCommand(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 1, 2);
    Place& place = placeOf(arguments.first());
    if (arguments.size() == 2) {
        const QString name = arguments.at(1).toString();
        place.chosenCommand = int(place.commands->names().indexOf(name));
        if (place.chosenCommand < 0)
            refuse(QString("found the command \"%1\"; expected one of %2")
                       .arg(name, place.commands->names().join(", ")));
    }
    place.commands->run(place.chosenCommand);
    arguments.clear();
}

void XmppPlugin::proceedCommand(MivoPlugin*, QList<MivoArg>& arguments)
{
    requireArguments(arguments, 2, 2);
    placeOf(arguments.first()).commands->proceed(arguments.at(1).toString());
    arguments.clear();
}

/** An action runs in the dispatcher's thread. */
void XmppPlugin::inPluginThread(const char* slot, Call call, const QList<MivoArg>& arguments)
{
    QMetaObject::invokeMethod(
        this,
        [this, slot, call, arguments] {
            QList<MivoArg> values = arguments;
            try {
                (this->*call)(nullptr, values);
            } catch (...) {
                MivoHostLog::write(
                    QString("xmpp: %1 failed: %2").arg(slot, MivoHostLog::currentException()));
            }
        },
        Qt::QueuedConnection);
}

void XmppPlugin::sendMessage(QList<MivoArg>& arguments)
{
    inPluginThread("sendMessage", &XmppPlugin::sendMessage, arguments);
}

void XmppPlugin::markRead(QList<MivoArg>& arguments)
{
    inPluginThread("markRead", &XmppPlugin::markRead, arguments);
}

void XmppPlugin::connectAccount(QList<MivoArg>& arguments)
{
    inPluginThread("connectAccount", &XmppPlugin::connectAccount, arguments);
}

void XmppPlugin::disconnectAccount(QList<MivoArg>& arguments)
{
    inPluginThread("disconnectAccount", &XmppPlugin::disconnectAccount, arguments);
}

void XmppPlugin::setPresence(QList<MivoArg>& arguments)
{
    inPluginThread("setPresence", &XmppPlugin::setPresence, arguments);
}

void XmppPlugin::setPicture(QList<MivoArg>& arguments)
{
    inPluginThread("setPicture", &XmppPlugin::setPicture, arguments);
}

void XmppPlugin::addContact(QList<MivoArg>& arguments)
{
    inPluginThread("addContact", &XmppPlugin::addContact, arguments);
}

void XmppPlugin::renameContact(QList<MivoArg>& arguments)
{
    inPluginThread("renameContact", &XmppPlugin::renameContact, arguments);
}

void XmppPlugin::moveContact(QList<MivoArg>& arguments)
{
    inPluginThread("moveContact", &XmppPlugin::moveContact, arguments);
}

void XmppPlugin::removeContact(QList<MivoArg>& arguments)
{
    inPluginThread("removeContact", &XmppPlugin::removeContact, arguments);
}

void XmppPlugin::askSubscription(QList<MivoArg>& arguments)
{
    inPluginThread("askSubscription", &XmppPlugin::askSubscription, arguments);
}

void XmppPlugin::answerSubscription(QList<MivoArg>& arguments)
{
    inPluginThread("answerSubscription", &XmppPlugin::answerSubscription, arguments);
}

void XmppPlugin::runCommand(QList<MivoArg>& arguments)
{
    inPluginThread("runCommand", &XmppPlugin::runCommand, arguments);
}

void XmppPlugin::proceedCommand(QList<MivoArg>& arguments)
{
    inPluginThread("proceedCommand", &XmppPlugin::proceedCommand, arguments);
}
