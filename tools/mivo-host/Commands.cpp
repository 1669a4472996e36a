#include "Commands.h"

#include "Console.h"
#include "DisplayText.h"
#include "JsonText.h"
#include "Session.h"
#include "ValueText.h"

#include <MivoPlugin.h>
#include <MivoService.h>

#include <QEventLoop>
#include <QRegularExpression>
#include <QTimer>

namespace {

const char valueDetails[]
    = "KIND:VALUE is one of: none, char:A, uchar:N, int:N, uint:N, int64:N, uint64:N, float:X,\n"
      "double:X, string:TEXT, bool:true, bool:false, pointer:0xN, stringlist:A,B,\n"
      "pointerlist:0xN,0xN, xml:<A/>, videoclip:[WIDTH,HEIGHT,RATE,MILLISECONDS,SOURCE],\n"
      "service:[NAME,DISPLAY,PROTOCOL], servicelist:[[NAME,DISPLAY,PROTOCOL],...],\n"
      "list:[KIND:VALUE,...]. In brackets, a backslash before \\ , [ or ] makes it a plain "
      "character.";

const char formDetails[]
    = "Whatever the order of the options, the values are loaded, then set, and the plug-in takes "
      "them\n"
      "over or refuses them; the form is shown as the plug-in then answers it, its buttons are\n"
      "clicked, and last the values are saved, unless something before has failed.\n"
      "VALUE is true or false for a check box or radio button, an item's text or its index, "
      "counted\n"
      "from 0, for a combo box, a number within the limits for a spin box, any text for an edit;\n"
      "the ID ends at the first =. Of fields with the same id the first one is loaded, set, "
      "clicked\n"
      "and saved. Secrets are shown masked.";

const char framesDetails[] = "The frames have the largest size of the ratio (4:3) that fits into "
                             "the size (640x480). They\n"
                             "run for N seconds (3), and one of them is written to FILE.";

const char newDetails[]
    = "NAME is a letter of A to Z or a to z, and behind it letters, digits and underscores. The\n"
      "plug-in has a call, an action, a service, a settings form and a timer, and a test; it "
      "builds\n"
      "and passes as it is. A folder that is there already is never touched.";

const Operand pluginOperand = {"FILE", Operand::One, Completion::PluginFiles};
const Operand valuesOperand = {"KIND:VALUE", Operand::AnyNumber, Completion::Kinds};

/** The values after FILE and SLOT, all of them read before anything is called. */
QList<MivoArg> valuesFrom(const QStringList& arguments)
{
    QList<MivoArg> values;
    for (int i = 2; i < arguments.size(); ++i) {
        try {
            values.append(valueFromText(arguments.at(i)));
        } catch (const ValueTextError& error) {
            throw UsageError(QString::fromUtf8(error.what()));
        }
    }
    return values;
}

QString orNone(const QStringList& names)
{
    return names.isEmpty() ? QString("none") : names.join(", ");
}

QJsonArray arrayOf(const QStringList& names)
{
    return QJsonArray::fromStringList(names);
}

QJsonObject descriptionOf(const QString& file, const MivoPlugin& plugin,
                          const MivoPluginStamp& stamp)
{
    QJsonArray services;
    const QList<MivoService> all = plugin.services();
    for (const MivoService& service : all)
        services.append(JsonText::serviceOf(service));
    return {{"file", file},
            {"name", plugin.name()},
            {"version", plugin.version()},
            {"title", stamp.title()},
            {"description", stamp.description()},
            {"author", stamp.author()},
            {"requires", arrayOf(stamp.requirements())},
            {"calls", arrayOf(plugin.callSlots())},
            {"actions", arrayOf(plugin.actionSlots())},
            {"services", services}};
}

/** A line on what the stamp says, unless it says nothing. */
void describe(const char* what, const QString& text)
{
    if (!text.isEmpty())
        Console::out(QString("  %1 %2").arg(what, text));
}

void describe(const QString& file, const MivoPlugin& plugin, const MivoPluginStamp& stamp)
{
    Console::out(QString("%1: %2 %3").arg(file, plugin.name(), plugin.version()).trimmed());
    describe("title:  ", stamp.title());
    describe("about:  ", stamp.description());
    describe("author: ", stamp.author());
    describe("requires:", stamp.requirements().join(", "));
    Console::out(QString("  calls:   %1").arg(orNone(plugin.callSlots())));
    Console::out(QString("  actions: %1").arg(orNone(plugin.actionSlots())));
    const QList<MivoService> services = plugin.services();
    for (const MivoService& service : services)
        Console::out(QString("  service: %1").arg(debugText(service).trimmed()));
}

void runPlugins(const Arguments& arguments)
{
    Session session;
    QJsonArray loaded;
    QJsonArray refused;
    for (const QString& file : arguments.operands) {
        try {
            const MivoPlugin* const plugin = session.load(file);
            if (arguments.has(jsonOption.name))
                loaded.append(descriptionOf(file, *plugin, session.host.stampOf(plugin)));
            else
                describe(file, *plugin, session.host.stampOf(plugin));
        } catch (const Failure& failure) {
            Console::error("mivo-host plugins: " + failure.message());
            refused.append(QJsonObject({{"file", file}, {"reason", failure.message()}}));
        }
    }
    if (arguments.has(jsonOption.name))
        Console::out(JsonText::textOf(QJsonObject({{"plugins", loaded}, {"refused", refused}})));
    if (!refused.isEmpty())
        throw Failure(
            QString("refused %1 of %2 files").arg(refused.size()).arg(arguments.operands.size()));
}

/** The milliseconds of --wait; 0 without it. */
int waitFrom(const Arguments& arguments)
{
    if (!arguments.has("--wait"))
        return 0;
    const int longest = 24 * 60 * 60 * 1000;
    const QString text = arguments.value("--wait");
    static const QRegularExpression digits("\\A[0-9]{1,9}\\z");
    const int wait = digits.match(text).hasMatch() ? text.toInt() : 0;
    if (wait < 1 || wait > longest)
        throw UsageError(QString("--wait: found %1; expected a whole number of milliseconds from 1 "
                                 "to %2")
                             .arg(quotedOneLine(text))
                             .arg(longest));
    return wait;
}

void runCall(const Arguments& arguments)
{
    const QList<MivoArg> values = valuesFrom(arguments.operands);
    const int wait = waitFrom(arguments);

    Session session(outputOf(arguments));
    MivoPlugin* const plugin = loadPlugins(session, arguments);
    session.start();
    if (wait > 0)
        session.listen();
    const QList<MivoArg> answer = session.call(plugin, arguments.operands.at(1), values);
    const bool isJson = arguments.has(jsonOption.name);
    QJsonObject result;
    if (isJson) {
        QJsonArray array;
        for (const MivoArg& value : answer)
            array.append(JsonText::valueOf(value, session.host));
        result.insert("answer", array);
    } else {
        for (const MivoArg& value : answer)
            Console::outLines(displayText(value));
    }
    if (wait > 0) {
        QEventLoop loop;
        QTimer::singleShot(wait, &loop, SLOT(quit()));
        loop.exec();
        session.finish();
        if (isJson)
            result.insert("came", session.arrivedCounts());
        else
            Console::say(QString("waited %1 ms: %2").arg(wait).arg(session.arrived()));
    }
    if (isJson)
        Console::out(JsonText::textOf(result));
}

void runAction(const Arguments& arguments)
{
    const QList<MivoArg> values = valuesFrom(arguments.operands);

    Session session;
    MivoPlugin* const plugin = loadPlugins(session, arguments);
    session.start();
    MivoPluginAction action = session.action(plugin, arguments.operands.at(1), values);
    session.listen();
    Console::say("posted"); // first: the dispatcher may be faster than this thread
    action();
    session.finish();
}

} // namespace

