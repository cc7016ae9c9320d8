/// Carrying out the steps of a `.reg` text.
#include "platform/host/reg_text.h"

namespace kr::host::detail {

namespace {

std::shared_ptr<registry_key> find_or_make(registry_key& root, std::u16string_view path) {
    registry_key* key = &root;
    std::shared_ptr<registry_key> found;
    for (auto name = take_key_name(path); !name.empty(); name = take_key_name(path)) {
        found = key->find_subkey(name);
        if (found == nullptr) {
            found = std::make_shared<registry_key>(key, name);
            key->insert_subkey(found);
        }
        key = found.get();
    }
    return found;
}

void delete_key(registry_key& root, std::u16string_view path) {
    registry_key* key = &root;
    std::shared_ptr<registry_key> found;
    for (auto name = take_key_name(path); !name.empty(); name = take_key_name(path)) {
        found = key->find_subkey(name);
        if (found == nullptr) {
            return;
        }
        key = found.get();
    }
    found->mark_deleted(true);
    found->parent->remove_subkey(*found);
}

void set_value(registry_key& key, const registry_value& value) {
    if (registry_value* const old = key.find_value(value.name); old != nullptr) {
        old->type = value.type;
        old->data = value.data;
    } else {
        key.insert_value(std::make_unique<registry_value>(value));
    }
}

} // namespace

void apply_reg(const std::vector<reg_step>& steps, registry_tree& tree) {
    registry_key* key = tree.current_user.get();
    for (const reg_step& step : steps) {
        registry_key& root = step.in_local_machine ? *tree.local_machine : *tree.current_user;
        switch (step.what) {
        case reg_step::action::open_key: {
            const std::shared_ptr<registry_key> opened = find_or_make(root, step.path);
            key = opened == nullptr ? &root : opened.get();
            break;
        }
        case reg_step::action::delete_key:
            delete_key(root, step.path);
            break;
        case reg_step::action::set_value:
            set_value(*key, step.value);
            break;
        case reg_step::action::delete_value:
            if (const registry_value* const old = key->find_value(step.value.name)) {
                key->take_value(*old, nullptr);
            }
            break;
        }
    }
}

} // namespace kr::host::detail
