// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <concepts>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace corvane {

/// A unit of work: a move-only callable without arguments or result. What the queues, timers and run loops
/// take.
///
///     auto picture = std::make_unique<Picture>();
///     queue.async([picture = std::move(picture)] { picture->load(); });
///
/// A callable of at most `Block::inlineSize` bytes lives inside the block and costs no allocation; a larger
/// one, or one whose move may throw, is allocated once. The callable may be called more than once (a
/// repeating timer does). Results are ignored. Thread-compatible.
class Block {
public:
    static constexpr std::size_t inlineSize = 40;

    Block() noexcept = default;
    Block(std::nullptr_t) noexcept {}

    template <typename F>
    requires(!std::same_as<std::remove_cvref_t<F>, Block> && std::invocable<std::decay_t<F>&>)
        Block(F&& callable)
    {
        using Callable = std::decay_t<F>;
        if constexpr (std::is_pointer_v<Callable> || requires(Callable & c) { bool(c == nullptr); }) {
            if (callable == nullptr)
                return; // an empty std::function makes an empty block
        }
        if constexpr (sizeof(Callable) <= inlineSize && alignof(Callable) <= alignof(void*) &&
                      std::is_nothrow_move_constructible_v<Callable>) {
            ::new (static_cast<void*>(storage_)) Callable(std::forward<F>(callable));
            actions_ = &inlineActions<Callable>;
        } else {
            ::new (static_cast<void*>(storage_)) Callable*(new Callable(std::forward<F>(callable)));
            actions_ = &heapActions<Callable>;
        }
    }

    Block(Block&& other) noexcept { take(other); }
    Block& operator=(Block&& other) noexcept
    {
        if (this != &other) {
            reset();
            take(other);
        }
        return *this;
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { reset(); }

    /// Whether there is something to call. Calling an empty block is undefined; the queues refuse one.
    explicit operator bool() const noexcept { return actions_ != nullptr; }

    void operator()() { actions_->call(storage_); }

    /// Destroys the callable at once.
    void reset() noexcept
    {
        if (actions_ != nullptr && actions_->destroy != nullptr)
            actions_->destroy(storage_);
        actions_ = nullptr;
    }

private:
    struct Actions {
        void (*call)(void*);
        void (*relocate)(void* to, void* from) noexcept; // null: the bytes may simply be copied
        void (*destroy)(void*) noexcept;                 // null: nothing to do
    };

    void take(Block& other) noexcept
    {
        actions_ = std::exchange(other.actions_, nullptr);
        if (actions_ == nullptr)
            return;
        if (actions_->relocate == nullptr)
            std::memcpy(storage_, other.storage_, inlineSize);
        else
            actions_->relocate(storage_, other.storage_);
    }

    template <typename Callable>
    static constexpr bool isTrivial =
        std::is_trivially_copyable_v<Callable>&& std::is_trivially_destructible_v<Callable>;

    template <typename Callable>
    static Callable& in(void* storage) noexcept
    {
        return *std::launder(static_cast<Callable*>(storage));
    }

    template <typename Callable>
    static constexpr Actions inlineActions{
        [](void* storage) { static_cast<void>(in<Callable>(storage)()); },
        isTrivial<Callable> ? nullptr
                            : +[](void* to, void* from) noexcept {
                                  ::new (to) Callable(std::move(in<Callable>(from)));
                                  in<Callable>(from).~Callable();
                              },
        isTrivial<Callable> ? nullptr : +[](void* storage) noexcept { in<Callable>(storage).~Callable(); }};

    template <typename Callable>
    static constexpr Actions heapActions{
        [](void* storage) { static_cast<void>((*in<Callable*>(storage))()); }, nullptr,
        [](void* storage) noexcept { delete in<Callable*>(storage); }};

    const Actions* actions_ = nullptr;
    alignas(void*) std::byte storage_[inlineSize];
};

} // namespace corvane
