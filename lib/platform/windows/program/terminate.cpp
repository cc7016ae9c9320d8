/// What a program of ours does with an exception that nobody catches: it ends. Linked into programs
/// only; takes the place of libstdc++'s own handler, which would name the exception's type first
/// and bring a demangler and a printf along, a sixth of the whole executable.
#include <cstdlib>

namespace __gnu_cxx {

[[noreturn]] void __verbose_terminate_handler();

void __verbose_terminate_handler() {
    std::abort();
}

} // namespace __gnu_cxx
