#include "support/Text.hpp"

namespace tfsp::test {

std::string Utf8(const ustring& text) { return fl::i18n::ustring_to_utf8(text); }
ustring Utf16(const std::string& text) { return fl::i18n::utf8_to_ustring(text); }

}  // namespace tfsp::test
