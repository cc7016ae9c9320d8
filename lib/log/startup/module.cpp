/// The module registry. Touches the modules through their descriptors only.
#include "log/startup/module.h"

#include <algorithm>

#include "log/failure.h"
#include "log/startup/module_list.h"

namespace {

/// The first `initialised` slots are started; the `pending` slots after them are registered only.
struct {
    kr_module* slots[KR_MODULE_LIMIT];
    u32 initialised;
    u32 pending;
    bool started;
} table;

void add(kr_module* descriptor) {
    kr_module** const end = table.slots + table.initialised + table.pending;
    if (std::find(table.slots, end, descriptor) != end) {
        return;
    }
    if (descriptor->dependencies != nullptr) {
        for (const auto* next = descriptor->dependencies; *next != nullptr; ++next) {
            add((*next)());
        }
    }
    // The dependencies moved the end, so it is taken anew.
    if (table.initialised + table.pending < KR_MODULE_LIMIT) {
        table.slots[table.initialised + table.pending] = descriptor;
        ++table.pending;
    }
}

/// The count drops before the module goes: its fini sees a table without it.
void tear_down_to(u32 keep) {
    while (table.initialised > keep) {
        --table.initialised;
        const kr_module* const module = table.slots[table.initialised];
        if (module->fini != nullptr) {
            (void)module->fini();
        }
    }
}

} // namespace

void kr_module_register_base() {
    if (table.started) {
        return;
    }
    table.started = true;
    for (const kr_module_descriptor module : kr::detail::base_modules) {
        add(module());
    }
}

void kr_module_register(kr_module* descriptor) {
    kr_module_register_base();
    if (descriptor != nullptr) {
        add(descriptor);
    }
}

kr_result kr_init() {
    kr_module_register_base();
    const u32 first = table.initialised;
    while (table.pending > 0) {
        const kr_module* const module = table.slots[table.initialised];
        const kr_result result = module->init != nullptr ? module->init() : KR_SUCCESS;
        if (kr_result_failed(result)) {
            KR_LOG_FAILURE(KR_LOG_OTHER, KR_LOG_ERROR, result, "%s module initialization failed",
                           module->name);
            tear_down_to(first);
            table.started = false;
            table.pending = 0;
            return result;
        }
        ++table.initialised;
        --table.pending;
    }
    return KR_SUCCESS;
}

void kr_fini() {
    kr_fini_to(0);
}

void kr_fini_to(u32 keep) {
    tear_down_to(keep);
    table.started = false;
}
