// Forms as browsers send them when they carry files: multipart/form-data (RFC 7578, RFC 2046).
#pragma once

#include <string>
#include <string_view>
#include <vector>

// A field of such a form. The content is a view into the body.
struct FormPart {
    std::string name;
    bool is_file = false;   // the field is for a file; without a file name none was chosen
    std::string file_name;  // as the sender calls it: to be trusted in nothing
    std::string_view content;
};

// The most files that a form may carry.
inline constexpr std::size_t kMostFiles = 16;

// True for the content type of such forms.
bool is_multipart(std::string_view content_type);

// Takes a body apart into its fields, in the order in which they were sent. False when it is
// malformed: no boundary, a field without its header or name, no end, or too many files.
bool split_multipart(std::string_view content_type, std::string_view body,
                     std::vector<FormPart>& parts);
