// The least that a program can do for the page: write it.

#include <unistd.h>

__asm__(
    ".section .rodata\n"
    "page: .incbin \"" PAGE
    "\"\n"
    "page_end:\n"
    ".previous");

extern const char page[] __asm__("page");
extern const char page_end[] __asm__("page_end");

int main(void) {
    const long length = page_end - page;
    return write(STDOUT_FILENO, page, (size_t)length) != length;
}
