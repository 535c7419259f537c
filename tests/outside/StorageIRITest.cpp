#include "foundation/storage/vfs/AbsoluteIRI.hpp"
#include "foundation/storage/vfs/PathComparator.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "foundation/storage/vfs/StorageSystem.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using namespace foundation::storage::vfs;

AbsoluteIRI iri(const ustring& path) { return toAbsoluteIRI("file", path); }

TEST(StorageIRI, PathIsKeptInGenericForm) {
    const std::pair<ustring, ustring> cases[] = {{u"//a///b/./c/", u"/a/b/c"},
                                                 {u"/a/../b/.", u"/a/../b"},  // ".." is left to the storage system
                                                 {u"///", u"/"},
                                                 {u"/./", u"/"},
                                                 {u"/a b/\\c", u"/a b/\\c"}};  // a backslash is an ordinary character
    for (const auto& [in, out] : cases) EXPECT_EQ(iri(in).getPath(), out);
    EXPECT_EQ(iri(u"/a/b").toString(), u"file:///a/b");
    EXPECT_EQ(iri(u"/").toString(), u"file:///");
    EXPECT_EQ(toAbsoluteIRI(u"FILE", u"/a").getPath(), u"/a");
}

TEST(StorageIRI, RejectsWhatNamesNoAbsoluteLocation) {
    for (const ustring& bad : {ustring(u""), ustring(u"a/b"), ustring(u"~/a"), ustring(u"/a\0b", 4)}) {
        try {
            iri(bad);
            ADD_FAILURE() << "accepted " << fl::i18n::ustring_to_utf8(bad);
        } catch (const Exception& e) {
            EXPECT_EQ(e.getErrorCode(), 1);
        }
    }
    EXPECT_THROW(toAbsoluteIRI(u"http", u"/a"), UnsupportedIRISchemeException);
    EXPECT_THROW(toAbsoluteIRI("", u"/a"), UnsupportedIRISchemeException);
}

TEST(StorageIRI, NameParentAndAncestry) {
    const AbsoluteIRI a = iri(u"/a"), root = iri(u"/");
    EXPECT_EQ(iri(u"/a/b.tf").getName(), u"b.tf");
    EXPECT_EQ(iri(u"/a/b.tf").getParent().getParent(), root);
    EXPECT_FALSE(root.hasParent());
    EXPECT_EQ(root.getName(), u"");
    EXPECT_THROW(root.getParent(), std::logic_error);
    EXPECT_THROW(CanonicalAbsoluteIRI(root, u"").getParent(), std::logic_error);

    EXPECT_TRUE(a.isAncestorOf(iri(u"/a/b/c")));
    EXPECT_TRUE(root.isAncestorOf(a));
    EXPECT_FALSE(a.isAncestorOf(a));
    EXPECT_FALSE(a.isAncestorOf(iri(u"/ab")));
    EXPECT_FALSE(iri(u"/a/b").isAncestorOf(a));
    EXPECT_FALSE(root.isAncestorOf(root));
    EXPECT_EQ(iri(u"/a/b/c").makePathRelativeTo(a), u"b/c");
    EXPECT_EQ(iri(u"/a/b/c").makePathRelativeTo(root), u"a/b/c");
    EXPECT_EQ(a.makePathRelativeTo(a), u"");
    EXPECT_THROW(iri(u"/ab/c").makePathRelativeTo(a), std::invalid_argument);
}

// Tables of IRIs are searched by these views (a package's owner, a watched
// folder): each must carry the very path and hash of the IRI it stands for.
TEST(StorageIRI, SelfAndAncestorsAreTheParentsWithTheirHashes) {
    for (const ustring& path :
         {ustring(u"/"), ustring(u"/a"), ustring(u"/a/bc/d"), ustring(u"/x y/\\z/+p/@C/private")}) {
        const AbsoluteIRI start = iri(path);
        const auto chain = selfAndAncestors(start);
        std::vector<AbsoluteIRI> expected{start};
        while (expected.back().hasParent()) expected.push_back(expected.back().getParent());
        ASSERT_EQ(chain.size(), expected.size()) << fl::i18n::ustring_to_utf8(path);
        for (std::size_t i = 0; i < chain.size(); ++i) {
            const AbsoluteIRI& level = expected[expected.size() - 1 - i];
            EXPECT_EQ(chain[i].path, ustring_view(level.getPath()));
            EXPECT_EQ(chain[i].hash, level.hashValue());
            EXPECT_TRUE(AbsoluteIRIEqual{}(chain[i], level));
            EXPECT_EQ(AbsoluteIRIHash{}(chain[i]), AbsoluteIRIHash{}(level));
        }
    }
    EXPECT_FALSE(AbsoluteIRIEqual{}(GenericPathView{u"/a", genericPathHash(u"/a")}, iri(u"/b")));
}

TEST(StorageIRI, EqualSpellingsCompareAndHashEqualAndJoinBelowACanonicalFolder) {
    const AbsoluteIRI x = iri(u"/a//b/"), y = iri(u"/a/./b");
    EXPECT_EQ(x, y);
    EXPECT_EQ(AbsoluteIRIHash{}(x), AbsoluteIRIHash{}(y));
    EXPECT_NE(x, iri(u"/a/B"));
    EXPECT_LT(iri(u"/a"), iri(u"/b"));

    const CanonicalAbsoluteIRI base(iri(u"/base"), u"");
    EXPECT_EQ(AbsoluteIRI(base, u"x/./y/"), iri(u"/base/x/y"));
    EXPECT_EQ(AbsoluteIRI(base, u""), base);
    EXPECT_EQ(CanonicalAbsoluteIRI(base, u"+pkg/@cls").getPath(), u"/base/+pkg/@cls");
    EXPECT_EQ(CanonicalAbsoluteIRI(base, u"+pkg").getParent(), base);
    EXPECT_EQ(AbsoluteIRI(CanonicalAbsoluteIRI(iri(u"/"), u""), u"a").getPath(), u"/a");
}

