#include "Commands.h"
#include "Console.h"
#include "DisplayText.h"
#include "LineReader.h"
#include "ValueText.h"

#include <MivoBuddy.h>
#include <MivoPlugin.h>
#include <MivoPluginThread.h>

#include <QCoreApplication>
#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QRegularExpression>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <memory>

const char sessionDetails[]
    = "Commands of a session, in which PLUGIN is the name of a plug-in that runs:\n"
      "  call PLUGIN SLOT KIND:VALUE...    calls a slot and prints its answer\n"
      "  action PLUGIN SLOT KIND:VALUE...  posts an action\n"
      "  form PLUGIN [--set ID=VALUE...] [--click ID...]\n"
      "                                    shows a form, changes it, clicks its buttons\n"
      "  roster PLUGIN [EXPORT]            shows the contact list as a tree\n"
      "  wait SECONDS TEXT                 until a line since the last wait holds the text\n"
      "  help, quit\n"
      "Words with blanks stand between ' or \". What plug-ins report appears as it happens. An "
      "entry\n"
      "that is answered or reported gets a name, such as $1, which stands for it in values. Empty\n"
      "lines and those that begin with # do nothing. At a terminal lines are edited, with a "
      "history\n"
      "and completion; from a pipe, the first command that fails ends the session with status 1. "
      "A\n"
      "session that is interrupted shuts the plug-ins down in order and ends with status 130.";

namespace {

const int endBoundMs = 35000; // longer than any call takes
const int mostNamesSaid = 5;
const int mostLinesKept = 100000;

/** The session is to end, as Ctrl-C asks for. */
class Interruption : public std::exception
{
public:
    const char* what() const noexcept override { return "interrupted"; }
};

/** The lines that have been written since the last wait, in all threads. */
struct Said
{
    QMutex mutex;
    QStringList lines;
    QObject* told = nullptr; // whose thread is woken by a line
};

Said& said()
{
    static Said* const lines = new Said; // outlives all threads
    return *lines;
}

void keepLines(const QByteArray& lines)
{
    const QMutexLocker locker(&said().mutex);
    QStringList all = QString::fromUtf8(lines).split('\n');
    all.removeLast();
    said().lines += all;
    while (said().lines.size() > mostLinesKept)
        said().lines.removeFirst();
    if (said().told)
        QMetaObject::invokeMethod(
            said().told, [] {}, Qt::QueuedConnection);
}

/** Names for entries, "$1" and on; the same entry has always the same. In any thread. */
class EntryNames
{
public:
    QString nameOf(const MivoBuddy& entry)
    {
        const QMutexLocker locker(&mutex);
        int& number = numbers[entry];
        if (number == 0) {
            entries.append(entry);
            number = int(entries.size());
        }
        return '$' + QString::number(number);
    }

    /** Throws a Failure. */
    MivoBuddy entry(const QString& name) const
    {
        const QMutexLocker locker(&mutex);
        const int number = name.mid(1).toInt();
        if (number >= 1 && number <= entries.size())
            return entries.at(number - 1);
        throw Failure(QString("found %1; expected %2")
                          .arg(name,
                               entries.isEmpty()
                                   ? QString("a name that an answer has given; there is none yet")
                                   : QString("one of $1 to $%1").arg(entries.size())));
    }

    int count() const
    {
        const QMutexLocker locker(&mutex);
        return int(entries.size());
    }

    void clear()
    {
        const QMutexLocker locker(&mutex);
        entries.clear();
        numbers.clear();
    }

private:
    mutable QMutex mutex;
    QList<MivoBuddy> entries;
    QHash<MivoBuddy, int> numbers;
};

bool isEntryName(const QString& word)
{
    static const QRegularExpression name("\\A\\$[0-9]{1,9}\\z");
    return name.match(word).hasMatch();
}

/** The plug-ins of a session, and what is done with them line by line. */
class Dialogue
{
public:
    Dialogue();
    ~Dialogue();

    void open(const QStringList& files);
    /** Returns false when the last line has been done; throws what ends the session. */
    bool doNextLine();
    /** Shuts the plug-ins down in order. */
    void close();

private:
    typedef void (Dialogue::*Member)(const Arguments& arguments);
    struct SessionCommand
    {
        Command command;
        Member run;
    };
    static const QList<SessionCommand>& all();
    static const SessionCommand* find(const QString& name);

