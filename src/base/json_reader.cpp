#include "base/json_reader.h"

#include <algorithm>
#include <optional>

#include "base/json.h"

namespace {

constexpr std::string_view kNoObject = "The body is not one JSON object.";
constexpr std::string_view kNoText = "Every member of the object must be a text.";
constexpr std::string_view kBadString = "A text of the object is not well formed.";
constexpr std::string_view kTooMany = "The object has too many members.";
constexpr std::string_view kTwice = "A name stands in the object twice.";

// What is left of the text. The first thing that is wrong ends the reading.
class Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}

    std::string_view read(std::vector<JsonField>& fields) {
        if (!take('{')) return kNoObject;
        if (!take('}')) {
            do {
                if (fields.size() == kMostMembers) return kTooMany;
                const std::string_view wrong = read_member(fields);
                if (!wrong.empty()) return wrong;
            } while (take(','));
            if (!take('}')) return kNoObject;
        }
        skip_blanks();
        return rest_.empty() ? "" : kNoObject;
    }

private:
    void skip_blanks() {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size()));
    }

    // Takes a character that means something, with the blanks before it.
    bool take(char wanted) {
        skip_blanks();
        if (!rest_.starts_with(wanted)) return false;
        rest_.remove_prefix(1);
        return true;
    }

    std::string_view read_member(std::vector<JsonField>& fields) {
        JsonField field;
        if (!take('"')) return kNoObject;
        if (!read_string(field.name) || field.name.find('\0') != field.name.npos) return kBadString;
        if (std::ranges::count(fields, field.name, &JsonField::name)) return kTwice;
        if (!take(':')) return kNoObject;
        if (!take('"')) return kNoText;
        if (!read_string(field.value)) return kBadString;
        fields.push_back(std::move(field));
        return "";
    }

    // From behind the first quote to behind the last.
    bool read_string(std::string& text) {
        while (!rest_.empty()) {
            const char c = rest_.front();
            if (static_cast<unsigned char>(c) < 0x20) return false;
            if (c == '"' || c == '\\') {
                rest_.remove_prefix(1);
                if (c == '"') return true;
                if (!read_escape(text)) return false;
                continue;
            }
            const std::size_t length = utf8_length(rest_);
            text += rest_.substr(0, length);
            rest_.remove_prefix(length);
            if (length == 0) return false;
        }
        return false;
    }

    bool read_escape(std::string& text) {
        constexpr std::string_view kLetters = "\"\\/bfnrt";
        constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
        const std::size_t at = rest_.empty() ? kLetters.npos : kLetters.find(rest_.front());
        if (at == kLetters.npos) return read_code(text);
        rest_.remove_prefix(1);
        text += kMeanings[at];
        return true;
    }

    // "u" and four digits; of a character beyond them, two such halves.
    bool read_code(std::string& text) {
        const std::optional<unsigned> first = read_digits();
        if (!first || (*first >= 0xdc00 && *first < 0xe000)) return false;
        unsigned code = *first;
        if (code >= 0xd800 && code < 0xdc00) {
            if (!rest_.starts_with('\\')) return false;
            rest_.remove_prefix(1);
            const std::optional<unsigned> second = read_digits();
            if (!second || *second < 0xdc00 || *second >= 0xe000) return false;
            code = 0x10000 + ((code - 0xd800) << 10) + (*second - 0xdc00);
        }
        append_utf8(text, code);
        return true;
    }

    std::optional<unsigned> read_digits() {
        constexpr std::string_view kDigits = "0123456789abcdefABCDEF";
        if (rest_.size() < 5 || rest_.front() != 'u') return std::nullopt;
        unsigned code = 0;
        for (const char digit : rest_.substr(1, 4)) {
            const std::size_t value = kDigits.find(digit);
            if (value == kDigits.npos) return std::nullopt;
            code = code * 16 + static_cast<unsigned>(value < 16 ? value : value - 6);
        }
        rest_.remove_prefix(5);
        return code;
    }

    static void append_utf8(std::string& text, unsigned code) {
        const auto add = [&](unsigned lead, unsigned shift) {
            text += static_cast<char>(lead | (code >> shift));
            for (; shift > 0; shift -= 6)
                text += static_cast<char>(0x80 | ((code >> (shift - 6)) & 0x3f));
        };
        if (code < 0x80)
            add(0, 0);
        else if (code < 0x800)
            add(0xc0, 6);
        else if (code < 0x10000)
            add(0xe0, 12);
        else
            add(0xf0, 18);
    }

    std::string_view rest_;
};

}  // namespace

std::string_view read_flat_object(std::string_view json, std::vector<JsonField>& fields) {
    return Reader(json).read(fields);
}
