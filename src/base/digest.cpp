#include "base/digest.h"

#include <cstdint>
#include <string_view>

#include "base/files.h"

namespace {

// Of nothing, and of a text behind another one.
constexpr std::uint64_t kNoHash = 14695981039346656037ULL;
std::uint64_t hash_on(std::uint64_t hash, std::string_view text) {
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    return hash;
}

std::string digits_of(std::uint64_t hash) {
    std::string digits(16, '0');
    for (char& digit : digits) {
        digit = "0123456789abcdef"[hash & 15];
        hash >>= 4;
    }
    return digits;
}

}  // namespace

std::string digest_of(const std::string& path) try {
    constexpr std::size_t kPiece = 16384;
    LineReader in(path, kPiece);
    if (!in.is_open()) return "-";
    std::uint64_t hash = kNoHash;
    while (in.next()) hash = hash_on(hash, in.piece());
    return digits_of(hash);
} catch (const Unreadable&) {
    return "unreadable";
}
