#ifndef INSTRUCTIONCOUNT_H
#define INSTRUCTIONCOUNT_H

#include "TestThreads.h"

#include <QtTest>

#include <unistd.h>
#include <valgrind/callgrind.h>

/** @file
 * What operations cost, in instructions. Valgrind counts them: the numbers do not depend on how fast
 * or how busy a machine is. A test asks canCountInstructions() first and is skipped without.
 */

/** Whether instructions can be counted; a program with sanitizers does not run in valgrind. */
inline bool canCountInstructions()
{
    return *MIVO_VALGRIND != '\0';
}

/**
 * The instructions that @p program takes from its first to its last, or with @p onlyMarked those
 * that it asks to have counted. A program that fails ends the test.
 */
inline qint64 instructionsOfProgram(const QString& program, const QStringList& arguments,
                                    bool onlyMarked = false)
{
    const QTemporaryDir folder;
    const QString counts = folder.filePath("counts");
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(MIVO_VALGRIND,
                  QStringList() << "--tool=callgrind"
                                << "--callgrind-out-file=" + counts
                                << QString("--instr-atstart=") + (onlyMarked ? "no" : "yes")
                                << program << arguments);
    if (!process.waitForFinished(10 * testBoundMs) || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() != 0)
        qFatal("%s failed in valgrind: %s", qPrintable(program), process.readAll().constData());

    QFile file(counts);
    if (file.open(QIODevice::ReadOnly)) {
        for (QByteArray line = file.readLine(); !line.isEmpty(); line = file.readLine()) {
            if (line.startsWith("totals: "))
                return line.mid(8).trimmed().toLongLong();
        }
    }
    qFatal("valgrind has counted nothing in %s", qPrintable(program));
    return 0;
}

/**
 * The instructions of the piece that @p prepare makes for @p size. The test function is run once
 * more, in valgrind, up to here: there prepare(size) is called, and what it returns is called and
 * counted.
 */
template <class Prepare>
qint64 instructionsOf(Prepare prepare, int size)
{
    const char* const countedSize = "MIVO_COUNTED_SIZE";
    if (qEnvironmentVariableIsSet(countedSize)) {
        if (qEnvironmentVariableIntValue(countedSize) != size)
            return 0; // another call's turn
        auto piece = prepare(size);
        CALLGRIND_START_INSTRUMENTATION;
        piece();
        CALLGRIND_STOP_INSTRUMENTATION;
        _exit(0);
    }
    QString function = QTest::currentTestFunction();
    if (QTest::currentDataTag())
        function += QString(":") + QTest::currentDataTag();
    qputenv(countedSize, QByteArray::number(size));
    const qint64 count
        = instructionsOfProgram(QFileInfo("/proc/self/exe").symLinkTarget(), {function}, true);
    qunsetenv(countedSize);
    return count;
}

/** How many times the instructions grow when the size grows tenfold: 10 is linear. */
template <class Prepare>
double tenfoldGrowth(Prepare prepare, int size)
{
    const qint64 small = instructionsOf(prepare, size);
    const qint64 large = instructionsOf(prepare, 10 * size);
    const double growth = small > 0 ? double(large) / double(small) : -1;
    qInfo("%d: %lld instructions, %d: %lld, growth %.1f", size, static_cast<long long>(small),
          10 * size, static_cast<long long>(large), growth);
    return growth;
}

#endif
