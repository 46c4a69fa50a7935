// The filter's settings: whatever stands in the file, times are times and switches are switches.
#include <cstdlib>

#include "filter/filterconf.h"
#include "framework/profile.h"

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    FilterConf record;
    for (std::string_view rest(data, size); !rest.empty();)
        ParseLine(take_word(rest, "\n"), record);
    record.filter_state = record.custom_content_state = 0;  // taken as they are
    if (check_filter_info(record) != 0) std::abort();
    return 0;
}
