/// late_load FILE: loads a library by its bare name while the program runs; exits with the system's
/// error, or 0. Built with the start of our programs, and with the runtime's own.
#include "platform/platform.h"

extern "C" int wmain(int argc, kr_char** argv) {
    return argc == 2 && LoadLibraryW(argv[1]) != nullptr ? 0 : static_cast<int>(GetLastError());
}
