// What the C++ runtime runs when an exception leaves a function that promised none. Its own handler prints a
// report with the exception's name, and brings the 60 KB that decode such names; here nobody reads that.
#include <exception>

namespace __gnu_cxx {
void __verbose_terminate_handler() {
    __builtin_trap();
}
}  // namespace __gnu_cxx
