// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <utility>
#include <vector>

// How SynchronizedArray::removeLastNow leaves the reads that call it the elements they began with. Not an
// interface: use SynchronizedArray.
namespace corvane::detail {

/// The reads that this thread is inside of and that call out to blocks, innermost first.
struct ArrayReadFrame {
    const void* array;
    ArrayReadFrame* outer;
    bool detached; // it goes over elements that are no longer the array's
};
extern CORVANE_API constinit thread_local ArrayReadFrame* innermostArrayRead
    __attribute__((tls_model("initial-exec")));

template <typename T>
class ArrayRead : private ArrayReadFrame {
public:
    explicit ArrayRead(const std::vector<T>& elements) noexcept
        : ArrayReadFrame{&elements, innermostArrayRead, false}
    {
        innermostArrayRead = this;
    }
    ~ArrayRead() { innermostArrayRead = outer; }
    ArrayRead(const ArrayRead&) = delete;
    ArrayRead& operator=(const ArrayRead&) = delete;

    /// Gives the array elements of its own when reads of this thread are going over the present ones, which
    /// then belong to the outermost of these reads.
    static void detach(std::vector<T>& elements)
    {
        ArrayReadFrame* outermost = nullptr;
        for (ArrayReadFrame* frame = innermostArrayRead; frame != nullptr; frame = frame->outer)
            if (frame->array == &elements && !frame->detached) {
                frame->detached = true;
                outermost = frame;
            }
        if (outermost == nullptr)
            return;
        std::vector<T> copy(elements);
        std::swap(copy, elements); // iterators and references go with the elements
        static_cast<ArrayRead*>(outermost)->kept_ = std::move(copy);
    }

private:
    std::vector<T> kept_;
};

} // namespace corvane::detail
