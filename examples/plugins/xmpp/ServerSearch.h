#ifndef SERVERSEARCH_H
#define SERVERSEARCH_H

#include <QAbstractSocket>
#include <QDnsLookup>
#include <QHostInfo>
#include <QTcpSocket>
#include <QTimer>

/** A port at a machine, by name. */
struct ServerPlace
{
    QString host;
    quint16 port;
};

/**
 * Finds the server of a domain and tries whether it takes connections, without blocking: libstrophe
 * would block on names and tell no reasons. Used once, in one thread with an event loop.
 */
class ServerSearch : public QObject
{
    Q_OBJECT

public:
    explicit ServerSearch(QObject* parent = nullptr);
    ~ServerSearch() override;

    /**
     * Looks for the server of @p domain: at @p host if that is not empty, else where the domain's
     * own records say, else at the domain itself; at @p port, 0 being the usual one.
     */
    void start(const QString& domain, const QString& host, quint16 port);

Q_SIGNALS:
    /** The address of a machine that takes connections. */
    void found(const QString& address, quint16 port);
    /** One sentence. */
    void failed(const QString& reason);

private:
    void takeRecords();
    void lookUp();
    void takeHost(const QHostInfo& info);
    void tryAddress();
    void noteRefusal(const QString& reason);

    QDnsLookup records;
    QTimer recordsBound;
    QTcpSocket probe;
    QTimer probeBound;
    QString domain;
    bool isGiven = false; // whether the user has entered the host
    QList<ServerPlace> places; // that are left
    QList<QHostAddress> addresses; // of the first place, that are left
    QString refusal;
    int lookUpId = -1;
};

#endif
