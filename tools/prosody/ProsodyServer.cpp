#include "ProsodyServer.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <unistd.h>

namespace {

const int boundMs = 60000;

const char configuration[] = R"(
run_as_root = true
data_path = "%FOLDER/data"
pidfile = "%FOLDER/prosody.pid"
certificates = "%FOLDER"
plugin_paths = { "%MODULES" }
admin_socket = "%FOLDER/prosody.sock"
interfaces = { "127.0.0.1" }
c2s_ports = { %PORT }
s2s_ports = {}
http_ports = {}
https_ports = {}
component_ports = {}
legacy_ssl_ports = {}
c2s_direct_tls_ports = {}
modules_disabled = { "s2s" }
modules_enabled = { "roster", "saslauth", %TLS"disco", "ping", "vcard_legacy", "pep", "adhoc",
                    "smacks", "uptime", "offline", "presence", "message", "iq", "posix", "questionnaire" }
c2s_require_encryption = %REQUIRED
allow_unencrypted_plain_auth = true
authentication = "internal_plain"
storage = "internal"
log = { info = "%FOLDER/prosody.log" }
smacks_hibernation_time = 600
VirtualHost "%DOMAIN"
%SSL
)";

bool write(const QString& name, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(name).path());
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray read(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/** In quotes, as Lua reads it: every byte by its number. */
QByteArray luaText(const QString& text)
{
    QByteArray quoted("\"");
    const QByteArray bytes = text.toUtf8();
    for (const char byte : bytes)
        quoted += QByteArray("\\") + QByteArray::number(uchar(byte)).rightJustified(3, '0');
    return quoted + '"';
}

/** As the server names the files of a domain or user. */
QString storeName(const QString& name)
{
    QString stored;
    const QByteArray bytes = name.toUtf8();
    for (const char byte : bytes) {
        const QChar character = QLatin1Char(byte);
        stored += (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z')
            ? QString(character)
            : '%' + QString::number(uchar(byte), 16).rightJustified(2, '0');
    }
    return stored;
}

/** Nothing on success, or what the program has said. */
QString run(const QString& program, const QStringList& arguments, const QString& folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(boundMs))
        return QString("%1: %2").arg(program, process.errorString());
    return process.exitCode() == 0 ? QString()
                                   : QString("%1: %2").arg(program, QString(process.readAll()));
}

QString unpackedRoot(const QString& unpacked)
{
    const QString root = QDir(unpacked).absoluteFilePath("root");
    return QFileInfo::exists(root + "/system") ? root + "/system" : root;
}

} // namespace

ProsodyServer::ProsodyServer(const QString& unpacked, Certificate usedCertificate)
    : root(unpackedRoot(unpacked))
    , certificate(usedCertificate)
{
}

ProsodyServer::~ProsodyServer()
{
    kill();
}

QString ProsodyServer::domain()
{
    return "localhost";
}

void ProsodyServer::addUser(const QString& name, const QString& password)
{
    write(path("data/" + storeName(domain()) + "/accounts/" + storeName(name) + ".dat"),
          "return { [\"password\"] = " + luaText(password) + " };\n");
}

void ProsodyServer::writeRoster(const QString& user, const QList<QPair<QString, QString>>& items)
{
    QByteArray roster = "return {\n[false] = { [\"version\"] = 1, [\"pending\"] = {} };\n";
    for (const auto& item : items)
        roster += "[" + luaText(item.first) + "] = { [\"subscription\"] = \"none\", [\"name\"] = "
            + luaText(item.second) + ", [\"groups\"] = {} };\n";
    write(path("data/" + storeName(domain()) + "/roster/" + storeName(user) + ".dat"),
          roster + "};\n");
}

