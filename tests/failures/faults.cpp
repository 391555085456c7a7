#include "failures/faults.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <sys/auxv.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);
}

namespace bv::test {
namespace {

constexpr long kEndless = 200'000;  // failed calls of one operation: it will never give up

std::atomic<long> live_blocks = 0;
thread_local bool guarded = false;

// Of the one thread that is guarded.
FaultPlan plan;
long first_failing = 0;
long made = 0;
bool tripped = false;

/// BV_FAILURES_TRACE shows where a call came from that fails.
void ShowPlace() {
    guarded = false;
    void* frames[40];
    const int count = backtrace(frames, 40);
    backtrace_symbols_fd(frames, count, STDERR_FILENO);
    static_cast<void>(!write(STDERR_FILENO, "--\n", 3));
    guarded = true;
}

bool Fails(FaultKind kind) {
    if (!guarded || plan.kind != kind) return false;
    ++made;
    if (first_failing == 0 || made < first_failing || (made > first_failing && !plan.from_then_on))
        return false;
    static const bool traced = std::getenv("BV_FAILURES_TRACE") != nullptr;
    if (traced && !tripped) ShowPlace();
    tripped = true;
    if (made - first_failing > kEndless) {
        std::fputs("an operation never gives up\n", stderr);
        std::abort();
    }
    errno = kind == FaultKind::kMemory ? ENOMEM : plan.error;
    return true;
}

// --- Where the blocks come from that stay

struct Place {
    void* block = nullptr;
    void* frames[24] = {};
    int count = 0;
};
constexpr size_t kPlaces = 1 << 14;
Place places[kPlaces];
bool watching = false;
thread_local bool noting = false;

void Note(void* block) {
    if (!watching || noting) return;
    noting = true;
    for (size_t i = 0, at = reinterpret_cast<size_t>(block) / 16; i < kPlaces; ++i, ++at) {
        Place& place = places[at % kPlaces];
        if (place.block) continue;
        place.block = block;
        place.count = backtrace(place.frames, 24);
        break;
    }
    noting = false;
}
void Forget(const void* block) {
    if (!watching) return;
    for (size_t i = 0, at = reinterpret_cast<size_t>(block) / 16; i < kPlaces; ++i, ++at)
        if (Place& place = places[at % kPlaces]; place.block == block) {
            place.block = nullptr;
            return;
        }
}

/// The system's loader ends the process when it has no memory for a thread's data: its own allocations don't fail.
bool FailsFor(const void* caller) {
    constexpr size_t kLoaderSize = 0x40000;
    static const size_t loader = getauxval(AT_BASE);
    return reinterpret_cast<size_t>(caller) - loader >= kLoaderSize && Fails(FaultKind::kMemory);
}

void* Counted(void* block) {
    if (!block) return block;
    live_blocks.fetch_add(1, std::memory_order_relaxed);
    Note(block);
    return block;
}

/// The C library's own, behind the one of this file.
template <class Call>
Call* Next(const char* name) {
    const bool was = guarded;
    guarded = false;
    void* const found = dlsym(RTLD_NEXT, name);
    guarded = was;
    return reinterpret_cast<Call*>(found);
}

}  // namespace

Faults::Faults(const FaultPlan& wanted, long first) {
    plan = wanted;
    first_failing = first;
    made = 0;
    tripped = false;
}
Faults::~Faults() { first_failing = 0; }
bool Faults::Tripped() { return tripped; }

Guarded::Guarded() { guarded = true; }
Guarded::~Guarded() { guarded = false; }

void WatchBlocks() {
    if (!std::getenv("BV_FAILURES_TRACE")) return;
    for (Place& place : places) place.block = nullptr;
    watching = true;
}

void ShowWatchedBlocks() {
    if (!watching) return;
    watching = false;
    for (const Place& place : places) {
        if (!place.block) continue;
        std::fputs("a block that stays:\n", stderr);
        backtrace_symbols_fd(place.frames, place.count, STDERR_FILENO);
    }
}

long LiveBlocks() { return live_blocks.load(std::memory_order_relaxed); }

}  // namespace bv::test

// What follows stands before the C library's in all modules of the process.
using namespace bv::test;

#define BV_REPLACES __attribute__((visibility("default")))

extern "C" {

BV_REPLACES void* malloc(size_t size) {
    return FailsFor(__builtin_return_address(0)) ? nullptr : Counted(__libc_malloc(size));
}
BV_REPLACES void* calloc(size_t count, size_t size) {
    return FailsFor(__builtin_return_address(0)) ? nullptr : Counted(__libc_calloc(count, size));
}
BV_REPLACES void* realloc(void* block, size_t size) {
    if (size > 0 && Fails(FaultKind::kMemory)) return nullptr;
    if (block) Forget(block);
    void* const result = __libc_realloc(block, size);
    if (block && result) Note(result);
    if (!block && result) Counted(result);
    if (block && size == 0) --live_blocks;
    return result;
}
BV_REPLACES void* memalign(size_t alignment, size_t size) {
    return FailsFor(__builtin_return_address(0)) ? nullptr : Counted(__libc_memalign(alignment, size));
}
BV_REPLACES void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }
BV_REPLACES int posix_memalign(void** result, size_t alignment, size_t size) {
    void* const block = memalign(alignment, size);
    if (!block) return ENOMEM;
    *result = block;
    return 0;
}
BV_REPLACES void free(void* block) {
    if (block) {
        live_blocks.fetch_sub(1, std::memory_order_relaxed);
        Forget(block);
    }
    __libc_free(block);
}

