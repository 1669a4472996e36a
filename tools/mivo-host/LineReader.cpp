#include "LineReader.h"

#include "Console.h"
#include "Failure.h"

#include <QCoreApplication>
#include <QMutex>
#include <QMutexLocker>
#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cwchar>
#include <system_error>

#include <fcntl.h>
#include <histedit.h>
#include <unistd.h>

namespace {

const int mostHistory = 1000;
const char prompt[] = "mivo> ";

std::atomic<int> caughtSignal{0};
int signalPipe[2] = {-1, -1};

void catchSignal(int number)
{
    const int error = errno;
    caughtSignal = number;
    std::signal(number, SIG_DFL);
    const ssize_t written = ::write(signalPipe[1], "!", 1); // a full pipe wakes the reader as well
    static_cast<void>(written);
    errno = error;
}

void catchSignals()
{
    if (signalPipe[0] >= 0)
        return;
    if (::pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        throw Failure(QString("no pipe can be made: %1")
                          .arg(QString::fromStdString(std::generic_category().message(errno))));
    struct sigaction action = {};
    action.sa_handler = catchSignal;
    for (const int number : {SIGINT, SIGTERM})
        sigaction(number, &action, nullptr);
}

[[noreturn]] void refuseInput(int error)
{
    throw Failure(QString("standard input cannot be read: %1")
                      .arg(QString::fromStdString(std::generic_category().message(error))));
}

/** Standard input, of which as much is read as there is. */
class Input
{
public:
    Input()
        : notifier(STDIN_FILENO, QSocketNotifier::Read)
    {
        notifier.setEnabled(false);
        QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [this] {
            isReady = true;
            notifier.setEnabled(false);
        });
    }

    /** Serves events until there is something to read or a signal has come; false on a signal. */
    bool wait()
    {
        isReady = false;
        notifier.setEnabled(true);
        while (!isReady && caughtSignal == 0)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        notifier.setEnabled(false);
        return caughtSignal == 0;
    }

    /** What is there, as much as one wants at once; empty at the end. */
    static QByteArray read()
    {
        std::array<char, 4096> bytes;
        const ssize_t count = ::read(STDIN_FILENO, bytes.data(), bytes.size());
        if (count < 0)
            refuseInput(errno);
        return QByteArray(bytes.data(), int(count));
    }

private:
    QSocketNotifier notifier;
    bool isReady = false;
};

class PipeReader : public LineReader
{
public:
    Outcome next(QString& line) override
    {
        for (;;) {
            const int end = int(buffer.indexOf('\n'));
            if (end >= 0 || (isAtEnd && !buffer.isEmpty())) {
                line = QString::fromUtf8(end >= 0 ? buffer.left(end) : buffer);
                buffer.remove(0, end >= 0 ? end + 1 : int(buffer.size()));
                if (line.endsWith('\r'))
                    line.chop(1);
                return Line;
            }
            if (isAtEnd)
                return End;
            if (!input.wait())
                return Interrupted;
            const QByteArray read = Input::read();
            isAtEnd = read.isEmpty();
            buffer += read;
        }
    }
    bool isTerminal() const override { return false; }

private:
    Input input;
    QByteArray buffer;
    bool isAtEnd = false;
};

/** A terminal. What is written meanwhile stands above the line that is being edited. */
class TerminalReader : public LineReader
{
public:
    explicit TerminalReader(const Proposer& usedProposer)
        : proposer(usedProposer)
        , history(history_winit())
        , editor(el_init("mivo-host", stdin, stdout, stderr))
    {
        if (!history || !editor)
            throw Failure("the terminal cannot be used for editing lines");
        HistEventW event;
        history_w(history, &event, H_SETSIZE, mostHistory);
        history_w(history, &event, H_SETUNIQUE, 1);
        el_wset(editor, EL_CLIENTDATA, this);
        el_wset(editor, EL_PROMPT, promptOf);
        el_wset(editor, EL_EDITOR, L"emacs");
        el_wset(editor, EL_HIST, history_w, history);
        el_wset(editor, EL_GETCFN, readCharacter);
        el_wset(editor, EL_ADDFN, L"mivo-complete", L"Completes the word", completeIn);
        el_wset(editor, EL_BIND, L"^I", L"mivo-complete", nullptr);
        el_source(editor, nullptr);
        current = this;
        Console::setWriter(write);
    }
    ~TerminalReader() override
    {
        Console::setWriter(nullptr);
        writeWaiting();
        current = nullptr;
        el_end(editor);
        history_wend(history);
    }

    Outcome next(QString& line) override
    {
        int count = 0;
        isReading = true;
        el_wset(editor, EL_PREP_TERM, 1); // before the prompt, so that no key comes too early
        const wchar_t* const text = el_wgets(editor, &count);
        isReading = false;
        if (failure != 0)
            refuseInput(failure);
        if (!text || count <= 0) {
            std::fputs("\n", stdout); // behind what stands in the line
            std::fflush(stdout);
            return interruption() == 0 ? End : Interrupted;
        }
        line = QString::fromWCharArray(text, count);
        while (line.endsWith('\n') || line.endsWith('\r'))
            line.chop(1);
        HistEventW event;
        if (!line.trimmed().isEmpty())
            history_w(history, &event, H_ENTER, line.toStdWString().c_str());
        return Line;
    }
    bool isTerminal() const override { return true; }

private:
    static TerminalReader* of(EditLine* used)
    {
        void* reader = nullptr;
        el_wget(used, EL_CLIENTDATA, &reader);
        return static_cast<TerminalReader*>(reader);
    }

