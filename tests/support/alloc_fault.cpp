#include "support/alloc_fault.h"

#include <errno.h>
#include <stddef.h>

// The sanitizers' allocator under its own name, where there is one; else libc's.
extern "C" {
__attribute__((weak)) void *__interceptor_malloc(size_t);
__attribute__((weak)) void *__interceptor_calloc(size_t, size_t);
__attribute__((weak)) void *__interceptor_realloc(void *, size_t);
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void *__libc_realloc(void *, size_t);

// The leak detector knows what the dynamic linker allocates by its caller, which is hidden behind us.
__attribute__((visibility("default"))) const char *__lsan_default_suppressions() {
    return "leak:dl_open_worker\n";
}
}

namespace {

int countdown;  // 0: not armed
bool reached;

bool fails() {
    if (countdown == 0 || --countdown > 0) return false;
    reached = true;
    errno = ENOMEM;
    return true;
}

}  // namespace

extern "C" {

void *malloc(size_t size) {
    if (fails()) return nullptr;
    return __interceptor_malloc ? __interceptor_malloc(size) : __libc_malloc(size);
}

void *calloc(size_t count, size_t size) {
    if (fails()) return nullptr;
    return __interceptor_calloc ? __interceptor_calloc(count, size) : __libc_calloc(count, size);
}

void *realloc(void *block, size_t size) {
    if (fails()) return nullptr;
    return __interceptor_realloc ? __interceptor_realloc(block, size) : __libc_realloc(block, size);
}
}

namespace testing_support {

AllocFault::AllocFault(int nth) {
    reached = false;
    countdown = nth;
}

AllocFault::~AllocFault() {
    disarm();
}

bool AllocFault::disarm() {
    countdown = 0;
    return reached;
}

}  // namespace testing_support
