// A page as data: what its getters give, without its template.
#pragma once

#include <span>
#include <string_view>

#include "base/json.h"
#include "framework/parser.h"

// Writes the items of a list as an array: a text each, of rows an array of the texts of the cells.
void write_items(JsonText& json, std::string_view text, Shape shape);

// Writes the page as an answer that is data. No getter is fatal: what fails is null, or an empty
// list, and named among the errors.
int render_data(const char* page, std::span<const KeyGetter> keys, std::span<const ArrayFun> lists,
                const char* message);

// Writes the further members that a page has as data: the entry knows. Null: none.
using FurtherMembers = void (*)(JsonText& json, std::string_view page);
inline FurtherMembers further_members = nullptr;
