#ifndef CHILDOUTCOME_H
#define CHILDOUTCOME_H

#include "TestThreads.h"

#include <QString>
#include <QtGlobal>

#include <sys/wait.h>
#include <unistd.h>

/** How a call ended that was made in a child process, where it may do as it likes. */
enum class ChildOutcome { True, False, Asserted, Died };

/** Makes @p call, which answers a bool, in a child process, for at most @ref testBoundMs. */
template <class Call>
ChildOutcome outcomeInChild(Call call)
{
    enum { ExitTrue = 10, ExitFalse = 11, ExitAsserted = 12 };
    const pid_t child = fork();
    if (child == 0) {
        alarm(testBoundMs / 1000);
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString&) {
            if (type == QtFatalMsg)
                _exit(ExitAsserted);
        });
        _exit(call() ? ExitTrue : ExitFalse);
    }

    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status))
        return ChildOutcome::Died;
    switch (WEXITSTATUS(status)) {
    case ExitTrue:
        return ChildOutcome::True;
    case ExitFalse:
        return ChildOutcome::False;
    case ExitAsserted:
        return ChildOutcome::Asserted;
    default:
        return ChildOutcome::Died;
    }
}

/** What a call ends in that is a mistake of the caller, harmless in release builds. */
#ifdef QT_NO_DEBUG
const ChildOutcome misuseOutcome = ChildOutcome::True;
#else
const ChildOutcome misuseOutcome = ChildOutcome::Asserted;
#endif

#endif
