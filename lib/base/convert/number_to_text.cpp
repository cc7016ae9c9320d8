/// Integers as decimal text. Works on caller's memory only; logs to `other`.
#include "base/convert/number_to_text.h"

#include "base/convert/decimal.h"
#include "log/log.h"
#include "result/failures.h"

namespace {

template <typename Char>
void put_unsigned(u64 value, Char* out) {
    *kr::detail::write_decimal(value, out) = Char{};
}

template <typename Char>
void put_signed(i64 value, Char* out) {
    auto magnitude = static_cast<u64>(value);
    if (value < 0) {
        magnitude = 0 - magnitude;
        *out++ = '-';
    }
    put_unsigned(magnitude, out);
}

/// `put` into a buffer of the caller's.
template <auto Put, typename Value, typename Char>
kr_result put_checked(Value value, Char* out) {
    if (out == nullptr) {
        return kr::detail::unexpected_behaviour();
    }
    Put(value, out);
    return KR_SUCCESS;
}

} // namespace

kr_result kr_string_from_si64_w(i64 value, kr_char* out) {
    return put_checked<put_signed<kr_char>>(value, out);
}

kr_result kr_string_from_ui64_w(u64 value, kr_char* out) {
    return put_checked<put_unsigned<kr_char>>(value, out);
}

kr_result kr_string_from_si64_a(i64 value, char* out) {
    return put_checked<put_signed<char>>(value, out);
}

kr_result kr_string_from_ui64_a_generic(u64 value, char* out) {
    if (out == nullptr) {
        KR_LOG(KR_LOG_OTHER, KR_LOG_ERROR, "Null pointer passed as output buffer");
        return kr::detail::invalid_argument();
    }
    put_unsigned(value, out);
    return KR_SUCCESS;
}
