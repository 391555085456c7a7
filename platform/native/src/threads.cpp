// Last error, threads, critical sections.
#include <sys/syscall.h>
#include <unistd.h>
#include <windows.h>

#include <cerrno>
#include <ctime>

namespace {
thread_local DWORD last_error = ERROR_SUCCESS;
}

extern "C" {

DWORD GetLastError() { return last_error; }
void SetLastError(DWORD error) { last_error = error; }

DWORD GetCurrentThreadId() {
    static thread_local const DWORD id = static_cast<DWORD>(syscall(SYS_gettid));
    return id;
}

DWORD GetCurrentProcessId() { return static_cast<DWORD>(getpid()); }

void Sleep(DWORD milliseconds) {
    timespec rest = {static_cast<time_t>(milliseconds / 1000),
                     static_cast<long>(milliseconds % 1000) * 1000000};
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

void InitializeCriticalSection(LPCRITICAL_SECTION section) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&section->mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void DeleteCriticalSection(LPCRITICAL_SECTION section) { pthread_mutex_destroy(&section->mutex); }
void EnterCriticalSection(LPCRITICAL_SECTION section) { pthread_mutex_lock(&section->mutex); }
BOOL TryEnterCriticalSection(LPCRITICAL_SECTION section) {
    return pthread_mutex_trylock(&section->mutex) == 0;
}
void LeaveCriticalSection(LPCRITICAL_SECTION section) { pthread_mutex_unlock(&section->mutex); }
}
