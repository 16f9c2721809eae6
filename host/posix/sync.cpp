#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <new>

#include "host/platform.h"

namespace {

thread_local DWORD lastError = 0;

pthread_mutex_t* Mutex(CRITICAL_SECTION* section) noexcept {
    static_assert(sizeof(pthread_mutex_t) <= sizeof section->storage);
    return std::launder(reinterpret_cast<pthread_mutex_t*>(section->storage));
}

}  // namespace

bool ZvAfterForkInChild(void (*function)()) noexcept { return pthread_atfork(nullptr, nullptr, function) == 0; }

DWORD GetCurrentThreadId() noexcept { return static_cast<DWORD>(syscall(SYS_gettid)); }

DWORD GetLastError() noexcept { return lastError; }

void SetLastError(DWORD error) noexcept { lastError = error; }

void InitializeCriticalSection(CRITICAL_SECTION* section) noexcept {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(::new (section->storage) pthread_mutex_t, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void EnterCriticalSection(CRITICAL_SECTION* section) noexcept { pthread_mutex_lock(Mutex(section)); }

void LeaveCriticalSection(CRITICAL_SECTION* section) noexcept { pthread_mutex_unlock(Mutex(section)); }

void DeleteCriticalSection(CRITICAL_SECTION* section) noexcept { pthread_mutex_destroy(Mutex(section)); }
