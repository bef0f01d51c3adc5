// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/LowLevel/ArrayRead.h>
#include <corvane/LowLevel/LibraryQueue.h>
#include <corvane/Platform/Base/Description.h>
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>

#include <algorithm>
#include <concepts>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

/// An array that threads share: many read at once, and nobody waits to write.
///
///     SynchronizedArray<std::string> names;
///     names.append("b");
///     names += "a";
///     names.sorted(std::less()); // {"a", "b"}: a read sees the writes given before it
///
/// Reads run inside the queue of the array, beside each other. Writes are queued and return at once; they run
/// one at a time, alone, in the order given; an index out of range stops the process when the write runs.
///
/// A predicate, transform or body given to a read runs inside that read. There, another read is let in at
/// once, a write is only queued, and the elements passed stay those of the moment the read began, whatever
/// the block does. A predicate of `removeWhere` runs inside a write: there, a read of the same array never
/// returns.
///
/// Removed elements go to the main queue, to the completion or, without one, to be destroyed there.
/// Destroying the array while writes are queued is safe: they take effect, and completions arrive.
///
/// Thread-safe, but for `removeLastNow`.
template <typename T>
class SynchronizedArray {
public:
    explicit SynchronizedArray(std::vector<T> array = {})
        : queue_(detail::libraryQueue("SynchronizedArray", DispatchQueue::Attributes::concurrent)),
          array_(new std::vector<T>(std::move(array)))
    {}
    /// `count` copies of `element`. A negative count stops the process.
    static SynchronizedArray repeating(const T& element, Int count)
    {
        precondition(count >= 0, "An array cannot have a negative number of elements");
        return SynchronizedArray(std::vector<T>(static_cast<std::size_t>(count), element));
    }
    // With writes queued the last block of the queue frees the elements, behind them: a write needs no count of
    // users.
    ~SynchronizedArray()
    {
        if (queue_.trySyncBarrier([] {}))
            delete array_;
        else
            queue_.asyncBarrier([array = std::unique_ptr<std::vector<T>>(array_)] {});
    }
    SynchronizedArray(const SynchronizedArray&) = delete;
    SynchronizedArray& operator=(const SynchronizedArray&) = delete;

    // Reads.

    std::vector<T> allElements() const
    {
        return queue_.sync([this] { return *array_; });
    }
    std::optional<T> first() const { return (*this)[0]; }
    std::optional<T> last() const
    {
        return queue_.sync(
            [this] { return array_->empty() ? std::nullopt : std::optional<T>(array_->back()); });
    }
    /// Always present.
    std::optional<Int> count() const
    {
        return queue_.sync([this] { return std::optional<Int>(std::ssize(*array_)); });
    }
    bool isEmpty() const
    {
        return queue_.sync([this] { return array_->empty(); });
    }
    /// `[1, 2]`, `["a", "b"]`: see `describe`.
    std::string description() const
    {
        return read([](auto begin, auto end) { return detail::describeElements(begin, end); });
    }
    /// Absent for an index outside the array.
    std::optional<T> operator[](Int index) const
    {
        return queue_.sync([this, index] {
            return index >= 0 && index < std::ssize(*array_)
                       ? std::optional<T>((*array_)[static_cast<std::size_t>(index)])
                       : std::nullopt;
        });
    }

    template <std::predicate<const T&> Predicate>
    std::optional<T> first(Predicate&& where) const
    {
        return read([&](auto begin, auto end) -> std::optional<T> {
            const auto found = std::find_if(begin, end, std::ref(where));
            return found == end ? std::nullopt : std::optional<T>(*found);
        });
    }
    template <std::predicate<const T&> Predicate>
    std::optional<Int> index(Predicate&& where) const
    {
        return read([&](auto begin, auto end) -> std::optional<Int> {
            const auto found = std::find_if(begin, end, std::ref(where));
            return found == end ? std::nullopt : std::optional<Int>(found - begin);
        });
    }
    template <std::predicate<const T&> Predicate>
    bool containsWhere(Predicate&& where) const
    {
        return read([&](auto begin, auto end) { return std::any_of(begin, end, std::ref(where)); });
    }
    bool contains(const T& element) const requires std::equality_comparable<T>
    {
        return read([&](auto begin, auto end) { return std::find(begin, end, element) != end; });
    }
    /// The matching elements in their order.
    template <std::predicate<const T&> Predicate>
    std::vector<T> filter(Predicate&& isIncluded) const
    {
        return read([&](auto begin, auto end) {
            std::vector<T> included;
            std::copy_if(begin, end, std::back_inserter(included), std::ref(isIncluded));
            return included;
        });
    }
    /// A copy in the order of `by`, which says whether its first argument belongs before its second. Equal
    /// elements keep their order.
    template <std::predicate<const T&, const T&> Order>
    std::vector<T> sorted(Order&& by) const
    {
        return read([&](auto begin, auto end) {
            std::vector<T> copy(begin, end);
            std::stable_sort(copy.begin(), copy.end(), std::ref(by));
            return copy;
        });
    }
    /// The values present among the results of `transform`, which returns an optional, in order.
    template <std::invocable<const T&> Transform>
    auto flatMap(Transform&& transform) const
    {
        return read([&](auto begin, auto end) {
            std::vector<typename std::invoke_result_t<Transform&, const T&>::value_type> mapped;
            std::for_each(begin, end, [&](const T& element) {
                if (auto value = std::invoke(transform, element))
                    mapped.push_back(*std::move(value));
            });
            return mapped;
        });
    }
    template <std::invocable<const T&> Body>
    void forEach(Body&& body) const
    {
        read([&](auto begin, auto end) { std::for_each(begin, end, std::ref(body)); });
    }