    void call(const Arguments& arguments);
    void action(const Arguments& arguments);
    void form(const Arguments& arguments);
    void roster(const Arguments& arguments);
    void wait(const Arguments& arguments);
    void help(const Arguments& arguments);
    void quit(const Arguments& arguments);

    void doLine(const QString& line);
    QStringList proposalsFor(const QStringList& words) const;
    MivoPlugin* pluginOf(const QString& name) const;
    QStringList pluginNames() const;
    QList<MivoArg> valuesFrom(const QStringList& words) const;
    QString textOf(const MivoArg& value);
    QString shortTextOf(const MivoArg& value);
    void follow(MivoPlugin* plugin);

    /** Has @p piece done in another thread while events are served here; throws what it throws. */
    void apart(const std::function<void()>& piece);
    /** The same in the plug-in's own thread, in which its entries may be read. */
    void inPlugin(MivoPlugin* plugin, const std::function<void()>& piece);
    void serveUntil(const std::function<bool()>& isDone);
    /** Ends the process by the signal that has come, as long as something still uses what is here. */
    void endUnless(bool isUnused);

    Session session;
    EntryNames names;
    std::unique_ptr<LineReader> reader;
    int lineNumber = 0;
    bool isOver = false;
    bool isClosed = false;
};

const QList<Dialogue::SessionCommand>& Dialogue::all()
{
    const Operand plugin = {"PLUGIN", Operand::One, Completion::Plugins};
    const Operand values = {"KIND:VALUE", Operand::AnyNumber, Completion::Kinds};
    static const QList<SessionCommand> commands = {
        {{"call",
          {plugin, {"SLOT", Operand::One, Completion::CallSlots}, values},
          {},
          "Calls a slot in the plug-in's own thread and prints its answer.",
          nullptr,
          nullptr},
         &Dialogue::call},
        {{"action",
          {plugin, {"SLOT", Operand::One, Completion::ActionSlots}, values},
          {},
          "Posts an action, which the dispatcher delivers.",
          nullptr,
          nullptr},
         &Dialogue::action},
        {{"form",
          {plugin},
          {{"--set", Option::Several, "ID=VALUE", "ID=VALUE", "changes values",
            Completion::Nothing},
           {"--click", Option::Several, "ID", "the ID of a button", "runs a button's action",
            Completion::Nothing}},
          "Shows the form of a plug-in; changes it and clicks its buttons.",
          nullptr,
          nullptr},
         &Dialogue::form},
        {{"roster",
          {plugin, {"EXPORT", Operand::AtMostOne, Completion::Files}},
          {},
          "Shows the contact list that the plug-in's slot roster answers as a tree.",
          nullptr,
          nullptr},
         &Dialogue::roster},
        {{"wait",
          {{"SECONDS", Operand::One, Completion::Nothing},
           {"TEXT", Operand::OneOrMore, Completion::Nothing}},
          {},
          "Waits until a line since the last wait holds the text.",
          nullptr,
          nullptr},
         &Dialogue::wait},
        {{"help", {}, {}, "Shows this.", nullptr, nullptr}, &Dialogue::help},
        {{"quit", {}, {}, "Ends the session.", nullptr, nullptr}, &Dialogue::quit},
    };
    return commands;
}

const Dialogue::SessionCommand* Dialogue::find(const QString& name)
{
    for (const SessionCommand& command : all()) {
        if (name == command.command.name)
            return &command;
    }
    return nullptr;
}

Dialogue::Dialogue()
{
    reader = LineReader::make([this](const QStringList& words) { return proposalsFor(words); });
    {
        const QMutexLocker locker(&said().mutex);
        said().lines.clear();
        said().told = reader.get();
    }
    Console::setListener(keepLines);
}

Dialogue::~Dialogue()
{
    names.clear();
    Console::setListener(nullptr);
    const QMutexLocker locker(&said().mutex);
    said().told = nullptr;
}

void Dialogue::open(const QStringList& files)
{
    const QList<MivoPlugin*> loaded = session.loadAll(files);
    for (MivoPlugin* const plugin : loaded)
        follow(plugin);
    session.setReporter([this](const QList<MivoArg>& arguments) {
        QStringList texts;
        for (const MivoArg& argument : arguments)
            texts.append(shortTextOf(argument));
        Console::say("reported: " + texts.join(", "));
    });
    session.listen();
    session.start();
    for (MivoPlugin* const plugin : loaded) {
        if (plugin->callSlots().contains("watchMessages"))
            apart([&] { session.call(plugin, "watchMessages", {MivoArg(QString("report"))}); });
    }
}

/** Says what the plug-in tells by its signals, in the threads in which they are sent. */
void Dialogue::follow(MivoPlugin* plugin)
{
    const QString name = plugin->name();
    QObject::connect(
        plugin, &MivoPlugin::entriesChanged, plugin,
        [this, name](const QList<MivoBuddy>& entries) {
            QStringList changed;
            for (int i = 0; i < entries.size() && i < mostNamesSaid; ++i)
                changed.append(shortTextOf(MivoArg(entries.at(i))));
            if (entries.size() > mostNamesSaid)
                changed.append(QString("and %1 more").arg(entries.size() - mostNamesSaid));
            Console::say(QString("%1: entries have changed: %2").arg(name, changed.join(", ")));
        },
        Qt::DirectConnection);
    QObject::connect(
        plugin, &MivoPlugin::contactListChanged, plugin,
        [name] { Console::say(name + ": the contact list has changed"); }, Qt::DirectConnection);
    QObject::connect(
        plugin, &MivoPlugin::formChanged, plugin,
        [name] { Console::say(name + ": the form has changed"); }, Qt::DirectConnection);
}

void Dialogue::serveUntil(const std::function<bool()>& isDone)
{
    while (!isDone()) {
        if (LineReader::interruption() != 0)
            throw Interruption();
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

void Dialogue::endUnless(bool isUnused)
{
    if (isUnused)
        return;
    Console::setListener(nullptr);
    reader.reset(); // leaves the terminal as it was, with all that has been said
    std::_Exit(128 + LineReader::interruption());
}

void Dialogue::apart(const std::function<void()>& piece)
{
    std::exception_ptr failure;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        try {
            piece();
        } catch (...) {
            failure = std::current_exception();
        }
    }));
    thread->setObjectName("session");
    QObject::connect(thread.get(), &QThread::finished, reader.get(), [] {}); // wakes this thread
    thread->start();
    try {
        serveUntil([&] { return thread->isFinished(); });
    } catch (const Interruption&) {
        // What it waits for comes, or fails, once the plug-ins have been shut down.
        close();
        endUnless(MivoHost::abandonedThreads() == 0 && thread->wait(endBoundMs));
        throw;
    }
    thread->wait();
    if (failure)
        std::rethrow_exception(failure);
}

