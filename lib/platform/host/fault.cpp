/// Armed faults and recorders: two short lists under one lock.
#include "platform/host/fault.h"

#include <algorithm>
#include <mutex>

#include "platform/host/handle_table.h"
#include "platform/host/intercept.h"
#include "platform/host/world.h"

namespace kr::host {

namespace detail {

std::atomic<u32> watched{0};

struct armed_state : fault_plan {
    u32 calls = 0;
    u32 hits = 0;
};

struct recorder_state {
    std::vector<call_record> calls;
};

namespace {

struct watch_lists {
    std::mutex lock;
    std::vector<std::shared_ptr<armed_state>> armed;
    std::vector<std::shared_ptr<recorder_state>> recorders;
};

watch_lists& lists() {
    return immortal<watch_lists>();
}

/// Lets `change` change the lists, then tells the calls whether anyone watches.
template <typename Change>
void change_lists(Change change) {
    const std::lock_guard hold(lists().lock);
    change(lists());
    if (lists().armed.empty() && lists().recorders.empty()) {
        watched.fetch_and(~watch_calls, std::memory_order_relaxed);
    } else {
        watched.fetch_or(watch_calls, std::memory_order_relaxed);
    }
}

} // namespace

std::string text_argument(const WCHAR* text) {
    return to_utf8(text == nullptr ? u"" : text);
}

std::optional<injected> report_call(std::string_view call, const std::string& argument) {
    watch_lists& all = lists();
    std::unique_lock hold(all.lock);
    for (const auto& recorder : all.recorders) {
        recorder->calls.push_back({std::string(call), argument});
    }
    std::shared_ptr<armed_state> decides;
    for (const auto& fault : all.armed) {
        if (fault->call != call) {
            continue;
        }
        ++fault->calls;
        const bool due = fault->sticky ? fault->calls >= fault->nth : fault->calls == fault->nth;
        if (due && decides == nullptr) {
            ++fault->hits;
            decides = fault;
        }
    }
    if (decides == nullptr) {
        return std::nullopt;
    }
    if (decides->meanwhile) {
        hold.unlock();
        decides->meanwhile();
        return std::nullopt;
    }
    return injected{decides->error, decides->amount};
}

} // namespace detail

using detail::change_lists, detail::lists;

armed_fault::armed_fault(const fault_plan& plan)
    : state_(std::make_shared<detail::armed_state>(detail::armed_state{plan})) {
    change_lists([&](auto& all) { all.armed.push_back(state_); });
}

armed_fault::~armed_fault() {
    change_lists([&](auto& all) { std::erase(all.armed, state_); });
}

u32 armed_fault::hits() const {
    const std::lock_guard hold(lists().lock);
    return state_->hits;
}

call_recorder::call_recorder() : state_(std::make_shared<detail::recorder_state>()) {
    change_lists([&](auto& all) { all.recorders.push_back(state_); });
}

call_recorder::~call_recorder() {
    change_lists([&](auto& all) { std::erase(all.recorders, state_); });
}

std::vector<call_record> call_recorder::calls() const {
    const std::lock_guard hold(lists().lock);
    return state_->calls;
}

std::vector<std::string> call_recorder::lines() const {
    std::vector<std::string> lines;
    for (const call_record& call : calls()) {
        lines.push_back(call.argument.empty() ? call.name : call.name + " " + call.argument);
    }
    return lines;
}

size_t call_recorder::count(std::string_view call) const {
    const std::lock_guard hold(lists().lock);
    return static_cast<size_t>(std::ranges::count(state_->calls, call, &call_record::name));
}

} // namespace kr::host
