// Memory of large arrays: pages of 2 MB where the system has them, so that random access doesn't wait for the address
// translation and fresh memory costs fewer faults.
//
//   CBigVector<ROW> aRow;   // a std::vector
#pragma once
#include <cstdlib>
#include <new>
#include <sys/mman.h>
#include <vector>

template <typename T> class CBigAllocator {
public:
    using value_type = T;
    CBigAllocator() = default;
    template <typename U> CBigAllocator(const CBigAllocator<U>&) {}

    T* allocate(std::size_t Count)
    {
        const std::size_t Size = Count * sizeof(T);
        if (Size < MIN_SIZE) return static_cast<T*>(::operator new(Size));
        void* p = std::aligned_alloc(PAGE_SIZE, (Size + PAGE_SIZE - 1) / PAGE_SIZE * PAGE_SIZE);
        if (!p) throw std::bad_alloc();
        madvise(p, Size, MADV_HUGEPAGE); // a wish; without it the memory is as good as any
        return static_cast<T*>(p);
    }
    void deallocate(T* p, std::size_t Count)
    {
        if (Count * sizeof(T) < MIN_SIZE) ::operator delete(p);
        else std::free(p);
    }
    bool operator==(const CBigAllocator&) const { return true; }

private:
    static constexpr std::size_t PAGE_SIZE = 2u << 20, MIN_SIZE = 1u << 20;
};

template <typename T> using CBigVector = std::vector<T, CBigAllocator<T>>;
