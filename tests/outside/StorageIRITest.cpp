#include "foundation/storage/vfs/AbsoluteIRI.hpp"
#include "foundation/storage/vfs/StorageException.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace foundation::storage::vfs;

AbsoluteIRI iri(const ustring& path) { return toAbsoluteIRI("file", path); }

TEST(StorageIRI, PathIsKeptInGenericForm) {
    EXPECT_EQ(iri(u"//a///b/./c/").getPath(), u"/a/b/c");
    EXPECT_EQ(iri(u"/a/../b/.").getPath(), u"/a/../b");  // ".." is left to the storage system
    EXPECT_EQ(iri(u"///").getPath(), u"/");
    EXPECT_EQ(iri(u"/./").getPath(), u"/");
    EXPECT_EQ(iri(u"/a b/\\c").getPath(), u"/a b/\\c");  // a backslash is an ordinary character
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

TEST(StorageIRI, NameAndParentWalkUpToTheRoot) {
    const AbsoluteIRI file = iri(u"/a/b.tf");
    EXPECT_EQ(file.getName(), u"b.tf");
    EXPECT_EQ(file.getParent(), iri(u"/a"));
    EXPECT_EQ(file.getParent().getParent(), iri(u"/"));
    const AbsoluteIRI root = iri(u"/");
    EXPECT_FALSE(root.hasParent());
    EXPECT_EQ(root.getName(), u"");
    EXPECT_THROW(root.getParent(), std::logic_error);
    EXPECT_THROW(CanonicalAbsoluteIRI(root, u"").getParent(), std::logic_error);
}

TEST(StorageIRI, AncestryIsStrictAndFollowsWholeNames) {
    const AbsoluteIRI a = iri(u"/a");
    EXPECT_TRUE(a.isAncestorOf(iri(u"/a/b")));
    EXPECT_TRUE(a.isAncestorOf(iri(u"/a/b/c")));
    EXPECT_FALSE(a.isAncestorOf(a));
    EXPECT_FALSE(a.isAncestorOf(iri(u"/ab")));
    EXPECT_FALSE(a.isAncestorOf(iri(u"/")));
    EXPECT_FALSE(iri(u"/a/b").isAncestorOf(a));
    EXPECT_TRUE(iri(u"/").isAncestorOf(a));
    EXPECT_FALSE(iri(u"/").isAncestorOf(iri(u"/")));

    EXPECT_EQ(iri(u"/a/b/c").makePathRelativeTo(a), u"b/c");
    EXPECT_EQ(iri(u"/a/b/c").makePathRelativeTo(iri(u"/")), u"a/b/c");
    EXPECT_EQ(a.makePathRelativeTo(a), u"");
    EXPECT_THROW(iri(u"/ab/c").makePathRelativeTo(a), std::invalid_argument);
}

TEST(StorageIRI, EqualSpellingsCompareAndHashEqual) {
    const AbsoluteIRI x = iri(u"/a//b/");
    const AbsoluteIRI y = iri(u"/a/./b");
    EXPECT_EQ(x, y);
    EXPECT_EQ(x.hashValue(), y.hashValue());
    EXPECT_EQ(AbsoluteIRIHash{}(x), AbsoluteIRIHash{}(y));
    EXPECT_NE(x, iri(u"/a/B"));
    EXPECT_LT(iri(u"/a"), iri(u"/b"));
}

TEST(StorageIRI, JoiningBelowACanonicalFolder) {
    const CanonicalAbsoluteIRI base(iri(u"/base"), u"");
    EXPECT_EQ(base, iri(u"/base"));
    EXPECT_EQ(AbsoluteIRI(base, u"x/./y/"), iri(u"/base/x/y"));
    EXPECT_EQ(AbsoluteIRI(base, u""), base);
    EXPECT_EQ(CanonicalAbsoluteIRI(base, u"+pkg/@cls").getPath(), u"/base/+pkg/@cls");
    EXPECT_EQ(CanonicalAbsoluteIRI(base, u"+pkg").getParent(), base);
    const CanonicalAbsoluteIRI root(iri(u"/"), u"");
    EXPECT_EQ(AbsoluteIRI(root, u"a").getPath(), u"/a");
}

} // namespace
