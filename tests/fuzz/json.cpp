// Objects that are forms: what is read can be written and read again, and any text can be written:
// what is UTF-8 already is read as it was. And what a request accepts.
#include "base/json.h"
#include "base/json_reader.h"
#include "framework/answer.h"
#include "fuzz.h"

// What a reader makes of a text that is written; all that a reader gives is UTF-8.
static std::string read_back(std::string_view text) {
    std::vector<JsonField> fields;
    expect(read_flat_object(json_object({{"text", text}}), fields).empty() && fields.size() == 1);
    return fields[0].value;
}

void check(std::string_view input) {
    static_cast<void>(prefers_json(input));
    const std::string text = read_back(input);
    expect(read_back(text) == text);
    expect(text == input || text.find("\xef\xbf\xbd") != text.npos);
    std::vector<JsonField> fields;
    if (!read_flat_object(input, fields).empty()) return;
    std::string again = "{";
    for (const JsonField& field : fields) {
        expect(read_back(field.value) == field.value);
        const std::string member = json_object({{field.name, field.value}});
        again += (again.size() > 1 ? "," : "") + member.substr(1, member.size() - 2);
    }
    std::vector<JsonField> read;
    expect(read_flat_object(again + "}", read).empty());
    expect(std::ranges::equal(read, fields, [](const JsonField& one, const JsonField& other) {
        return one.name == other.name && one.value == other.value;
    }));
}
