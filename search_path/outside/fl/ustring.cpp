#include "fl/ustring.hpp"

#include <boost/locale/utf.hpp>

#include <algorithm>

namespace fl::i18n {

namespace utf = boost::locale::utf;

ustring utf8_to_ustring(std::string_view utf8) {
    // Names are mostly ASCII: widen the ASCII run at the start in one go,
    // and decode only from the first byte that isn't.
    const auto ascii = std::find_if(utf8.begin(), utf8.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    ustring out(utf8.begin(), ascii);
    if (ascii == utf8.end()) return out;
    out.reserve(utf8.size());
    const char* it = utf8.data() + (ascii - utf8.begin());
    const char* const end = utf8.data() + utf8.size();
    while (it != end) {
        // Names are mostly ASCII: copy those bytes without decoding.
        if (static_cast<unsigned char>(*it) < 0x80) {
            out += static_cast<char16_t>(*it++);
            continue;
        }
        const char* const start = it;
        utf::code_point cp = utf::utf_traits<char>::decode(it, end);
        if (cp == utf::illegal || cp == utf::incomplete) {
            // Skip exactly one byte of the bad sequence, so that a valid
            // sequence right after it is still decoded.
            it = start + 1;
            cp = 0xFFFD;
        }
        utf::utf_traits<char16_t>::encode(cp, std::back_inserter(out));
    }
    return out;
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
