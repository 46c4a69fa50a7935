// Text of a fixed capacity: the appliance's records and message buffers have sizes that other
// programs and the file formats rely on, so what does not fit is cut, never written past the end.
#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

#include "base/words.h"

// Copies `text` into `out`, cut to out.size() - 1 characters, and ends it with a NUL.
// An empty `out` stays untouched.
inline void copy_text(std::span<char> out, std::string_view text) {
    if (out.empty()) return;
    const std::size_t length = std::min(text.size(), out.size() - 1);
    std::copy_n(text.data(), length, out.data());
    out[length] = '\0';
}

// A NUL-terminated text in N bytes, so of at most N - 1 characters.
template <std::size_t N>
class Text {
public:
    static constexpr std::size_t size = N;
    static constexpr std::size_t capacity = N - 1;

    constexpr Text() = default;
    constexpr Text(std::string_view text) { *this = text; }             // NOLINT: a text is a text
    constexpr Text(const char* text) : Text(std::string_view(text)) {}  // NOLINT

    constexpr Text& operator=(std::string_view text) {
        const std::size_t length = std::min(text.size(), capacity);
        // From the front: `text` may be a part of this very text.
        std::copy(text.begin(), text.begin() + length, bytes_.begin());
        bytes_[length] = '\0';
        return *this;
    }
    constexpr Text& operator=(const char* text) { return *this = std::string_view(text); }

    // Appends as much of `text` as fits.
    void append(std::string_view text) {
        const std::size_t length = view().size();
        copy_text(std::span(bytes_).subspan(length), text);
    }
    void clear() { bytes_ = {}; }

    [[nodiscard]] bool empty() const { return bytes_[0] == '\0'; }
    [[nodiscard]] const char* c_str() const { return bytes_.data(); }
    [[nodiscard]] std::string_view view() const { return {c_str(), std::strlen(c_str())}; }
    operator std::string_view() const { return view(); }  // NOLINT: read anywhere as a text
    // For a function that fills it: copy_text and what ends a text as it does.
    std::span<char> buffer() { return bytes_; }

    friend bool operator==(const Text& a, const std::convertible_to<std::string_view> auto& b) {
        return a.view() == std::string_view(b);
    }

private:
    std::array<char, N> bytes_{};
};

// The message that a refused setter, a failed action or a failed lookup puts before the user.
inline constexpr std::size_t kMessageSize = 128;
using Message = Text<kMessageSize>;

// Comparisons that ignore the case of ASCII letters, of whole texts or of their first n characters:
// 0 equal, 1 different.
inline int StrniCmp(std::string_view a, std::string_view b, std::size_t n) {
    a = a.substr(0, n);
    b = b.substr(0, n);
    return !std::equal(a.begin(), a.end(), b.begin(), b.end(),
                       [](char x, char y) { return lower_case(x) == lower_case(y); });
}
inline int StrCmpi(std::string_view a, std::string_view b) {
    return StrniCmp(a, b, std::string_view::npos);
}
