#include "MivoTestOutcome.h"

#include "MivoTestOutcome_p.h"

#include <QEventLoop>
#include <QTimer>
#include <QtTest>

MivoTestOutcomePrivate::MivoTestOutcomePrivate(const MivoTestPlace& askedPlace,
                                               const QString& askedFor, int waitedMs)
    : place(askedPlace)
    , asked(askedFor)
    , boundMs(waitedMs)
{
}

std::shared_ptr<MivoTestOutcomePrivate> MivoTestOutcomePrivate::finished(const MivoTestPlace& place,
                                                                         const QString& failure)
{
    const std::shared_ptr<MivoTestOutcomePrivate> outcome
        = std::make_shared<MivoTestOutcomePrivate>(place, QString(), 0);
    outcome->finish(QList<MivoArg>(), failure);
    return outcome;
}

void MivoTestOutcomePrivate::finish(const QList<MivoArg>& finalValues, const QString& finalFailure)
{
    if (isFinished)
        return;
    isFinished = true;
    values = finalValues;
    failure = finalFailure;
    if (loop)
        loop->quit();
}

void mivoFail(const QString& message, const MivoTestPlace& place)
{
    QTest::qFail(message.toUtf8().constData(), place.file, place.line);
}

MivoTestOutcome::MivoTestOutcome(const std::shared_ptr<MivoTestOutcomePrivate>& outcome)
    : d(outcome)
{
}

MivoTestOutcome::~MivoTestOutcome()
{
    if (d->isLookedAt)
        return;
    wait();
    if (!d->failure.isNull())
        mivoFail(d->failure, d->place);
}

bool MivoTestOutcome::isFinished() const
{
    return d->isFinished;
}

QList<MivoArg> MivoTestOutcome::values(const MivoTestPlace& place)
{
    wait();
    d->isLookedAt = true;
    if (!d->failure.isNull())
        mivoFail(d->failure, place);
    return d->values;
}

QString MivoTestOutcome::failure()
{
    wait();
    d->isLookedAt = true;
    return d->failure;
}

void MivoTestOutcome::wait()
{
    if (d->isFinished)
        return;
    QEventLoop loop;
    QTimer bound;
    bound.setSingleShot(true);
    QObject::connect(&bound, &QTimer::timeout, &loop, &QEventLoop::quit);
    bound.start(d->boundMs);
    d->loop = &loop;
    loop.exec();
    d->loop = nullptr;
    d->finish(QList<MivoArg>(), QStringLiteral("%1 within %2 ms").arg(d->asked).arg(d->boundMs));
}
