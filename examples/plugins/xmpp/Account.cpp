#include "Account.h"

#include "Stanza.h"

#include <MivoAccountConnection.h>
#include <MivoHostLog.h>

#include <QCryptographicHash>

#include <stdexcept>

namespace {

/** How many contacts are taken over before the event loop is served. */
const int batchSize = 200;
/** How much of a conversation is kept beside what is unread. */
const int keptMessages = 500;
/** How many messages of the user are remembered, should they come back. */
const int keptSent = 20000;
const int picturesAtOnce = 4;
const int mostCharacters = 2 * Account::LargestPicture; // of a picture as text

bool isSubscription(const QString& state)
{
    return QStringList({"none", "to", "from", "both"}).contains(state);
}

QString shortened(const QString& text)
{
    const QString line = text.simplified();
    return line.size() <= 100 ? line : line.left(100) + QChar(0x2026);
}

} // namespace

Account::Account(const AccountSettings& settings, Contacts& usedContacts, QObject* parent)
    : QObject(parent)
    , used(settings)
    , contacts(usedContacts)
    , owner(new MivoAccountConnection(settings.stream.address, settings.stream.address, parent))
    , text("Not connected")
{
    pause.setSingleShot(true);
    connect(&pause, &QTimer::timeout, this, &Account::startStream);
    connect(&silence, &QTimer::timeout, this, &Account::checkConnection);
}

Account::~Account()
{
    stream.reset();
    QHash<QString, int> lost;
    for (const Letter& letter : outbox.takeAll())
        ++lost[letter.to];
    for (auto one = lost.cbegin(); one != lost.cend(); ++one)
        write(QString("%1 messages to %2 are not known to be delivered").arg(*one).arg(one.key()));
}

void Account::setSettings(const AccountSettings& settings)
{
    used = settings;
    if (silence.isActive())
        silence.start(used.checkSeconds * 1000);
}

QString Account::stateText() const
{
    if (isTakingRoster)
        return QString("Taking the contact list over: %1 of %2")
            .arg(rosterSize - waitingItems.size())
            .arg(rosterSize);
    return text;
}

void Account::setState(State state, const QString& stateText)
{
    const bool isNew = state != current || stateText != text;
    current = state;
    text = stateText;
    if (!isNew)
        return;
    write(text);
    Q_EMIT stateChanged();
}

void Account::write(const QString& line) const
{
    MivoHostLog::write(QString("xmpp: %1: %2").arg(address(), line));
}

void Account::connectNow()
{
    if (stream)
        return;
    startStream();
}

void Account::startStream()
{
    pause.stop();
    StreamSettings settings = used.stream;
    if (!used.resource.isEmpty())
        settings.address += '/' + used.resource;
    stream.reset(new StropheStream(settings));
    connect(stream.get(), &StropheStream::opened, this, &Account::takeOpened);
    connect(stream.get(), &StropheStream::received, this, &Account::takeStanza);
    connect(stream.get(), &StropheStream::closed, this, &Account::takeEnd);
    setState(Connecting, "Connecting");
    stream->open();
}

void Account::disconnectNow()
{
    pause.stop();
    if (stream && stream->isOpen()) {
        MivoXmlNode presence("presence");
        presence.setAttribute("type", QString("unavailable"));
        stream->send(presence);
    }
    StropheStream* const ending = stream.release();
    endStream();
    setState(Offline, "Not connected");
    if (!ending)
        return;
    ending->disconnect(this);
    ending->setParent(this);
    connect(ending, &StropheStream::closed, ending, &QObject::deleteLater);
    ending->close();
}

void Account::shutDown()
{
    pause.stop();
    if (!stream)
        return;
    stream->disconnect(this);
    stream->close();
    stream->flush();
    stream.reset();
    endStream();
}

/** What goes with a connection; the stream itself has been dealt with. */
void Account::endStream()
{
    silence.stop();
    hasChecked = false;
    isPinging = false;
    isTakingRoster = false;
    waitingItems.clear();
    waitingPictures.clear();
    picturesAsked = 0;
    contacts.setOffline(owner);
    const QHash<QString, Question> unanswered = questions;
    questions.clear();
    for (const Question& question : unanswered)
        question.whenAnswered(MivoXmlNode());
}

