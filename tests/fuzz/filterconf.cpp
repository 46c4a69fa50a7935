// The filter's settings: whatever stands in the file, times are times and switches are switches.
#include "filter/filterconf.h"
#include "base/words.h"
#include "fuzz.h"

void check(std::string_view input) {
    FilterConf record;
    while (!input.empty()) ParseLine(take_word(input, "\n"), record);
    record.filter_state = record.custom_content_state = 0;  // taken as they are
    expect(check_filter_info(record) == 0);
}
