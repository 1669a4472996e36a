#include "MivoTestWatch_p.h"

#include <MivoGarbageCollector_p.h>
#include <MivoTimer_p.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>
#include <QTimer>

#include <algorithm>

// Where QtCore keeps what is to be called for each object: an array of addresses, of which these are
// the places. The first entry is the number of the layout.
extern Q_CORE_EXPORT quintptr qtHookData[];

namespace {

const int hookVersionPlace = 0;
const int addHookPlace = 3;
const int removeHookPlace = 4;
const quintptr knownHookVersion = 3;

typedef void (*ObjectHook)(QObject*);

struct Record
{
    quint64 number;
    const QThread* thread; // that it was made in; only its address is of use
    QString threadName;
    const QObject* owner; // the MivoTimer that this is the timer of
};

/** All that is known. Outlives every object. */
struct Watch
{
    QMutex mutex;
    quint64 count = 0;
    QHash<const QObject*, Record> objects;
    ObjectHook nextAdd = nullptr;
    ObjectHook nextRemove = nullptr;
    bool isWatching = false;
};

Watch& watch()
{
    static Watch* const instance = new Watch;
    return *instance;
}

/** The object that the thread has made last. */
const QObject*& lastOfThisThread()
{
    static thread_local const QObject* last = nullptr;
    return last;
}

void addObject(QObject* object)
{
    Watch& all = watch();
    const QThread* const thread = QThread::currentThread();
    {
        QMutexLocker locker(&all.mutex);
        // The timer of a MivoTimer is made right after the MivoTimer's own record.
        const QObject*& last = lastOfThisThread();
        const bool isOwned
            = last && all.objects.contains(last) && qobject_cast<const MivoTimerPrivate*>(last);
        all.objects.insert(object,
                           Record{++all.count, thread, thread ? thread->objectName() : QString(),
                                  isOwned ? last : nullptr});
        last = object;
    }
    if (all.nextAdd)
        all.nextAdd(object);
}

void removeObject(QObject* object)
{
    Watch& all = watch();
    {
        QMutexLocker locker(&all.mutex);
        all.objects.remove(object);
    }
    if (all.nextRemove)
        all.nextRemove(object);
}

QSet<QByteArray> runningThreads()
{
    QSet<QByteArray> threads;
    const QStringList names = QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs);
    for (const QString& name : names) {
        if (!name.startsWith(QLatin1Char('.')))
            threads.insert(name.toLatin1());
    }
    return threads;
}

QString nameOfThread(const QByteArray& thread)
{
    QFile file(QStringLiteral("/proc/self/task/%1/comm").arg(QString::fromLatin1(thread)));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
}

/** The names of the threads that were started since; none of a pool, which ends its own. */
QStringList namesOfNewThreads(const QSet<QByteArray>& old)
{
    QStringList names;
    const QSet<QByteArray> threads = runningThreads() - old;
    for (const QByteArray& thread : threads) {
        const QString name = nameOfThread(thread);
        if (!name.isNull() && name != QLatin1String("Thread (pooled)"))
            names.append(name);
    }
    names.sort();
    return names;
}

/** What other code keeps until the process ends. To be called under the lock. */
bool isKept(const QObject* object, const Record& record)
{
    static const QStringList kept
        = {QStringLiteral("QFactoryLoader"), QStringLiteral("QThreadPool"),
           QStringLiteral("QThreadPoolThread")};
    if (kept.contains(QLatin1String(object->metaObject()->className()))
        || qobject_cast<const MivoGarbageCollectorPrivate*>(object))
        return true;
    const QTimer* const timer = qobject_cast<const QTimer*>(object);
    if (!timer)
        return false;
    if (record.owner)
        return true; // told of by its owner, or has fired
    const auto collector = std::find_if(
        watch().objects.keyBegin(), watch().objects.keyEnd(), [timer](const QObject* other) {
            const auto* const found = qobject_cast<const MivoGarbageCollectorPrivate*>(other);
            return found && found->timer == timer;
        });
    return collector != watch().objects.keyEnd();
}

