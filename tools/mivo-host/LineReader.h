#ifndef LINEREADER_H
#define LINEREADER_H

#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>

/** Where the lines of a dialogue come from. While one is waited for, the events of the thread are served. */
class LineReader : public QObject
{
    Q_OBJECT

public:
    enum Outcome { Line, End, Interrupted };

    /** What may stand in place of the last of @p words, the one that is being written. */
    typedef std::function<QStringList(const QStringList& words)> Proposer;

    /**
     * Reads standard input: at a terminal with line editing, a history and completion, elsewhere
     * as it comes. One at a time.
     */
    static std::unique_ptr<LineReader> make(const Proposer& proposer);

    /** Waits for the next line; throws a Failure when standard input cannot be read. */
    virtual Outcome next(QString& line) = 0;
    virtual bool isTerminal() const = 0;

    /**
     * The signal SIGINT or SIGTERM that has come, 0 when none has. A second one ends the process at
     * once.
     */
    static int interruption();

Q_SIGNALS:
    void interrupted();

protected:
    LineReader();

private:
    void readSignal();
};

/**
 * The words of a line: blanks part them, and between two ' or two " anything stands for itself. Of a
 * line that ends between two marks the last word is what there is.
 */
QStringList wordsOf(const QString& line, bool* isComplete);
/** A text as wordsOf() reads it as one word. */
QString asWord(const QString& text);

#endif
