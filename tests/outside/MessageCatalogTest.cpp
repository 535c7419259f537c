#include "fl/i18n/MessageCatalog.hpp"

#include <gtest/gtest.h>

namespace {

using fl::i18n::MessageCatalog;
using resource_core::BaseMsgID;

// Every identifier the system raises, with the number of its arguments.
const std::vector<std::pair<std::string, int>> kIdentifiers = {
    {"ORVIAN:mpath:packageDirectoriesNotAllowedOnPath", 1},
    {"ORVIAN:mpath:methodDirectoriesNotAllowedOnPath", 1},
    {"ORVIAN:mpath:privateDirectoriesNotAllowedOnPath", 1},
    {"ORVIAN:mpath:resourcesDirectoriesNotAllowedOnPath", 1},
    {"ORVIAN:mpath:packageMemberFoldersNotAllowedOnPath", 3},
    {"ORVIAN:mpath:packagesMustBeLastOnPath", 0},
    {"ORVIAN:mpath:PackagesBrokenAsAtomicUnitDueToAddedEntries", 1},
    {"ORVIAN:mpath:PackagesBrokenAsAtomicUnitDueToRemovedEntries", 1},
    {"ORVIAN:mpath:PackagesBrokenAsAtomicUnitDueToReorderedEntries", 1},
    {"ORVIAN:mpath:PathAlterationNotSupported", 0},
    {"ORVIAN:mpath:UnableToModifyOrvianpath", 0},
    {"ORVIAN:mpath:invalidLocation", 1},
    {"ORVIAN:mpath:directoryPermissionDenied", 1},
    {"ORVIAN:mpath:nameNonexistentOrNotADirectory", 1},
    {"ORVIAN:mpath:directoryAccessFailure", 1},
    {"ORVIAN:mpath:AddPackageToPathInfo", 1},
    {"ORVIAN:mpath:packageMemberFolderRemovedFromPath", 3},
    {"ORVIAN:mpath:MultiplePackageVersionsOnPath", 2},
    {"ORVIAN:mpath:ZPMFeatureOff", 0},
    {"ORVIAN:legacy_two_part:nomem", 0},
    {"ORVIAN:CachePath:FailedToSave", 1},
    {"ORVIAN:ChangeHandleWarning:InvalidOption", 0},
    {"ORVIAN:ChangeHandleWarning:notEnoughInputs", 0},
    {"ORVIAN:RemotePolicy:UnknownPolicy", 0},
    {"ORVIAN:string:MustBeStringScalarOrCharacterVector", 0},
    {"ORVIAN:string:MissingNotSupported", 0},
    {"ORVIAN:FileFolderObserver:ChangeHandleFallback", 2},
};

TEST(MessageCatalog, EveryIdentifierHasATextThatUsesExactlyItsArguments) {
    for (const auto& [identifier, count] : kIdentifiers) {
        SCOPED_TRACE(identifier);
        const auto text = MessageCatalog::findTemplate(identifier);
        ASSERT_TRUE(text.has_value());
        for (int n = 1; n <= count; ++n) EXPECT_NE(text->find("{" + std::to_string(n) + "}"), std::string::npos);
        EXPECT_EQ(text->find("{" + std::to_string(count + 1) + "}"), std::string::npos);
    }
}

TEST(MessageCatalog, FormatFillsInTheArguments) {
    const BaseMsgID member("ORVIAN:mpath", "packageMemberFoldersNotAllowedOnPath", {u"/p/a/lib", u"Pkg", u"/p/a"});
    EXPECT_EQ(MessageCatalog::formatUtf8(member),
              "'/p/a/lib' was not added to the path: it is a folder of the package 'Pkg', which goes on the path as a "
              "whole. Add the package's root folder '/p/a' instead.");

    const BaseMsgID fallback("ORVIAN:FileFolderObserver", "ChangeHandleFallback", {u"/n/f", u"\u00e9t\u00e9"});
    EXPECT_EQ(MessageCatalog::format(fallback),
              u"Unable to get a change notification handle for folder '/n/f' (\u00e9t\u00e9); changes to it will be "
              u"detected by checking its time stamps.");

    // An empty optional last argument leaves no trailing space; a missing
    // argument leaves its placeholder.
    const BaseMsgID removed("ORVIAN:mpath", "packageMemberFolderRemovedFromPath", {u"/x", u"P", u""});
    EXPECT_EQ(MessageCatalog::formatUtf8(removed).back(), '.');
    const BaseMsgID short_("ORVIAN:mpath", "invalidLocation");
    EXPECT_NE(MessageCatalog::formatUtf8(short_).find("{1}"), std::string::npos);
}

TEST(MessageCatalog, UnknownIdentifierKeepsItsArguments) {
    EXPECT_EQ(MessageCatalog::findTemplate("ORVIAN:mpath:noSuchMessage"), std::nullopt);
    EXPECT_EQ(MessageCatalog::formatUtf8(BaseMsgID("ORVIAN:mpath", "noSuchMessage", {u"a", u"b"})),
              "ORVIAN:mpath:noSuchMessage: a, b");
    EXPECT_EQ(MessageCatalog::formatUtf8(BaseMsgID("ORVIAN:mpath", "noSuchMessage")), "ORVIAN:mpath:noSuchMessage");
}

} // namespace
