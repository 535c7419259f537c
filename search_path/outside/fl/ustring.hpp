#pragma once
// The string of every interface of the environment: 16-bit code units.
#include <cstddef>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

using ustring = std::u16string;
using ustring_view = std::u16string_view;

// Equality of two texts unit for unit. The standard comparison of char16_t
// texts orders them a unit at a time; equality alone is a comparison of
// bytes, which the C library does many at a time. Hot lookups use this. Two
// names of one length mostly differ at an end, where a look settles it
// without the call.
inline bool sameText(ustring_view a, ustring_view b) {
    const std::size_t size = a.size();
    if (size != b.size()) return false;
    if (size == 0) return true;
    if (a.front() != b.front() || a.back() != b.back()) return false;
    return size <= 2 || std::memcmp(a.data(), b.data(), size * sizeof(char16_t)) == 0;
}

namespace fl::i18n {

// UTF-8 <-> UTF-16 conversions. A name on disk is bytes, and not every name
// is UTF-8; such a name must still be found, reported and opened again by
// what it was reported as, and two names must never become one. So each byte
// that isn't part of valid UTF-8 becomes a unit no valid text produces: the
// lone low surrogate U+DC00 + byte (U+DC80 to U+DCFF, the bytes 0x80 to 0xFF
// being the only ones that can be invalid), and such a unit becomes the byte
// again on the way back. Valid UTF-8 converts as always. Other lone
// surrogates, which no name on disk gives, become U+FFFD in UTF-8.
constexpr char16_t kEscapedByteBase = 0xDC00;
constexpr char16_t escape_byte(unsigned char byte) { return static_cast<char16_t>(kEscapedByteBase + byte); }
constexpr bool is_escaped_byte(char16_t unit) { return unit >= 0xDC80 && unit <= 0xDCFF; }

ustring utf8_to_ustring(std::string_view utf8);
// The same conversion into `out`, which has room for utf8.size() units (a
// text never takes more units than bytes); gives the units written.
std::size_t widen_utf8(std::string_view utf8, char16_t* out);
std::string ustring_to_utf8(ustring_view text);
// The same conversion, appended to `out`: a text made of several pieces is
// converted into one string.
void append_utf8(ustring_view text, std::string& out);

// How many code units `a` and `b` have in common at their start. Texts that
// agree on a long start, as names of one folder often do, are read four
// units at a time.
std::size_t common_prefix_length(ustring_view a, ustring_view b);

// The sign of a.compare(b): code unit by code unit, the shorter text first
// when one begins the other.
int compare_code_units(ustring_view a, ustring_view b);

// Names written one after another into one text, the i-th ending at ends[i]:
// gives onName(i, view of the name). Views are taken once the text has
// stopped growing, so that many names share one allocation.
template <class OnName>
void for_each_name_view(ustring_view text, std::span<const std::size_t> ends, OnName&& onName) {
    std::size_t start = 0;
    for (std::size_t i = 0; i != ends.size(); ++i) {
        onName(i, text.substr(start, ends[i] - start));
        start = ends[i];
    }
}

}  // namespace fl::i18n

namespace fl::filesystem {
// The host's narrow strings are UTF-8.
inline ustring codecvt_narrow_string_to_ustring(std::string_view narrow) { return fl::i18n::utf8_to_ustring(narrow); }
}  // namespace fl::filesystem

// Literal helper for tests and tools: u"..." is already a ustring literal, this
// converts narrow text at run time.
inline ustring operator""_u(const char* text, std::size_t size) {
    return fl::i18n::utf8_to_ustring(std::string_view(text, size));
}
