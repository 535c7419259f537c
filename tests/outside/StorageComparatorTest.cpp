#include "foundation/storage/vfs/PathComparator.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "foundation/storage/vfs/StorageSystem.hpp"

#include <gtest/gtest.h>

namespace {

using namespace foundation::storage::vfs;

TEST(StorageComparator, PosixRuleIsExact) {
    const PathComparator& cmp = OrvianStorageSystem::GetStorageSystemReference().get().getPathComparator();
    EXPECT_TRUE(cmp.isCaseSensitive());
    EXPECT_FALSE(cmp(u"abc.tf", u"ABC.tf", CaseModifier::StorageSystemRule));
    EXPECT_FALSE(cmp(u"abc.tf", u"ABC.tf", CaseModifier::Exact));
    EXPECT_TRUE(cmp(u"abc.tf", u"ABC.tf", CaseModifier::Folded));
    EXPECT_TRUE(cmp(u"abc.tf", u"abc.tf", 0));
    EXPECT_FALSE(PathComparator(false)(u"abc", u"abd", 0));
    EXPECT_TRUE(PathComparator(false)(u"abc", u"ABC", 0));
}

TEST(StorageComparator, FoldingIsSimpleUnicodeFolding) {
    EXPECT_TRUE(equalFolded(u"ÄBC", u"äbc"));
    EXPECT_FALSE(equalFolded(u"Straße", u"STRASSE"));  // "ß" becomes "ss" only in full folding
    EXPECT_TRUE(equalFolded(u"Straße", u"STRAẞE"));
    EXPECT_TRUE(equalFolded(u"Σ", u"σ"));
    EXPECT_TRUE(equalFolded(u"Σ", u"ς"));
    EXPECT_TRUE(equalFolded(u"\u212A", u"k"));               // Kelvin sign against ASCII
    EXPECT_TRUE(equalFolded(u"\U00010400x", u"\U00010428X"));  // beyond the BMP
    EXPECT_FALSE(equalFolded(u"ab", u"abc"));
    EXPECT_FALSE(equalFolded(u"abc", u"ab"));
    EXPECT_TRUE(equalFolded(u"", u""));
    const ustring lone(1, char16_t(0xD800));
    EXPECT_TRUE(equalFolded(lone + u"A", lone + u"a"));
    EXPECT_FALSE(equalFolded(lone, ustring(1, char16_t(0xDC00))));
}

TEST(StorageComparator, FoldCaseAgreesWithTheFoldedRule) {
    const ustring mixed = u"ÄBC\u212A\U00010400Σς" + ustring(1, char16_t(0xDC00));
    const ustring expected = u"äbck\U00010428σσ" + ustring(1, char16_t(0xDC00));
    EXPECT_EQ(foldCase(mixed), expected);
    ustring inPlace = mixed;
    foldCaseInPlace(inPlace);
    EXPECT_EQ(inPlace, expected);
    EXPECT_TRUE(equalFolded(mixed, expected));
    EXPECT_EQ(foldCase(u"Straße"), u"straße");
}

TEST(StorageComparator, UnknownModifierIsAnInvalidArgument) {
    try {
        PathComparator()(u"a", u"a", 7);
        FAIL() << "no exception";
    } catch (const Exception& e) {
        EXPECT_EQ(e.getErrorCode(), 1);
    }
}

} // namespace