void Account::takeEnd(const StreamEnd& end)
{
    // Within a signal of the stream.
    stream.release()->deleteLater();
    for (const Letter& letter : outbox.noteLoss(end.isStreamError))
        settle(letter.id, "failed",
               "The server has ended the connection because of this message: " + end.reason);
    endStream();
    if (end.kind == StreamEnd::Refused) {
        setState(Offline, end.reason);
        return;
    }
    pauseMs = pauses.next();
    pause.start(pauseMs);
    setState(Waiting,
             QString("%1. The next try is in %2 s").arg(end.reason).arg((pauseMs + 999) / 1000));
}

void Account::takeOpened()
{
    silence.start(used.checkSeconds * 1000);
    MivoXmlNode question = Stanza::iq("get", Stanza::newId());
    Stanza::addChild(question, "query", Ns::roster);
    ask(question, [this](const MivoXmlNode& answer) {
        if (!answer.isNull())
            takeRoster(answer);
    });
}

void Account::takeStanza(const MivoXmlNode& stanza)
{
    hasChecked = false;
    silence.start(used.checkSeconds * 1000);
    if (stanza.getAttribute("xmlns") != Ns::client)
        return;
    const QString type = stanza.getAttribute("type");
    if (stanza.name() == "message")
        takeMessage(stanza);
    else if (stanza.name() == "presence")
        takePresence(stanza);
    else if (stanza.name() == "iq" && (type == "get" || type == "set"))
        takeQuestion(stanza);
    else if (stanza.name() == "iq")
        takeAnswer(stanza);
}

// Questions and answers

void Account::requireOnline() const
{
    if (current != Online)
        throw std::runtime_error(
            QString("%1 is not connected (%2)").arg(address(), stateText()).toStdString());
}

void Account::request(const MivoXmlNode& question, const WhenAnswered& whenAnswered)
{
    requireOnline();
    ask(question, whenAnswered);
}

void Account::ask(const MivoXmlNode& question, const WhenAnswered& whenAnswered)
{
    questions.insert(question.getAttribute("id"), {question.getAttribute("to"), whenAnswered});
    stream->send(question);
}

bool Account::isOwnServer(const Jid& from) const
{
    const Jid own(address());
    return from.key() == own.key() || from.key() == Jid(own.domain()).key()
        || from.key() == Jid(stream->boundAddress()).key();
}

void Account::takeAnswer(const MivoXmlNode& answer)
{
    const auto asked = questions.constFind(answer.getAttribute("id"));
    if (asked == questions.constEnd())
        return;
    const QString from = answer.getAttribute("from");
    const bool isFromServer = from.isEmpty() || isOwnServer(Jid(from));
    if (asked->to.isEmpty() ? !isFromServer
                            : Jid(from).key() != Jid(asked->to).key()
                && !(isFromServer && isOwnServer(Jid(asked->to))))
        return;
    const WhenAnswered whenAnswered = asked->whenAnswered;
    questions.erase(asked);
    whenAnswered(answer);
}

void Account::takeQuestion(const MivoXmlNode& question)
{
    const Jid from(question.getAttribute("from"));
    MivoXmlNode answer
        = Stanza::iq("result", question.getAttribute("id"), question.getAttribute("from"));
    // RFC 6121, 2.1.6: a push is only the own account's.
    const bool isOwn
        = question.getAttribute("from").isEmpty() || from.key() == Jid(address()).key();
    const MivoXmlNode push = Stanza::child(question, "query", Ns::roster);
    const bool isSet = question.getAttribute("type") == "set";
    if (isSet && isOwn && !push.isNull()) {
        takeRosterPush(push);
    } else if (isSet || Stanza::child(question, "ping", Ns::ping).isNull()) {
        answer.setAttribute("type", QString("error"));
        MivoXmlNode error = answer.addChild("error");
        error.setAttribute("type", QString("cancel"));
        Stanza::addChild(error, "service-unavailable", Ns::stanzaErrors);
    }
    stream->send(answer);
}

// The contact list

void Account::takeRoster(const MivoXmlNode& answer)
{
    const MivoXmlNode query = Stanza::child(answer, "query", Ns::roster);
    if (answer.getAttribute("type") != "result" || query.isNull()) {
        write("The server does not give the contact list: " + Stanza::errorText(answer));
        becomeOnline();
        return;
    }
    isTakingRoster = true;
    rosterKeys.clear();
    rosterSize = 0;
    takeRosterPush(query);
    takeBatch();
}

