// Preloaded into programs of the thread sanitizer: tells it what Qt orders.
//
// Qt's libraries are not built for the sanitizer, which therefore sees neither their atomic operations
// nor the mutexes that they lock on behalf of others. Each function here stands before Qt's of the same
// name, calls that, and says what it guarantees: what has happened before a release of an address is
// over for whoever acquires the address after it. Nothing is said about memory that Qt does not hand
// over, so that a race in the program is reported where it stands.

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEvent>
#include <QMutex>
#include <QSemaphore>
#include <QThread>

#include <dlfcn.h>
#include <pthread.h>
#include <sanitizer/tsan_interface.h>

#include <set>
#include <utility>

// Missing in programs that one of the sanitizer's starts, a shell for instance.
#pragma weak __tsan_acquire
#pragma weak __tsan_release
#pragma weak __tsan_mutex_pre_lock
#pragma weak __tsan_mutex_post_lock
#pragma weak __tsan_mutex_pre_unlock
#pragma weak __tsan_mutex_post_unlock

namespace {

/** The function of this name in the libraries behind this one. */
template <class Function>
Function* next(Function*, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/** The threads that Qt has started and that have not returned from their outermost function. */
class Running
{
public:
    void add(void* thread)
    {
        pthread_mutex_lock(&mutex);
        threads.insert(thread);
        pthread_mutex_unlock(&mutex);
    }

    void remove(void* thread)
    {
        pthread_mutex_lock(&mutex);
        threads.erase(threads.find(thread));
        pthread_cond_broadcast(&changed);
        pthread_mutex_unlock(&mutex);
    }

    void waitUntilGone(void* thread)
    {
        pthread_mutex_lock(&mutex);
        while (threads.count(thread))
            pthread_cond_wait(&changed, &mutex);
        pthread_mutex_unlock(&mutex);
    }

private:
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
    std::multiset<void*> threads;
};

Running& running()
{
    static auto* const running = new Running; // threads may outlive static objects
    return *running;
}

struct Beginning
{
    void* (*function)(void*);
    void* argument;
    void* thread;
};

void* runAndTell(void* data)
{
    const Beginning beginning = *static_cast<Beginning*>(data);
    delete static_cast<Beginning*>(data);
    void* const result = beginning.function(beginning.argument);
    running().remove(beginning.thread);
    return result;
}

/** The thread that is being started by this one. */
thread_local void* starting = nullptr;

/** Before each delivery, in the receiver's thread. */
bool acquireDelivered(void** data)
{
    __tsan_acquire(data[0]); // the receiver, released by who has moved it here, or called it
    __tsan_acquire(data[1]); // the event, released by who has posted it
    return false;
}

__attribute__((constructor)) void listen()
{
    if (__tsan_acquire)
        QInternal::registerCallback(QInternal::EventNotifyCallback, acquireDelivered);
}

/** A wait lets go of the mutex and takes it again, which happens inside Qt. */
template <class Patience>
bool waitOn(bool (*function)(void*, QMutex*, Patience), void* condition, QMutex* mutex,
            Patience patience)
{
    __tsan_mutex_pre_unlock(mutex, 0);
    __tsan_mutex_post_unlock(mutex, 0);
    const bool woken = function(condition, mutex, patience);
    __tsan_mutex_pre_lock(mutex, 0);
    __tsan_mutex_post_lock(mutex, 0, 0);
    return woken;
}

} // namespace

// The names are those of the compiler for what the comments say.
// NOLINTBEGIN(bugprone-reserved-identifier)

extern "C" {

// bool QWaitCondition::wait(QMutex*, QDeadlineTimer)
Q_DECL_EXPORT bool _ZN14QWaitCondition4waitEP6QMutex14QDeadlineTimer(void* condition, QMutex* mutex,
                                                                     QDeadlineTimer deadline)
{
    static auto* const original = next(&_ZN14QWaitCondition4waitEP6QMutex14QDeadlineTimer,
                                       "_ZN14QWaitCondition4waitEP6QMutex14QDeadlineTimer");
    return waitOn(original, condition, mutex, deadline);
}

// bool QWaitCondition::wait(QMutex*, unsigned long)
Q_DECL_EXPORT bool _ZN14QWaitCondition4waitEP6QMutexm(void* condition, QMutex* mutex,
                                                      unsigned long milliseconds)
{
    static auto* const original
        = next(&_ZN14QWaitCondition4waitEP6QMutexm, "_ZN14QWaitCondition4waitEP6QMutexm");
    return waitOn(original, condition, mutex, milliseconds);
}

// void QCoreApplication::postEvent(QObject*, QEvent*, int)
Q_DECL_EXPORT void _ZN16QCoreApplication9postEventEP7QObjectP6QEventi(void* receiver, void* event,
                                                                      int priority)
{
    static auto* const original = next(&_ZN16QCoreApplication9postEventEP7QObjectP6QEventi,
                                       "_ZN16QCoreApplication9postEventEP7QObjectP6QEventi");
    __tsan_release(event);
    original(receiver, event, priority);
}

// void QObject::moveToThread(QThread*)
Q_DECL_EXPORT void _ZN7QObject12moveToThreadEP7QThread(void* object, void* thread)
{
    static auto* const original
        = next(&_ZN7QObject12moveToThreadEP7QThread, "_ZN7QObject12moveToThreadEP7QThread");
    __tsan_release(object);
    original(object, thread);
}

// bool QMetaObject::invokeMethodImpl(QObject*, QtPrivate::QSlotObjectBase*, Qt::ConnectionType, void*)
Q_DECL_EXPORT bool
_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv(
    void* receiver, void* call, int type, void* result)
{
    static auto* const original = next(
        &_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv,
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14Connection"
        "TypeEPv");
    __tsan_release(receiver);
    return original(receiver, call, type, result);
}

// void QThread::start(QThread::Priority)
Q_DECL_EXPORT void _ZN7QThread5startENS_8PriorityE(QThread* thread, int priority)
{
    static auto* const original
        = next(&_ZN7QThread5startENS_8PriorityE, "_ZN7QThread5startENS_8PriorityE");
    // In the thread itself, before it counts as finished.
    QObject::connect(
        thread, &QThread::finished, thread, [thread] { __tsan_release(thread); },
        Qt::ConnectionType(Qt::DirectConnection | Qt::SingleShotConnection));
    starting = thread;
    original(thread, priority);
    starting = nullptr;
}

int pthread_create(pthread_t* id, const pthread_attr_t* attributes, void* (*function)(void*),
                   void* argument) noexcept
{
    static auto* const original
        = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    if (!starting)
        return original(id, attributes, function, argument);
    void* const thread = std::exchange(starting, nullptr);
    running().add(thread);
    auto* const beginning = new Beginning{function, argument, thread};
    const int error = original(id, attributes, runAndTell, beginning);
    if (error) {
        delete beginning;
        running().remove(thread);
    }
    return error;
}

// bool QThread::wait(QDeadlineTimer)
Q_DECL_EXPORT bool _ZN7QThread4waitE14QDeadlineTimer(QThread* thread, QDeadlineTimer deadline)
{
    static auto* const original
        = next(&_ZN7QThread4waitE14QDeadlineTimer, "_ZN7QThread4waitE14QDeadlineTimer");
    const bool ended = original(thread, deadline);
    if (ended)
        running().waitUntilGone(thread); // it is on its last steps
    return ended;
}

// bool QThread::isFinished() const
Q_DECL_EXPORT bool _ZNK7QThread10isFinishedEv(const QThread* thread)
{
    static auto* const original = next(&_ZNK7QThread10isFinishedEv, "_ZNK7QThread10isFinishedEv");
    const bool finished = original(thread);
    if (finished)
        __tsan_acquire(const_cast<QThread*>(thread));
    return finished;
}

// void QSemaphore::acquire(int)
Q_DECL_EXPORT void _ZN10QSemaphore7acquireEi(void* semaphore, int number)
{
    static auto* const original = next(&_ZN10QSemaphore7acquireEi, "_ZN10QSemaphore7acquireEi");
    original(semaphore, number);
    __tsan_acquire(semaphore);
}

// bool QSemaphore::tryAcquire(int)
Q_DECL_EXPORT bool _ZN10QSemaphore10tryAcquireEi(void* semaphore, int number)
{
    static auto* const original
        = next(&_ZN10QSemaphore10tryAcquireEi, "_ZN10QSemaphore10tryAcquireEi");
    const bool acquired = original(semaphore, number);
    if (acquired)
        __tsan_acquire(semaphore);
    return acquired;
}

// bool QSemaphore::tryAcquire(int, int)
Q_DECL_EXPORT bool _ZN10QSemaphore10tryAcquireEii(void* semaphore, int number, int milliseconds)
{
    static auto* const original
        = next(&_ZN10QSemaphore10tryAcquireEii, "_ZN10QSemaphore10tryAcquireEii");
    const bool acquired = original(semaphore, number, milliseconds);
    if (acquired)
        __tsan_acquire(semaphore);
    return acquired;
}

// void QSemaphore::release(int)
Q_DECL_EXPORT void _ZN10QSemaphore7releaseEi(void* semaphore, int number)
{
    static auto* const original = next(&_ZN10QSemaphore7releaseEi, "_ZN10QSemaphore7releaseEi");
    __tsan_release(semaphore);
    original(semaphore, number);
}

} // extern "C"

// NOLINTEND(bugprone-reserved-identifier)
