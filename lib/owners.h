/// The owners in one include: whatever the library hands out and a caller gives back has one here,
/// which gives it back when its scope ends. Public. What is common to all of them stands in
/// base/memory/owner.h.
///
/// | owner | owns | from |
/// | --- | --- | --- |
/// | owned_block | a block of the allocate hook | kr_memory_allocate_hook, kr_memdup |
/// | owned_text | a text | kr_string_dup, kr_settings_get_string_alloc, ... |
/// | owned_narrow_text | a narrow text | kr_krchar_to_ascii_strdup |
/// | owned_domain, owned_group | settings handles | kr_settings_domain_open, ..._group_open |
/// | owned_names | a list of names | kr_settings_enum_groups, ..._enum_entries |
/// | owned_strings | a string array | kr_array_string_new |
/// | owned_pool | a memory pool | kr_mempool_create |
/// | owned_vector | a memory vector, by any of its cursors | kr_memvec_create |
/// | owned_cursor | one further cursor of a vector | kr_memvec_seek |
/// | library | the library between start and end | library::start |
#pragma once

#include "base/memory/mempool.h"
#include "base/memory/memvec.h"
#include "base/memory/owner.h"
#include "base/text/array_string.h"
#include "log/startup/module.h"
#include "settings/handles.h"

namespace kr {

using owned_strings = owner<kr_array_string*, kr_array_string_free>;
using owned_pool = owner<kr_mempool*, kr_mempool_destroy>;
using owned_vector = owner<kr_memvec_cursor*, kr_memvec_destroy>;
/// Ends before the vector does.
using owned_cursor = owner<kr_memvec_cursor*, kr_memvec_release>;

/// The library as one part of the program uses it: kr_init() at start, kr_fini() at the end, each
/// with its own rules. For the program's main thread; one at a time.
///
///     kr_log_register_module(KR_TEXT("stdout"));
///     kr::library library;
///     if (kr_result_failed(library.start())) {
///         return 1;
///     }
class [[nodiscard]] library {
public:
    /// The result of kr_init(). Only a start that succeeded is ended.
    [[nodiscard]] kr_result start() {
        const kr_result result = kr_init();
        if (kr_result_succeeded(result)) {
            started_.reset(true);
        }
        return result;
    }
    /// Ends the library early; nothing where it has not been started.
    void stop() { started_.reset(); }

private:
    static void end(bool /*started*/) { kr_fini(); }
    owner<bool, end> started_;
};

} // namespace kr
