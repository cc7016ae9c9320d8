/// The log's start and end. Touches the core, the destinations, the masks and the configuration.
#include "log/startup/log_module.h"

#include "base/memory/owner.h"
#include "base/threads/sync.h"
#include "base/time/time.h"
#include "log/categories.h"
#include "log/core_start.h"
#include "log/destinations/console_mode.h"
#include "log/destinations/destinations.h"
#include "log/destinations/slots.h"
#include "log/layout.h"
#include "log/startup/config.h"
#include "log/thread_labels.h"
#include "result/failures.h"

namespace {

constinit const kr_char* initial_destination = nullptr;

/// For logging from a context that may not block, which this platform does not have; others do.
struct deferred_lines {
    void* list_head;
    void* work_buffer;
};
constexpr size_t list_head_size = 16;
constexpr size_t work_buffer_size = 8'192;
constinit deferred_lines deferred = {};

constinit const kr_module_descriptor dependencies[] = {kr_time_module, kr_spinlock_module,
                                                       kr_mutex_module, nullptr};
constinit kr_module log_module = {.name = "log",
                                  .init = kr_log_module_init,
                                  .fini = kr_log_module_uninit,
                                  .dependencies = dependencies};

void reset_masks() {
    for (std::atomic<u32>& mask : kr_log_category_masks) {
        mask.store(~u32{0}, std::memory_order_relaxed);
    }
    kr_log_apply_defaults();
    kr_log_update_formatting();
}

/// What of the start needs the locks.
kr_result open_log() {
    kr::owned_block list_head;
    const kr_result result = kr_memory_allocate_hook(list_head.out(), list_head_size);
    if (kr_result_failed(result)) {
        return result;
    }
    (void)kr_log_set_destination(initial_destination);
    kr_log_set_colors(0);
    (void)kr_log_reset();
    if (!kr::detail::log_main_slot.is_set()) {
        return kr::detail::unexpected_behaviour();
    }
    deferred.list_head = list_head.release();
    (void)kr_memory_allocate_hook(&deferred.work_buffer, work_buffer_size);
    return KR_SUCCESS;
}

} // namespace

void kr_log_register_module(const kr_char* destination) {
    if (destination != nullptr) {
        initial_destination = destination;
    }
    kr_module_register(kr_log_module());
}

kr_module* kr_log_module() {
    return &log_module;
}

kr_result kr_log_module_init() {
    reset_masks();
    // Tested before the locks are made: the log that owns the destination may be running on them.
    if (kr::detail::log_main_slot.is_set()) {
        return kr::detail::unexpected_behaviour();
    }
    kr_result result = kr::detail::log_core_start();
    if (kr_result_failed(result)) {
        return result;
    }
    result = open_log();
    if (kr_result_failed(result)) {
        (void)kr::detail::log_core_stop();
    }
    return result;
}

kr_result kr_log_module_uninit() {
    const kr_log_destination destination = kr::detail::log_main_slot.get();
    // Cleared first: what the clean-up itself logs finds no destination.
    kr::detail::log_main_slot.clear();
    kr::detail::restore_console_mode();
    if (destination.close != nullptr) {
        (void)destination.close(destination.context);
    }
    kr::detail::thread_table_clear();
    kr_memory_deallocate_hook(deferred.list_head);
    kr_memory_deallocate_hook(deferred.work_buffer);
    deferred = {};
    return kr::detail::log_core_stop();
}
