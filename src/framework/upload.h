// Uploaded files: they live in "/tmp" until the request ends.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// Puts an uploaded file's content into a new file "/tmp/upload.??????" that only root can read and
// whose name nobody can guess; returns its path, or nothing when it could not be written. The file
// is removed when the process exits, unless a page has done so before. What a killed process has
// left is removed by the first upload an hour later.
std::optional<std::string> store_upload(std::string_view content);

// The path that a form gives for an uploaded file, resolved; nothing unless it names a regular
// file, not a link, below "/tmp" or "/var/tmp". Pages rewrite and delete uploaded files, and a form
// can name any path.
std::optional<std::string> usable_upload(const char* path);

// True for a file that this request has uploaded.
bool is_own_upload(const std::string& path);
