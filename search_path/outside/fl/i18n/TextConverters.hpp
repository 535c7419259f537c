#pragma once
// Converters between the bytes of a named encoding and ustring, made once and
// used for many strings (the toolbox cache converts every name it holds).
//
// Only "UTF-8" is known here. With `substituteInvalid`, bytes that aren't
// UTF-8 travel as their escapes (see utf8_to_ustring), and other unpaired
// surrogates become U+FFFD, so that a conversion never fails; without it,
// such bytes, and a text that doesn't come back as it was, throw
// std::range_error.
#include "fl/ustring.hpp"

#include <cstddef>
#include <string>
#include <string_view>

namespace fl::i18n {

class codecvt_string_to_ustring {
public:
    // Throws std::invalid_argument for an encoding other than "UTF-8".
    codecvt_string_to_ustring(std::string_view encoding, bool substituteInvalid);
    ustring operator()(std::string_view bytes) const;
    // The same conversion written to `out`, which has room for as many
    // units as `bytes` has bytes (no byte gives more than one unit), so that
    // many texts can share one buffer. Returns the number of units written.
    std::size_t widen(std::string_view bytes, char16_t* out) const;

private:
    bool substituteInvalid_;
};

class codecvt_ustring_to_string {
public:
    // Throws std::invalid_argument for an encoding other than "UTF-8".
    codecvt_ustring_to_string(std::string_view encoding, bool substituteInvalid);
    std::string operator()(ustring_view text) const;

private:
    bool substituteInvalid_;
};

// The first line of a text file without the UTF-8 byte order mark that some
// editors put in front of it (a line that doesn't start with one comes back
// as it is). Files that a person writes are read through this; the toolbox
// cache, whose format is fixed to the byte, is not.
std::string_view without_utf8_bom(std::string_view firstLine);

}  // namespace fl::i18n
