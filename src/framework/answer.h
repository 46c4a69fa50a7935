// In which form a request wants its answer: as a page, or as data (JSON), and how the answers that
// are no pages of the page table look as data.
#pragma once

#include <string>
#include <string_view>

// True when an Accept header (RFC 9110, 12.5.1) prefers application/json to text/html: by its
// quality or, of the same, when it is named before. What names JSON nowhere prefers the page.
bool prefers_json(std::string_view accept);

// Whether the answer to this request is data.
bool wants_data();

// Writes a whole answer: the status ("404 Not Found"; empty: the server's own, 200), further header
// lines, each with its line feed, and the object as its body.
void answer_data(std::string_view status, std::string_view header, std::string_view json);

// The same with one member, such as {"message":"..."}.
void answer_told(std::string_view status, std::string_view name, std::string_view text,
                 std::string_view header = {});

// What became of a request that acted: the members that an answer that is data begins with.
struct Outcome {
    std::string_view status = {};  // empty: the request did not act
    bool accepted = false;
    std::string members = {};  // further ones: `"name":value,...`
    bool refused_after_all = false;
};
inline Outcome post_outcome;
inline constexpr std::string_view kAccepted = "200 OK";
inline constexpr std::string_view kRefused = "422 Unprocessable Content";

// For pages that answer a request which they could not carry out as one that they accepted, with a
// message: data tells it as refused.
inline void refuse_after_all() { post_outcome.refused_after_all = true; }
