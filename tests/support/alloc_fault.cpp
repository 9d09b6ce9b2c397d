#include "support/alloc_fault.h"

#include <dlfcn.h>
#include <errno.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>

#include <new>

// The sanitizers' allocator under its own name, where there is one; else libc's.
extern "C" {
__attribute__((weak)) void *__interceptor_malloc(size_t);
__attribute__((weak)) void *__interceptor_calloc(size_t, size_t);
__attribute__((weak)) void *__interceptor_realloc(void *, size_t);
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void *__libc_realloc(void *, size_t);

// The leak detector knows what the dynamic linker allocates by its caller, which is hidden behind us. By the
// module's name, as not every system has the names of its functions.
__attribute__((visibility("default"))) const char *__lsan_default_suppressions() {
    return "leak:/ld-linux\n";
}
}

namespace {

int countdown;  // 0: not armed
bool reached;
bool new_too;

bool fails(const void *caller) {
    if (countdown == 0 || --countdown > 0) return false;
    if (new_too && testing_support::is_record_library(caller)) {
        countdown = 1;
        return false;
    }
    reached = true;
    errno = ENOMEM;
    return true;
}

}  // namespace

extern "C" {

void *malloc(size_t size) {
    if (fails(__builtin_return_address(0))) return nullptr;
    return __interceptor_malloc ? __interceptor_malloc(size) : __libc_malloc(size);
}

void *calloc(size_t count, size_t size) {
    if (fails(__builtin_return_address(0))) return nullptr;
    return __interceptor_calloc ? __interceptor_calloc(count, size) : __libc_calloc(count, size);
}

void *realloc(void *block, size_t size) {
    if (fails(__builtin_return_address(0))) return nullptr;
    return __interceptor_realloc ? __interceptor_realloc(block, size) : __libc_realloc(block, size);
}
}

// The sanitizers' operator new does not call malloc, so that it is replaced as well.
static void *new_block(size_t size) noexcept {
    if (new_too) return malloc(size);
    return __interceptor_malloc ? __interceptor_malloc(size) : __libc_malloc(size);
}
void *operator new(size_t size) {
    if (void *block = new_block(size)) return block;
    throw std::bad_alloc();
}
void *operator new[](size_t size) {
    return operator new(size);
}
void *operator new(size_t size, const std::nothrow_t &) noexcept {
    return new_block(size);
}
void operator delete(void *block) noexcept {
    free(block);
}
void operator delete[](void *block) noexcept {
    free(block);
}
void operator delete(void *block, size_t) noexcept {
    free(block);
}
void operator delete[](void *block, size_t) noexcept {
    free(block);
}

namespace testing_support {

bool is_record_library(const void *address) {
    Dl_info object;
    return dladdr(const_cast<void *>(address), &object) != 0 && strstr(object.dli_fname, "/libdb");
}

AllocFault::AllocFault(int nth, bool with_new) {
    new_too = with_new;
    reached = false;
    countdown = nth;
}

AllocFault::~AllocFault() {
    disarm();
    new_too = false;
}

bool AllocFault::disarm() {
    countdown = 0;
    return reached;
}

}  // namespace testing_support
