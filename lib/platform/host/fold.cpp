/// Letter case: ASCII at once, the rest from the C library's table of Unicode.
#include "platform/host/fold.h"

#include <algorithm>
#include <clocale>
#include <cwctype>

namespace kr::host::detail {

WCHAR fold(WCHAR unit) {
    if (unit < 0x80) {
        return unit >= u'a' && unit <= u'z' ? static_cast<WCHAR>(unit - (u'a' - u'A')) : unit;
    }
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (unicode == nullptr) {
        return unit;
    }
    const std::wint_t upper = ::towupper_l(unit, unicode);
    return upper <= 0xFFFF ? static_cast<WCHAR>(upper) : unit;
}

bool equal_folded(std::u16string_view a, std::u16string_view b) {
    return std::ranges::equal(a, b, {}, fold, fold);
}

} // namespace kr::host::detail
