// Built into test binaries of the thread sanitizer only. The distribution's Qt isn't instrumented, so the sanitizer
// sees neither what QMutex and QSemaphore order nor that an event is delivered after it was posted, and would report
// both. These definitions stand in front of Qt's own for the calls that our code makes, call them, and tell the
// sanitizer the order: a lock after its unlock, a delivery after the posts to the same object. Signals don't name their
// receivers, so what they order is kept on one mark for all, and so are tasks of a pool.
#if defined(__SANITIZE_THREAD__)
#include <dlfcn.h>
#include <functional>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QMutex>
#include <QObject>
#include <QReadWriteLock>
#include <QThread>
#include <QThreadPool>

extern "C" {
void __tsan_acquire(void *addr);
void __tsan_release(void *addr);
// Memory that Qt itself touches is Qt's affair; the orders that it makes with the system's own locks still count.
const char *__tsan_default_options() { return "ignore_noninstrumented_modules=1:second_deadlock_stack=1"; }
// The copy of a queued signal's argument is put into the receiver's list of events once it's whole and read once it's
// taken from there, both under the list's own lock, which nothing here stands in front of.
const char *__tsan_default_suppressions() { return "race:QMetaTypeFunctionHelper<*>::Construct\n"; }
}

namespace
{
char signalMark, poolMark;
template <class F> F real(const char *name) { return reinterpret_cast<F>(dlsym(RTLD_NEXT, name)); }
} // namespace

void tsanDelivered(QObject *receiver)
{
    __tsan_acquire(receiver);
    __tsan_acquire(&signalMark);
}

// What a delivery has done is before the end of a call that waited for it.
void tsanDone(QObject *receiver) { __tsan_release(receiver); }

#define LOCK(fn, symbol)                                                                                                                   \
    void fn(void *self) __asm__(symbol);                                                                                                   \
    void fn(void *self)                                                                                                                    \
    {                                                                                                                                      \
        static auto call = real<void (*)(void *)>(symbol);                                                                                 \
        call(self);                                                                                                                        \
        __tsan_acquire(self);                                                                                                              \
    }
#define UNLOCK(fn, symbol)                                                                                                                 \
    void fn(void *self) __asm__(symbol);                                                                                                   \
    void fn(void *self)                                                                                                                    \
    {                                                                                                                                      \
        static auto call = real<void (*)(void *)>(symbol);                                                                                 \
        __tsan_release(self);                                                                                                              \
        call(self);                                                                                                                        \
    }
LOCK(mutexLock, "_ZN6QMutex4lockEv")
UNLOCK(mutexUnlock, "_ZN6QMutex6unlockEv")
LOCK(readLock, "_ZN14QReadWriteLock11lockForReadEv")
LOCK(writeLock, "_ZN14QReadWriteLock12lockForWriteEv")
UNLOCK(rwUnlock, "_ZN14QReadWriteLock6unlockEv")

void taken(void *self, int n) __asm__("_ZN10QSemaphore7acquireEi");
void taken(void *self, int n)
{
    static auto call = real<void (*)(void *, int)>("_ZN10QSemaphore7acquireEi");
    call(self, n);
    __tsan_acquire(self);
}

void given(void *self, int n) __asm__("_ZN10QSemaphore7releaseEi");
void given(void *self, int n)
{
    static auto call = real<void (*)(void *, int)>("_ZN10QSemaphore7releaseEi");
    __tsan_release(self);
    call(self, n);
}

bool mutexTryLock(void *self, int ms) __asm__("_ZN6QMutex7tryLockEi");
bool mutexTryLock(void *self, int ms)
{
    static auto call = real<bool (*)(void *, int)>("_ZN6QMutex7tryLockEi");
    const bool got = call(self, ms);
    if (got)
        __tsan_acquire(self);
    return got;
}

