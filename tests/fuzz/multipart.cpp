// Forms with files: the fields lie in the body, in its order, and no boundary stands inside one.
#include "framework/multipart.h"
#include "fuzz.h"

void check(std::string_view input) {
    const std::string_view type = take_line(input);
    const std::string_view body = input;
    std::vector<FormPart> parts;
    if (!split_multipart(type, body, parts)) return;
    const char* at = body.data();
    std::size_t files = 0;
    for (const FormPart& part : parts) {
        expect(part.content.data() >= at);
        at = part.content.data() + part.content.size();
        files += part.is_file;
        if (type.ends_with("boundary=XyZ"))
            expect(part.content.find("\r\n--XyZ") == part.content.npos);
    }
    expect(at <= body.data() + body.size() && files <= kMostFiles);
}