    static wchar_t* promptOf(EditLine*)
    {
        static std::wstring text = QString(prompt).toStdWString();
        return &text[0];
    }

    static int readCharacter(EditLine* used, wchar_t* character)
    {
        TerminalReader* const reader = of(used);
        std::mbstate_t state = {};
        for (;;) {
            if (!reader->input.wait())
                return 0;
            char byte = 0;
            const ssize_t count = ::read(STDIN_FILENO, &byte, 1);
            if (count < 0 && errno != EIO) // the terminal has gone
                reader->failure = errno;
            if (count <= 0)
                return 0;
            const std::size_t used1 = std::mbrtowc(character, &byte, 1, &state);
            if (used1 == std::size_t(-1)) {
                *character = L'\ufffd';
                return 1;
            }
            if (used1 != std::size_t(-2))
                return 1;
        }
    }

    static unsigned char completeIn(EditLine* used, int) { return of(used)->complete(); }

    unsigned char complete()
    {
        const LineInfoW* const info = el_wline(editor);
        const QString before
            = QString::fromWCharArray(info->buffer, int(info->cursor - info->buffer));
        QStringList words = wordsOf(before, nullptr);
        if (words.isEmpty() || before.endsWith(' '))
            words.append(QString());
        const QString written = words.last();
        const QStringList proposals = proposer(words);
        if (proposals.isEmpty())
            return CC_ERROR;
        QString common = proposals.first();
        for (const QString& proposal : proposals) {
            while (!proposal.startsWith(common))
                common.chop(1);
        }
        const bool isWhole
            = proposals.size() == 1 && !common.endsWith(':') && !common.endsWith('=');
        const QString added = common.mid(written.size()) + (isWhole ? QString(' ') : QString());
        if (added.isEmpty()) {
            Console::out(proposals.join("  "));
            return CC_REDISPLAY;
        }
        return el_winsertstr(editor, added.toStdWString().c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    }

    /** In any thread: the reader's own writes, when it comes to it. */
    static void write(std::FILE* file, const QByteArray& lines)
    {
        TerminalReader* const reader = current;
        const QMutexLocker locker(&reader->mutex);
        reader->waiting.append(qMakePair(file, lines));
        QMetaObject::invokeMethod(
            reader, [reader] { reader->writeWaiting(); }, Qt::QueuedConnection);
    }

    void writeWaiting()
    {
        QList<QPair<std::FILE*, QByteArray>> all;
        {
            const QMutexLocker locker(&mutex);
            all.swap(waiting);
        }
        if (all.isEmpty())
            return;
        if (isReading) { // over the line that is being edited
            std::fputs("\r\033[J", stdout);
            std::fflush(stdout);
        }
        for (const auto& each : qAsConst(all)) {
            std::fwrite(each.second.constData(), 1, std::size_t(each.second.size()), each.first);
            std::fflush(each.first);
        }
        if (isReading)
            el_wset(editor, EL_REFRESH);
    }

    static TerminalReader* current;

    const Proposer proposer;
    Input input;
    HistoryW* const history;
    EditLine* const editor;
    bool isReading = false;
    int failure = 0;
    QMutex mutex;
    QList<QPair<std::FILE*, QByteArray>> waiting; // under the mutex
};

TerminalReader* TerminalReader::current = nullptr;

} // namespace

LineReader::LineReader()
{
    catchSignals();
    auto* const notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &LineReader::readSignal);
}

std::unique_ptr<LineReader> LineReader::make(const Proposer& proposer)
{
    if (::isatty(STDIN_FILENO) != 0 && ::isatty(STDOUT_FILENO) != 0)
        return std::make_unique<TerminalReader>(proposer);
    return std::make_unique<PipeReader>();
}

int LineReader::interruption()
{
    return caughtSignal;
}

void LineReader::readSignal()
{
    char byte = 0;
    while (::read(signalPipe[0], &byte, 1) > 0) { }
    Q_EMIT interrupted();
}

QStringList wordsOf(const QString& line, bool* isComplete)
{
    QStringList words;
    bool isInWord = false;
    QChar mark;
    for (const QChar character : line) {
        if (!mark.isNull()) {
            if (character == mark)
                mark = QChar();
            else
                words.last() += character;
            continue;
        }
        if (character == ' ' || character == '\t') {
            isInWord = false;
            continue;
        }
        if (!isInWord)
            words.append(QString(""));
        isInWord = true;
        if (character == '\'' || character == '"')
            mark = character;
        else
            words.last() += character;
    }
    if (isComplete)
        *isComplete = mark.isNull();
    return words;
}

QString asWord(const QString& text)
{
    const bool isPlain = !text.isEmpty()
        && std::none_of(text.begin(), text.end(),
                        [](QChar character) { return QString(" \t'\"").contains(character); });
    if (isPlain)
        return text;
    QString word = text;
    return '\'' + word.replace('\'', "'\"'\"'") + '\'';
}
