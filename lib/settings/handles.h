/// Owners of the settings store's handles and lists of names. Public. See base/memory/owner.h for
/// what is common to all owners.
#pragma once

#include <span>
#include <utility>

#include "../base/memory/owner.h"
#include "store.h"

namespace kr {

/// An open domain, as kr_settings_domain_open hands it out.
using owned_domain = owner<kr_settings_handle, kr_settings_domain_close>;
/// An open group, as kr_settings_group_open hands it out.
using owned_group = owner<kr_settings_handle, kr_settings_group_close>;

/// The names that an enumeration hands out.
///
///     kr::owned_names names;
///     const kr_result result =
///         kr_settings_enum_groups(domain.get(), names.out(), names.count_out());
class [[nodiscard]] owned_names {
public:
    owned_names() = default;
    owned_names(owned_names&& other) noexcept
        : names_(std::exchange(other.names_, nullptr)), count_(std::exchange(other.count_, 0)) {}
    owned_names& operator=(owned_names&& other) noexcept {
        owned_names taken(std::move(other));
        std::swap(names_, taken.names_);
        std::swap(count_, taken.count_);
        return *this;
    }
    owned_names(const owned_names&) = delete;
    owned_names& operator=(const owned_names&) = delete;
    ~owned_names() { kr_settings_free_names(names_, count_); }

    /// The names, which stay owned.
    [[nodiscard]] std::span<kr_char* const> get() const noexcept { return {names_, count_}; }
    /// Where an enumeration puts names and count; names that are owned already are released.
    [[nodiscard]] kr_char*** out() noexcept {
        kr_settings_free_names(std::exchange(names_, nullptr), std::exchange(count_, 0));
        return &names_;
    }
    /// Hands the names to the caller, who gives them back with kr_settings_free_names.
    [[nodiscard]] kr_char** release(u32* count) noexcept {
        *count = std::exchange(count_, 0);
        return std::exchange(names_, nullptr);
    }
    [[nodiscard]] u32* count_out() noexcept { return &count_; }

private:
    kr_char** names_ = nullptr;
    u32 count_ = 0;
};

} // namespace kr
