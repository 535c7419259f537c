#include "fl/i18n/TextConverters.hpp"

#include <stdexcept>

namespace fl::i18n {

namespace {

void RequireUtf8(std::string_view encoding) {
    if (encoding != "UTF-8") throw std::invalid_argument("unsupported text encoding: " + std::string(encoding));
}

constexpr char16_t kReplacement = u'\uFFFD';

} // namespace

codecvt_string_to_ustring::codecvt_string_to_ustring(std::string_view encoding, bool substituteInvalid)
    : substituteInvalid_(substituteInvalid) {
    RequireUtf8(encoding);
}

ustring codecvt_string_to_ustring::operator()(std::string_view bytes) const {
    ustring text = utf8_to_ustring(bytes);
    // The plain conversion substitutes; a strict converter refuses what had to
    // be replaced, which shows as a text that doesn't convert back.
    if (!substituteInvalid_ && text.find(kReplacement) != ustring::npos && ustring_to_utf8(text) != bytes)
        throw std::range_error("invalid UTF-8");
    return text;
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

} // namespace fl::i18n
