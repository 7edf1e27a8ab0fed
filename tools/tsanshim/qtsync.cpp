// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
// Tells the thread sanitizer about the synchronisation inside an uninstrumented Qt 6.4: link it
// before Qt6Core.
#include <QtCore/QDeadlineTimer>
#include <QtCore/QObject>
#include <QtCore/QThread>
#include <QtCore/QVariant>
#include <dlfcn.h>
extern "C" {
void __tsan_acquire(void*);
void __tsan_release(void*);
}
#define REAL(ret, sym, ...)                                                                        \
    using F = ret (*)(__VA_ARGS__);                                                                \
    static F real = reinterpret_cast<F>(dlsym(RTLD_NEXT, sym));
static char g_posted, g_handled;
extern "C" {
#define LOCK(sym)                                                                                  \
    void sym(void* m)                                                                              \
    {                                                                                              \
        REAL(void, #sym, void*) real(m);                                                           \
        __tsan_acquire(m);                                                                         \
    }
#define TRY1(sym)                                                                                  \
    bool sym(void* m)                                                                              \
    {                                                                                              \
        REAL(bool, #sym, void*) bool r = real(m);                                                  \
        if (r)                                                                                     \
            __tsan_acquire(m);                                                                     \
        return r;                                                                                  \
    }
#define TRY2(sym)                                                                                  \
    bool sym(void* m, int t)                                                                       \
    {                                                                                              \
        REAL(bool, #sym, void*, int) bool r = real(m, t);                                          \
        if (r)                                                                                     \
            __tsan_acquire(m);                                                                     \
        return r;                                                                                  \
    }
#define UNLOCK(sym)                                                                                \
    void sym(void* m)                                                                              \
    {                                                                                              \
        REAL(void, #sym, void*) __tsan_release(m);                                                 \
        real(m);                                                                                   \
    }
LOCK(_ZN14QReadWriteLock11lockForReadEv);
LOCK(_ZN14QReadWriteLock12lockForWriteEv);

TRY1(_ZN14QReadWriteLock14tryLockForReadEv);
TRY2(_ZN14QReadWriteLock14tryLockForReadEi);

TRY1(_ZN14QReadWriteLock15tryLockForWriteEv);
TRY2(_ZN14QReadWriteLock15tryLockForWriteEi);

UNLOCK(_ZN14QReadWriteLock6unlockEv);

LOCK(_ZN11QBasicMutex12lockInternalEv);
TRY2(_ZN11QBasicMutex12lockInternalEi);
UNLOCK(_ZN11QBasicMutex14unlockInternalEv);

TRY2(_ZN15QRecursiveMutex7tryLockEi);
UNLOCK(_ZN15QRecursiveMutex6unlockEv);

void _ZN10QSemaphore7acquireEi(void* m, int n)
{
    REAL(void, "_ZN10QSemaphore7acquireEi", void*, int) real(m, n);
    __tsan_acquire(m);
}
TRY2(_ZN10QSemaphore10tryAcquireEi);

void _ZN10QSemaphore7releaseEi(void* m, int n)
{
    REAL(void, "_ZN10QSemaphore7releaseEi", void*, int) __tsan_release(m);
    real(m, n);
}
bool _ZN14QWaitCondition4waitEP6QMutex14QDeadlineTimer(void* c, void* m, QDeadlineTimer d)
{
    REAL(bool, "_ZN14QWaitCondition4waitEP6QMutex14QDeadlineTimer", void*, void*, QDeadlineTimer)
    __tsan_release(m);
    bool r = real(c, m, d);
    __tsan_acquire(m);
    return r;
}
bool _ZN14QWaitCondition4waitEP14QReadWriteLock14QDeadlineTimer(void* c, void* m, QDeadlineTimer d)
{
    REAL(bool, "_ZN14QWaitCondition4waitEP14QReadWriteLock14QDeadlineTimer", void*, void*,
        QDeadlineTimer)
    __tsan_release(m);
    bool r = real(c, m, d);
    __tsan_acquire(m);
    return r;
}
bool _ZN14QWaitCondition4waitEP14QReadWriteLockm(void* c, void* m, unsigned long t)
{
    REAL(bool, "_ZN14QWaitCondition4waitEP14QReadWriteLockm", void*, void*, unsigned long)
    __tsan_release(m);
    bool r = real(c, m, t);
    __tsan_acquire(m);
    return r;
}
void _ZN7QThread5startENS_8PriorityE(QThread* t, int p)
{
    REAL(void, "_ZN7QThread5startENS_8PriorityE", QThread*, int)
    if (!t->property("_q_sync").toBool()) {
        t->setProperty("_q_sync", true);
        QObject::connect(
            t, &QThread::finished, t, [t] { __tsan_release(t); }, Qt::DirectConnection);
    }
    real(t, p);
}
bool _ZN7QThread4waitE14QDeadlineTimer(QThread* t, QDeadlineTimer d)
{
    REAL(bool, "_ZN7QThread4waitE14QDeadlineTimer", QThread*, QDeadlineTimer) bool r = real(t, d);
    if (r)
        __tsan_acquire(t);
    return r;
}
// posting: everything done before an emit, post or invoke happens before any event handler that
// runs later
void _ZN11QMetaObject8activateEP7QObjectPKS_iPPv(void* o, const void* m, int i, void** a)
{
    REAL(void, "_ZN11QMetaObject8activateEP7QObjectPKS_iPPv", void*, const void*, int, void**)
    __tsan_release(&g_posted);
    real(o, m, i, a);
}
void _ZN16QCoreApplication9postEventEP7QObjectP6QEventi(void* o, void* e, int p)
{
    REAL(void, "_ZN16QCoreApplication9postEventEP7QObjectP6QEventi", void*, void*, int)
    __tsan_release(&g_posted);
    real(o, e, p);
}
bool _ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv(
    void* o, void* s, int t, void* r)
{
    REAL(bool,
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv",
        void*, void*, int, void*)
    __tsan_release(&g_posted);
    auto* slot = static_cast<QtPrivate::QSlotObjectBase*>(s);
    const bool block = true;
    if (block)
        slot->ref();
    bool ok = real(o, s, t, r);
    if (block) {
        __tsan_acquire(&g_handled);
        slot->destroyIfLastRef();
    }
    return ok;
}
void _ZN7QObject11deleteLaterEv(void* o)
{
    REAL(void, "_ZN7QObject11deleteLaterEv", void*) __tsan_release(&g_posted);
    real(o);
}
bool _ZN7QObject5eventEP6QEvent(void* o, void* e)
{
    REAL(bool, "_ZN7QObject5eventEP6QEvent", void*, void*) __tsan_acquire(&g_posted);
    bool r = real(o, e);
    __tsan_release(&g_handled);
    return r;
}
}
