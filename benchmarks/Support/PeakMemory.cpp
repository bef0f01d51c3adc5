// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/PeakMemory.h>

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> current, peak;

void* counted(void* memory)
{
    if (!memory)
        throw std::bad_alloc();
    const std::size_t now = current.fetch_add(::malloc_usable_size(memory)) + ::malloc_usable_size(memory);
    std::size_t most = peak.load();
    while (most < now && !peak.compare_exchange_weak(most, now)) {
    }
    return memory;
}

void release(void* memory) noexcept
{
    current.fetch_sub(::malloc_usable_size(memory)); // 0 for null
    std::free(memory);
}

} // namespace

// The forms for arrays and those that do not throw end in these.
void* operator new(std::size_t size)
{
    return counted(std::malloc(size));
}
void* operator new(std::size_t size, std::align_val_t alignment)
{
    const auto step = static_cast<std::size_t>(alignment);
    return counted(std::aligned_alloc(step, (size + step - 1) / step * step));
}
void operator delete(void* memory) noexcept
{
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept
{
    release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept
{
    release(memory);
}

namespace corvane::benchmarks {

PeakMemory::PeakMemory() : before_(current.load())
{
    peak.store(before_);
}

double PeakMemory::bytes() const
{
    return static_cast<double>(peak.load() - before_);
}

} // namespace corvane::benchmarks
