#ifndef SCRIPTEDSERVER_H
#define SCRIPTEDSERVER_H

#include <QMutex>
#include <QRegularExpression>
#include <QSemaphore>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

/**
 * An XMPP server that lets everybody in, without TLS, and then sends what the test has written down,
 * well-formed or not. It serves one connection after the other, in a thread of its own.
 */
class ScriptedServer : public QThread
{
public:
    /** When what is written down is sent. */
    enum Moment {
        AtOnce, ///< in place of the stream's header
        InsteadOfFeatures,
        InsteadOfLogin, ///< in place of the answer to the password
        InsteadOfRoster, ///< in place of the answer to the question for the contact list
        AfterPresence ///< when the client has told its presence
    };

    /** What one connection gets; the last script is for all further connections too. */
    struct Script
    {
        Moment moment = AfterPresence;
        QByteArray bytes;
        QByteArray roster; ///< items
        bool isMute = false; ///< does not answer pings
        bool isTruncated = false; ///< ends the connection behind the bytes
        bool isCutAfterMessage = false; ///< ends the connection when a message has come
        QByteArray beforeRoster; ///< sent before the contact list; "%ID" is the question's identity
    };

    explicit ScriptedServer(const QList<Script>& usedScripts)
        : scripts(usedScripts)
    {
        start();
        listening.acquire();
    }
    ~ScriptedServer() override
    {
        requestInterruption();
        wait();
    }

    quint16 port() const { return usedPort; }
    /** All that the client has said in that connection. */
    QByteArray heard(int connection) const
    {
        QMutexLocker locker(&mutex);
        return said.value(connection);
    }
    int connections() const
    {
        QMutexLocker locker(&mutex);
        return int(said.size());
    }

protected:
    void run() override
    {
        QTcpServer server;
        server.listen(QHostAddress::LocalHost);
        usedPort = server.serverPort();
        listening.release();
        while (!isInterruptionRequested()) {
            if (!server.hasPendingConnections() && !server.waitForNewConnection(20))
                continue;
            const std::unique_ptr<QTcpSocket> socket(server.nextPendingConnection());
            // The client first tries whether the port takes connections.
            while (!socket->waitForReadyRead(20) && socket->state() == QTcpSocket::ConnectedState
                   && !isInterruptionRequested()) { }
            if (socket->bytesAvailable() > 0)
                serve(*socket);
        }
    }

private:
    Q_DISABLE_COPY(ScriptedServer)

    static QByteArray idIn(const QByteArray& stanza)
    {
        return QRegularExpression("id=[\"']([^\"']*)[\"']")
            .match(QString::fromUtf8(stanza))
            .captured(1)
            .toUtf8();
    }

    void serve(QTcpSocket& socket)
    {
        const Script script = scripts.at(qMin(served, int(scripts.size()) - 1));
        ++served;
        {
            QMutexLocker locker(&mutex);
            said.append(QByteArray());
        }
        const auto send = [&socket](const QByteArray& bytes) {
            socket.write(bytes);
            while (socket.bytesToWrite() > 0 && socket.waitForBytesWritten(30000)) { }
        };
        const auto sendScript = [&] {
            send(script.bytes);
            if (script.isTruncated)
                socket.disconnectFromHost();
        };
        const QByteArray header
            = "<?xml version='1.0'?><stream:stream xmlns='jabber:client' version='1.0' id='s' "
              "xmlns:stream='http://etherx.jabber.org/streams' from='localhost'>";
        bool isIn = false;
        bool isScriptSent = false;
        QByteArray waiting;
        while (socket.state() == QTcpSocket::ConnectedState && !isInterruptionRequested()) {
            if (socket.bytesAvailable() == 0 && !socket.waitForReadyRead(20))
                continue;
            const QByteArray bytes = socket.readAll();
            waiting += bytes;
            {
                QMutexLocker locker(&mutex);
                said.last() += bytes;
            }
            // One after the other, in the order in which the client asks.
            while (true) {
                const auto end = waiting.indexOf('>');
                if (end < 0)
                    break;
                QByteArray piece = waiting.left(end + 1);
                if (piece.startsWith("<iq") || piece.startsWith("<message")
                    || piece.startsWith("<auth")) {
                    const QByteArray name = piece.mid(1, piece.indexOf(' ') - 1);
                    const QByteArray close = "</" + name + ">";
                    const auto closed = waiting.indexOf(close);
                    if (closed < 0 && !piece.endsWith("/>"))
                        break;
                    if (closed >= 0)
                        piece = waiting.left(closed + close.size());
                }
                waiting.remove(0, piece.size());
                if (piece.startsWith("<stream:stream")) {
                    if (script.moment == AtOnce) {
                        sendScript();
                        continue;
                    }
                    send(header);
                    if (script.moment == InsteadOfFeatures)
                        sendScript();
                    else if (!isIn)
                        send("<stream:features><mechanisms "
                             "xmlns='urn:ietf:params:xml:ns:xmpp-sasl'><mechanism>PLAIN</mechanism>"
                             "</mechanisms></stream:features>");
                    else
                        send("<stream:features><bind "
                             "xmlns='urn:ietf:params:xml:ns:xmpp-bind'/></stream:features>");
                } else if (piece.startsWith("<auth")) {
                    isIn = true;
                    if (script.moment == InsteadOfLogin)
                        sendScript();
                    else
                        send("<success xmlns='urn:ietf:params:xml:ns:xmpp-sasl'/>");
                } else if (piece.contains("xmpp-bind")) {
                    send("<iq type='result' id='" + idIn(piece)
                         + "'><bind xmlns='urn:ietf:params:xml:ns:xmpp-bind'>"
                           "<jid>ann@localhost/test</jid></bind></iq>");
                } else if (piece.contains("jabber:iq:roster") && piece.contains("get")) {
                    QByteArray before = script.beforeRoster;
                    send(before.replace("%ID", idIn(piece)));
                    if (script.moment == InsteadOfRoster)
                        sendScript();
                    else
                        send("<iq type='result' id='" + idIn(piece)
                             + "'><query xmlns='jabber:iq:roster'>" + script.roster
                             + "</query></iq>");
                } else if (piece.startsWith("<presence") && script.moment == AfterPresence
                           && !isScriptSent) {
                    isScriptSent = true;
                    sendScript();
                } else if (piece.contains("urn:xmpp:ping") && piece.contains("get")) {
                    if (!script.isMute)
                        send("<iq type='result' from='localhost' id='" + idIn(piece) + "'/>");
                } else if (piece.startsWith("<message") && script.isCutAfterMessage) {
                    socket.abort();
                }
            }
        }
    }

    const QList<Script> scripts;
    int served = 0;
    quint16 usedPort = 0;
    QSemaphore listening;
    mutable QMutex mutex;
    QList<QByteArray> said;
};

#endif