void Dialogue::inPlugin(MivoPlugin* plugin, const std::function<void()>& piece)
{
    MivoPluginThread* const thread = session.host.threadOf(plugin);
    if (!thread)
        throw Failure("the plug-in has gone");
    const auto isDone = std::make_shared<std::atomic<bool>>(false);
    const auto failure = std::make_shared<std::exception_ptr>();
    LineReader* const waiting = reader.get();
    QMetaObject::invokeMethod(
        thread,
        [piece, isDone, failure, waiting] {
            try {
                piece();
            } catch (...) {
                *failure = std::current_exception();
            }
            *isDone = true;
            QMetaObject::invokeMethod(
                waiting, [] {}, Qt::QueuedConnection);
        },
        Qt::QueuedConnection);
    try {
        serveUntil([&] { return isDone->load() || !thread->isRunning(); });
    } catch (const Interruption&) {
        close();
        endUnless(MivoHost::abandonedThreads() == 0); // the piece may still be running
        throw;
    }
    if (*isDone && *failure)
        std::rethrow_exception(*failure);
}

bool Dialogue::doNextLine()
{
    QString line;
    switch (reader->next(line)) {
    case LineReader::End:
        return false;
    case LineReader::Interrupted:
        throw Interruption();
    case LineReader::Line:
        break;
    }
    ++lineNumber;
    try {
        doLine(line);
    } catch (const Interruption&) {
        throw;
    } catch (const std::exception& error) {
        const QString message = QString::fromUtf8(error.what());
        if (!reader->isTerminal())
            throw Failure(QString("line %1: %2").arg(lineNumber).arg(message));
        Console::error(message);
    }
    return !isOver;
}

