// A page as data: what its getters give, without its template.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "framework/parser.h"

// The items of a list as a JSON array: a text each, of rows an array of the texts of the cells.
std::string json_items(std::string_view text, Shape shape);

// Writes the page as an answer that is data. No getter is fatal: what fails is null, or an empty
// list, and named among the errors.
int render_data(const char* page, std::span<const KeyGetter> keys, std::span<const ArrayFun> lists,
                const char* message);

// What further members a page has as data, each `,"name":value`: the entry knows. Null: none.
using FurtherMembers = std::string (*)(std::string_view page);
inline FurtherMembers further_members = nullptr;
