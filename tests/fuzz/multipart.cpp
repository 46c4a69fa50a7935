// Forms with files: the fields lie in the body, in its order, and no boundary stands inside one.
#include "framework/multipart.h"

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    const std::string_view input(data, size);
    const std::size_t line = std::min(input.find('\n'), size);
    const std::string_view type = input.substr(0, line);
    const std::string_view body = input.substr(std::min(line + 1, size));
    std::vector<FormPart> parts;
    if (!split_multipart(type, body, parts)) return 0;
    const char* at = body.data();
    std::size_t files = 0;
    for (const FormPart& part : parts) {
        if (part.content.data() < at) __builtin_trap();
        at = part.content.data() + part.content.size();
        files += part.is_file;
        if (part.content.find("\r\n--XyZ") != part.content.npos && type.ends_with("boundary=XyZ"))
            __builtin_trap();
    }
    if (at > body.data() + body.size() || files > kMostFiles) __builtin_trap();
    return 0;
}
