/// For benchmarks of what takes a lock: including this makes the process one that has had a second
/// thread. The runtime's locks are cheaper until then, and repetitions run in random order: a row
/// would be measured sometimes before and sometimes after the first row with two threads.
#pragma once

#include <thread>

inline const bool process_is_threaded = [] {
    std::thread([] {}).join();
    return true;
}();
