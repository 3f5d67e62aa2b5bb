#include "BrantleCore/ColumnAllocator.hpp"

#include <cstdint>
#include <sys/mman.h>

namespace brantle::columnMemory {

namespace {

constexpr std::size_t hugePage = std::size_t{2} << 20;

std::size_t roundedUp(std::size_t bytes) {
    return (bytes + hugePage - 1) & ~(hugePage - 1);
}

} // namespace

void* allocate(std::size_t bytes) {
    if (bytes < hugeThreshold) return ::operator new(bytes);
    const std::size_t length = roundedUp(bytes);
    // Map one huge page more than needed and trim, so the block starts on a huge-page boundary.
    void* mapped = mmap(nullptr, length + hugePage, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) throw std::bad_alloc();
    const auto base = reinterpret_cast<std::uintptr_t>(mapped);
    const std::uintptr_t aligned = (base + hugePage - 1) & ~(hugePage - 1);
    if (aligned > base) munmap(mapped, aligned - base);
    const std::uintptr_t tail = aligned + length;
    const std::uintptr_t end = base + length + hugePage;
    void* block = static_cast<char*>(mapped) + (aligned - base);
    if (end > tail) munmap(static_cast<char*>(block) + length, end - tail);
    madvise(block, length, MADV_HUGEPAGE);
    return block;
}

void deallocate(void* block, std::size_t bytes) noexcept {
    if (!block) return;
    if (bytes < hugeThreshold) {
        ::operator delete(block);
        return;
    }
    munmap(block, roundedUp(bytes));
}

} // namespace brantle::columnMemory