    // Writes.

    /// Replaces an element; an absent one changes nothing.
    void setElement(Int index, std::optional<T> element)
    {
        if (element)
            write([index, element = *std::move(element)](std::vector<T>& array) mutable {
                array.begin()[position(index, array.size())] = std::move(element);
            });
    }
    void append(T element)
    {
        write([element = std::move(element)](std::vector<T>& array) mutable {
            array.push_back(std::move(element));
        });
    }
    void append(std::vector<T> elements)
    {
        write([elements = std::move(elements)](std::vector<T>& array) mutable {
            array.insert(array.end(), std::make_move_iterator(elements.begin()),
                         std::make_move_iterator(elements.end()));
        });
    }
    SynchronizedArray& operator+=(T element)
    {
        append(std::move(element));
        return *this;
    }
    SynchronizedArray& operator+=(std::vector<T> elements)
    {
        append(std::move(elements));
        return *this;
    }
    /// `at` may be the count: the element then comes last.
    void insert(T element, Int at)
    {
        write([at, element = std::move(element)](std::vector<T>& array) mutable {
            array.insert(array.begin() + position(at, array.size() + 1), std::move(element));
        });
    }

    /// Removes the last element and returns it, at once. The one write that is neither queued nor alone: it
    /// runs as a read does, beside the reads of other threads. Together with any of them, or with itself on
    /// another thread, it is a data race, and keeping them apart is up to the caller. An empty array stops
    /// the process.
    T removeLastNow()
    {
        return queue_.sync([this] {
            precondition(!array_->empty(), "The last element of an empty array cannot be removed");
            if constexpr (std::copy_constructible<T>)
                Read::detach(*array_);
            T removed = std::move(array_->back());
            array_->pop_back();
            return removed;
        });
    }

    using Completion = std::function<void(T)>;
    using AllCompletion = std::function<void(std::vector<T>)>;

    /// `completion` gets the removed element on the main queue.
    void removeAt(Int index, Completion completion = {})
    {
        write([index, completion = std::move(completion)](std::vector<T>& array) mutable {
            remove(array, position(index, array.size()), std::move(completion));
        });
    }
    /// Removes the first match only; without one, `completion` is not called.
    template <std::predicate<const T&> Predicate>
    void removeWhere(Predicate where, Completion completion = {})
    {
        write([where = std::move(where), completion = std::move(completion)](std::vector<T>& array) mutable {
            const auto found = std::find_if(array.cbegin(), array.cend(), std::ref(where));
            if (found != array.cend())
                remove(array, found - array.cbegin(), std::move(completion));
        });
    }
    /// Gives the memory back too. `completion` gets the elements, also when there are none.
    void removeAll(AllCompletion completion = {})
    {
        write([completion = std::move(completion)](std::vector<T>& array) mutable {
            deliver(std::exchange(array, {}), std::move(completion));
        });
    }

private:
    using Read = detail::ArrayRead<T>;

    static std::ptrdiff_t position(Int index, std::size_t end)
    {
        precondition(index >= 0 && index < static_cast<Int>(end), "Index out of range");
        return static_cast<std::ptrdiff_t>(index);
    }

    // For the reads that call out: to blocks, or to what the elements do when compared or described.
    template <typename F>
    auto read(F&& body) const
    {
        return queue_.sync([&] {
            const Read read(*array_);
            return body(array_->cbegin(), array_->cend());
        });
    }

    template <typename F>
    void write(F&& body) const
    {
        queue_.asyncBarrier([array = array_, body = std::forward<F>(body)]() mutable { body(*array); });
    }

    static void remove(std::vector<T>& array, std::ptrdiff_t position, Completion completion)
    {
        T removed = std::move(*(array.begin() + position));
        array.erase(array.begin() + position);
        deliver(std::move(removed), std::move(completion));
    }

    template <typename Removed>
    static void deliver(Removed removed, std::function<void(Removed)> completion)
    {
        DispatchQueue::main().async(
            [removed = std::move(removed), completion = std::move(completion)]() mutable {
                if (completion)
                    completion(std::move(removed));
            });
    }

    DispatchQueue queue_;
    std::vector<T>* array_;
};

} // namespace corvane
