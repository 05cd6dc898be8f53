// The executable's memory management is the C library's, except that nothing stays in memory that
// is given back: tokens and codes pass through buffers of many libraries, and none of them wipes
// all of its own. The C library's manual asks for all of these functions where one is replaced.

#include <malloc.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

// The names are the C library's.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl*,readability-inconsistent-*)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);
}

extern "C" {

void* malloc(std::size_t size) {
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    return __libc_calloc(count, size);
}

void free(void* memory) {
    if (memory == nullptr)
        return;
    explicit_bzero(memory, malloc_usable_size(memory));
    __libc_free(memory);
}

void* realloc(void* memory, std::size_t size) {
    if (memory == nullptr)
        return malloc(size);
    if (size == 0) {
        free(memory);
        return nullptr;
    }
    const std::size_t oldSize = malloc_usable_size(memory);
    if (size <= oldSize && size > oldSize / 2)
        return memory;
    void* const moved = malloc(size);
    if (moved == nullptr)
        return nullptr;
    std::memcpy(moved, memory, size < oldSize ? size : oldSize);
    free(memory);
    return moved;
}

void* memalign(std::size_t alignment, std::size_t size) {
    return __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    if (alignment % sizeof(void*) != 0 || (alignment & (alignment - 1)) != 0 || alignment == 0)
        return EINVAL;
    void* const made = memalign(alignment, size);
    if (made == nullptr)
        return ENOMEM;
    *memory = made;
    return 0;
}

void* valloc(std::size_t size) {
    return memalign(static_cast<std::size_t>(sysconf(_SC_PAGESIZE)), size);
}

void* pvalloc(std::size_t size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return memalign(page, (size + page - 1) / page * page);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl*,readability-inconsistent-*)
