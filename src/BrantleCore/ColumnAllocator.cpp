#include "BrantleCore/ColumnAllocator.hpp"

#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

namespace brantle::columnMemory {

namespace {

std::size_t roundedUp(std::size_t bytes) {
    static const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return (bytes + page - 1) & ~(page - 1);
}

} // namespace

void* allocate(std::size_t bytes) {
    if (bytes < mappedThreshold) return ::operator new(bytes);
    // Address space only: a page is backed when first written, so room reserved for an
    // expected count costs nothing until nodes fill it.
    void* block = mmap(nullptr, roundedUp(bytes), PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (block == MAP_FAILED) throw std::bad_alloc();
    return block;
}

void deallocate(void* block, std::size_t bytes) noexcept {
    if (!block) return;
    if (bytes < mappedThreshold) {
        ::operator delete(block);
        return;
    }
    munmap(block, roundedUp(bytes));
}

void preferHugePages(void* block, std::size_t bytes) noexcept {
    constexpr std::uintptr_t hugePage = std::uintptr_t{2} << 20;
    const auto start = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t first = (start + hugePage - 1) & ~(hugePage - 1);
    const std::uintptr_t end = (start + bytes) & ~(hugePage - 1);
    if (end > first)
        madvise(static_cast<char*>(block) + (first - start), end - first, MADV_HUGEPAGE);
}

void backNow(void* part, std::size_t bytes) noexcept {
#ifdef MADV_POPULATE_WRITE
    static const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const std::uintptr_t intoPage = reinterpret_cast<std::uintptr_t>(part) & (page - 1);
    madvise(static_cast<char*>(part) - intoPage, intoPage + bytes, MADV_POPULATE_WRITE);
#else
    (void)part;
    (void)bytes;
#endif
}

} // namespace brantle::columnMemory
