#include "fl/ustring.hpp"

#include <boost/locale/utf.hpp>


namespace fl::i18n {

namespace utf = boost::locale::utf;

ustring utf8_to_ustring(std::string_view utf8) {
    ustring out;
    append_utf8_to_ustring(out, utf8);
    return out;
}

void append_utf8_to_ustring(ustring& out, std::string_view utf8) {
    // Names are mostly ASCII: widen the ASCII run at the start in one go
    // into room made for all of it, and decode only from the first byte
    // that isn't.
    const std::size_t start = out.size();
    out.resize(start + utf8.size());
    char16_t* const widened = out.data() + start;
    std::size_t ascii = 0;
    for (; ascii < utf8.size() && static_cast<unsigned char>(utf8[ascii]) < 0x80; ++ascii)
        widened[ascii] = static_cast<char16_t>(utf8[ascii]);
    out.resize(start + ascii);
    if (ascii == utf8.size()) return;
    const char* it = utf8.data() + ascii;
    const char* const end = utf8.data() + utf8.size();
    while (it != end) {
        // Names are mostly ASCII: copy those bytes without decoding.
        if (static_cast<unsigned char>(*it) < 0x80) {
            out += static_cast<char16_t>(*it++);
            continue;
        }
        const char* const first = it;
        utf::code_point cp = utf::utf_traits<char>::decode(it, end);
        if (cp == utf::illegal || cp == utf::incomplete) {
            // Skip exactly one byte of the bad sequence, so that a valid
            // sequence right after it is still decoded.
            it = first + 1;
            cp = 0xFFFD;
        }
        utf::utf_traits<char16_t>::encode(cp, std::back_inserter(out));
    }
}

std::string ustring_to_utf8(ustring_view text) {
    std::string out;
    out.reserve(text.size());
    const char16_t* it = text.data();
    const char16_t* const end = it + text.size();
    while (it != end) {
        if (*it < 0x80) {
            out += static_cast<char>(*it++);
            continue;
        }
        const char16_t* const start = it;
        utf::code_point cp = utf::utf_traits<char16_t>::decode(it, end);
        if (cp == utf::illegal || cp == utf::incomplete) {
            it = start + 1;  // a lone surrogate
            cp = 0xFFFD;
        }
        utf::utf_traits<char>::encode(cp, std::back_inserter(out));
    }
    return out;
}

} // namespace fl::i18n
