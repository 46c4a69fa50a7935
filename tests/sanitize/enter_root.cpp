// A program built with the sanitizers needs the shared libraries of the machine it runs on, so it
// cannot be started inside a private root. It is started outside and enters the root before main.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

// Inside the root there is no /proc to find leaks with and nothing to name addresses with.
extern "C" const char* __asan_default_options();  // NOLINT: the sanitizer's own name
extern "C" const char* __asan_default_options() { return "detect_leaks=0:symbolize=0"; }

namespace {

// The constructors of the sanitizers run before those without a priority.
[[gnu::constructor]] void enter_root() {
    const char* root = std::getenv("NAT_TEST_ROOT");
    if (root == nullptr) return;
    if (chroot(root) != 0 || chdir("/www") != 0) {
        std::perror(root);
        _exit(125);
    }
    unsetenv("NAT_TEST_ROOT");
}

}  // namespace
