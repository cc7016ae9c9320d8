/// The registry's tree.
#include "platform/host/registry_tree.h"

#include "platform/host/fold.h"

#include <algorithm>

namespace kr::host::detail {

namespace {

bool folded_less(std::u16string_view a, std::u16string_view b) {
    return std::ranges::lexicographical_compare(a, b, {}, fold, fold);
}

/// Where a subkey called `name` stands or would stand.
auto place_of(const std::vector<std::shared_ptr<registry_key>>& subkeys, std::u16string_view name) {
    return std::ranges::lower_bound(
        subkeys, name, folded_less,
        [](const auto& key) -> std::u16string_view { return key->name; });
}

} // namespace

std::size_t folded_hash::operator()(std::u16string_view name) const {
    std::size_t hash = 0xCBF29CE484222325;
    for (const WCHAR unit : name) {
        hash = (hash ^ fold(unit)) * 0x100000001B3;
    }
    return hash ^ hash >> 29;
}

bool folded_equal::operator()(std::u16string_view a, std::u16string_view b) const {
    return a.size() == b.size() && equal_folded(a, b);
}

std::shared_ptr<registry_key> registry_key::find_subkey(std::u16string_view subkey) const {
    const auto place = place_of(subkeys_, subkey);
    return place != subkeys_.end() && equal_folded((*place)->name, subkey) ? *place : nullptr;
}

void registry_key::insert_subkey(std::shared_ptr<registry_key> subkey) {
    subkeys_.insert(place_of(subkeys_, subkey->name), std::move(subkey));
}

void registry_key::remove_subkey(const registry_key& subkey) {
    subkeys_.erase(place_of(subkeys_, subkey.name));
}

registry_value* registry_key::find_value(std::u16string_view value) const {
    const auto found = index_.find(value);
    return found == index_.end() ? nullptr : found->second;
}

registry_value& registry_key::insert_value(std::unique_ptr<registry_value> value,
                                           std::size_t index) {
    registry_value& inserted = *value;
    index_.emplace(inserted.name, &inserted);
    const auto place = static_cast<std::ptrdiff_t>(std::min(index, values_.size()));
    values_.insert(values_.begin() + place, std::move(value));
    return inserted;
}

std::unique_ptr<registry_value> registry_key::take_value(const registry_value& value,
                                                         std::size_t* index) {
    index_.erase(value.name);
    const auto place =
        std::ranges::find(values_, &value, [](const auto& each) { return each.get(); });
    if (index != nullptr) {
        *index = static_cast<std::size_t>(place - values_.begin());
    }
    std::unique_ptr<registry_value> taken = std::move(*place);
    values_.erase(place);
    return taken;
}

void registry_key::swap_contents(registry_key& other) {
    subkeys_.swap(other.subkeys_);
    values_.swap(other.values_);
    index_.swap(other.index_);
}

void registry_key::mark_deleted(bool value) {
    deleted = value;
    for (const auto& subkey : subkeys_) {
        subkey->mark_deleted(value);
    }
}

bool is_key_name(std::u16string_view name) {
    return !name.empty() && name.size() <= MAX_KEY_NAME_CHARS &&
           name.find_first_of(u"\\\r\n") == std::u16string_view::npos;
}

bool is_key_path(std::u16string_view path) {
    std::size_t depth = 0;
    for (auto name = take_key_name(path); !name.empty(); name = take_key_name(path)) {
        if (!is_key_name(name) || ++depth > MAX_KEY_DEPTH) {
            return false;
        }
    }
    return true;
}

std::u16string_view take_key_name(std::u16string_view& path) {
    path.remove_prefix(std::min(path.find_first_not_of(u'\\'), path.size()));
    const std::u16string_view name = path.substr(0, path.find(u'\\'));
    path.remove_prefix(name.size());
    return name;
}

} // namespace kr::host::detail