void Dialogue::doLine(const QString& line)
{
    if (line.trimmed().startsWith('#'))
        return;
    bool isComplete = false;
    const QStringList words = wordsOf(line, &isComplete);
    if (words.isEmpty())
        return;
    if (!isComplete)
        throw Failure("found the end of the line; expected the second ' or \"");
    const SessionCommand* const found = find(words.first());
    if (!found) {
        QStringList known;
        for (const SessionCommand& command : all())
            known.append(command.command.name);
        const QString meant = CommandLine::nearest(words.first(), known);
        throw Failure(QString("found the command %1; expected one of %2")
                          .arg(quotedOneLine(words.first()), known.join(", "))
                      + (meant.isEmpty() ? QString() : "; the nearest is " + meant));
    }
    Arguments arguments;
    try {
        arguments = CommandLine::parse(found->command, words.mid(1));
    } catch (const UsageError& error) {
        throw Failure(QString("%1: %2").arg(words.first(), error.message()));
    }
    (this->*found->run)(arguments);
}

QStringList Dialogue::pluginNames() const
{
    QStringList known;
    const QList<MivoPlugin*> running = session.host.plugins();
    for (const MivoPlugin* const plugin : running) {
        if (!qobject_cast<const OwnPlugin*>(plugin))
            known.append(plugin->name());
    }
    return known;
}

MivoPlugin* Dialogue::pluginOf(const QString& name) const
{
    if (MivoPlugin* const plugin = session.host.findPlugin(name))
        return plugin;
    const QStringList known = pluginNames();
    const QString meant = CommandLine::nearest(name, known);
    throw Failure(QString("found the plug-in %1; expected one of %2")
                      .arg(quotedOneLine(name), known.join(", "))
                  + (meant.isEmpty() ? QString() : "; the nearest is " + meant));
}

QList<MivoArg> Dialogue::valuesFrom(const QStringList& words) const
{
    QList<MivoArg> values;
    for (const QString& word : words)
        values.append(isEntryName(word) ? MivoArg(names.entry(word)) : valueFromText(word));
    return values;
}

/** All of a value, an entry behind its name; to be called in the thread that changes entries. */
QString Dialogue::textOf(const MivoArg& value)
{
    if (value.getType() == MivoArg::Buddy && value.toBuddy().isValid())
        return names.nameOf(value.toBuddy()) + " = " + displayText(value);
    QString text = displayText(value);
    if (value.getType() == MivoArg::ArgList) {
        const QList<MivoArg> elements = value.toArgList();
        for (const MivoArg& element : elements) {
            if (element.getType() == MivoArg::Buddy && element.toBuddy().isValid())
                text += "\n  " + shortTextOf(element);
        }
    }
    return text;
}

/** What may be said of a value in any thread, on one line: of an entry its name alone. */
QString Dialogue::shortTextOf(const MivoArg& value)
{
    if (value.getType() != MivoArg::Buddy)
        return oneLine(displayText(value));
    const MivoBuddy entry = value.toBuddy();
    return entry.isValid() ? names.nameOf(entry) + ' ' + quotedOneLine(entry.getDisplay())
                           : QString("an invalid entry");
}

void Dialogue::call(const Arguments& arguments)
{
    MivoPlugin* const plugin = pluginOf(arguments.operands.at(0));
    const QList<MivoArg> values = valuesFrom(arguments.operands.mid(2));
    QList<MivoArg> answer;
    apart([&] { answer = session.call(plugin, arguments.operands.at(1), values); });
    QStringList lines;
    inPlugin(plugin, [&] {
        for (const MivoArg& value : qAsConst(answer))
            lines.append(textOf(value));
    });
    for (const QString& line : qAsConst(lines))
        Console::outLines(line);
}

void Dialogue::action(const Arguments& arguments)
{
    MivoPlugin* const plugin = pluginOf(arguments.operands.at(0));
    MivoPluginAction posted
        = session.action(plugin, arguments.operands.at(1), valuesFrom(arguments.operands.mid(2)));
    Console::say("posted"); // first: the dispatcher may be faster than this thread
    posted();
}

