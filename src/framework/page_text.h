// A page as it grows: the pieces of its template, where they stand, and between them the texts that
// are made for it. So what is on a page already when it begins is never copied.
#pragma once

#include <sys/uio.h>

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class PageText {
public:
    // `header` comes before the page and does not count; the texts that are made for the page go
    // into `store`, which has room for them all.
    PageText(std::string_view header, std::span<char> store)
        : pieces_{piece_of(header)}, store_(store) {
        pieces_.reserve(kPieces);
    }

    [[nodiscard]] std::size_t size() const { return size_; }

    // Appends a text that stands as long as the page does.
    void add(std::string_view text) {
        if (text.empty()) return;
        size_ += text.size();
        if (end_of(pieces_.back()) == text.data())
            pieces_.back().iov_len += text.size();
        else
            pieces_.push_back(piece_of(text));
    }
    // Appends a copy of a text.
    void add_copy(std::string_view text) {
        std::ranges::copy(text, store_.begin());
        add({store_.data(), text.size()});
        store_ = store_.subspan(text.size());
    }

    // The page without its header.
    [[nodiscard]] std::string joined() const {
        std::string text;
        for (const iovec& piece : std::span(pieces_).subspan(1))
            text.append(static_cast<const char*>(piece.iov_base), piece.iov_len);
        return text;
    }
    // Header and page, to be written.
    std::span<iovec> pieces() { return pieces_; }

private:
    static constexpr std::size_t kPieces = 400;  // more than any shipped page has

    // It is only read, but the system's own writers share this type with its readers.
    static iovec piece_of(std::string_view text) {
        return {const_cast<char*>(text.data()), text.size()};  // NOLINT
    }
    static const char* end_of(const iovec& piece) {
        return static_cast<const char*>(piece.iov_base) + piece.iov_len;
    }

    std::vector<iovec> pieces_;
    std::span<char> store_;  // what is left of it
    std::size_t size_ = 0;
};
