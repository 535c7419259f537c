#include "fl/i18n/MessageCatalog.hpp"

#include <gtest/gtest.h>

namespace {

using fl::i18n::MessageCatalog;
using resource_core::BaseMsgID;

// Every identifier the system raises, by the number of its arguments.
const std::vector<std::pair<int, std::vector<std::string>>> kIdentifiers = {
    {0, {"mpath:packagesMustBeLastOnPath", "mpath:PathAlterationNotSupported", "mpath:UnableToModifyOrvianpath",
         "mpath:ZPMFeatureOff", "mpath:InvalidInstallStamp", "legacy_two_part:nomem", "maxlhs", "maxrhs", "minrhs", "ChangeHandleWarning:InvalidOption",
         "ChangeHandleWarning:notEnoughInputs", "RemotePolicy:UnknownPolicy",
         "string:MustBeStringScalarOrCharacterVector", "string:MissingNotSupported"}},
    {1, {"mpath:packageDirectoriesNotAllowedOnPath", "mpath:methodDirectoriesNotAllowedOnPath",
         "mpath:privateDirectoriesNotAllowedOnPath", "mpath:resourcesDirectoriesNotAllowedOnPath",
         "mpath:PackagesBrokenAsAtomicUnitDueToAddedEntries", "mpath:PackagesBrokenAsAtomicUnitDueToRemovedEntries",
         "mpath:PackagesBrokenAsAtomicUnitDueToReorderedEntries", "mpath:invalidLocation",
         "mpath:directoryPermissionDenied", "mpath:nameNonexistentOrNotADirectory", "mpath:directoryAccessFailure",
         "mpath:AddPackageToPathInfo", "CachePath:FailedToSave"}},
    {2, {"mpath:MultiplePackageVersionsOnPath", "FileFolderObserver:ChangeHandleFallback"}},
    {3, {"mpath:packageMemberFoldersNotAllowedOnPath", "mpath:packageMemberFolderRemovedFromPath"}},
};

TEST(MessageCatalog, EveryIdentifierHasATextThatUsesExactlyItsArguments) {
    for (const auto& [count, identifiers] : kIdentifiers)
        for (const auto& identifier : identifiers) {
            SCOPED_TRACE(identifier);
            const auto text = MessageCatalog::findTemplate("ORVIAN:" + identifier);
            ASSERT_TRUE(text.has_value());
            for (int n = 1; n <= count + 1; ++n)
                EXPECT_EQ(text->find("{" + std::to_string(n) + "}") != std::string::npos, n <= count) << n;
        }
}

TEST(MessageCatalog, FormatFillsInTheArguments) {
    const BaseMsgID member("ORVIAN:mpath", "packageMemberFoldersNotAllowedOnPath", {u"/p/a/lib", u"Pkg", u"/p/\u00e9t\u00e9"});
    const std::string text = MessageCatalog::formatUtf8(member);
    for (const char* argument : {"'/p/a/lib'", "'Pkg'", "'/p/\u00e9t\u00e9'"}) EXPECT_NE(text.find(argument), std::string::npos);
    EXPECT_EQ(text.find('{'), std::string::npos);
    EXPECT_EQ(MessageCatalog::format(member), fl::i18n::utf8_to_ustring(text));

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
