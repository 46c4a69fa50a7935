// Objects that are forms: what is read can be written and read again, and is UTF-8. And what a
// request accepts.
#include "base/json.h"
#include "base/json_reader.h"
#include "framework/answer.h"
#include "fuzz.h"

void check(std::string_view input) {
    static_cast<void>(prefers_json(input));
    std::vector<JsonField> fields;
    if (!read_flat_object(input, fields).empty()) return;
    std::string again = "{";
    for (const JsonField& field : fields) {
        for (std::string_view rest = field.value; !rest.empty();) {
            expect(utf8_length(rest) > 0);
            rest.remove_prefix(utf8_length(rest));
        }
        const std::string member = json_object({{field.name, field.value}});
        again += (again.size() > 1 ? "," : "") + member.substr(1, member.size() - 2);
    }
    std::vector<JsonField> read;
    expect(read_flat_object(again + "}", read).empty());
    expect(std::ranges::equal(read, fields, [](const JsonField& one, const JsonField& other) {
        return one.name == other.name && one.value == other.value;
    }));
}
