#include "StropheStream.h"

#include "BlockGuard.h"
#include "Jid.h"
#include "Stanza.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstring>
#include <mutex>

#include <csignal>
#include <sys/ioctl.h>
#include <sys/select.h>

namespace {

const int tickMs = 500;
const int openBoundMs = 30000;
const int closeBoundMs = 3000;
/** A TLS record holds 16 KiB, of which libstrophe reads 4 at a time. */
const int runsPerRecord = 5;
const int runsPerTurn = 64;

thread_local StropheStream* current = nullptr; // whose libstrophe is running

/** A broken connection is told by the socket's error, not by a signal that ends the process. */
void blockBrokenPipe()
{
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
}

int bytesIn(int socket)
{
    int bytes = 0;
    return ioctl(socket, FIONREAD, &bytes) == 0 ? bytes : 0;
}

/** Copies an element and all below it; deep ones without a call for each level. */
MivoXmlNode nodeFrom(xmpp_stanza_t* stanza)
{
    struct Level
    {
        xmpp_stanza_t* next;
        MivoXmlNode parent;
        QString xmlns;
    };
    const auto copyTag = [](xmpp_stanza_t* tag, MivoXmlNode* parent, const QString& inherited) {
        MivoXmlNode node(QString::fromUtf8(xmpp_stanza_get_name(tag)), parent);
        const int count = xmpp_stanza_get_attribute_count(tag);
        std::vector<const char*> attributes(static_cast<size_t>(std::max(count, 0)) * 2);
        const int filled = xmpp_stanza_get_attributes(tag, attributes.data(),
                                                      static_cast<int>(attributes.size()));
        for (int i = 0; i + 1 < filled; i += 2)
            node.setAttribute(QString::fromUtf8(attributes[size_t(i)]),
                              QString::fromUtf8(attributes[size_t(i) + 1]));
        if (node.getAttribute("xmlns").isNull() && !inherited.isEmpty())
            node.setAttribute("xmlns", inherited);
        return node;
    };

    MivoXmlNode root = copyTag(stanza, nullptr, Ns::client);
    std::vector<Level> levels;
    levels.push_back({xmpp_stanza_get_children(stanza), root, root.getAttribute("xmlns")});
    while (!levels.empty()) {
        Level& level = levels.back();
        xmpp_stanza_t* const child = level.next;
        if (!child) {
            levels.pop_back();
            continue;
        }
        level.next = xmpp_stanza_get_next(child);
        if (xmpp_stanza_is_text(child)) {
            level.parent.insertData(QString::fromUtf8(xmpp_stanza_get_text_ptr(child)));
        } else if (xmpp_stanza_is_tag(child)) {
            const MivoXmlNode node = copyTag(child, &level.parent, level.xmlns);
            if (!node.isNull())
                levels.push_back(
                    {xmpp_stanza_get_children(child), node, node.getAttribute("xmlns")});
        }
    }
    return root;
}

} // namespace

/** What libstrophe calls; none of it lets an exception through C code. */
struct StropheCalls
{
    static void log(void* stream, xmpp_log_level_t level, const char* area, const char* text)
    {
        Q_UNUSED(level)
        static_cast<StropheStream*>(stream)->takeLog(area, text);
    }

    static void event(xmpp_conn_t*, xmpp_conn_event_t event, int, xmpp_stream_error_t* error,
                      void* stream)
    {
        static_cast<StropheStream*>(stream)->takeEvent(event, error);
    }

    static int stanza(xmpp_conn_t*, xmpp_stanza_t* stanza, void* stream)
    {
        StropheStream* const receiver = static_cast<StropheStream*>(stream);
        if (!receiver->hasEnded && !receiver->isClosing)
            receiver->takeStanza(nodeFrom(stanza));
        return 1;
    }

    static int socket(xmpp_conn_t*, void* socket)
    {
        const int descriptor = *static_cast<int*>(socket);
        if (descriptor >= FD_SETSIZE) // libstrophe uses select()
            return -1;
        if (current)
            current->watch(descriptor);
        return 0;
    }

