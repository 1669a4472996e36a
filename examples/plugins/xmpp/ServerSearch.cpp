#include "ServerSearch.h"

#include <algorithm>

namespace {

const quint16 usualPort = 5222;
const int recordsBoundMs = 5000;
const int probeBoundMs = 10000;

} // namespace

ServerSearch::ServerSearch(QObject* parent)
    : QObject(parent)
{
    recordsBound.setSingleShot(true);
    probeBound.setSingleShot(true);
    connect(&records, &QDnsLookup::finished, this, &ServerSearch::takeRecords);
    connect(&recordsBound, &QTimer::timeout, &records, &QDnsLookup::abort);
    connect(&probe, &QTcpSocket::connected, this, [this] {
        const QString address = probe.peerAddress().toString();
        const quint16 port = probe.peerPort();
        probeBound.stop();
        probe.abort();
        Q_EMIT found(address, port);
    });
    connect(&probe, &QAbstractSocket::errorOccurred, this,
            [this] { noteRefusal(probe.errorString()); });
    connect(&probeBound, &QTimer::timeout, this, [this] {
        probe.abort();
        noteRefusal("no answer");
    });
}

ServerSearch::~ServerSearch()
{
    if (lookUpId >= 0)
        QHostInfo::abortHostLookup(lookUpId);
}

void ServerSearch::start(const QString& searchedDomain, const QString& host, quint16 port)
{
    domain = searchedDomain;
    isGiven = !host.isEmpty();
    places.append({isGiven ? host : domain, port == 0 ? usualPort : port});
    if (isGiven || port != 0 || !QHostAddress(domain).isNull() || !domain.contains('.')) {
        lookUp();
        return;
    }
    records.setType(QDnsLookup::SRV);
    records.setName("_xmpp-client._tcp." + domain);
    recordsBound.start(recordsBoundMs);
    records.lookup();
}

void ServerSearch::takeRecords()
{
    recordsBound.stop();
    QList<QDnsServiceRecord> found = records.serviceRecords();
    std::stable_sort(found.begin(), found.end(),
                     [](const QDnsServiceRecord& a, const QDnsServiceRecord& b) {
                         return a.priority() < b.priority();
                     });
    QList<ServerPlace> named;
    for (const QDnsServiceRecord& record : qAsConst(found)) {
        if (!record.target().isEmpty() && record.target() != ".")
            named.append({record.target(), record.port()});
    }
    if (!named.isEmpty())
        places = named;
    lookUp();
}

void ServerSearch::lookUp()
{
    if (places.isEmpty()) {
        Q_EMIT failed(refusal);
        return;
    }
    lookUpId = QHostInfo::lookupHost(places.first().host, this,
                                     [this](const QHostInfo& info) { takeHost(info); });
}

void ServerSearch::takeHost(const QHostInfo& info)
{
    lookUpId = -1;
    addresses = info.addresses();
    if (!addresses.isEmpty()) {
        tryAddress();
        return;
    }
    refusal
        = QString("The server %1 was not found (%2): check the %3, and whether there is a network")
              .arg(places.first().host, info.errorString(),
                   isGiven ? "host" : "address, or enter the host of the server");
    places.removeFirst();
    lookUp();
}

void ServerSearch::tryAddress()
{
    if (addresses.isEmpty()) {
        places.removeFirst();
        lookUp();
        return;
    }
    probeBound.start(probeBoundMs);
    probe.connectToHost(addresses.takeFirst(), places.first().port);
}

void ServerSearch::noteRefusal(const QString& reason)
{
    probeBound.stop();
    refusal = QString("The server %1 takes no connection at port %2 (%3): check host and port, and "
                      "whether the server runs")
                  .arg(places.first().host, QString::number(places.first().port), reason);
    // Not within the socket's own signal.
    QMetaObject::invokeMethod(
        this, [this] { tryAddress(); }, Qt::QueuedConnection);
}