/** Items go in the order in which they came, behind those that wait. */
void Account::takeRosterPush(const MivoXmlNode& push)
{
    for (const MivoXmlNode& element : Stanza::children(push, "item", Ns::roster)) {
        const Jid jid(element.getAttribute("jid"));
        RosterItem item;
        item.address = jid.bare();
        item.name = element.getAttribute("name");
        item.subscription = element.getAttribute("subscription");
        if (item.subscription.isNull())
            item.subscription = "none";
        item.isAsked = element.getAttribute("ask") == "subscribe";
        for (const MivoXmlNode& group : Stanza::children(element, "group", Ns::roster))
            item.groups.append(group.getData());
        if (!jid.isValid()
            || (item.subscription != "remove" && !isSubscription(item.subscription))) {
            write(
                QString("found a contact \"%1\" with the subscription \"%2\" in the server's list; "
                        "expected an address and none, to, from or both: left out")
                    .arg(shortened(element.getAttribute("jid")), shortened(item.subscription)));
            continue;
        }
        waitingItems.append(item);
        ++rosterSize;
    }
    if (!isTakingRoster)
        takeBatch();
}

void Account::takeBatch()
{
    for (int i = 0; i < batchSize && !waitingItems.isEmpty(); ++i) {
        const RosterItem item = waitingItems.takeFirst();
        const Jid jid(item.address);
        if (item.subscription == "remove") {
            contacts.removeItem(owner, jid);
            rosterKeys.remove(jid.key());
        } else {
            contacts.setItem(owner, item);
            rosterKeys.insert(jid.key());
        }
    }
    if (!isTakingRoster)
        return;
    if (waitingItems.isEmpty()) {
        isTakingRoster = false;
        contacts.keepOnly(owner, rosterKeys);
        becomeOnline();
        return;
    }
    // By a timer: events that are posted go before all others.
    QTimer::singleShot(0, stream.get(), [this] {
        if (isTakingRoster)
            takeBatch();
    });
}

void Account::becomeOnline()
{
    pauses.reset();
    sendPresence();
    setState(Online, "Connected as " + stream->boundAddress());
    sendWaiting();
}

void Account::setRosterItem(const Jid& contact, const QString& name, const QStringList& groups)
{
    requireOnline();
    MivoXmlNode question = Stanza::iq("set", Stanza::newId());
    MivoXmlNode query = Stanza::addChild(question, "query", Ns::roster);
    MivoXmlNode item = query.addChild("item");
    item.setAttribute("jid", contact.bare());
    if (!name.isEmpty())
        item.setAttribute("name", name);
    for (const QString& group : groups) {
        if (!group.trimmed().isEmpty())
            Stanza::addText(item, "group", group);
    }
    ask(question, [this, contact](const MivoXmlNode& answer) {
        if (answer.getAttribute("type") != "result")
            write(QString("%1 was not changed: %2").arg(contact.bare(), Stanza::errorText(answer)));
    });
}

void Account::removeRosterItem(const Jid& contact)
{
    requireOnline();
    MivoXmlNode question = Stanza::iq("set", Stanza::newId());
    MivoXmlNode item = Stanza::addChild(question, "query", Ns::roster).addChild("item");
    item.setAttribute("jid", contact.bare());
    item.setAttribute("subscription", QString("remove"));
    ask(question, [this, contact](const MivoXmlNode& answer) {
        if (answer.getAttribute("type") != "result")
            write(QString("%1 was not removed: %2").arg(contact.bare(), Stanza::errorText(answer)));
    });
}

void Account::sendSubscription(const Jid& contact, const QString& type)
{
    requireOnline();
    MivoXmlNode presence("presence");
    presence.setAttribute("to", contact.bare());
    presence.setAttribute("type", type);
    stream->send(presence);
    if (type == "subscribed" || type == "unsubscribed") {
        asking.remove(Jid(contact.bare()).key());
        contacts.setAsking(owner, contact, false);
    }
}

bool Account::isAsking(const Jid& who) const
{
    return asking.contains(Jid(who.bare()).key());
}

// Presences

void Account::setOwnPresence(const QString& status, const QString& statusText)
{
    ownStatus = status;
    ownText = statusText;
    if (current == Online)
        sendPresence();
}

