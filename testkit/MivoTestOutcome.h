#ifndef MIVOTESTOUTCOME_H
#define MIVOTESTOUTCOME_H

#include "MivoArg.h"
#include "MivoTestGlobal.h"

#include <functional>
#include <memory>

class MivoTestOutcomePrivate;

/** A line of a test: where a failure is reported. Made by the compiler where a function is called. */
struct MivoTestPlace
{
    static MivoTestPlace here(const char* file = __builtin_FILE(), int line = __builtin_LINE())
    {
        return MivoTestPlace{file, line};
    }

    const char* file;
    int line;
};

/**
 * What became of something that a MivoTestHost was asked to do: values, or the reason why there are
 * none.
 *
 * It may be still to come. Whoever asks waits for it, with the bound of the host, and so does the
 * destructor; meanwhile the events of the test's thread are served. A failure that nobody has asked
 * for fails the test, at the line where the thing was asked for. So this is a call that must
 * succeed, and one that must not:
 *
 *     host.call(echo, "startTimer", mivoValues(1000, "tea"));
 *     QCOMPARE(host.call(echo, "fail", mivoValues("no")).failure(), QString("echo: fail failed: no"));
 *
 * It is used in the thread of the test.
 */
class MIVO_TEST_EXPORT MivoTestOutcome
{
public:
    /** Waits; fails the test when it has failed and failure() and values() were never called. */
    ~MivoTestOutcome();

    /** Whether it is there already. Does not wait. */
    bool isFinished() const;
    /**
     * Waits, and answers the values: what a called slot has left in its arguments, and none for
     * anything else. Fails the test with the reason, and answers none, when it has failed.
     */
    QList<MivoArg> values(const MivoTestPlace& place = MivoTestPlace::here());
    /** Waits, and answers the reason why it has failed, in one sentence; null when it has not. */
    QString failure();

private:
    friend class MivoTestHost;
    friend class MivoTestHostPrivate;
    friend class MivoTestForm;
    Q_DISABLE_COPY(MivoTestOutcome)

    explicit MivoTestOutcome(const std::shared_ptr<MivoTestOutcomePrivate>& outcome);
    void wait();

    const std::shared_ptr<MivoTestOutcomePrivate> d;
};

#endif
