// Stands in for parts of the C library that come along with every static program and are of no use
// to this one: a fifth of its size. For glibc on x86-64 (CMakeLists.txt).
#include <cctype>
#include <cstddef>
#include <cstdlib>

using std::size_t;
using Locale = struct __locale_struct*;  // NOLINT: the library's name

// The library calls its functions by second names.
#define ALSO_CALLED(second, name) asm(".globl " second "\n.set " second ", " name)

// Of these the library brings a version for every kind of processor, up to ten kilobytes each. They
// get short texts only; memcpy and the others that carry weight stay the library's.
extern "C" {

int strncmp(const char* a, const char* b, size_t size) {
    for (; size > 0; --size, ++a, ++b)
        if (*a != *b || !*a) return static_cast<unsigned char>(*a) - static_cast<unsigned char>(*b);
    return 0;
}

int strcmp(const char* a, const char* b) { return strncmp(a, b, static_cast<size_t>(-1)); }

int strcasecmp_l(const char* a, const char* b, Locale) {
    for (;; ++a, ++b) {
        const int difference = std::tolower(static_cast<unsigned char>(*a)) -
                               std::tolower(static_cast<unsigned char>(*b));
        if (difference != 0 || !*a) return difference;
    }
}

char* stpcpy(char* to, const char* from) {
    while ((*to = *from++)) ++to;
    return to;
}

char* strcpy(char* to, const char* from) {
    stpcpy(to, from);
    return to;
}

char* strchrnul(const char* text, int wanted) {
    while (*text && *text != static_cast<char>(wanted)) ++text;
    return const_cast<char*>(text);
}

void* rawmemchr(const void* bytes, int wanted) {
    auto at = static_cast<const char*>(bytes);
    while (*at != static_cast<char>(wanted)) ++at;
    return const_cast<char*>(at);
}

char* strrchr(const char* text, int wanted) {
    const char* found = nullptr;
    do
        if (*text == static_cast<char>(wanted)) found = text;
    while (*text++);
    return const_cast<char*>(found);
}

size_t strnlen(const char* text, size_t limit) {
    size_t length = 0;
    while (length < limit && text[length]) ++length;
    return length;
}

char* strstr(const char* text, const char* wanted) {
    const size_t length = strnlen(wanted, static_cast<size_t>(-1));
    for (;; ++text) {
        if (strncmp(text, wanted, length) == 0) return const_cast<char*>(text);
        if (!*text) return nullptr;
    }
}

wchar_t* wmemchr(const wchar_t* text, wchar_t wanted, size_t size) {
    for (; size > 0; --size, ++text)
        if (*text == wanted) return const_cast<wchar_t*>(text);
    return nullptr;
}

size_t wcsnlen(const wchar_t* text, size_t limit) {
    size_t length = 0;
    while (length < limit && text[length]) ++length;
    return length;
}

size_t wcslen(const wchar_t* text) { return wcsnlen(text, static_cast<size_t>(-1)); }

wchar_t* wmemset(wchar_t* text, wchar_t filler, size_t size) {
    for (size_t i = 0; i < size; ++i) text[i] = filler;
    return text;
}

// The library's catalogues of translations: its texts stay as they are.
char* dcgettext(const char*, const char* text, int) { return const_cast<char*>(text); }

// The library's printf, floating point and wide characters included, for its reports on itself and
// the names of unknown errors. This program has its own (base/format.h): who calls these after all
// finds out at once.
[[noreturn]] void never_called() { std::abort(); }
}

ALSO_CALLED("__strcasecmp_l", "strcasecmp_l");
ALSO_CALLED("__stpcpy", "stpcpy");
ALSO_CALLED("__strchrnul", "strchrnul");
ALSO_CALLED("__rawmemchr", "rawmemchr");
ALSO_CALLED("rindex", "strrchr");
ALSO_CALLED("__strnlen", "strnlen");
ALSO_CALLED("__wmemchr", "wmemchr");
ALSO_CALLED("__wcsnlen", "wcsnlen");
ALSO_CALLED("__wcslen", "wcslen");
ALSO_CALLED("__wmemset", "wmemset");
ALSO_CALLED("__dcgettext", "dcgettext");
ALSO_CALLED("fprintf", "never_called");
ALSO_CALLED("sprintf", "never_called");
ALSO_CALLED("__snprintf", "never_called");
ALSO_CALLED("__asprintf", "never_called");
ALSO_CALLED("__fxprintf", "never_called");
ALSO_CALLED("__assert_fail", "never_called");