void Account::setOwnPicture(const QByteArray& bytes)
{
    requireOnline();
    MivoXmlNode question = Stanza::iq("set", Stanza::newId());
    MivoXmlNode card = Stanza::addChild(question, "vCard", Ns::vCard);
    if (!bytes.isEmpty()) {
        MivoXmlNode photo = card.addChild("PHOTO");
        const bool isPng = bytes.startsWith("\x89PNG");
        Stanza::addText(photo, "TYPE", isPng ? "image/png" : "image/jpeg");
        Stanza::addText(photo, "BINVAL", QString::fromLatin1(bytes.toBase64()));
    }
    const QByteArray hash = bytes.isEmpty()
        ? QByteArray("")
        : QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex();
    ask(question, [this, hash](const MivoXmlNode& answer) {
        if (answer.getAttribute("type") == "result") {
            ownPicture = QString::fromLatin1(hash);
            sendPresence();
        } else if (!answer.isNull()) {
            write("The picture was not set: " + Stanza::errorText(answer));
        }
    });
}

void Account::sendPresence()
{
    MivoXmlNode presence("presence");
    if (ownStatus != "online")
        Stanza::addText(presence, "show", ownStatus);
    if (!ownText.isEmpty())
        Stanza::addText(presence, "status", ownText);
    if (!ownPicture.isNull()) {
        MivoXmlNode update = Stanza::addChild(presence, "x", Ns::vCardUpdate);
        Stanza::addText(update, "photo", ownPicture);
    }
    stream->send(presence);
}

void Account::takePresence(const MivoXmlNode& presence)
{
    const Jid from(presence.getAttribute("from"));
    if (!from.isValid())
        return;
    const QString type = presence.getAttribute("type");
    const QString status = Stanza::child(presence, "status", Ns::client).getData();
    if (type.isEmpty()) {
        ClientPresence client;
        const QString show = Stanza::child(presence, "show", Ns::client).getData().trimmed();
        client.status = QStringList({"chat", "away", "xa", "dnd"}).contains(show) ? show : "online";
        client.text = status;
        const QString priority = Stanza::child(presence, "priority", Ns::client).getData();
        client.priority = qBound(-128, priority.trimmed().toInt(), 127);
        contacts.setAvailable(owner, from, client);
        const MivoXmlNode picture = Stanza::child(Stanza::child(presence, "x", Ns::vCardUpdate),
                                                  "photo", Ns::vCardUpdate);
        const QString key = Jid(from.bare()).key();
        if (!picture.isNull() && contacts.item(owner, from)
            && pictures.value(key) != picture.getData().trimmed()) {
            pictures.insert(key, picture.getData().trimmed());
            waitingPictures.append(Jid(from.bare()));
            requestPictures();
        }
    } else if (type == "unavailable" || type == "error") {
        contacts.setUnavailable(owner, from, type == "error" ? QString() : status);
    } else if (type == "subscribe") {
        const MivoBuddy entry = contacts.findOrAdd(owner, from);
        asking.insert(Jid(from.bare()).key());
        contacts.setAsking(owner, from, true);
        write(QString("%1 asks to see your presence").arg(from.bare()));
        Q_EMIT messageChanged({entry, "asks", QString(), status,
                               QDateTime::currentMSecsSinceEpoch(), from.bare(), QString()});
    }
    // The server tells of the other types by pushes of the contact list.
}

void Account::requestPictures()
{
    while (picturesAsked < picturesAtOnce && !waitingPictures.isEmpty()) {
        const Jid who = waitingPictures.takeFirst();
        if (pictures.value(who.key()).isEmpty()) {
            contacts.setPicture(owner, who, QByteArray());
            continue;
        }
        MivoXmlNode question = Stanza::iq("get", Stanza::newId(), who.bare());
        Stanza::addChild(question, "vCard", Ns::vCard);
        ++picturesAsked;
        ask(question, [this, who](const MivoXmlNode& answer) {
            if (answer.isNull())
                return;
            --picturesAsked;
            const MivoXmlNode card = Stanza::child(answer, "vCard", Ns::vCard);
            const QString bytes
                = Stanza::child(Stanza::child(card, "PHOTO", Ns::vCard), "BINVAL", Ns::vCard)
                      .getData();
            if (bytes.size() < mostCharacters)
                contacts.setPicture(owner, who, QByteArray::fromBase64(bytes.toLatin1()));
            else
                write(QString("the picture of %1 is too large: found %2 characters; expected at "
                              "most %3")
                          .arg(who.bare())
                          .arg(bytes.size())
                          .arg(mostCharacters));
            requestPictures();
        });
    }
}

// Messages

