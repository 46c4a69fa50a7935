// A modem driver description (an INF file) as lines and sections. Everything here is a view of the
// description's text, which the caller keeps, and nothing is stored for a line that has no name: a
// file of two-character lines must not cost many times its size.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

std::string_view without_leading_spaces(std::string_view text);

// Takes the next line off the front of a description, or as much of a long one as is read at a
// time. Comments and empty lines are left out; nothing at the end.
std::optional<std::string_view> take_line(std::string_view& text);

// The same within a section: nothing before the next header, which stays.
std::optional<std::string_view> take_section_line(std::string_view& text);

// Whether `a` stands before `b` by its characters or, where they are the same, in the text that
// both are views of.
bool comes_before(std::string_view a, std::string_view b);

// Lines that begin with a name between two marks, "[name]" or "%name%", by that name. The name may
// hold the closing mark itself, so one line can have many names.
class NameIndex {
public:
    using Take = std::optional<std::string_view>(std::string_view& text);

    // Of the lines that `take` takes.
    NameIndex(char open, char close, std::string_view text, Take& take);

    [[nodiscard]] std::size_t size() const { return lines_.size(); }
    [[nodiscard]] std::string_view operator[](std::size_t number) const { return lines_[number]; }

    // The number, below size(), of the line with that name which comes first in the text.
    [[nodiscard]] std::optional<std::size_t> find(std::string_view name) const;

private:
    using Number = std::uint32_t;

    [[nodiscard]] bool is_named(std::string_view line) const;
    [[nodiscard]] Number earlier(Number a, Number b) const;
    [[nodiscard]] Number first_below(std::size_t node) const;
    [[nodiscard]] Number first_of(std::size_t from, std::size_t to) const;

    char open_;
    char close_;
    std::vector<std::string_view> lines_;  // in the order of their characters
    std::vector<Number> first_;  // a tree: which line below a node comes first in the text
};

// A description and its sections by their names.
class InfFile {
public:
    explicit InfFile(std::string_view text) : text_(text), headers_('[', ']', text, take_line) {}

    [[nodiscard]] std::size_t sections() const { return headers_.size(); }

    // The number, below sections(), of the first section with that name.
    [[nodiscard]] std::optional<std::size_t> FindSection(std::string_view name) const {
        return headers_.find(name);
    }

    // What follows the header of a section, to be taken with take_section_line().
    [[nodiscard]] std::string_view behind(std::size_t section) const;

private:
    std::string_view text_;
    NameIndex headers_;
};
