/// The fixed-width types and the library's character. Public; touches the language only.
#pragma once

#include <cstddef>
#include <cstdint>

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i8 = std::int8_t;
using i16 = std::int16_t;
using i32 = std::int32_t;
using i64 = std::int64_t;

/// Library text is made of 16-bit units of UTF-16 on every system. Wide literals are written
/// KR_TEXT("...").
#if defined(_WIN32)
using kr_char = wchar_t;
#define KR_TEXT(text) L##text
#else
using kr_char = char16_t;
#define KR_TEXT(text) u##text
#endif
static_assert(sizeof(kr_char) == 2, "kr_char is one unit of UTF-16");
