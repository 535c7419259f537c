#pragma once
// Shared by the composite path tests: a folder tree whose entries have every
// kind of child folder.
#include "support/EngineFixture.hpp"
#include "support/GeneratedTree.hpp"
#include "support/Text.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/IPathFactory.hpp"

namespace tfsp::test {

using namespace Thornfell::PathManagement;

// The main folders of a tree of every kind of folder, then two main folders
// "cv/Lib" and "cv/lib" that differ only in case, in that order.
struct CompositeTree {
    explicit CompositeTree(std::size_t folders) : generated(EveryKindOfFolder(folders, 7)) {
        generated.temp().folders({"cv/Lib", "cv/lib"}, "common.tf");
        mains = FrozenMainEntries(generated);
        for (const char* main : {"cv/Lib", "cv/lib"})
            mains.push_back(GetPathEntryFactory().GetFrozenPathEntry(generated.temp().iri(main)));
    }
    GeneratedTree generated;
    PathEntryVector mains;
};

inline std::shared_ptr<const IPath> MakePath(PathEntryVector entries) {
    return GetCurrentPathFactory().CreatePath(std::move(entries));
}

// A new entry object of the folder of `entry`, with new objects below it (the
// frozen entries of the tree come from another cache).
inline PathEntryPointer AnotherObject(const PathEntryPointer& entry) {
    return GetPathEntryFactory().GetPathEntry(entry->GetIRI());
}

}  // namespace tfsp::test
