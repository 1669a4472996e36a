#include "ProsodyServer.h"

#include <QCoreApplication>
#include <QTextStream>

#include <csignal>

/**
 * A private server for a demonstration: "prosody-server FOLDER NAME=PASSWORD...", FOLDER being what
 * unpack.sh has unpacked to. It answers "port N" and "certificates FILE", then does what it is told
 * on standard input, a line each: "kill" and "start". It ends with its input.
 */
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    // Ctrl-C is for all programs of a terminal: the server ends when the one that has started it does.
    std::signal(SIGINT, SIG_IGN);
    QTextStream in(stdin);
    QTextStream out(stdout);
    QTextStream error(stderr);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.size() < 2) {
        error << "prosody-server: expected FOLDER NAME=PASSWORD..." << Qt::endl;
        return 2;
    }
    ProsodyServer server(arguments.first());
    for (const QString& user : arguments.mid(1))
        server.addUser(user.section('=', 0, 0), user.section('=', 1));
    const auto start = [&] {
        const QString failure = server.start();
        if (failure.isEmpty())
            out << "started" << Qt::endl;
        else
            error << "prosody-server: " << failure << Qt::endl;
        return failure.isEmpty();
    };
    if (!start())
        return 1;
    out << "port " << server.port() << Qt::endl;
    out << "certificates " << server.certificates() << Qt::endl;
    QString line;
    while (in.readLineInto(&line)) {
        if (line == "kill") {
            server.kill();
            out << "killed" << Qt::endl;
        } else if (line == "start" && !start()) {
            return 1;
        }
    }
    return 0;
}