BV_REPLACES int openat(int folder, const char* name, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const int mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(more, int) : 0;
    va_end(more);
    return Fails(FaultKind::kFiles) ? -1 : int(syscall(SYS_openat, folder, name, flags, mode));
}
BV_REPLACES int open(const char* name, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const int mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(more, int) : 0;
    va_end(more);
    return openat(AT_FDCWD, name, flags, mode);
}
BV_REPLACES int openat64(int folder, const char* name, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const int mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(more, int) : 0;
    va_end(more);
    return openat(folder, name, flags, mode);
}
BV_REPLACES int open64(const char* name, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const int mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(more, int) : 0;
    va_end(more);
    return openat(AT_FDCWD, name, flags, mode);
}
BV_REPLACES ssize_t read(int file, void* bytes, size_t count) {
    return Fails(FaultKind::kFiles) ? -1 : syscall(SYS_read, file, bytes, count);
}
BV_REPLACES ssize_t write(int file, const void* bytes, size_t count) {
    if (Fails(FaultKind::kShort)) count = (count + 1) / 2;
    return Fails(FaultKind::kFiles) ? -1 : syscall(SYS_write, file, bytes, count);
}
BV_REPLACES ssize_t pread64(int file, void* bytes, size_t count, off64_t place) {
    return Fails(FaultKind::kFiles) ? -1 : syscall(SYS_pread64, file, bytes, count, place);
}
BV_REPLACES ssize_t pread(int file, void* bytes, size_t count, off_t place) {
    return pread64(file, bytes, count, place);
}
BV_REPLACES ssize_t pwrite64(int file, const void* bytes, size_t count, off64_t place) {
    if (Fails(FaultKind::kShort)) count = (count + 1) / 2;
    return Fails(FaultKind::kFiles) ? -1 : syscall(SYS_pwrite64, file, bytes, count, place);
}
BV_REPLACES ssize_t pwrite(int file, const void* bytes, size_t count, off_t place) {
    return pwrite64(file, bytes, count, place);
}
BV_REPLACES int fsync(int file) { return Fails(FaultKind::kFiles) ? -1 : int(syscall(SYS_fsync, file)); }
BV_REPLACES int fdatasync(int file) {
    return Fails(FaultKind::kFiles) ? -1 : int(syscall(SYS_fdatasync, file));
}
BV_REPLACES int ftruncate64(int file, off64_t size) {
    return Fails(FaultKind::kFiles) ? -1 : int(syscall(SYS_ftruncate, file, size));
}
BV_REPLACES int ftruncate(int file, off_t size) { return ftruncate64(file, size); }
BV_REPLACES int rename(const char* from, const char* to) {
    return Fails(FaultKind::kFiles) ? -1 : int(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}
// The descriptor is gone all the same.
BV_REPLACES int close(int file) {
    const bool fails = Fails(FaultKind::kFiles);
    const int error = errno;
    const int result = int(syscall(SYS_close, file));
    if (!fails) return result;
    errno = error;
    return -1;
}
BV_REPLACES int fcntl64(int file, int command, ...) {
    va_list more;
    va_start(more, command);
    void* const argument = va_arg(more, void*);
    va_end(more);
    // To give a lock back doesn't fail.
    const bool unlocks = (command == F_SETLK || command == F_SETLKW) &&
                         static_cast<const struct flock*>(argument)->l_type == F_UNLCK;
    return !unlocks && Fails(FaultKind::kFiles) ? -1 : int(syscall(SYS_fcntl, file, command, argument));
}
BV_REPLACES int fcntl(int file, int command, ...) {
    va_list more;
    va_start(more, command);
    void* const argument = va_arg(more, void*);
    va_end(more);
    return fcntl64(file, command, argument);
}

BV_REPLACES FILE* fopen(const char* name, const char* mode) {
    static auto* const next = Next<FILE*(const char*, const char*)>("fopen");
    return Fails(FaultKind::kFiles) ? nullptr : next(name, mode);
}
BV_REPLACES size_t fwrite(const void* bytes, size_t size, size_t count, FILE* file) {
    static auto* const next = Next<size_t(const void*, size_t, size_t, FILE*)>("fwrite");
    return Fails(FaultKind::kFiles) ? 0 : next(bytes, size, count, file);
}
BV_REPLACES int fflush(FILE* file) {
    static auto* const next = Next<int(FILE*)>("fflush");
    return Fails(FaultKind::kFiles) ? EOF : next(file);
}
BV_REPLACES int fclose(FILE* file) {
    static auto* const next = Next<int(FILE*)>("fclose");
    const bool fails = Fails(FaultKind::kFiles);
    const int error = errno;
    const int result = next(file);
    if (!fails) return result;
    errno = error;
    return EOF;
}
}
