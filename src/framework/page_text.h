// A page as it grows: the pieces of its template, where they stand, and between them the texts that
// are made for it. So what is on a page already when it begins is never copied.
#pragma once

#include <sys/uio.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

class PageText {
public:
    // Room for so many characters of texts that are made for the page.
    explicit PageText(std::size_t capacity) { made_.reserve(capacity); }

    [[nodiscard]] std::size_t size() const { return size_; }

    // Appends a text that stands as long as the page does.
    void add(std::string_view text) {
        if (text.empty()) return;
        size_ += text.size();
        if (!pieces_.empty() && end_of(pieces_.back()) == text.data())
            pieces_.back().iov_len += text.size();
        else  // it is only read, but the system's own writers share this type with readers
            pieces_.push_back({const_cast<char*>(text.data()), text.size()});  // NOLINT
    }
    // Appends a copy of a text, within the capacity.
    void add_copy(std::string_view text) {
        const std::size_t before = made_.size();
        made_ += text;
        add(std::string_view(made_).substr(before));
    }

    [[nodiscard]] std::string joined() const {
        std::string text;
        for (const iovec& piece : pieces_)
            text.append(static_cast<const char*>(piece.iov_base), piece.iov_len);
        return text;
    }
    // Hands the pieces over to be written.
    std::vector<iovec> take() { return std::move(pieces_); }

private:
    static const char* end_of(const iovec& piece) {
        return static_cast<const char*>(piece.iov_base) + piece.iov_len;
    }

    std::vector<iovec> pieces_;
    std::string made_;  // never grows beyond its capacity: the pieces point into it
    std::size_t size_ = 0;
};