void postEvent(QObject *to, QEvent *event, int priority) __asm__("_ZN16QCoreApplication9postEventEP7QObjectP6QEventi");
void postEvent(QObject *to, QEvent *event, int priority)
{
    static auto call = real<void (*)(QObject *, QEvent *, int)>("_ZN16QCoreApplication9postEventEP7QObjectP6QEventi");
    __tsan_release(to);
    call(to, event, priority);
}

// Aligned, since its address is taken as a member pointer, whose lowest bit tells virtual ones apart.
__attribute__((aligned(16))) void later(QObject *self) __asm__("_ZN7QObject11deleteLaterEv");
void later(QObject *self)
{
    static auto call = real<void (*)(QObject *)>("_ZN7QObject11deleteLaterEv");
    __tsan_release(self);
    call(self);
}

bool invokeSlot(QObject *to, QtPrivate::QSlotObjectBase *slot, Qt::ConnectionType type,
                void *ret) __asm__("_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
bool invokeSlot(QObject *to, QtPrivate::QSlotObjectBase *slot, Qt::ConnectionType type, void *ret)
{
    static auto call = real<bool (*)(QObject *, QtPrivate::QSlotObjectBase *, Qt::ConnectionType, void *)>(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
    __tsan_release(to);
    const bool done = call(to, slot, type, ret);
    if (type == Qt::BlockingQueuedConnection)
        __tsan_acquire(to); // what the other side did is done
    return done;
}

using G = QGenericArgument;
bool invokeName(
    QObject *to, const char *member, Qt::ConnectionType type, QGenericReturnArgument ret, G a, G b, G c, G d, G e, G f, G g, G h, G i,
    G j) __asm__("_ZN11QMetaObject12invokeMethodEP7QObjectPKcN2Qt14ConnectionTypeE22QGenericReturnArgument16QGenericArgumentS7_S7_S7_S7_S7_"
                 "S7_S7_S7_S7_");
bool invokeName(QObject *to, const char *member, Qt::ConnectionType type, QGenericReturnArgument ret, G a, G b, G c, G d, G e, G f, G g,
                G h, G i, G j)
{
    static auto call = real<bool (*)(QObject *, const char *, Qt::ConnectionType, QGenericReturnArgument, G, G, G, G, G, G, G, G, G, G)>(
        "_ZN11QMetaObject12invokeMethodEP7QObjectPKcN2Qt14ConnectionTypeE22QGenericReturnArgument16QGenericArgumentS7_S7_S7_S7_S7_"
        "S7_S7_S7_S7_");
    __tsan_release(to);
    return call(to, member, type, ret, a, b, c, d, e, f, g, h, i, j);
}

void activate(QObject *sender, const QMetaObject *meta, int index, void **args) __asm__("_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
void activate(QObject *sender, const QMetaObject *meta, int index, void **args)
{
    static auto call = real<void (*)(QObject *, const QMetaObject *, int, void **)>("_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    __tsan_release(&signalMark);
    call(sender, meta, index, args);
    __tsan_release(&signalMark); // the copies that queued receivers get were made within
}

using Task = std::function<void()>;
void pooled(QThreadPool *pool, Task task, int priority) __asm__("_ZN11QThreadPool5startESt8functionIFvvEEi");
void pooled(QThreadPool *pool, Task task, int priority)
{
    static auto call = real<void (*)(QThreadPool *, Task, int)>("_ZN11QThreadPool5startESt8functionIFvvEEi");
    Task ordered = [task = std::move(task)] {
        __tsan_acquire(&poolMark);
        task();
    };
    __tsan_release(&poolMark); // all of it is made
    call(pool, std::move(ordered), priority);
}

// Who waited for a thread comes after all that it did.
bool waited(QThread *thread, QDeadlineTimer deadline) __asm__("_ZN7QThread4waitE14QDeadlineTimer");
bool waited(QThread *thread, QDeadlineTimer deadline)
{
    static auto call = real<bool (*)(QThread *, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool ended = call(thread, deadline);
    __tsan_acquire(&signalMark);
    return ended;
}
#endif
