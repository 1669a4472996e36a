#ifndef STROPHESTREAM_H
#define STROPHESTREAM_H

#include "ServerSearch.h"

#include <MivoXmlNode.h>

#include <QSocketNotifier>
#include <QTimer>

#include <memory>

#include <strophe.h>

class BlockGuard;

/** Where a stream leads to, and under which conditions. */
struct StreamSettings
{
    QString address; ///< with the wanted resource, if any
    QString password;
    QString host; ///< empty: that of the address
    quint16 port = 0; ///< 0: the usual one
    bool mustBeEncrypted = true;
    QString certificates; ///< a file of trusted ones; empty: the system's
    bool acceptsUnknown = false; ///< certificates that cannot be verified, that is
};

/** Why a stream has ended. */
struct StreamEnd
{
    enum Kind {
        Asked, ///< close() has been called
        Lost, ///< to be tried again
        Refused ///< in vain as long as the user changes nothing
    };

    Kind kind;
    QString reason; ///< one sentence for the user
    bool isStreamError; ///< whether the server has objected to what was sent
};

/**
 * One stream to a server, by libstrophe: the name of the server is looked up, its port tried, then TLS,
 * SASL and the resource are negotiated. It is used once, in a thread with an event loop, which it
 * never polls and never blocks longer than BlockGuard lets it. Destroying it cuts the connection.
 */
class StropheStream : public QObject
{
    Q_OBJECT

public:
    explicit StropheStream(const StreamSettings& settings, QObject* parent = nullptr);
    ~StropheStream() override;

    void open();
    /** Sends what is waiting, ends the stream and waits for the server to do so too, a moment. */
    void close();
    /** Sends a stanza; does nothing when the stream is not open. */
    void send(const MivoXmlNode& stanza);
    /** Sends what can be sent at once, without the event loop. */
    void flush();

    bool isOpen() const;
    /** The address that the server knows this client by; empty before the stream is open. */
    QString boundAddress() const;

Q_SIGNALS:
    void opened();
    void received(const MivoXmlNode& stanza);
    /** Emitted once, from the event loop. */
    void closed(const StreamEnd& end);

private:
    Q_DISABLE_COPY(StropheStream)
    friend struct StropheCalls;

    void connectTo(const QString& address, quint16 port);
    void pump();
    void pumpLater();
    void watch(int socket);
    void unwatch();
    void takeLog(const char* area, const char* text);
    void takeStanza(const MivoXmlNode& stanza);
    void takeEvent(xmpp_conn_event_t event, const xmpp_stream_error_t* error);
    QString certificateText() const;
    StreamEnd endOf(const xmpp_stream_error_t* error, bool wasOpen) const;
    void finish(const StreamEnd& end);

    const StreamSettings settings;
    ServerSearch search;
    xmpp_log_t log;
    xmpp_ctx_t* context = nullptr;
    xmpp_conn_t* connection = nullptr;
    std::unique_ptr<BlockGuard> guard; // until the stream is open
    std::unique_ptr<QSocketNotifier> readable;
    std::unique_ptr<QSocketNotifier> writable;
    QTimer ticks; // of libstrophe's own time-outs, while the stream is opened or closed
    QTimer bound;
    QTimer pumpTimer;
    int socket = -1;
    bool isOpened = false;
    bool isReached = false; // whether the machine has answered at all
    bool isClosing = false;
    bool isPumping = false;
    bool hasEnded = false;
    enum Setback { NoSetback, LoginRefused, NoLogin, NoTls, NoCertificates, TlsFailed };
    Setback setback = NoSetback;
    bool hasBlocked = false;
    QString certificateError; // what is wrong with the server's certificate
    bool offersAcknowledgement = false;
    bool isAcknowledging = false;
    quint32 taken = 0; // stanzas since the server has been told that they are counted
};

#endif
