#pragma once

#include <cstddef>
#include <new>
#include <utility>

namespace brantle {

/// Allocator for the tree's columns. Blocks of 256 KiB and more are mapped on their own
/// without reserving memory for them, so that reserving a column for the expected count
/// takes only address space: the column then fills in place, with no copy on growth and
/// no memory for room it never uses. Smaller blocks come from the ordinary heap.
///
/// Values made without an initial value are left unset, not zeroed: `resize(n)` only takes
/// room, for a decoder that writes every value next. Give a value (`resize(n, 0)`) for zeros.
namespace columnMemory {
inline constexpr std::size_t mappedThreshold = std::size_t{256} << 10;
void* allocate(std::size_t bytes);
void deallocate(void* block, std::size_t bytes) noexcept;
/// Asks for huge pages in the whole 2 MiB stretches of [block, block + bytes), for memory
/// about to be written in full: one fault then backs 2 MiB instead of 4 KiB.
void preferHugePages(void* block, std::size_t bytes) noexcept;
/// Backs the pages of a part of a block of mappedThreshold bytes or more at once, in one call
/// instead of one fault per page, just before that part is written.
void backNow(void* part, std::size_t bytes) noexcept;
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

    template <class U> void construct(U* at) noexcept(noexcept(U())) {
        ::new (static_cast<void*>(at)) U;
    }
    template <class U, class... Args> void construct(U* at, Args&&... args) {
        ::new (static_cast<void*>(at)) U(std::forward<Args>(args)...);
    }

    template <class U>
    friend bool operator==(const ColumnAllocator&, const ColumnAllocator<U>&) noexcept {
        return true;
    }
};

} // namespace brantle