void Dialogue::form(const Arguments& arguments)
{
    MivoPlugin* const plugin = pluginOf(arguments.operands.at(0));
    QList<MivoField> fields;
    apart([&] {
        fields = session.fields(plugin);
        if (arguments.has("--set"))
            fields = session.applyFields(plugin, withChanges(fields, arguments.values("--set")));
    });
    const QList<MivoField> buttons = findButtons(fields, arguments.values("--click"));
    showForm(*plugin, fields);
    clickButtons(buttons);
}

void Dialogue::roster(const Arguments& arguments)
{
    MivoPlugin* const plugin = pluginOf(arguments.operands.at(0));
    QList<MivoArg> values;
    if (arguments.operands.size() == 2)
        values.append(MivoArg(arguments.operands.at(1)));
    QList<MivoArg> entries;
    apart([&] { entries = session.call(plugin, "roster", values); });
    inPlugin(plugin, [&] {
        showRoster(entries, [this](const MivoBuddy& entry) { return names.nameOf(entry) + "  "; });
    });
}

void Dialogue::wait(const Arguments& arguments)
{
    bool isNumber = false;
    const double seconds = arguments.operands.at(0).toDouble(&isNumber);
    const double most = 86400;
    if (!isNumber || !(seconds >= 0 && seconds <= most))
        throw Failure(QString("wait: found %1; expected seconds from 0 to %2")
                          .arg(quotedOneLine(arguments.operands.at(0)))
                          .arg(most));
    const QString text = arguments.operands.mid(1).join(' ');
    bool isSaid = false;
    // What comes behind the line is left for the next one.
    const auto look = [&] {
        const QMutexLocker locker(&said().mutex);
        QStringList& lines = said().lines;
        while (!isSaid && !lines.isEmpty())
            isSaid = lines.takeFirst().contains(text);
        return isSaid;
    };
    QTimer timer;
    timer.setSingleShot(true);
    timer.start(int(std::ceil(seconds * 1000)));
    serveUntil([&] { return look() || !timer.isActive(); });
    if (!isSaid)
        throw Failure(QString("wait: no line with %1 within %2 s")
                          .arg(quotedOneLine(text), arguments.operands.at(0)));
}

void Dialogue::help(const Arguments&)
{
    Console::outLines(sessionDetails);
}

void Dialogue::quit(const Arguments&)
{
    isOver = true;
}

QStringList Dialogue::proposalsFor(const QStringList& words) const
{
    const QString& written = words.last();
    QStringList possible;
    if (words.size() == 1) {
        for (const SessionCommand& command : all())
            possible.append(command.command.name);
    } else if (const SessionCommand* const found = find(words.first())) {
        const CommandLine::Proposal proposal
            = CommandLine::proposalAfter(found->command, words.mid(1, words.size() - 2));
        MivoPlugin* const plugin = session.host.findPlugin(proposal.operands.value(0));
        if (written.startsWith('-')) {
            possible = proposal.options;
        } else if (proposal.completion == Completion::Plugins) {
            for (const QString& name : pluginNames())
                possible.append(asWord(name));
        } else if (proposal.completion == Completion::CallSlots && plugin) {
            possible = plugin->callSlots();
        } else if (proposal.completion == Completion::ActionSlots && plugin) {
            possible = plugin->actionSlots();
        } else if (proposal.completion == Completion::Kinds) {
            for (const QString& kind : valueKinds())
                possible.append(kind == "none" ? kind : kind + ':');
            for (int i = 1; i <= names.count(); ++i)
                possible.append('$' + QString::number(i));
        }
    }
    QStringList fitting;
    for (const QString& candidate : qAsConst(possible)) {
        if (candidate.startsWith(written) && !fitting.contains(candidate))
            fitting.append(candidate);
    }
    return fitting;
}

void Dialogue::close()
{
    if (isClosed)
        return;
    isClosed = true;
    names.clear(); // no entry outlives its plug-in
    try {
        session.finish();
    } catch (const Failure&) {
        // At a terminal it has been seen.
        if (!reader->isTerminal() && LineReader::interruption() == 0)
            throw;
    }
}

} // namespace

void runSession(const Arguments& arguments)
{
    Dialogue dialogue;
    try {
        dialogue.open(arguments.operands);
        while (dialogue.doNextLine()) { }
        dialogue.close();
    } catch (const Interruption&) {
        dialogue.close();
        Console::requireWritten();
        throw EndWithStatus(128 + LineReader::interruption());
    }
}
