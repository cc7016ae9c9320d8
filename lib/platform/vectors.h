/// Whether the processor's baseline has 16-byte vectors, and what code that uses them needs from
/// the compiler. Sources include this instead of asking for architectures and compilers themselves.
#pragma once

#if defined(__SSE2__)
#include <emmintrin.h>
#define KR_VECTORS 1
#else
#define KR_VECTORS 0
#endif

/// Marks a function that reads whole aligned vectors, and so bytes beside the object that it was
/// given, though never a page that the object does not reach. The sanitizers cannot know that.
#if defined(__GNUC__)
#define KR_READS_WHOLE_VECTORS                                                                     \
    __attribute__((no_sanitize("address"), no_sanitize("thread"), no_sanitize("undefined")))
#else
#define KR_READS_WHOLE_VECTORS
#endif

/// Builds with a sanitizer that watches reads prefer the plain loops, which it can check; a build
/// for Valgrind asks for them (KR_PLAIN_WALKS).
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KR_READS_ARE_WATCHED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) ||                         \
    __has_feature(memory_sanitizer)
#define KR_READS_ARE_WATCHED 1
#endif
#endif
#if !defined(KR_READS_ARE_WATCHED)
#define KR_READS_ARE_WATCHED 0
#endif