QString describe(const QObject* object, const Record& record)
{
    const QString place = record.threadName.isEmpty()
        ? QStringLiteral("a thread without a name")
        : QStringLiteral("the thread \"%1\"").arg(record.threadName);
    if (qobject_cast<const MivoTimerPrivate*>(object)) {
        QString name;
        for (auto other = watch().objects.cbegin(); other != watch().objects.cend(); ++other) {
            if (other->owner == object)
                name = other.key()->objectName();
        }
        return QStringLiteral("the timer \"%1\" is left, started in %2; expected it to have fired "
                              "or to be stopped")
            .arg(name, place);
    }
    const QString name = object->objectName().isEmpty()
        ? QString()
        : QStringLiteral(" \"%1\"").arg(object->objectName());
    return QStringLiteral("a %1%2 is left, made in %3; expected it to be deleted")
        .arg(QLatin1String(object->metaObject()->className()), name, place);
}

} // namespace

MivoTestWatch::Moment MivoTestWatch::begin()
{
    Watch& all = watch();
    QMutexLocker locker(&all.mutex);
    if (!all.isWatching) {
        all.isWatching = true;
        if (qtHookData[hookVersionPlace] < knownHookVersion)
            qFatal("MivoTestHost: found hooks of version %d in QtCore; expected %d or more",
                   int(qtHookData[hookVersionPlace]), int(knownHookVersion));
        all.nextAdd = reinterpret_cast<ObjectHook>(qtHookData[addHookPlace]);
        all.nextRemove = reinterpret_cast<ObjectHook>(qtHookData[removeHookPlace]);
        qtHookData[addHookPlace] = reinterpret_cast<quintptr>(&addObject);
        qtHookData[removeHookPlace] = reinterpret_cast<quintptr>(&removeObject);
    }
    return Moment{all.count, runningThreads()};
}

QTimer* MivoTestWatch::timerOfThisThread(const QString& name, QStringList* others)
{
    Watch& all = watch();
    QMutexLocker locker(&all.mutex);
    QTimer* found = nullptr;
    quint64 number = 0;
    for (auto record = all.objects.cbegin(); record != all.objects.cend(); ++record) {
        // Those of other threads may be changing at this moment.
        if (record.key()->thread() != QThread::currentThread())
            continue;
        QTimer* const timer = qobject_cast<QTimer*>(const_cast<QObject*>(record.key()));
        if (!timer || !timer->isActive() || timer->objectName().isEmpty())
            continue;
        if (timer->objectName() != name) {
            others->append(timer->objectName());
        } else if (!found || record->number < number) {
            found = timer;
            number = record->number;
        }
    }
    others->sort();
    return found;
}

bool MivoTestWatch::isOfMivoTimer(const QTimer* timer)
{
    QMutexLocker locker(&watch().mutex);
    return watch().objects.value(timer).owner;
}

QStringList MivoTestWatch::leftObjects(const Moment& moment, const QStringList& allowedClasses)
{
    Watch& all = watch();
    QMutexLocker locker(&all.mutex);
    QStringList sentences;
    for (auto record = all.objects.cbegin(); record != all.objects.cend(); ++record) {
        const QObject* const object = record.key();
        if (record->number > moment.objects && record->thread != QThread::currentThread()
            && !isKept(object, *record)
            && !allowedClasses.contains(QLatin1String(object->metaObject()->className())))
            sentences.append(describe(object, *record));
    }
    sentences.sort();
    return sentences;
}

QStringList MivoTestWatch::leftThreads(const Moment& moment, int boundMs)
{
    const QDeadlineTimer deadline(boundMs);
    QStringList names = namesOfNewThreads(moment.threads);
    while (!names.isEmpty() && !deadline.hasExpired()) {
        QThread::msleep(1); // a thread that was joined stays in the list for a moment
        names = namesOfNewThreads(moment.threads);
    }
    QStringList sentences;
    for (const QString& name : names)
        sentences.append(
            QStringLiteral("the thread \"%1\" still runs; expected it to have ended").arg(name));
    return sentences;
}
