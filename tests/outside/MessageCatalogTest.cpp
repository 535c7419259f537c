#include "fl/i18n/MessageCatalog.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"

#include <gtest/gtest.h>

namespace {

using fl::i18n::MessageCatalog;
using resource_core::BaseMsgID;
namespace ids = Thornfell::PathManagement::MessageIds;

// Every identifier the system raises, by the number of its arguments: the
// search path's, and those the host and the folder observers raise
// themselves.
const std::vector<std::pair<int, std::vector<std::string>>> kIdentifiers = {
    {0,
     {ids::mpath::packagesMustBeLastOnPath.Text(), ids::mpath::PathAlterationNotSupported.Text(),
      ids::mpath::UnableToModifyOrvianpath.Text(), ids::mpath::ZPMFeatureOff.Text(),
      ids::mpath::InvalidInstallStamp.Text(), ids::legacy_two_part::nomem.Text(),
      ids::ChangeHandleWarning::InvalidOption.Text(), ids::ChangeHandleWarning::notEnoughInputs.Text(),
      ids::RemotePolicy::UnknownPolicy.Text(), ids::string::MustBeStringScalarOrCharacterVector.Text(),
      ids::string::MissingNotSupported.Text(), "ORVIAN:maxlhs", "ORVIAN:maxrhs", "ORVIAN:minrhs"}},
    {1,
     {ids::mpath::packageDirectoriesNotAllowedOnPath.Text(), ids::mpath::methodDirectoriesNotAllowedOnPath.Text(),
      ids::mpath::privateDirectoriesNotAllowedOnPath.Text(), ids::mpath::resourcesDirectoriesNotAllowedOnPath.Text(),
      ids::mpath::PackagesBrokenAsAtomicUnitDueToAddedEntries.Text(),
      ids::mpath::PackagesBrokenAsAtomicUnitDueToRemovedEntries.Text(),
      ids::mpath::PackagesBrokenAsAtomicUnitDueToReorderedEntries.Text(), ids::mpath::invalidLocation.Text(),
      ids::mpath::directoryPermissionDenied.Text(), ids::mpath::nameNonexistentOrNotADirectory.Text(),
      ids::mpath::directoryAccessFailure.Text(), ids::mpath::AddPackageToPathInfo.Text(),
      ids::CachePath::FailedToSave.Text(), ids::CachePath::QuotationMarkInName.Text()}},
    {2,
     {ids::mpath::MultiplePackageVersionsOnPath.Text(), ids::CachePath::FolderTooDeep.Text(),
      "ORVIAN:FileFolderObserver:ChangeHandleFallback"}},
    {3,
     {ids::mpath::packageMemberFoldersNotAllowedOnPath.Text(), ids::mpath::packageMemberFolderRemovedFromPath.Text()}},
};

TEST(MessageCatalog, EveryIdentifierHasATextThatUsesExactlyItsArguments) {
    for (const auto& [count, identifiers] : kIdentifiers)
        for (const auto& identifier : identifiers) {
            SCOPED_TRACE(identifier);
            const auto text = MessageCatalog::findTemplate(identifier);
            ASSERT_TRUE(text.has_value());
            for (int n = 1; n <= count + 1; ++n)
                EXPECT_EQ(text->find("{" + std::to_string(n) + "}") != std::string::npos, n <= count) << n;
        }
}

TEST(MessageCatalog, FormatFillsInTheArguments) {
    const BaseMsgID member =
        ids::mpath::packageMemberFoldersNotAllowedOnPath.Message({u"/p/a/lib", u"Pkg", u"/p/\u00e9t\u00e9"});
    const std::string text = MessageCatalog::formatUtf8(member);
    for (const char* argument : {"'/p/a/lib'", "'Pkg'", "'/p/\u00e9t\u00e9'"})
        EXPECT_NE(text.find(argument), std::string::npos);
    EXPECT_EQ(text.find('{'), std::string::npos);
    EXPECT_EQ(MessageCatalog::format(member), fl::i18n::utf8_to_ustring(text));

    // An empty optional last argument leaves no trailing space; a missing
    // argument leaves its placeholder.
    const BaseMsgID removed = ids::mpath::packageMemberFolderRemovedFromPath.Message({u"/x", u"P", u""});
    EXPECT_EQ(MessageCatalog::formatUtf8(removed).back(), '.');
    const BaseMsgID short_ = ids::mpath::invalidLocation.Message();
    EXPECT_NE(MessageCatalog::formatUtf8(short_).find("{1}"), std::string::npos);
}

TEST(MessageCatalog, UnknownIdentifierKeepsItsArguments) {
    EXPECT_EQ(MessageCatalog::findTemplate("ORVIAN:mpath:noSuchMessage"), std::nullopt);
    EXPECT_EQ(MessageCatalog::formatUtf8(BaseMsgID("ORVIAN:mpath", "noSuchMessage", {u"a", u"b"})),
              "ORVIAN:mpath:noSuchMessage: a, b");
    EXPECT_EQ(MessageCatalog::formatUtf8(BaseMsgID("ORVIAN:mpath", "noSuchMessage")), "ORVIAN:mpath:noSuchMessage");
}

}  // namespace
