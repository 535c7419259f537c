#pragma once
// What the facade tests share: a tree of two path folders, and the process's
// working folder moved for one test.
#include "support/TempTree.hpp"

#include <filesystem>
#include <vector>

namespace tfsp::test {

// Moves the process's working folder for the scope's life.
class WorkingFolderScope {
public:
    explicit WorkingFolderScope(const std::filesystem::path& folder) : previous_(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    ~WorkingFolderScope() { std::filesystem::current_path(previous_); }
    WorkingFolderScope(const WorkingFolderScope&) = delete;
    WorkingFolderScope& operator=(const WorkingFolderScope&) = delete;

private:
    std::filesystem::path previous_;
};

// first/ and second/, each holding hello.tf, and only-in-first.tf or
// only-in-second.tf.
struct TwoFolders {
    TwoFolders() {
        tree.file("first/hello.tf");
        tree.file("first/only-in-first.tf");
        tree.file("second/hello.tf");
        tree.file("second/only-in-second.tf");
    }
    std::filesystem::path first() const { return tree.path("first"); }
    std::filesystem::path second() const { return tree.path("second"); }
    std::vector<std::filesystem::path> both() const { return {first(), second()}; }
    std::vector<std::filesystem::path> reversed() const { return {second(), first()}; }

    TempTree tree{"tfsp-facade"};
};

}  // namespace tfsp::test
