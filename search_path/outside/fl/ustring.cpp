#include "fl/ustring.hpp"

#include <boost/locale/utf.hpp>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace fl::i18n {

namespace utf = boost::locale::utf;

namespace {

// Widens the ASCII bytes at the start of `utf8` into `out`, which has room
// for all of `utf8`; gives how many there were. Names are mostly ASCII: eight
// bytes are tested at a time, and widened four to a word.
std::size_t widenAscii(std::string_view utf8, char16_t* out) {
    const char* const in = utf8.data();
    const auto spread = [](std::uint64_t four) {  // four bytes, in the low half, to four units
        four &= 0xFFFFFFFFULL;
        four = (four | (four << 16)) & 0x0000FFFF0000FFFFULL;
        return (four | (four << 8)) & 0x00FF00FF00FF00FFULL;
    };
    static_assert(std::endian::native == std::endian::little, "the bytes of a word are widened in little-endian order");
    std::size_t ascii = 0;
    for (; ascii + 8 <= utf8.size(); ascii += 8) {
        std::uint64_t eight;
        std::memcpy(&eight, in + ascii, sizeof eight);
        if (eight & 0x8080808080808080ULL) break;
        const std::uint64_t low = spread(eight);
        const std::uint64_t high = spread(eight >> 32);
        std::memcpy(out + ascii, &low, sizeof low);
        std::memcpy(out + ascii + 4, &high, sizeof high);
    }
    for (; ascii < utf8.size() && static_cast<unsigned char>(in[ascii]) < 0x80; ++ascii)
        out[ascii] = static_cast<char16_t>(in[ascii]);
    return ascii;
}

}  // namespace

std::size_t widen_utf8(std::string_view utf8, char16_t* out) {
    std::size_t written = widenAscii(utf8, out);
    const char* it = utf8.data() + written;
    const char* const end = utf8.data() + utf8.size();
    while (it != end) {
        // ASCII after the first sequence is copied without decoding.
        if (static_cast<unsigned char>(*it) < 0x80) {
            out[written++] = static_cast<char16_t>(*it++);
            continue;
        }
        const char* const first = it;
        const utf::code_point cp = utf::utf_traits<char>::decode(it, end);
        if (cp == utf::illegal || cp == utf::incomplete) {
            // One byte of the bad sequence becomes its escape, so that a
            // valid sequence right after it is still decoded.
            it = first + 1;
            out[written++] = escape_byte(static_cast<unsigned char>(*first));
            continue;
        }
        written = static_cast<std::size_t>(utf::utf_traits<char16_t>::encode(cp, out + written) - out);
    }
    return written;
}

ustring utf8_to_ustring(std::string_view utf8) {
    ustring out(utf8.size(), u'\0');
    out.resize(widen_utf8(utf8, out.data()));
    return out;
}

void append_utf8(ustring_view text, std::string& out) {
    // Paths are mostly ASCII: narrow the ASCII run at the start into room
    // made for all of it, four units to a word (a unit at a time was a tenth
    // of a lookup that returns a path), and encode only from the first unit
    // that isn't.
    const std::size_t start = out.size();
    out.resize(start + text.size());
    char* const to = out.data() + start;
    std::size_t ascii = 0;
    if constexpr (std::endian::native == std::endian::little) {  // unit i in bits 16i to 16i+15
        for (; ascii + 4 <= text.size(); ascii += 4) {
            std::uint64_t word;
            std::memcpy(&word, text.data() + ascii, sizeof word);
            if (word & 0xFF80'FF80'FF80'FF80ull) break;
            to[ascii] = static_cast<char>(word);
            to[ascii + 1] = static_cast<char>(word >> 16);
            to[ascii + 2] = static_cast<char>(word >> 32);
            to[ascii + 3] = static_cast<char>(word >> 48);
        }
    }
    for (; ascii < text.size() && text[ascii] < 0x80; ++ascii) to[ascii] = static_cast<char>(text[ascii]);
    if (ascii == text.size()) return;
    out.resize(start + ascii);
    const char16_t* it = text.data() + ascii;
    const char16_t* const end = text.data() + text.size();
    while (it != end) {
        if (*it < 0x80) {
            out += static_cast<char>(*it++);
            continue;
        }
        const char16_t* const first = it;
        utf::code_point cp = utf::utf_traits<char16_t>::decode(it, end);
        if (cp == utf::illegal || cp == utf::incomplete) {
            it = first + 1;  // a lone surrogate: the escape of a byte, or nothing a name can hold
            if (is_escaped_byte(*first)) {
                out += static_cast<char>(*first - kEscapedByteBase);
                continue;
            }
            cp = 0xFFFD;
        }
        utf::utf_traits<char>::encode(cp, std::back_inserter(out));
    }
}

std::string ustring_to_utf8(ustring_view text) {
    std::string out;
    append_utf8(text, out);
    return out;
}

std::size_t common_prefix_length(ustring_view a, ustring_view b) {
    const std::size_t common = std::min(a.size(), b.size());
    std::size_t i = 0;
    for (; i + 4 <= common; i += 4) {
        std::uint64_t x;
        std::uint64_t y;
        std::memcpy(&x, a.data() + i, sizeof x);
        std::memcpy(&y, b.data() + i, sizeof y);
        if (x == y) continue;
        // The first unit that differs, by where its bits lie in the word.
        const std::uint64_t differ = x ^ y;
        return i + static_cast<std::size_t>(std::endian::native == std::endian::little ? std::countr_zero(differ)
                                                                                       : std::countl_zero(differ)) /
                       16;
    }
    while (i < common && a[i] == b[i]) ++i;
    return i;
}

int compare_code_units(ustring_view a, ustring_view b) {
    const std::size_t i = common_prefix_length(a, b);
    if (i < a.size() && i < b.size()) return a[i] < b[i] ? -1 : 1;
    return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
}

}  // namespace fl::i18n