QString Account::sendMessage(const Jid& to, const QString& messageText)
{
    const QString id = Stanza::newId();
    const MessagePointer message(new Message{contacts.findOrAdd(owner, to), "queued", id,
                                             messageText, QDateTime::currentMSecsSinceEpoch(),
                                             address(), QString()});
    sent.insert(id, {message, Jid(to.bare()).key()});
    sentOrder.enqueue(id);
    while (sentOrder.size() > keptSent && sent.value(sentOrder.first()).message->event != "queued")
        sent.remove(sentOrder.dequeue());
    outbox.add({id, to.bare(), messageText});
    note(Jid(to.bare()).key(), message);
    sendWaiting();
    return id;
}

void Account::sendWaiting()
{
    if (current != Online)
        return;
    for (const Letter& letter : outbox.takeSendable()) {
        MivoXmlNode message("message");
        message.setAttribute("to", letter.to);
        message.setAttribute("type", QString("chat"));
        message.setAttribute("id", letter.id);
        Stanza::addText(message, "body", letter.text);
        stream->send(message);
    }
    if (isPinging || outbox.unconfirmed() == 0)
        return;
    // The server answers in the order in which it was asked: it has taken all that was sent before.
    isPinging = true;
    const int count = outbox.unconfirmed();
    MivoXmlNode ping = Stanza::iq("get", Stanza::newId(), Jid(address()).domain());
    Stanza::addChild(ping, "ping", Ns::ping);
    ask(ping, [this, count](const MivoXmlNode& answer) {
        if (answer.isNull())
            return;
        isPinging = false;
        for (const QString& id : outbox.confirm(count))
            settle(id, "taken", QString());
        sendWaiting();
    });
}

void Account::checkConnection()
{
    if (hasChecked || current != Online) {
        // A stream that is silent is cut: the server cannot be asked.
        stream->disconnect(this);
        takeEnd({StreamEnd::Lost, "The server does not answer any more", false});
        return;
    }
    hasChecked = true;
    MivoXmlNode ping = Stanza::iq("get", Stanza::newId(), Jid(address()).domain());
    Stanza::addChild(ping, "ping", Ns::ping);
    ask(ping, [](const MivoXmlNode&) {});
}

void Account::takeMessage(const MivoXmlNode& message)
{
    const QString fromText = message.getAttribute("from");
    const Jid from(fromText.isEmpty() ? address() : fromText);
    if (!from.isValid())
        return;
    const QString type = message.getAttribute("type");
    if (type == "error") {
        takeFailure(from, message);
        return;
    }
    const MivoXmlNode body = Stanza::child(message, "body", Ns::client);
    if (body.isNull() || !(type.isEmpty() || type == "chat" || type == "normal"))
        return;
    const QString id = message.getAttribute("id");
    if (seen.note(Jid(from.bare()).key(), id, body.getData()))
        return;
    const MivoBuddy entry = contacts.findOrAdd(owner, from);
    contacts.setUnread(owner, from, entry.unreadMessages() + 1);
    note(Jid(from.bare()).key(),
         MessagePointer(new Message{entry, "received", id, body.getData(),
                                    Stanza::timeOf(message).toMSecsSinceEpoch(), from.text(),
                                    QString()}));
}

void Account::takeFailure(const Jid& from, const MivoXmlNode& message)
{
    // Only the one it went to, or the own server, can tell that a message was not delivered.
    const QString id = message.getAttribute("id");
    const Sent failed = sent.value(id);
    if (failed.message && (Jid(from.bare()).key() == failed.to || isOwnServer(from)))
        settle(id, "failed", "It was not delivered: " + Stanza::errorText(message));
}

void Account::note(const QString& key, const MessagePointer& message)
{
    QList<MessagePointer>& said = conversations[key];
    said.append(message);
    if (said.size() > keptMessages + message->entry.unreadMessages())
        said.removeFirst();
    Q_EMIT messageChanged(*message);
}

/** A message of the user has another state. */
void Account::settle(const QString& id, const QString& event, const QString& reason)
{
    const Sent settled = sent.value(id);
    if (!settled.message || settled.message->event == event)
        return;
    settled.message->event = event;
    settled.message->reason = reason;
    const MivoBuddy entry = contacts.find(owner, Jid(settled.to));
    if (entry.isValid())
        settled.message->entry = entry;
    if (event == "failed")
        write(QString("a message to %1: %2").arg(settled.to, reason));
    Q_EMIT messageChanged(*settled.message);
}

QList<Message> Account::conversation(const Jid& with) const
{
    QList<Message> said;
    for (const MessagePointer& message : conversations.value(Jid(with.bare()).key()))
        said.append(*message);
    return said;
}

void Account::markRead(const Jid& with)
{
    contacts.setUnread(owner, with, 0);
}
