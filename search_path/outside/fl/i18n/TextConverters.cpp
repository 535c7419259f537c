#include "fl/i18n/TextConverters.hpp"

#include <algorithm>
#include <stdexcept>

namespace fl::i18n {

namespace {

void RequireUtf8(std::string_view encoding) {
    if (encoding != "UTF-8") throw std::invalid_argument("unsupported text encoding: " + std::string(encoding));
}

// The plain conversion carries a byte that isn't UTF-8 as its escape (see
// utf8_to_ustring); a strict converter refuses such bytes. Valid UTF-8 never
// gives a lone surrogate, so an escape in the text means one was there.
bool HoldsEscapedBytes(ustring_view text) { return std::any_of(text.begin(), text.end(), is_escaped_byte); }

}  // namespace

codecvt_string_to_ustring::codecvt_string_to_ustring(std::string_view encoding, bool substituteInvalid)
    : substituteInvalid_(substituteInvalid) {
    RequireUtf8(encoding);
}

ustring codecvt_string_to_ustring::operator()(std::string_view bytes) const {
    ustring text = utf8_to_ustring(bytes);
    if (!substituteInvalid_ && HoldsEscapedBytes(text)) throw std::range_error("invalid UTF-8");
    return text;
}

std::size_t codecvt_string_to_ustring::widen(std::string_view bytes, char16_t* out) const {
    const std::size_t written = widen_utf8(bytes, out);
    if (!substituteInvalid_ && HoldsEscapedBytes(ustring_view(out, written))) throw std::range_error("invalid UTF-8");
    return written;
}

codecvt_ustring_to_string::codecvt_ustring_to_string(std::string_view encoding, bool substituteInvalid)
    : substituteInvalid_(substituteInvalid) {
    RequireUtf8(encoding);
}

std::string codecvt_ustring_to_string::operator()(ustring_view text) const {
    std::string bytes = ustring_to_utf8(text);
    if (!substituteInvalid_ && utf8_to_ustring(bytes) != text) throw std::range_error("unpaired surrogate");
    return bytes;
}

std::string_view without_utf8_bom(std::string_view firstLine) {
    constexpr std::string_view bom = "\xEF\xBB\xBF";
    return firstLine.starts_with(bom) ? firstLine.substr(bom.size()) : firstLine;
}

}  // namespace fl::i18n
