#ifndef PROSODYSERVER_H
#define PROSODYSERVER_H

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

/**
 * A private XMPP server for tests and demonstrations: Prosody, as tools/prosody/unpack.sh has
 * unpacked it, on a free port of this machine and with its files in a temporary folder. What the
 * system itself has of Prosody is never touched. It ends, and its files go, with the object. Used in
 * one thread.
 */
class ProsodyServer
{
public:
    enum Certificate {
        Trusted, ///< signed by the authority in certificates()
        SelfSigned,
        Expired, ///< signed by the authority
        Untrusted, ///< signed by another authority
        NoCertificate ///< no TLS at all
    };

    /** @p unpacked is the folder that was given to unpack.sh. */
    explicit ProsodyServer(const QString& unpacked, Certificate certificate = Trusted);
    /** Stops at once. */
    ~ProsodyServer();

    /** The domain of all accounts. */
    static QString domain();
    /** Makes an account, or changes its password; to be called before start(). */
    void addUser(const QString& name, const QString& password);
    /**
     * Writes the contact list of a user, @p items being the addresses and their names; to be called
     * before start().
     */
    void writeRoster(const QString& user, const QList<QPair<QString, QString>>& items);

    /**
     * Starts the server, at the port that it has had before if any, and waits until it takes
     * connections. Returns nothing on success, or one sentence.
     */
    QString start();
    /** Ends it without notice. */
    void kill();

    quint16 port() const { return usedPort; }
    qint64 processId() const { return process.processId(); }
    /** A file with the certificate of the authority; empty when there is none. */
    QString certificates() const;
    /** What the server has logged. */
    QString log() const;

private:
    Q_DISABLE_COPY(ProsodyServer)

    QString path(const QString& name) const { return folder.filePath(name); }
    QString makeCertificates() const;
    QString writeConfiguration() const;
    QString startAt(quint16 port);

    const QString root;
    const Certificate certificate;
    const QTemporaryDir folder;
    QProcess process;
    quint16 usedPort = 0;
};

#endif
