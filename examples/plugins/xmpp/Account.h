#ifndef ACCOUNT_H
#define ACCOUNT_H

#include "Contacts.h"
#include "Message.h"
#include "Outbox.h"
#include "ReconnectPauses.h"
#include "SeenMessages.h"
#include "StropheStream.h"

#include <QQueue>
#include <QSharedPointer>

#include <functional>

/** What the user has entered for an account. */
struct AccountSettings
{
    StreamSettings stream; ///< the address without resource
    QString resource; ///< empty: of the server's choice
    int checkSeconds = 60; ///< of silence, after which the connection is tried
    bool connectsAtStart = false;
};

/**
 * An account and its connection: takes the contact list over, follows what the server says, sends
 * messages until the server is known to have taken them, and connects anew when the connection is
 * lost. It lives in the plug-in's thread.
 */
class Account : public QObject
{
    Q_OBJECT

public:
    enum State { Offline, Connecting, Online, Waiting };
    static const int LargestPicture = 1024 * 1024; // bytes
    /** Given the answer, or a null element when there is none: the connection is lost. */
    typedef std::function<void(const MivoXmlNode& answer)> WhenAnswered;

    /** @p contacts must outlive the account. */
    Account(const AccountSettings& settings, Contacts& contacts, QObject* parent);
    /** Ends the connection at once; what was not delivered is written to the log. */
    ~Account() override;

    AccountSettings settings() const { return used; }
    /** Takes effect with the next connection; the address stays. */
    void setSettings(const AccountSettings& settings);
    /** Whom contacts belong to; null before the first connection. */
    MivoAccountConnection* connection() const { return owner; }
    QString address() const { return used.stream.address; }

    State state() const { return current; }
    /** One sentence for the user. */
    QString stateText() const;
    /** The planned pause before the next try, in milliseconds; -1 when none is planned. */
    int plannedPause() const { return current == Waiting ? pauseMs : -1; }

    /** Connects at once; does nothing when that is done or under way. */
    void connectNow();
    /** Ends the connection; messages that were not sent are kept for the next. */
    void disconnectNow();

    /** As disconnectNow(), but at once and for the last time. */
    void shutDown();

    /** The presence that others see; the status is the id of a presence. */
    void setOwnPresence(const QString& status, const QString& text);
    /** The bytes of an image file that others see; empty for none. Throws as changes of the list. */
    void setOwnPicture(const QByteArray& bytes);
    /** Returns the identity of the message, which is kept until the server has taken it. */
    QString sendMessage(const Jid& to, const QString& text);
    /** What has been said with one address. */
    QList<Message> conversation(const Jid& with) const;
    void markRead(const Jid& with);
    /** Whether that address waits for an answer to its request for the user's presence. */
    bool isAsking(const Jid& who) const;

    // Changes of the contact list: they are shown when the server has made them. A refusal of the
    // server goes to the log. They throw a std::runtime_error when the account is not online.

    void setRosterItem(const Jid& contact, const QString& name, const QStringList& groups);
    void removeRosterItem(const Jid& contact);
    /** A presence of @p type, "subscribe" for instance. */
    void sendSubscription(const Jid& contact, const QString& type);

    /**
     * Sends a question, an "iq" to its attribute "to". Only who was asked can answer. Throws a
     * std::runtime_error when the account is not online.
     */
    void request(const MivoXmlNode& question, const WhenAnswered& whenAnswered);
    /** Throws a std::runtime_error when the account is not online. */
    void requireOnline() const;

Q_SIGNALS:
    void stateChanged();
    void messageChanged(const Message& message);

private:
    struct Question
    {
        QString to;
        WhenAnswered whenAnswered;
    };

    typedef QSharedPointer<Message> MessagePointer; // a conversation and what tracks its delivery
    struct Sent
    {
        MessagePointer message;
        QString to; // Jid::key()
    };

    void setState(State state, const QString& text);
    void startStream();
    void endStream();
    void takeEnd(const StreamEnd& end);
    void takeOpened();
    void takeStanza(const MivoXmlNode& stanza);
    void takeQuestion(const MivoXmlNode& question);
    void takeAnswer(const MivoXmlNode& answer);
    void takeRosterPush(const MivoXmlNode& push);
    void takePresence(const MivoXmlNode& presence);
    void takeMessage(const MivoXmlNode& message);
    void takeFailure(const Jid& from, const MivoXmlNode& message);
    void takeRoster(const MivoXmlNode& answer);
    void takeBatch();
    void becomeOnline();
    void ask(const MivoXmlNode& question, const WhenAnswered& whenAnswered);
    void sendPresence();
    void sendWaiting();
    void checkConnection();
    void requestPictures();
    void note(const QString& key, const MessagePointer& message);
    void settle(const QString& id, const QString& event, const QString& reason);
    bool isOwnServer(const Jid& from) const;
    void write(const QString& line) const;

    AccountSettings used;
    Contacts& contacts;
    MivoAccountConnection* owner; // a child of the parent: contacts that others hold point to it
    State current = Offline;
    QString text;
    std::unique_ptr<StropheStream> stream;
    ReconnectPauses pauses;
    QTimer pause;
    int pauseMs = -1;
    QTimer silence;
    bool hasChecked = false; // since something has come

    QHash<QString, Question> questions; // by identity
    QList<RosterItem> waitingItems; // of the contact list, those that are left to be taken over
    QSet<QString> rosterKeys; // of those that have been
    int rosterSize = 0;
    bool isTakingRoster = false;

    QString ownStatus = "online";
    QString ownText;
    QString ownPicture; // its hash; null when the account has not been told of one
    Outbox outbox;
    bool isPinging = false;
    SeenMessages seen;
    QHash<QString, QList<MessagePointer>> conversations; // by Jid::key()
    QHash<QString, Sent> sent; // by identity
    QQueue<QString> sentOrder;
    QSet<QString> asking; // Jid::key()
    QHash<QString, QString> pictures; // hashes by Jid::key()
    QList<Jid> waitingPictures;
    int picturesAsked = 0;
};

#endif