QString ProsodyServer::makeCertificates() const
{
    const bool isExpired = certificate == Expired;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QString from = now.addDays(isExpired ? -20 : -2).toString("yyyyMMddHHmmss'Z'");
    const QString to = now.addDays(isExpired ? -10 : 20).toString("yyyyMMddHHmmss'Z'");
    write(path("request.cnf"),
          "[req]\ndistinguished_name=name\nprompt=no\n[name]\nCN=" + domain().toUtf8() + "\n");
    write(path("other.cnf"), "[req]\ndistinguished_name=name\nprompt=no\n[name]\nCN=Authority\n");
    write(path("ca.cnf"),
          "[ca]\ndefault_ca=own\n[own]\ndatabase=index\nnew_certs_dir=.\nserial=serial\n"
          "default_md=sha256\npolicy=any\nx509_extensions=server\nunique_subject=no\n[any]\n"
          "commonName=supplied\n[server]\nsubjectAltName=DNS:"
              + domain().toUtf8() + "\n");
    write(path("index"), QByteArray());
    write(path("serial"), "01\n");
    const QString key("-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes ");
    QStringList commands;
    for (const char* authority : {"ca", "other"})
        commands.append(
            QString("req -x509 %1 -config other.cnf -days 30 -keyout %2.key -out %2.pem")
                .arg(key, authority));
    if (certificate == SelfSigned) {
        commands.append(QString("req -x509 %1 -config request.cnf -days 30 -keyout server.key -out "
                                "server.crt -addext subjectAltName=DNS:%2")
                            .arg(key, domain()));
    } else {
        commands.append(
            QString("req -new %1 -config request.cnf -keyout server.key -out server.csr").arg(key));
        commands.append(
            QString("ca -batch -config ca.cnf -cert %1.pem -keyfile %1.key -startdate %2 "
                    "-enddate %3 -in server.csr -out server.crt -notext")
                .arg(certificate == Untrusted ? "other" : "ca", from, to));
    }
    for (const QString& command : qAsConst(commands)) {
        const QString failure
            = run("openssl", command.split(' ', Qt::SkipEmptyParts), folder.path());
        if (!failure.isEmpty())
            return failure;
    }
    return QString();
}

QString ProsodyServer::writeConfiguration() const
{
    const bool hasTls = certificate != NoCertificate;
    QByteArray text(configuration);
    text.replace("%FOLDER", folder.path().toUtf8());
    text.replace("%MODULES", MIVO_PROSODY_MODULES);
    text.replace("%PORT", QByteArray::number(usedPort));
    text.replace("%TLS", hasTls ? "\"tls\", " : "");
    text.replace("%REQUIRED", hasTls ? "true" : "false");
    text.replace("%DOMAIN", domain().toUtf8());
    text.replace("%SSL",
                 hasTls ? "ssl = { key = \"" + path("server.key").toUtf8() + "\", certificate = \""
                         + path("server.crt").toUtf8() + "\" }"
                        : QByteArray());
    QByteArray program = read(root + "/usr/bin/prosody");
    if (program.isEmpty())
        return QString("%1: found no Prosody; expected what tools/prosody/unpack.sh unpacks")
            .arg(root);
    program.replace("'/usr/lib/prosody", "'" + root.toUtf8() + "/usr/lib/prosody");
    QDir().mkpath(path("data"));
    return write(path("prosody.cfg.lua"), text) && write(path("prosody.lua"), program)
        ? QString()
        : QString("%1: cannot be written").arg(folder.path());
}

QString ProsodyServer::start()
{
    if (certificate != NoCertificate && !QFileInfo::exists(path("server.crt"))) {
        const QString failure = makeCertificates();
        if (!failure.isEmpty())
            return failure;
    }
    if (usedPort != 0)
        return startAt(usedPort);
    // A port that is free now may be taken by another program a moment later.
    QString failure;
    for (int i = 0; i < 5; ++i) {
        QTcpServer free;
        free.listen(QHostAddress::LocalHost);
        const quint16 port = free.serverPort();
        free.close();
        failure = startAt(port);
        if (failure.isEmpty())
            break;
        usedPort = 0;
    }
    return failure;
}

QString ProsodyServer::startAt(quint16 port)
{
    usedPort = port;
    QString failure = writeConfiguration();
    if (!failure.isEmpty())
        return failure;
    const QString libraries
        = QDir(root + "/usr/lib").entryList({"*-linux-gnu*"}, QDir::Dirs).value(0);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("LD_PRELOAD");
    environment.insert(
        "LUA_PATH",
        QString("%1/usr/share/lua/5.4/?.lua;%1/usr/share/lua/5.4/?/init.lua;;").arg(root));
    environment.insert("LUA_CPATH", QString("%1/usr/lib/%2/lua/5.4/?.so;;").arg(root, libraries));
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder.path());
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardOutputFile(path("output.log"), QIODevice::Append);
    const QString own = root + "/usr/bin/lua5.4";
    process.start(QFileInfo::exists(own) ? own : "lua5.4",
                  {path("prosody.lua"), "-F", "--config", path("prosody.cfg.lua")});
    for (const QDeadlineTimer patience(boundMs); !patience.hasExpired();) {
        if (process.state() == QProcess::NotRunning || process.waitForFinished(10))
            break;
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, port);
        if (socket.waitForConnected(1000))
            return QString();
    }
    kill();
    return QString("Prosody does not take connections: %1").arg(log());
}

void ProsodyServer::kill()
{
    if (process.state() == QProcess::NotRunning)
        return;
    process.kill();
    process.waitForFinished(boundMs);
}

QString ProsodyServer::certificates() const
{
    return certificate == NoCertificate ? QString() : path("ca.pem");
}

QString ProsodyServer::log() const
{
    return QString::fromUtf8(read(path("output.log")) + read(path("prosody.log")));
}
