/// The start of a program on the stand-in: main runs the program's wmain, as the C runtime of
/// Windows does. Linked into programs only, never into the library or its tests.
#include "platform/types.h"

extern "C" int wmain(int argc, kr_char** argv);

/// The name and the arguments are not passed on: no program of this project reads them.
int main() {
    kr_char* no_arguments[] = {nullptr};
    return wmain(0, no_arguments);
}