const Option withOption = {"--with",
                           Option::Several,
                           "FILE",
                           "the FILE of a plug-in",
                           "loads further plug-ins beside this one",
                           Completion::PluginFiles};

const Option jsonOption
    = {"--json",           Option::Flag, nullptr, nullptr, "writes one document of JSON instead",
       Completion::Nothing};

const QList<Command>& commands()
{
    static const QList<Command> all = {
        {"plugins",
         {{"FILE", Operand::OneOrMore, Completion::PluginFiles}},
         {jsonOption},
         "Shows what each plug-in offers.",
         nullptr,
         runPlugins},
        {"call",
         {pluginOperand, {"SLOT", Operand::One, Completion::CallSlots}, valuesOperand},
         {withOption,
          {"--wait", Option::One, "MILLISECONDS", "a whole number of milliseconds",
           "then serves timers and posted actions so long, and says what comes",
           Completion::Nothing},
          jsonOption},
         "Calls a slot in the plug-in's own thread and prints its answer, a value a line.",
         valueDetails,
         runCall},
        {"action",
         {pluginOperand, {"SLOT", Operand::One, Completion::ActionSlots}, valuesOperand},
         {withOption},
         "Posts an action, which the dispatcher delivers in its own thread.",
         valueDetails,
         runAction},
        {"form",
         {pluginOperand},
         {{"--load", Option::One, "in.xml", "one XML file",
           "takes over the values of the fields whose id and kind are in the file, of at most 64 "
           "MiB",
           Completion::Files},
          {"--save", Option::One, "out.xml", "one file",
           "writes the values to a file in place of what it held, as a whole or not at all",
           Completion::Files},
          {"--with-secrets", Option::Flag, nullptr, nullptr,
           "saves secrets too, such as passwords, which are left out otherwise",
           Completion::Nothing},
          {"--set", Option::Several, "ID=VALUE", "ID=VALUE", "changes values", Completion::Nothing},
          {"--click", Option::Several, "ID", "the ID of a button",
           "runs a button's action, in the plug-in that it is for", Completion::Nothing},
          withOption,
          jsonOption},
         "Shows the form of a plug-in; restores, changes and saves its values, clicks its buttons.",
         formDetails,
         runForm},
        {"frames",
         {},
         {{"--size", Option::One, "WxH", "WxH, whole numbers from 1 to 16384",
           "the wanted size in pixels", Completion::Nothing},
          {"--ratio", Option::One, "W:H", "W:H, whole numbers from 1 to 1000",
           "the ratio of width to height", Completion::Nothing},
          {"--seconds", Option::One, "N", "a whole number from 1 to 86400", "how long they run",
           Completion::Nothing},
          {"--png", Option::One, "FILE", "the name of a file", "writes the last frame to a picture",
           Completion::Files}},
         "Sends test frames from one plug-in to another, which checks them and measures the rate.",
         framesDetails,
         runFrames},
        {"roster",
         {pluginOperand, {"EXPORT", Operand::AtMostOne, Completion::Files}},
         {jsonOption},
         "Shows the contact list that the plug-in's slot roster answers, given EXPORT, as a tree.",
         nullptr,
         runRoster},
        {"session",
         {{"FILE", Operand::OneOrMore, Completion::PluginFiles}},
         {},
         "Keeps plug-ins running and reads commands, a line each, from the terminal or a pipe.",
         sessionDetails,
         runSession},
        {"new",
         {{"NAME", Operand::One, Completion::Nothing}},
         {{"--dir", Option::One, "FOLDER", "the name of a folder",
           "makes it there and not in the current folder", Completion::Files}},
         "Makes the project of a new plug-in, in a folder of its name: sources, build and test.",
         newDetails,
         runNew},
        {"demo",
         {},
         {},
         "Shows a call's whole journey through three example plug-ins, line by line.",
         nullptr,
         runDemo},
    };
    return all;
}

Session::Output outputOf(const Arguments& arguments)
{
    return arguments.has(jsonOption.name) ? Session::ErrorOutput : Session::StandardOutput;
}

MivoPlugin* loadPlugins(Session& session, const Arguments& arguments)
{
    MivoPlugin* const plugin = session.load(arguments.operands.at(0));
    for (const QString& file : arguments.values(withOption.name))
        session.load(file);
    return plugin;
}
