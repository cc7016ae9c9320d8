/// The registry's tree: keys with sorted subkeys and values in the order of their making. Plain
/// data without a lock (see registry_store.h). Private to this directory.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/host/win_types.h"

namespace kr::host::detail {

inline constexpr size_t max_key_name_chars = 255;
/// Levels below the root.
inline constexpr size_t max_key_depth = 512;
inline constexpr size_t max_value_name_chars = 16383;

struct registry_value {
    std::u16string name;
    DWORD type = 0;
    std::vector<u8> data;
    /// Ascends among the values of a key.
    u64 made = 0;
};

/// One key. Finding, making and deleting a subkey costs log n. A value is found and made by a hash;
/// deleting it moves those before it or those behind it, whichever are fewer.
class registry_key {
public:
    /// By the name without regard to case.
    using subkey_map = std::map<std::u16string, std::shared_ptr<registry_key>>;

    registry_key(registry_key* above, std::u16string_view own_name)
        : parent(above), name(own_name) {}

    [[nodiscard]] const subkey_map& subkeys() const { return subkeys_; }
    /// Takes as many steps as the index is away from the last look, or after a change from the
    /// first subkey: a walk takes one each.
    [[nodiscard]] const registry_key& subkey_at(size_t index);
    /// Null when there is none.
    [[nodiscard]] std::shared_ptr<registry_key> find_subkey(std::u16string_view subkey) const;
    /// The subkey must not be there yet.
    std::shared_ptr<registry_key> make_subkey(std::u16string_view subkey);
    /// Takes `subkey` and all below it out of the tree and marks them deleted.
    void remove_subkey(registry_key& subkey);

    using value_list = std::deque<std::unique_ptr<registry_value>>;
    [[nodiscard]] const value_list& values() const { return values_; }
    /// Null when there is none.
    [[nodiscard]] const registry_value* find_value(std::u16string_view value) const;
    /// Makes a value behind the others, or changes one in its place.
    void set_value(registry_value value);
    /// False when there is none.
    bool remove_value(std::u16string_view value);

    /// The longest that the key has had: deleting shortens nothing.
    [[nodiscard]] size_t longest_subkey_chars() const { return longest_subkey_chars_; }
    [[nodiscard]] size_t longest_value_name_chars() const { return longest_value_name_chars_; }
    [[nodiscard]] size_t longest_data_bytes() const { return longest_data_bytes_; }

    /// From the root on.
    [[nodiscard]] std::u16string path() const;

    /// Null for the root and meaningless once deleted.
    registry_key* parent;
    std::u16string name;
    bool deleted = false;

private:
    void mark_deleted();

    subkey_map subkeys_;
    /// Where the last look at a subkey was.
    subkey_map::const_iterator place_ = subkeys_.begin();
    size_t index_ = 0;
    value_list values_;
    /// By the name without regard to case.
    std::unordered_map<std::u16string, registry_value*> value_index_;
    u64 last_made_ = 0;
    size_t longest_subkey_chars_ = 0;
    size_t longest_value_name_chars_ = 0;
    size_t longest_data_bytes_ = 0;
};

inline std::shared_ptr<registry_key> make_root() {
    return std::make_shared<registry_key>(nullptr, u"HKEY_LOCAL_MACHINE");
}

// Paths are names between backslashes; backslashes at either end and doubled ones are passed over.

/// Whether every name is one and the depth is in bounds: 1 to 255 characters; line ends are kept
/// out because `.reg` text cannot carry them in a key.
bool is_key_path(std::u16string_view path);
/// Goes from `key` down `path` as far as it leads; `path` keeps what is missing.
std::shared_ptr<registry_key> walk_down(std::shared_ptr<registry_key> key,
                                        std::u16string_view& path);
/// Makes the keys of `path`, none of which is there, below `key`; gives the lowest.
std::shared_ptr<registry_key> make_below(std::shared_ptr<registry_key> key,
                                         std::u16string_view path);

} // namespace kr::host::detail
