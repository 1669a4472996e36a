#ifndef RELAY_H
#define RELAY_H

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <functional>

/**
 * Stands between clients and a server, in a thread of its own, and can break connections the way that
 * networks do.
 */
class Relay
{
public:
    explicit Relay(quint16 serverPort)
        : target(serverPort)
        , context(new QObject)
    {
        context->moveToThread(&thread);
        thread.start();
        inThread([this] {
            server.reset(new QTcpServer);
            server->listen(QHostAddress::LocalHost);
            usedPort = server->serverPort();
            QObject::connect(server.get(), &QTcpServer::newConnection, context,
                             [this] { accept(); });
        });
    }
    ~Relay()
    {
        inThread([this] {
            cutNow();
            server.reset();
        });
        context->deleteLater();
        thread.quit();
        thread.wait();
    }

    quint16 port() const { return usedPort; }
    /** The connections that there are carry nothing any more, which neither side is told. */
    void freeze()
    {
        inThread([this] {
            for (QTcpSocket* const socket : qAsConst(sockets))
                socket->disconnect(context);
        });
    }
    /** Both sides of all connections are told that they have ended. */
    void cut()
    {
        inThread([this] { cutNow(); });
    }

private:
    Q_DISABLE_COPY(Relay)

    void inThread(const std::function<void()>& piece)
    {
        QMetaObject::invokeMethod(context, piece, Qt::BlockingQueuedConnection);
    }

    void accept()
    {
        QTcpSocket* const client = server->nextPendingConnection();
        QTcpSocket* const peer = new QTcpSocket(server.get());
        sockets += {client, peer};
        peer->connectToHost(QHostAddress::LocalHost, target);
        const auto forward = [this](QTcpSocket* from, QTcpSocket* to) {
            QObject::connect(from, &QTcpSocket::readyRead, context,
                             [from, to] { to->write(from->readAll()); });
            QObject::connect(from, &QTcpSocket::disconnected, context, [from, to] {
                to->write(from->readAll());
                to->disconnectFromHost();
            });
        };
        forward(client, peer);
        forward(peer, client);
    }

    void cutNow()
    {
        for (QTcpSocket* const socket : qAsConst(sockets)) {
            socket->disconnect(context);
            socket->abort();
            socket->deleteLater();
        }
        sockets.clear();
    }

    const quint16 target;
    quint16 usedPort = 0;
    QThread thread;
    QObject* const context; // lives in the thread, as do the sockets
    std::unique_ptr<QTcpServer> server;
    QList<QTcpSocket*> sockets;
};

#endif
