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

// Half of `folders` main folders "g<i>/<name>", base names shared between
// them, with package, class, UDD class, private and resources folders below
// them ("+pkg1", "@cls1", "@udd1"); "common.tf" in every folder, "Foo" and
// "foo" in some; then two main folders "cv/Lib" and "cv/lib" that differ only
// in case, in that order.
struct CompositeTree {
    explicit CompositeTree(std::size_t folders) : generated([folders] {
        GeneratedTreeOptions options;
        options.folders = folders;
        options.seed = 7;
        options.filesPerFolder = 2;
        options.packageFraction = 0.2;
        options.classFraction = 0.15;
        options.uddClassFraction = 0.05;
        options.privateFraction = 0.1;
        options.resourcesFraction = 0.06;
        options.nestedNames = 1;
        options.mainNames = {"util", "Util", "lib", "pkg1"};
        options.stemPool = {"Foo", "foo", "s0", "s1", "s2", "s3", "s4", "s5"};
        options.extensions = {".tf", ".tfc"};
        options.filesInEveryFolder = {"common.tf"};
        return options;
    }()) {
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

} // namespace tfsp::test
