#include "fl/filesystem/Filesystem.hpp"
#include "fl/i18n/TextConverters.hpp"
#include "fl/ustring.hpp"
#include "foundation/usm/StateStore.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <stdexcept>

namespace {

using namespace fl::filesystem;
using fl::i18n::ustring_to_utf8;
using fl::i18n::utf8_to_ustring;

TEST(FilesystemHelpers, StemAndExtensionSplitAtTheLastDotOfTheName) {
    const std::tuple<ustring, ustring, ustring> cases[] = {{u"a.b.tfx", u"a.b", u"tfx"},
                                                           {u"noext", u"noext", u""},
                                                           {u"file.", u"file", u""},
                                                           {u".profile", u"", u"profile"},
                                                           {u"", u"", u""},
                                                           {u"dir.x/file", u"dir.x/file", u""},
                                                           {u"dir.x/file.tf", u"dir.x/file", u"tf"}};
    for (const auto& [name, stem, extension] : cases) {
        EXPECT_EQ(extract_extension(name), extension) << ustring_to_utf8(name);
        EXPECT_EQ(extract_stem(name), stem) << ustring_to_utf8(name);
    }
    // The dot itself: a dot of a folder above doesn't count, one at the end does.
    const std::pair<ustring, std::size_t> dots[] = {
        {u"a.b.tfx", 3},           {u"file.", 4},           {u"a..", 2},  {u".", 0},
        {u"noext", ustring::npos}, {u"a./", ustring::npos}, {u"x./.", 3}, {u"d.x/f", ustring::npos}};
    for (const auto& [name, dot] : dots) EXPECT_EQ(extension_dot(name), dot) << ustring_to_utf8(name);
}

TEST(FilesystemHelpers, NativeFormAndInstallPath) {
    EXPECT_EQ(detail::make_native_form(u"a\\b\\", 1), u"a\\b\\");  // a name from disk stays as it is
    EXPECT_EQ(detail::make_native_form(u"/a\\b//", 0), u"/a/b");
    EXPECT_EQ(detail::make_native_form(u"/", 0), u"/");
    EXPECT_THROW(detail::make_native_form(u"a", 5), std::invalid_argument);
    for (const char16_t* p : {u"/usr", u"~", u"~/work"}) EXPECT_TRUE(detail::is_absolute_path_when_expanded(p));
    for (const char16_t* p : {u"work/~", u""}) EXPECT_FALSE(detail::is_absolute_path_when_expanded(p));

    set_install_path(u"/opt/env");
    EXPECT_EQ(get_install_path(), u"/opt/env");
    foundation::usm::Detail<foundation::usm::scope::Process>::endAll();
    EXPECT_EQ(get_install_path(), u"");
}

// Every byte sequence comes back as it was, and two different ones never
// give one text: a byte that isn't part of valid UTF-8 travels as its own
// lone surrogate, which no valid text gives.
TEST(Utf, RoundTripsEveryByteSequenceAndEscapesEachBadByte) {
    const std::string text = "plain é € \xF0\x9D\x84\x9E end";  // U+1D11E needs a surrogate pair
    EXPECT_EQ(utf8_to_ustring(text), u"plain é € \U0001D11E end");
    EXPECT_EQ(ustring_to_utf8(utf8_to_ustring(text)), text);

    const auto esc = [](unsigned char byte) { return ustring(1, fl::i18n::escape_byte(byte)); };
    const std::pair<std::string, ustring> cases[] = {
        {"a\xFF"
         "b",
         u"a" + esc(0xFF) + u"b"},
        {"\xC0\xAF", esc(0xC0) + esc(0xAF)},                  // overlong "/"
        {"\xED\xA0\x80", esc(0xED) + esc(0xA0) + esc(0x80)},  // an encoded surrogate
        {"\xED\xB2\x80", esc(0xED) + esc(0xB2) + esc(0x80)},  // the encoded form of an escape itself
        {"x\xE2\x82", u"x" + esc(0xE2) + esc(0x82)},          // cut short at the end
        {"\xE2\x82\xC3\xA9", esc(0xE2) + esc(0x82) + u"é"},   // a valid sequence right after
        {"\x80", esc(0x80)},
        {"caf\xC3\xA9\xFF.tf", u"café" + esc(0xFF) + u".tf"},
    };
    for (const auto& [bytes, units] : cases) {
        EXPECT_EQ(utf8_to_ustring(bytes), units) << bytes;
        EXPECT_EQ(ustring_to_utf8(units), bytes) << bytes;
    }
    // Every single byte and every pair of bytes: back as they were, and no
    // two of them give the same text.
    std::set<ustring> seen;
    for (int a = 0; a < 256; ++a)
        for (int b = -1; b < 256; ++b) {
            std::string bytes(1, static_cast<char>(a));
            if (b >= 0) bytes += static_cast<char>(b);
            const ustring units = utf8_to_ustring(bytes);
            ASSERT_EQ(ustring_to_utf8(units), bytes);
            ASSERT_TRUE(seen.insert(units).second) << "two byte sequences gave one text";
        }
    // Lone surrogates that are no escape become replacements.
    EXPECT_EQ(ustring_to_utf8(ustring(1, char16_t(0xD800)) + u"a"), "\xEF\xBF\xBD"
                                                                    "a");
    EXPECT_EQ(ustring_to_utf8(u"a" + ustring(1, char16_t(0xDC00))), "a\xEF\xBF\xBD");
    EXPECT_EQ(ustring_to_utf8(u"a" + ustring(1, char16_t(0xDD00))), "a\xEF\xBF\xBD");
}

// ASCII is widened eight bytes and narrowed four units at a time: texts
// made of ASCII runs of every length, characters of each UTF-8 length and
// bad bytes, in every position against those words, convert piece by piece,
// both ways.
TEST(Utf, RunsOfAsciiOfAnyLengthConvertAroundOtherCharacters) {
    std::mt19937 random(11);
    const std::pair<std::string, ustring> others[] = {{"\xC3\xA9", u"é"},
                                                      {"\xE2\x82\xAC", u"€"},
                                                      {"\xF0\x9D\x84\x9E", u"\U0001D11E"},
                                                      {"\xFF", ustring(1, fl::i18n::escape_byte(0xFF))}};
    for (int round = 0; round != 400; ++round) {
        std::string text;
        ustring expected;
        for (int piece = static_cast<int>(random() % 5); piece >= 0; --piece) {
            for (int run = static_cast<int>(random() % 20); run > 0; --run) {
                const char ascii = static_cast<char>(0x20 + random() % 0x5F);
                text += ascii;
                expected += static_cast<char16_t>(ascii);
            }
            if (random() % 3 == 0) continue;
            const auto& [bytes, units] = others[random() % std::size(others)];
            text += bytes;
            expected += units;
        }
        EXPECT_EQ(utf8_to_ustring(text), expected) << text;
        ustring into(text.size(), u'?');
        EXPECT_EQ(fl::i18n::widen_utf8(text, into.data()), expected.size()) << text;
        EXPECT_EQ(into.substr(0, expected.size()), expected) << text;
        EXPECT_EQ(ustring_to_utf8(expected), text);
        std::string appended = "x/";
        fl::i18n::append_utf8(expected, appended);
        EXPECT_EQ(appended, "x/" + text);
    }
}

// A strict converter refuses the bytes that a substituting one carries as
// escapes, also when it writes into a buffer that other texts share.
TEST(Utf, AStrictConverterRefusesBadBytes) {
    const fl::i18n::codecvt_string_to_ustring strict("UTF-8", false);
    const fl::i18n::codecvt_string_to_ustring substituting("UTF-8", true);
    const ustring escaped = u"bad" + ustring(1, fl::i18n::escape_byte(0xFF));
    ustring room(8, u'?');
    EXPECT_EQ(strict.widen("caf\xC3\xA9", room.data()), 4u);
    EXPECT_EQ(room.substr(0, 4), u"café");
    EXPECT_THROW(strict.widen("bad\xFF", room.data()), std::range_error);
    EXPECT_THROW(strict("bad\xFF"), std::range_error);
    // A replacement character written as such is no fault.
    EXPECT_EQ(strict.widen("\xEF\xBF\xBD", room.data()), 1u);
    EXPECT_EQ(room[0], u'\uFFFD');
    EXPECT_EQ(substituting.widen("bad\xFF", room.data()), 4u);
    EXPECT_EQ(room.substr(0, 4), escaped);
    EXPECT_EQ(substituting("bad\xFF"), escaped);
    // The way back: an escape is its byte; a text that doesn't come back as
    // it was is refused by the strict converter only.
    EXPECT_EQ(fl::i18n::codecvt_ustring_to_string("UTF-8", false)(escaped), "bad\xFF");
    const ustring lone(1, char16_t(0xD800));
    EXPECT_THROW(fl::i18n::codecvt_ustring_to_string("UTF-8", false)(lone), std::range_error);
    EXPECT_EQ(fl::i18n::codecvt_ustring_to_string("UTF-8", true)(lone), "\xEF\xBF\xBD");
}

// The order of code units and the length of a common start, taken four
// units at a time: they must agree with ustring::compare and std::mismatch
// wherever the first difference lies within a word, for units above the
// ASCII range (compared as unsigned) and for prefixes.
TEST(Utf, CodeUnitOrderIsTheOrderOfUstringCompare) {
    const ustring texts[] = {u"",
                             u"a",
                             u"abc",
                             u"abcd",
                             u"abcde",
                             u"abcdefgh",
                             u"abcdefgi",
                             u"abcdefghi",
                             u"abcdXfgh",
                             u"abcd\uFFFF",
                             u"abcd\u0100",
                             u"ab\u0100a",
                             u"ab\u0001b",
                             u"\uE000x",
                             ustring(1, char16_t(0xD800)),
                             u"ABCDEFGH",
                             u"abcdefg\u00E9",
                             u"abcdefgé!"};
    const auto sign = [](int c) { return (c > 0) - (c < 0); };
    for (const ustring& a : texts)
        for (const ustring& b : texts) {
            EXPECT_EQ(fl::i18n::compare_code_units(a, b), sign(a.compare(b)))
                << ustring_to_utf8(a) << " against " << ustring_to_utf8(b);
            const std::size_t common = std::min(a.size(), b.size());
            EXPECT_EQ(fl::i18n::common_prefix_length(a, b),
                      static_cast<std::size_t>(std::mismatch(a.begin(), a.begin() + common, b.begin()).first -
                                               a.begin()))
                << ustring_to_utf8(a) << " against " << ustring_to_utf8(b);
        }
}

}  // namespace
