// SPDX-License-Identifier: MIT
// A callable to run later, without heap allocation if it is small.
#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace tavelo {

/// A move-only callable without arguments or result.  Callables of up to 64 bytes are stored inline, so that
/// delivering a frame does not allocate; larger ones go to the heap.
class Task {
public:
    Task() = default;

    // NOLINTBEGIN(bugprone-forwarding-reference-overload): the constraint excludes moves
    template <typename F>
    requires(!std::is_same_v<std::remove_cvref_t<F>, Task> && std::is_invocable_v<std::decay_t<F>&>)
        Task(F&& function) {
        using Callable = std::decay_t<F>;
        if constexpr (fits<Callable>) {
            ::new (static_cast<void*>(storage_)) Callable(std::forward<F>(function));
            operations_ = &inlineOperations<Callable>;
        } else {
            ::new (static_cast<void*>(storage_)) Callable*(new Callable(std::forward<F>(function)));
            operations_ = &heapOperations<Callable>;
        }
    }
    // NOLINTEND(bugprone-forwarding-reference-overload)

    Task(Task&& other) noexcept { take(other); }
    Task& operator=(Task&& other) noexcept {
        if (this != &other) {
            clear();
            take(other);
        }
        return *this;
    }
    ~Task() { clear(); }

    explicit operator bool() const { return operations_ != nullptr; }
    void operator()() { operations_->run(storage_); }

private:
    static constexpr std::size_t capacity = 64;

    struct Operations {
        void (*run)(std::byte* self);
        void (*move)(std::byte* from, std::byte* to) noexcept;
        void (*destroy)(std::byte* self) noexcept;
    };

    // NOLINTBEGIN(misc-redundant-expression): redundant for some types only
    template <typename F>
    static constexpr bool fits =
        sizeof(F) <= capacity &&
        alignof(F) <= alignof(std::max_align_t) && std::is_nothrow_move_constructible_v<F>;
    // NOLINTEND(misc-redundant-expression)

    template <typename T>
    static T& as(std::byte* storage) {
        return *std::launder(reinterpret_cast<T*>(storage));
    }

    template <typename F>
    static constexpr Operations inlineOperations{
        [](std::byte* self) { as<F>(self)(); },
        [](std::byte* from, std::byte* to) noexcept {
            ::new (static_cast<void*>(to)) F(std::move(as<F>(from)));
            as<F>(from).~F();
        },
        [](std::byte* self) noexcept { as<F>(self).~F(); },
    };

    template <typename F>
    static constexpr Operations heapOperations{
        [](std::byte* self) { (*as<F*>(self))(); },
        [](std::byte* from, std::byte* to) noexcept { ::new (static_cast<void*>(to)) F*(as<F*>(from)); },
        [](std::byte* self) noexcept { delete as<F*>(self); },
    };

    void take(Task& other) noexcept {
        if (other.operations_ == nullptr) return;
        other.operations_->move(other.storage_, storage_);
        operations_ = std::exchange(other.operations_, nullptr);
    }

    void clear() noexcept {
        if (operations_ != nullptr) std::exchange(operations_, nullptr)->destroy(storage_);
    }

    const Operations* operations_ = nullptr;
    alignas(std::max_align_t) std::byte storage_[capacity];
};

} // namespace tavelo
