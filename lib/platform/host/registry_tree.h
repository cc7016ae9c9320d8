/// The registry's tree: keys with sorted subkeys and values in the order of their making. Plain
/// data without a lock (see registry_store.h). Private to this directory.
#pragma once

#include "platform/host/win_types.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kr::host::detail {

/// Names without regard to case, as hash keys.
struct folded_hash {
    std::size_t operator()(std::u16string_view name) const;
};
struct folded_equal {
    bool operator()(std::u16string_view a, std::u16string_view b) const;
};

struct registry_value {
    std::u16string name;
    DWORD type = 0;
    std::vector<u8> data;

    bool operator==(const registry_value&) const = default;
};

/// One key. Finding a subkey costs log n, a value a hash; either by its index a single step.
class registry_key {
public:
    registry_key(registry_key* above, std::u16string_view own_name)
        : parent(above), name(own_name) {}

    [[nodiscard]] const std::vector<std::shared_ptr<registry_key>>& subkeys() const {
        return subkeys_;
    }
    [[nodiscard]] std::shared_ptr<registry_key> find_subkey(std::u16string_view subkey) const;
    /// `subkey` must not be there yet.
    void insert_subkey(std::shared_ptr<registry_key> subkey);
    void remove_subkey(const registry_key& subkey);

    [[nodiscard]] const std::vector<std::unique_ptr<registry_value>>& values() const {
        return values_;
    }
    /// Null when there is none.
    [[nodiscard]] registry_value* find_value(std::u16string_view value) const;
    /// A new value at `index`, or at the end; the name must not be there yet.
    registry_value& insert_value(std::unique_ptr<registry_value> value,
                                 std::size_t index = static_cast<std::size_t>(-1));
    /// Takes a value out; `index` (may be null) receives where it stood.
    std::unique_ptr<registry_value> take_value(const registry_value& value, std::size_t* index);

    /// Exchanges everything below the two keys, to take contents away and perhaps put them back:
    /// the subkeys keep the parent that they had.
    void swap_contents(registry_key& other);
    /// Sets or clears `deleted` here and in every key below.
    void mark_deleted(bool value);

    /// Null for a root and meaningless once deleted.
    registry_key* parent;
    std::u16string name;
    bool deleted = false;

private:
    std::vector<std::shared_ptr<registry_key>> subkeys_;
    std::vector<std::unique_ptr<registry_value>> values_;
    /// The views are of the values' own names.
    std::unordered_map<std::u16string_view, registry_value*, folded_hash, folded_equal> index_;
};

inline constexpr std::size_t MAX_KEY_NAME_CHARS = 255;
/// Levels below a root.
inline constexpr std::size_t MAX_KEY_DEPTH = 512;
inline constexpr std::size_t MAX_VALUE_NAME_CHARS = 16383;
/// 1 to 255 characters without a backslash; line ends are kept out because `.reg` text cannot
/// carry them in a key.
bool is_key_name(std::u16string_view name);

/// Whether every name of a path is one and the depth is in bounds.
bool is_key_path(std::u16string_view path);

/// Takes the first name off a path, empty when there is none left. Backslashes at either end and
/// doubled ones are passed over.
std::u16string_view take_key_name(std::u16string_view& path);

struct registry_tree {
    std::shared_ptr<registry_key> local_machine =
        std::make_shared<registry_key>(nullptr, u"HKEY_LOCAL_MACHINE");
    std::shared_ptr<registry_key> current_user =
        std::make_shared<registry_key>(nullptr, u"HKEY_CURRENT_USER");
};

} // namespace kr::host::detail
