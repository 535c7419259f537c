#include "thornfell/CurrentWorkingFolder.hpp"

#include "foundation/msg_svc/eventmgr/EventMgr.hpp"
#include "foundation/usm/StateStore.hpp"
#include "support/TempTree.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace {

using namespace Thornfell::current_working_folder;
using foundation::storage::vfs::toAbsoluteIRI;
using tfsp::test::TempTree;

ustring u(const std::string& text) { return fl::i18n::utf8_to_ustring(text); }

ICurrentWorkingFolder& cwd() { return GetCurrentWorkingFolder(); }

TEST(CurrentWorkingFolder, StartsFromTheProcessFolderAbsolutizesAndSets) {
    TempTree tree;
    foundation::usm::EngineInstance instance;
    foundation::usm::EngineInstance::MakeCurrent current{instance};
    const std::string process = std::filesystem::current_path().string();
    EXPECT_EQ(cwd().get().getIRI().getPath(), u(process));

    EXPECT_EQ(cwd().absolutize(u"sub/x").getPath(), u(process == "/" ? "/sub/x" : process + "/sub/x"));
    EXPECT_EQ(cwd().absolutize(u"/abs/./y").getPath(), u"/abs/y");
    if (const char* home = std::getenv("HOME"); home && *home == '/') {
        const std::string h = std::filesystem::path(home).lexically_normal().string();
        EXPECT_EQ(cwd().absolutize(u"~"), toAbsoluteIRI("file", u(h)));
        EXPECT_EQ(cwd().absolutize(u"~/docs"), toAbsoluteIRI("file", u(h + "/docs")));
    }
    EXPECT_THROW(cwd().absolutize(u""), FailedToAbsolutizeException);

    // Setting resolves links, publishes and leaves the process alone.
    tree.folder("real/inner");
    tree.symlink("link", tree.path("real"));

    std::vector<std::pair<ustring, ustring>> events;
    auto connection = foundation::msg_svc::eventmgr::getEngineEventMgr()->subscribe(
        "Thornfell::current_working_folder::CurrentWorkingFolderChangedEvent",
        [&](const foundation::msg_svc::eventmgr::BaseEvent& e) {
            const auto& changed = dynamic_cast<const CurrentWorkingFolderChangedEvent&>(e);
            events.emplace_back(changed.getOld().getPath(), changed.getNew().getPath());
            // The new folder is in force when subscribers hear of it.
            EXPECT_EQ(cwd().get().getIRI(), changed.getNew());
        });

    cwd().set(tree.iri("link"));
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0], std::make_pair(u(process), tree.upath("real")));
    EXPECT_EQ(cwd().absolutize(u"inner").getPath(), tree.upath("real/inner"));
    EXPECT_EQ(std::filesystem::current_path().string(), process);

    // A missing folder: code 4, and nothing changes.
    try {
        cwd().set(tree.iri("missing"));
        ADD_FAILURE() << "set accepted a missing folder";
    } catch (const foundation::storage::vfs::Exception& e) {
        EXPECT_EQ(e.getErrorCode(), 4);
    }
    EXPECT_EQ(events.size(), 1u);
    EXPECT_EQ(cwd().get().getIRI().getPath(), tree.upath("real"));

    // Each engine instance has its own working folder.
    foundation::usm::EngineInstance other;
    foundation::usm::EngineInstance::MakeCurrent otherCurrent(other);
    EXPECT_EQ(cwd().get().getIRI().getPath(), u(process));
}

}  // namespace
