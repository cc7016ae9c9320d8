#include "printf/printf.h"

kr_result refused(kr_char* out) { return kr_string_format_checked(out, 64, "%d %d", 1); }
