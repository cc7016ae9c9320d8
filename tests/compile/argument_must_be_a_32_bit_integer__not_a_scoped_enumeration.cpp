#include "printf/printf.h"

enum class colour { red };

kr_result refused(kr_char* out) { return kr_string_format_checked(out, 64, "%d", colour::red); }
