#pragma once
// Shared by the composite path tests: a folder tree whose entries have every
// kind of child folder.
#include "support/EngineFixture.hpp"
#include "support/TempTree.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"

#include <random>
#include <string>
#include <vector>

namespace tfsp::test {

using namespace Thornfell::PathManagement;

inline std::string Utf8(const ustring& text) { return fl::i18n::ustring_to_utf8(text); }
inline ustring Utf16(const std::string& text) { return fl::i18n::utf8_to_ustring(text); }

// Main folders "g<i>/<name>" with package, class, UDD class, private and
// resources folders below some of them, files that several folders share
// ("common", "Foo"/"foo"), base names shared between folders, and two main
// folders "cv/Lib" and "cv/lib" that differ only in case, in that order.
struct CompositeTree {
    explicit CompositeTree(int mainFolders) {
        std::mt19937_64 random(7);
        const char* const names[] = {"util", "Util", "lib", "pkg1"};
        const auto files = [&](const std::string& folder) {
            tree.file(folder + "/common.tf");
            tree.file(folder + (random() % 2 ? "/Foo.tf" : "/foo.tfc"));
            tree.file(folder + "/s" + std::to_string(random() % 6) + (random() % 2 ? ".tf" : ".tfc"));
        };
        std::vector<std::string> folders;
        for (int i = 0; i < mainFolders; ++i) {
            const std::string main = "g" + std::to_string(i) + "/" + (i % 3 ? names[random() % 4] : "d" + std::to_string(i));
            folders.push_back(main);
            files(main);
            std::vector<std::string> below;
            if (random() % 2) below.insert(below.end(), {"/+pkg1", "/+pkg1/@cls1"});
            if (random() % 2) below.insert(below.end(), {"/@cls1", "/@cls1/@udd1", "/@cls1/private"});
            if (random() % 3 == 0) below.push_back("/private");
            if (random() % 4 == 0) below.push_back("/resources");
            for (const std::string& folder : below) files(main + folder);
        }
        for (const std::string main : {"cv/Lib", "cv/lib"}) {
            folders.push_back(main);
            files(main);
        }
        for (const std::string& folder : folders) mains.push_back(GetPathEntryFactory().GetFrozenPathEntry(tree.iri(folder)));
    }
    PathEntryVector mains;
    TempTree tree;
};

inline std::shared_ptr<const IPath> MakePath(PathEntryVector entries) {
    return GetCurrentPathFactory().CreatePath(std::move(entries));
}

// A new entry object of the folder of `entry`, with new objects below it (the
// frozen entries of the tree come from another cache).
inline PathEntryPointer AnotherObject(const PathEntryPointer& entry) {
    return GetPathEntryFactory().GetPathEntry(entry->GetIRI());
}

} // namespace tfsp::test
