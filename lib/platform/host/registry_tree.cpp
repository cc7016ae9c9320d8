/// The registry's tree.
#include "platform/host/registry_tree.h"

#include <algorithm>
#include <iterator>

#include "platform/host/fold.h"

namespace kr::host::detail {

namespace {

std::u16string folded(std::u16string_view name) {
    std::u16string upper(name);
    std::ranges::transform(upper, upper.begin(), fold);
    return upper;
}

/// Takes the first name off a path, empty when there is none left.
std::u16string_view take_key_name(std::u16string_view& path) {
    path.remove_prefix(std::min(path.find_first_not_of(u'\\'), path.size()));
    const std::u16string_view name = path.substr(0, path.find(u'\\'));
    path.remove_prefix(name.size());
    return name;
}

} // namespace

std::shared_ptr<registry_key> registry_key::find_subkey(std::u16string_view subkey) const {
    const auto found = subkeys_.find(folded(subkey));
    return found == subkeys_.end() ? nullptr : found->second;
}

const registry_key& registry_key::subkey_at(size_t index) {
    std::advance(place_, static_cast<std::ptrdiff_t>(index - index_));
    index_ = index;
    return *place_->second;
}

std::shared_ptr<registry_key> registry_key::make_subkey(std::u16string_view subkey) {
    auto made = std::make_shared<registry_key>(this, subkey);
    subkeys_.emplace(folded(subkey), made);
    longest_subkey_chars_ = std::max(longest_subkey_chars_, subkey.size());
    place_ = subkeys_.begin();
    index_ = 0;
    return made;
}

void registry_key::remove_subkey(registry_key& subkey) {
    subkey.mark_deleted();
    subkeys_.erase(folded(subkey.name));
    place_ = subkeys_.begin();
    index_ = 0;
}

const registry_value* registry_key::find_value(std::u16string_view value) const {
    const auto found = value_index_.find(folded(value));
    return found == value_index_.end() ? nullptr : found->second;
}

void registry_key::set_value(registry_value value) {
    longest_value_name_chars_ = std::max(longest_value_name_chars_, value.name.size());
    longest_data_bytes_ = std::max(longest_data_bytes_, value.data.size());
    registry_value*& there = value_index_[folded(value.name)];
    if (there == nullptr) {
        value.made = ++last_made_;
        values_.push_back(std::make_unique<registry_value>(std::move(value)));
        there = values_.back().get();
    } else {
        there->type = value.type;
        there->data = std::move(value.data);
    }
}

bool registry_key::remove_value(std::u16string_view value) {
    const auto found = value_index_.find(folded(value));
    if (found == value_index_.end()) {
        return false;
    }
    values_.erase(std::ranges::lower_bound(values_, found->second->made, {},
                                           [](const auto& each) { return each->made; }));
    value_index_.erase(found);
    return true;
}

std::u16string registry_key::path() const {
    return parent == nullptr ? name : parent->path() + u'\\' + name;
}

void registry_key::mark_deleted() {
    deleted = true;
    for (const auto& [_, subkey] : subkeys_) {
        subkey->mark_deleted();
    }
}

bool is_key_path(std::u16string_view path) {
    size_t depth = 0;
    for (auto name = take_key_name(path); !name.empty(); name = take_key_name(path)) {
        if (name.size() > max_key_name_chars ||
            name.find_first_of(u"\r\n") != std::u16string_view::npos || ++depth > max_key_depth) {
            return false;
        }
    }
    return true;
}

std::shared_ptr<registry_key> walk_down(std::shared_ptr<registry_key> key,
                                        std::u16string_view& path) {
    while (true) {
        std::u16string_view rest = path;
        const std::u16string_view name = take_key_name(rest);
        auto subkey = name.empty() ? nullptr : key->find_subkey(name);
        if (subkey == nullptr) {
            path = name.empty() ? std::u16string_view() : path;
            return key;
        }
        key = std::move(subkey);
        path = rest;
    }
}

std::shared_ptr<registry_key> make_below(std::shared_ptr<registry_key> key,
                                         std::u16string_view path) {
    for (auto name = take_key_name(path); !name.empty(); name = take_key_name(path)) {
        key = key->make_subkey(name);
    }
    return key;
}

} // namespace kr::host::detail
