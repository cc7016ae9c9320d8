/// Owners of what the library hands out: the template behind all of them, and blocks and texts of
/// the allocate hook. Public; lib/owners.h names the owners of the other rooms.
///
/// An owner is as large as the handle that it keeps, allocates nothing and throws nothing. It can
/// be moved, not copied. One thread at a time uses an owner; what it owns follows its own rules.
#pragma once

#include <utility>

#include "memory.h"

namespace kr {

/// Owns one handle, or none: then it holds the handle type's zero. `Release` is called with the
/// handle when the owner ends or gets another; its result is ignored.
///
///     kr::owned_text text;
///     const kr_result result = kr_string_dup(text.out(), name);
template <typename Handle, auto Release>
class [[nodiscard]] owner {
public:
    owner() = default;
    explicit owner(Handle handle) noexcept : handle_(handle) {}
    owner(owner&& other) noexcept : handle_(other.release()) {}
    owner& operator=(owner&& other) noexcept {
        reset(other.release());
        return *this;
    }
    owner(const owner&) = delete;
    owner& operator=(const owner&) = delete;
    ~owner() { reset(); }

    /// The handle, which stays owned.
    [[nodiscard]] Handle get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ != Handle{}; }
    /// Hands the handle to the caller, who releases it.
    [[nodiscard]] Handle release() noexcept { return std::exchange(handle_, Handle{}); }
    /// Releases what is owned and owns `handle` instead.
    void reset(Handle handle = Handle{}) noexcept {
        const Handle old = std::exchange(handle_, handle);
        if (old != Handle{} && old != handle) {
            (void)Release(old);
        }
    }
    /// Where an operation puts a handle: the owner releases its own first and owns the new one. An
    /// operation that leaves its output alone leaves the owner empty.
    [[nodiscard]] Handle* out() noexcept {
        reset();
        return &handle_;
    }

private:
    Handle handle_{};
};

namespace detail {
/// The hook in use when the block is released.
inline void release_block(void* block) noexcept {
    kr_memory_deallocate_hook(block);
}
} // namespace detail

/// A block of the allocate hook, as kr_memory_allocate_hook and kr_memdup hand it out.
using owned_block = owner<void*, detail::release_block>;
/// A text of the library, as kr_string_dup and kr_settings_get_string_alloc hand it out.
using owned_text = owner<kr_char*, detail::release_block>;
/// A narrow text, as kr_krchar_to_ascii_strdup hands it out.
using owned_narrow_text = owner<char*, detail::release_block>;

} // namespace kr
