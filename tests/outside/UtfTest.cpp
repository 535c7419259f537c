#include "fl/ustring.hpp"

#include <gtest/gtest.h>

namespace {

using fl::i18n::ustring_to_utf8;
using fl::i18n::utf8_to_ustring;

const ustring kBad(1, char16_t(0xFFFD));

TEST(Utf, ValidTextRoundTrips) {
    const std::string text = "plain é € \xF0\x9D\x84\x9E end";  // U+1D11E needs a surrogate pair
    const ustring wide = utf8_to_ustring(text);
    EXPECT_EQ(wide, u"plain é € \U0001D11E end");
    EXPECT_EQ(ustring_to_utf8(wide), text);
    EXPECT_EQ(utf8_to_ustring(""), u"");
}

TEST(Utf, EachBadByteBecomesOneReplacementAndDecodingGoesOn) {
    EXPECT_EQ(utf8_to_ustring("a\xFF" "b"), u"a" + kBad + u"b");
    EXPECT_EQ(utf8_to_ustring("\xC0\xAF"), kBad + kBad);                 // overlong "/"
    EXPECT_EQ(utf8_to_ustring("\xED\xA0\x80"), kBad + kBad + kBad);      // an encoded surrogate
    EXPECT_EQ(utf8_to_ustring("x\xE2\x82"), u"x" + kBad + kBad);         // cut short at the end
    EXPECT_EQ(utf8_to_ustring("\xE2\x82\xC3\xA9"), kBad + kBad + u"é");  // a valid sequence right after
}

TEST(Utf, LoneSurrogatesBecomeReplacements) {
    EXPECT_EQ(ustring_to_utf8(ustring(1, char16_t(0xD800)) + u"a"), "\xEF\xBF\xBD" "a");
    EXPECT_EQ(ustring_to_utf8(u"a" + ustring(1, char16_t(0xDC00))), "a\xEF\xBF\xBD");
}

} // namespace
