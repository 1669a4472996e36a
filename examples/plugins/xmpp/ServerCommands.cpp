#include "ServerCommands.h"

#include "Account.h"
#include "Stanza.h"

#include <stdexcept>

namespace {

const int longestNote = 500;

} // namespace

ServerCommands::ServerCommands(Account* owner)
    : QObject(owner)
    , account(owner)
{
}

void ServerCommands::refresh()
{
    MivoXmlNode question = Stanza::iq("get", Stanza::newId(), Jid(account->address()).domain());
    Stanza::addChild(question, "query", Ns::items).setAttribute("node", QString(Ns::commands));
    account->request(question, [this](const MivoXmlNode& answer) {
        if (answer.getAttribute("type") != "result")
            return; // a server without commands
        offers.clear();
        const MivoXmlNode query = Stanza::child(answer, "query", Ns::items);
        for (const MivoXmlNode& item : Stanza::children(query, "item", Ns::items)) {
            const QString node = item.getAttribute("node");
            const QString name = item.getAttribute("name").simplified();
            if (Jid(item.getAttribute("jid")).isValid() && !node.isEmpty())
                offers.append({item.getAttribute("jid"), node, name.isEmpty() ? node : name});
        }
        Q_EMIT changed();
    });
}

void ServerCommands::clear()
{
    ++turn;
    const bool isEmpty = offers.isEmpty() && said.isEmpty() && shown.isNull();
    offers.clear();
    session.clear();
    allowed.clear();
    said.clear();
    shown = DataForm();
    if (!isEmpty)
        Q_EMIT changed();
}

QStringList ServerCommands::names() const
{
    QStringList names;
    for (const Offer& offer : offers)
        names.append(offer.name);
    return names;
}

void ServerCommands::run(int index)
{
    account->requireOnline();
    if (index < 0 || index >= offers.size())
        throw std::runtime_error(
            QString("%1: found command %2; expected one of the %3 of its server")
                .arg(account->address())
                .arg(index)
                .arg(offers.size())
                .toStdString());
    current = offers.at(index);
    session.clear();
    allowed.clear();
    shown = DataForm();
    said.clear();
    send("execute");
}

void ServerCommands::proceed(const QString& action)
{
    account->requireOnline();
    if (!isAsking() || !allowed.contains(action))
        throw std::runtime_error(QString("%1: found \"%2\"; expected %3")
                                     .arg(account->address(), action,
                                          isAsking() ? "one of " + allowed.join(", ")
                                                     : QString("a command to be run first"))
                                     .toStdString());
    const QString lack = action == "cancel" || action == "prev" ? QString() : shown.lack();
    if (!lack.isEmpty())
        throw std::runtime_error(lack.toStdString());
    send(action);
}

void ServerCommands::send(const QString& action)
{
    MivoXmlNode question = Stanza::iq("set", Stanza::newId(), current.address);
    MivoXmlNode command = Stanza::addChild(question, "command", Ns::commands);
    command.setAttribute("node", current.node);
    command.setAttribute("action", action);
    if (!session.isEmpty())
        command.setAttribute("sessionid", session);
    if (shown.isQuestion() && action != "cancel" && action != "prev")
        command.appendChild(shown.submission());
    const int asked = ++turn;
    account->request(question, [this, asked](const MivoXmlNode& answer) {
        if (asked == turn && !answer.isNull())
            take(answer);
    });
}

void ServerCommands::take(const MivoXmlNode& answer)
{
    const MivoXmlNode command = Stanza::child(answer, "command", Ns::commands);
    session.clear();
    allowed.clear();
    shown = DataForm();
    if (answer.getAttribute("type") != "result" || command.isNull()) {
        said = QString("%1: %2").arg(current.name, Stanza::errorText(answer));
        Q_EMIT changed();
        return;
    }
    QStringList notes;
    for (const MivoXmlNode& text : Stanza::children(command, "note", Ns::commands))
        notes.append(text.getData().simplified());
    const QString status = command.getAttribute("status");
    said = QString("%1: %2")
               .arg(current.name, notes.isEmpty() ? status : notes.join(" "))
               .left(longestNote);
    shown = DataForm(Stanza::child(command, "x", Ns::dataForms));
    if (status == "executing") {
        session = command.getAttribute("sessionid");
        const MivoXmlNode actions = Stanza::child(command, "actions", Ns::commands);
        for (const MivoXmlNode& action : actions.getChildNodes()) {
            if (QStringList({"prev", "next", "complete"}).contains(action.name()))
                allowed.append(action.name());
        }
        if (allowed.isEmpty()) // XEP-0050, 3.4
            allowed.append("complete");
        allowed.append("cancel");
    }
    Q_EMIT changed();
}
