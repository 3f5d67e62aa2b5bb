#pragma once

#include <cstddef>
#include <new>

namespace brantle {

/// Allocator for the tree's columns. Blocks of 256 KiB and more are mapped on their own
/// without reserving memory for them, so that reserving a column for the expected count
/// takes only address space: the column then fills in place, with no copy on growth and
/// no memory for room it never uses. Smaller blocks come from the ordinary heap.
namespace columnMemory {
inline constexpr std::size_t mappedThreshold = std::size_t{256} << 10;
void* allocate(std::size_t bytes);
void deallocate(void* block, std::size_t bytes) noexcept;
/// Asks for huge pages in the whole 2 MiB stretches of [block, block + bytes), for memory
/// about to be written in full: one fault then backs 2 MiB instead of 4 KiB.
void preferHugePages(void* block, std::size_t bytes) noexcept;
} // namespace columnMemory

template <class T> struct ColumnAllocator {
    using value_type = T;

    ColumnAllocator() noexcept = default;
    template <class U> ColumnAllocator(const ColumnAllocator<U>&) noexcept {}

    T* allocate(std::size_t n) {
        if (n > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_alloc();
        return static_cast<T*>(columnMemory::allocate(n * sizeof(T)));
    }
    void deallocate(T* block, std::size_t n) noexcept {
        columnMemory::deallocate(block, n * sizeof(T));
    }

    template <class U>
    friend bool operator==(const ColumnAllocator&, const ColumnAllocator<U>&) noexcept {
        return true;
    }
};

} // namespace brantle
