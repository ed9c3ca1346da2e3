// What ThreadSanitizer cannot see by itself, where the synchronisation happens inside
// libraries it does not instrument (Qt, GLib).
//
// waitOn: QWaitCondition lets go of the
// mutex and takes it back inside Qt, where ThreadSanitizer does not look, so to it the waiting
// thread would hold the mutex all along, and any other thread taking it meanwhile (a stop, a
// counter read) would look like a double lock. Elsewhere it is QWaitCondition::wait.
#pragma once

#include <QDeadlineTimer>
#include <QMutex>
#include <QWaitCondition>
#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

// False when the deadline passed first.
inline bool waitOn(QWaitCondition& condition, QMutex& mutex, QDeadlineTimer deadline)
{
#if defined(__SANITIZE_THREAD__)
    __tsan_mutex_pre_unlock(&mutex, 0);
    __tsan_mutex_post_unlock(&mutex, 0);
#endif
    const bool woken = condition.wait(&mutex, deadline);
#if defined(__SANITIZE_THREAD__)
    __tsan_mutex_pre_lock(&mutex, 0);
    __tsan_mutex_post_lock(&mutex, 0, 0);
#endif
    return woken;
}

// A hand-over through a library's own locks, such as a GLib signal handler that runs on
// Aravis's threads: publish before the other thread can run, receive where it starts.
inline void tsanPublish(const void* object)
{
#if defined(__SANITIZE_THREAD__)
    __tsan_release(const_cast<void*>(object));
#else
    Q_UNUSED(object)
#endif
}

inline void tsanReceive(const void* object)
{
#if defined(__SANITIZE_THREAD__)
    __tsan_acquire(const_cast<void*>(object));
#else
    Q_UNUSED(object)
#endif
}