    static int certificate(const xmpp_tlscert_t*, const char* error)
    {
        if (!current)
            return 0;
        if (current->certificateError.isEmpty())
            current->certificateError = QString::fromUtf8(error);
        return current->settings.acceptsUnknown;
    }
};

StropheStream::StropheStream(const StreamSettings& usedSettings, QObject* parent)
    : QObject(parent)
    , settings(usedSettings)
{
    static std::once_flag once;
    std::call_once(once, xmpp_initialize);
    log.handler = StropheCalls::log;
    log.userdata = this;
    ticks.setInterval(tickMs);
    bound.setSingleShot(true);
    pumpTimer.setSingleShot(true);
    connect(&pumpTimer, &QTimer::timeout, this, &StropheStream::pump);
    connect(&ticks, &QTimer::timeout, this, &StropheStream::pump);
    connect(&bound, &QTimer::timeout, this, [this] {
        finish(isClosing
                   ? StreamEnd{StreamEnd::Asked, QString(), false}
                   : StreamEnd{StreamEnd::Lost,
                               "The server does not answer: check host and port, or try later",
                               false});
    });
    connect(&search, &ServerSearch::found, this, &StropheStream::connectTo);
    connect(&search, &ServerSearch::failed, this, [this](const QString& reason) {
        finish({StreamEnd::Lost, reason, false});
    });
}

StropheStream::~StropheStream()
{
    hasEnded = true; // what libstrophe still tells goes nowhere
    unwatch();
    guard.reset();
    if (connection)
        xmpp_conn_release(connection);
    if (context)
        xmpp_ctx_free(context);
}

void StropheStream::open()
{
    blockBrokenPipe();
    bound.start(openBoundMs);
    search.start(Jid(settings.address).domain(), settings.host, settings.port);
}

void StropheStream::connectTo(const QString& address, quint16 port)
{
    if (hasEnded)
        return;
    context = xmpp_ctx_new(nullptr, &log);
    connection = xmpp_conn_new(context);
    xmpp_conn_set_jid(connection, settings.address.toUtf8().constData());
    xmpp_conn_set_pass(connection, settings.password.toUtf8().constData());
    long flags = XMPP_CONN_FLAG_DISABLE_SM;
    if (settings.mustBeEncrypted)
        flags |= XMPP_CONN_FLAG_MANDATORY_TLS;
    xmpp_conn_set_flags(connection, flags);
    if (!settings.certificates.isEmpty())
        xmpp_conn_set_cafile(connection, settings.certificates.toLocal8Bit().constData());
    xmpp_conn_set_certfail_handler(connection, StropheCalls::certificate);
    xmpp_conn_set_sockopt_callback(connection, StropheCalls::socket);
    current = this;
    const int result = xmpp_connect_client(connection, address.toUtf8().constData(), port,
                                           StropheCalls::event, this);
    current = nullptr;
    if (result != XMPP_EOK || socket < 0) {
        finish({StreamEnd::Lost, "No connection could be made: too many files are open", false});
        return;
    }
    ticks.start();
    pumpLater();
}

void StropheStream::close()
{
    if (hasEnded || isClosing)
        return;
    isClosing = true;
    if (!connection) {
        finish({StreamEnd::Asked, QString(), false});
        return;
    }
    bound.start(closeBoundMs);
    ticks.start();
    xmpp_disconnect(connection);
    pumpLater();
}

void StropheStream::send(const MivoXmlNode& stanza)
{
    if (!isOpened || hasEnded)
        return;
    const QByteArray xml = stanza.toXml(-1);
    xmpp_send_raw(connection, xml.constData(), static_cast<size_t>(xml.size()));
    pumpLater();
}

void StropheStream::flush()
{
    pump();
}

bool StropheStream::isOpen() const
{
    return isOpened && !hasEnded;
}

