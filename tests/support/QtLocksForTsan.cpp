// Debian's Qt is not built with ThreadSanitizer, so the sanitizer does not see that its locks order
// anything. These definitions come before Qt's in the search order, tell the sanitizer, and hand on
// to Qt's own. A QReadWriteLock that is fought for makes its wait conditions on the fly and hands
// them from thread to thread under locks that the sanitizer does not see; what happens inside Qt's
// own functions is therefore left out.
#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

#include <QMutex>
#include <QReadWriteLock>

extern "C" {
void AnnotateIgnoreReadsBegin(const char* file, int line);
void AnnotateIgnoreReadsEnd(const char* file, int line);
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
}

namespace {

/// While it lives, the sanitizer overlooks what this thread reads and writes.
class InsideQt
{
public:
    InsideQt()
    {
        AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
        AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
    }
    ~InsideQt()
    {
        AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
        AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
    }
    InsideQt(const InsideQt&) = delete;
    InsideQt& operator=(const InsideQt&) = delete;
};

template <class Function>
Function* Next(const char* mangled)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, mangled));
}

}  // namespace

void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT
{
    static auto* const next = Next<void(QMutex*)>("_ZN6QMutex4lockEv");
    next(this);
    __tsan_acquire(this);
}

void QMutex::unlock() noexcept
{
    static auto* const next = Next<void(QMutex*)>("_ZN6QMutex6unlockEv");
    __tsan_release(this);
    next(this);
}

void QReadWriteLock::lockForRead()
{
    static auto* const next = Next<void(QReadWriteLock*)>("_ZN14QReadWriteLock11lockForReadEv");
    {
        const InsideQt inside;
        next(this);
    }
    __tsan_acquire(this);
}

void QReadWriteLock::lockForWrite()
{
    static auto* const next = Next<void(QReadWriteLock*)>("_ZN14QReadWriteLock12lockForWriteEv");
    {
        const InsideQt inside;
        next(this);
    }
    __tsan_acquire(this);
}

void QReadWriteLock::unlock()
{
    static auto* const next = Next<void(QReadWriteLock*)>("_ZN14QReadWriteLock6unlockEv");
    __tsan_release(this);
    const InsideQt inside;
    next(this);
}
