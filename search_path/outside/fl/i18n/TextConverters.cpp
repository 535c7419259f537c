#include "fl/i18n/TextConverters.hpp"

#include <stdexcept>

namespace fl::i18n {

namespace {

void RequireUtf8(std::string_view encoding) {
    if (encoding != "UTF-8") throw std::invalid_argument("unsupported text encoding: " + std::string(encoding));
}

constexpr char16_t kReplacement = u'\uFFFD';

// The plain conversion substitutes; a strict converter refuses what had to
// be replaced, which shows as a text that doesn't convert back.
bool Substituted(ustring_view text, std::string_view bytes) {
    return text.find(kReplacement) != ustring_view::npos && ustring_to_utf8(text) != bytes;
}

} // namespace

codecvt_string_to_ustring::codecvt_string_to_ustring(std::string_view encoding, bool substituteInvalid)
    : substituteInvalid_(substituteInvalid) {
    RequireUtf8(encoding);
}

ustring codecvt_string_to_ustring::operator()(std::string_view bytes) const {
    ustring text = utf8_to_ustring(bytes);
    if (!substituteInvalid_ && Substituted(text, bytes)) throw std::range_error("invalid UTF-8");
    return text;
}

std::size_t codecvt_string_to_ustring::widen(std::string_view bytes, char16_t* out) const {
    const std::size_t written = widen_utf8(bytes, out);
    if (!substituteInvalid_ && Substituted(ustring_view(out, written), bytes)) throw std::range_error("invalid UTF-8");
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

} // namespace fl::i18n
