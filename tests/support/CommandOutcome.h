#ifndef COMMANDOUTCOME_H
#define COMMANDOUTCOME_H

#include "TestThreads.h"

#include <QtTest>

/** How a command ended, and what it has written. */
struct Outcome
{
    int status;
    QString out;
    QString error;
};

/** Runs a @p program in the locale @p locale, for at most @ref testBoundMs. */
inline Outcome outcomeOf(const QString& program, const QStringList& arguments,
                         const QString& locale = "C")
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LC_ALL", locale);
    // A leak that stands in tests/leaks.supp is known by its whole stack, Qt's part included.
    if (!environment.contains("ASAN_OPTIONS"))
        environment.insert("ASAN_OPTIONS", "fast_unwind_on_malloc=0");
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(testBoundMs))
        return {-1, QString(), "has not ended in time"};
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

#endif
