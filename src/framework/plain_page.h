// A page that shows its template and has nothing to store yet.
#pragma once

#include <cstddef>

#include "framework/page.h"

template <std::size_t N>
struct PageName {
    char text[N]{};
    consteval PageName(const char (&name)[N]) {  // NOLINT: written as a plain text
        for (std::size_t i = 0; i < N; ++i) text[i] = name[i];
    }
};

template <PageName Name>
int get_plain(const char* message, const FormList* form) {
    return render_page(Name.text, {}, {}, message, form);
}

inline int set_plain(const FormList*, ProcHeads*, ProcFlags*, ProcTails*, int, Message&) {
    return 0;
}
