#include "fl/filesystem/Filesystem.hpp"
#include "foundation/usm/StateStore.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace fl::filesystem;

TEST(FilesystemHelpers, StemAndExtensionSplitAtTheLastDotOfTheName) {
    struct Case {
        ustring name, stem, extension;
    };
    const Case cases[] = {
        {u"a.tf", u"a", u"tf"},
        {u"a.b.tfx", u"a.b", u"tfx"},
        {u"noext", u"noext", u""},
        {u"file.", u"file", u""},
        {u".profile", u"", u"profile"},
        {u"", u"", u""},
        {u"dir.x/file", u"dir.x/file", u""},
        {u"dir.x/file.tf", u"dir.x/file", u"tf"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(extract_extension(c.name), c.extension) << fl::i18n::ustring_to_utf8(c.name);
        EXPECT_EQ(extract_stem(c.name), c.stem) << fl::i18n::ustring_to_utf8(c.name);
    }
}

TEST(FilesystemHelpers, NativeForm) {
    EXPECT_EQ(detail::make_native_form(u"a\\b\\", 1), u"a\\b\\");  // a name from disk stays as it is
    EXPECT_EQ(detail::make_native_form(u"/a\\b//", 0), u"/a/b");
    EXPECT_EQ(detail::make_native_form(u"/", 0), u"/");
    EXPECT_THROW(detail::make_native_form(u"a", 5), std::invalid_argument);

    EXPECT_TRUE(detail::is_absolute_path_when_expanded(u"/usr"));
    EXPECT_TRUE(detail::is_absolute_path_when_expanded(u"~"));
    EXPECT_TRUE(detail::is_absolute_path_when_expanded(u"~/work"));
    EXPECT_FALSE(detail::is_absolute_path_when_expanded(u"work/~"));
    EXPECT_FALSE(detail::is_absolute_path_when_expanded(u""));
}

TEST(FilesystemHelpers, InstallPathLivesInTheProcessScope) {
    set_install_path(u"/opt/env");
    EXPECT_EQ(get_install_path(), u"/opt/env");
    foundation::usm::Detail<foundation::usm::scope::Process>::resetForTesting();
    EXPECT_EQ(get_install_path(), u"");
}

} // namespace