QString StropheStream::boundAddress() const
{
    return isOpen() ? QString::fromUtf8(xmpp_conn_get_bound_jid(connection)) : QString();
}

/** By a timer: events that are posted go before all others, sockets and timers included. */
void StropheStream::pumpLater()
{
    if (!pumpTimer.isActive())
        pumpTimer.start(0);
}

void StropheStream::pump()
{
    if (isPumping || hasEnded || !connection)
        return;
    isPumping = true;
    // No notifier tells of what TLS has already taken from the socket: see runsPerRecord.
    int left = runsPerRecord;
    for (int i = 0; i < runsPerTurn && left > 0 && !hasEnded; ++i) {
        const BlockGuard::Work work(guard.get());
        current = this;
        xmpp_run_once(context, 0);
        current = nullptr;
        --left;
        if (socket >= 0 && bytesIn(socket) > 0)
            left = runsPerRecord;
    }
    isPumping = false;
    if (isOpened || hasEnded)
        guard.reset();
    if (hasEnded)
        return;
    if (left > 0)
        pumpLater();
    if (writable)
        writable->setEnabled(!isReached || xmpp_conn_send_queue_len(connection) > 0);
}

void StropheStream::watch(int descriptor)
{
    socket = descriptor;
    guard.reset(new BlockGuard(descriptor));
    readable.reset(new QSocketNotifier(descriptor, QSocketNotifier::Read));
    writable.reset(new QSocketNotifier(descriptor, QSocketNotifier::Write));
    connect(readable.get(), &QSocketNotifier::activated, this, &StropheStream::pump);
    connect(writable.get(), &QSocketNotifier::activated, this, [this] {
        isReached = true;
        pump();
    });
}

void StropheStream::unwatch()
{
    socket = -1;
    // Possibly from within a notifier's own signal.
    for (std::unique_ptr<QSocketNotifier>* notifier : {&readable, &writable}) {
        if (*notifier) {
            (*notifier)->setEnabled(false);
            notifier->release()->deleteLater();
        }
    }
}

/** What libstrophe tells of an end in no other way. The texts hold passwords and are not kept. */
void StropheStream::takeLog(const char* area, const char* text)
{
    if (isOpened)
        return;
    const auto contains = [text](const char* piece) { return std::strstr(text, piece) != nullptr; };
    if (std::strcmp(area, "xmpp") == 0 && std::strncmp(text, "RECV: <features", 15) == 0)
        offersAcknowledgement = contains(Ns::acknowledgement);
    else if (contains("SSL_CTX_load_verify_locations() failed"))
        setback = NoCertificates;
    else if (contains("TLS is not supported, but set as mandatory") && setback != NoCertificates)
        setback = NoTls;
    else if (contains("Couldn't start TLS"))
        setback = TlsFailed;
    else if (std::strncmp(text, "SASL", 4) == 0 && contains("auth failed"))
        setback = LoginRefused;
    else if (contains("Cannot authenticate with known methods") && setback != LoginRefused)
        setback = NoLogin;
}

/** Counts what the server is to know of as taken, and tells it when it asks (XEP-0198). */
void StropheStream::takeStanza(const MivoXmlNode& stanza)
{
    if (stanza.getAttribute("xmlns") == Ns::acknowledgement) {
        if (stanza.name() == "enabled") {
            isAcknowledging = true;
            taken = 0;
        } else if (stanza.name() == "r" && isAcknowledging) {
            MivoXmlNode answer("a");
            answer.setAttribute("xmlns", QString(Ns::acknowledgement));
            answer.setAttribute("h", taken);
            send(answer);
        }
        return;
    }
    if (stanza.isNull())
        return;
    ++taken;
    Q_EMIT received(stanza);
}

