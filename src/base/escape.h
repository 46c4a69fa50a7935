// Texts made harmless for a page: "&", "<", ">" and both quotes become character references.
#pragma once

#include <string>
#include <string_view>

// Whether each of these functions gives back the text as it is: none of its characters needs a
// reference.
bool stands_for_itself(std::string_view text);

// All of the text.
std::string escape_html(std::string_view text);

// Options of a list, a line each: the "<option>" at the beginning of a line stays.
std::string escape_options(std::string_view text);

// Rows of a table as the log has them: lines "<tr>", "<td nowrap>cell</td>" and "</tr>" stay, all
// of a cell is escaped. In a line of another kind each "<BR>" stays.
std::string escape_rows(std::string_view text);