TEST(StorageComparator, PosixRuleIsExactAndUnknownModifierIsInvalid) {
    const PathComparator& cmp = OrvianStorageSystem::GetStorageSystemReference().get().getPathComparator();
    EXPECT_TRUE(cmp.isCaseSensitive());
    EXPECT_FALSE(cmp(u"abc.tf", u"ABC.tf", CaseModifier::StorageSystemRule));
    EXPECT_FALSE(cmp(u"abc.tf", u"ABC.tf", CaseModifier::Exact));
    EXPECT_TRUE(cmp(u"abc.tf", u"ABC.tf", CaseModifier::Folded));
    EXPECT_FALSE(PathComparator(false)(u"abc", u"abd", 0));
    EXPECT_TRUE(PathComparator(false)(u"abc", u"ABC", 0));
    try {
        PathComparator()(u"a", u"a", 7);
        ADD_FAILURE() << "no exception";
    } catch (const Exception& e) {
        EXPECT_EQ(e.getErrorCode(), 1);
    }
}

TEST(StorageComparator, TextsThatShareTheirEndsAreComparedWhole) {
    // Equal ends settle nothing: what lies between decides, unit by unit.
    const std::tuple<ustring, ustring, bool, bool> cases[] = {
        // a, b, exactly equal, equal when folded
        {u"aXb", u"aYb", false, false}, {u"a\u00C4b", u"a\u00E4b", false, true},
        {u"abc", u"abc", true, true},   {u"ab", u"aB", false, true},
        {u"a", u"a", true, true},       {u"", u"", true, true},
        {u"xy", u"yx", false, false},   {u"long name.tf", u"long nAme.tf", false, true}};
    const PathComparator comparator;
    for (const auto& [a, b, exact, folded] : cases) {
        const std::string what = fl::i18n::ustring_to_utf8(a) + " / " + fl::i18n::ustring_to_utf8(b);
        EXPECT_EQ(sameText(a, b), exact) << what;
        EXPECT_EQ(comparator(a, b, CaseModifier::Exact), exact) << what;
        EXPECT_EQ(comparator(a, b, CaseModifier::StorageSystemRule), exact) << what;
        EXPECT_EQ(equalFolded(a, b), folded) << what;
        EXPECT_EQ(comparator(a, b, CaseModifier::Folded), folded) << what;
    }
}

TEST(StorageComparator, FoldingIsSimpleUnicodeFolding) {
    const ustring lone(1, char16_t(0xD800));
    const std::tuple<ustring, ustring, bool> cases[] = {{u"ÄBC", u"äbc", true},
                                                        {u"Straße", u"STRASSE",
                                                         false},  // "ß" becomes "ss" only in full folding
                                                        {u"Straße", u"STRAẞE", true},
                                                        {u"Σ", u"ς", true},
                                                        {u"\u212A", u"k", true},  // Kelvin sign against ASCII
                                                        {u"\U00010400x", u"\U00010428X", true},  // beyond the BMP
                                                        {u"ab", u"abc", false},
                                                        {u"abc", u"ab", false},
                                                        {u"", u"", true},
                                                        {lone + u"A", lone + u"a", true},
                                                        {lone, ustring(1, char16_t(0xDC00)), false}};
    for (const auto& [a, b, equal] : cases) EXPECT_EQ(equalFolded(a, b), equal) << fl::i18n::ustring_to_utf8(a);

    const ustring mixed = u"ÄBC\u212A\U00010400Σς" + ustring(1, char16_t(0xDC00));
    const ustring expected = u"äbck\U00010428σσ" + ustring(1, char16_t(0xDC00));
    EXPECT_EQ(foldCase(mixed), expected);
    ustring inPlace = mixed;
    foldCaseInPlace(inPlace);
    EXPECT_EQ(inPlace, expected);
    EXPECT_EQ(foldCase(u"Straße"), u"straße");
    // An ASCII start is folded on its own road: the letters' neighbours in
    // ASCII stay, and what follows the first other unit still folds.
    for (const auto& [text, folded] : {std::pair<ustring, ustring>{u"AZ@[`{az09_", u"az@[`{az09_"},
                                       std::pair<ustring, ustring>{u"ABC_Ä\u212AZ", u"abc_äkz"},
                                       std::pair<ustring, ustring>{u"XY\U00010400Q", u"xy\U00010428q"},
                                       // Whole words of ASCII, and a word cut by a non-ASCII unit.
                                       std::pair<ustring, ustring>{u"ABCDEFGH@Z[a`z{IJ", u"abcdefgh@z[a`z{ij"},
                                       std::pair<ustring, ustring>{u"ABCÄEFGH", u"abcäefgh"},
                                       std::pair<ustring, ustring>{u"ABCD\u00C0BCD", u"abcd\u00E0bcd"}}) {
        ustring folding = text;
        foldCaseInPlace(folding);
        EXPECT_EQ(folding, folded) << fl::i18n::ustring_to_utf8(text);
    }

    // Comparisons take texts of different lengths as different: folding
    // must keep every code point's length.
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        if (c >= 0xD800 && c <= 0xDFFF) continue;
        const ustring text = c < 0x10000 ? ustring(1, static_cast<char16_t>(c))
                                         : ustring{static_cast<char16_t>(0xD7C0 + (c >> 10)),
                                                   static_cast<char16_t>(0xDC00 | (c & 0x3FF))};
        ASSERT_EQ(foldCase(text).size(), text.size()) << std::hex << static_cast<std::uint32_t>(c);
    }
}

}  // namespace