void StropheStream::takeEvent(xmpp_conn_event_t event, const xmpp_stream_error_t* error)
{
    if (hasEnded)
        return;
    if (event == XMPP_CONN_CONNECT) {
        isOpened = true;
        ticks.stop();
        bound.stop();
        xmpp_handler_add(connection, StropheCalls::stanza, nullptr, nullptr, nullptr, this);
        if (offersAcknowledgement) {
            MivoXmlNode enable("enable");
            enable.setAttribute("xmlns", QString(Ns::acknowledgement));
            send(enable);
        }
        Q_EMIT opened();
    } else if (event == XMPP_CONN_DISCONNECT || event == XMPP_CONN_FAIL) {
        hasBlocked = guard && guard->hasCut();
        finish(isClosing ? StreamEnd{StreamEnd::Asked, QString(), false} : endOf(error, isOpened));
    }
}

QString StropheStream::certificateText() const
{
    const QString advice(": have it put in order, or accept unknown certificates");
    if (certificateError.contains("expired"))
        return "The certificate of the server has expired" + advice;
    if (certificateError.contains("not yet valid"))
        return "The certificate of the server is not valid yet: check this machine's clock";
    if (certificateError.contains("ostname mismatch"))
        return QString("The certificate of the server is for another domain than %1%2")
            .arg(Jid(settings.address).domain(), advice);
    if (certificateError.contains("self") && certificateError.contains("signed"))
        return "The certificate of the server is signed by itself: name a file with it as the "
               "trusted certificates, or accept unknown certificates";
    return QString("The certificate of the server is signed by nobody who is trusted (%1): name a "
                   "file with the certificate of its authority, or accept unknown certificates")
        .arg(certificateError);
}

StreamEnd StropheStream::endOf(const xmpp_stream_error_t* error, bool wasOpen) const
{
    if (error) {
        const QString text = QString::fromUtf8(error->text).simplified();
        const QString said = text.isEmpty() ? QString() : QString(" (%1)").arg(text);
        switch (error->type) {
        case XMPP_SE_HOST_UNKNOWN:
            return {
                StreamEnd::Refused,
                QString("The server does not know the domain %1: check the address, and the host")
                    .arg(Jid(settings.address).domain()),
                false};
        case XMPP_SE_CONFLICT:
            return {StreamEnd::Refused,
                    "Another program has connected under the same resource: choose another one",
                    false};
        case XMPP_SE_SYSTEM_SHUTDOWN:
            return {StreamEnd::Lost, "The server is being shut down", false};
        default:
            return {StreamEnd::Lost, "The server has ended the connection" + said, wasOpen};
        }
    }
    if (wasOpen)
        return {StreamEnd::Lost, "The connection to the server is lost", false};
    if (hasBlocked)
        return {StreamEnd::Lost,
                "The server does not answer while the encryption is being agreed on", false};
    switch (setback) {
    case LoginRefused:
        return {StreamEnd::Refused,
                QString("The server does not let %1 in: check the address and the password")
                    .arg(Jid(settings.address).bare()),
                false};
    case NoLogin:
        return {StreamEnd::Refused, "The server offers no way to log in that is known here", false};
    case NoTls:
        return {StreamEnd::Refused,
                "The server offers no encryption, which is required: check the host, or do not "
                "require it",
                false};
    case NoCertificates:
        return {StreamEnd::Refused,
                QString("The file of trusted certificates %1 cannot be used: check it")
                    .arg(settings.certificates),
                false};
    case TlsFailed:
        if (!certificateError.isEmpty())
            return {StreamEnd::Refused, certificateText(), false};
        return {StreamEnd::Lost, "The encryption could not be agreed on with the server", false};
    case NoSetback:
        break;
    }
    return {StreamEnd::Lost, "The server has ended the connection before it was made", false};
}

void StropheStream::finish(const StreamEnd& end)
{
    if (hasEnded)
        return;
    hasEnded = true;
    isOpened = false;
    ticks.stop();
    bound.stop();
    unwatch();
    QMetaObject::invokeMethod(
        this, [this, end] { Q_EMIT closed(end); }, Qt::QueuedConnection);
}
