#pragma once
// A temporary folder for tests that need a real file system. Files, folders
// and symbolic links are made under it by relative path; the destructor
// removes everything, also what was made unreadable.
#include "fl/ustring.hpp"
#include "foundation/storage/vfs/AbsoluteIRI.hpp"

#include <initializer_list>
#include <string>
#include <vector>

namespace tfsp::test {

class TempTree {
public:
    // The folder's name starts with `prefix`.
    explicit TempTree(const std::string& prefix = "tfsp-test");
    // The folder `root`, made if missing, which the destructor leaves in place.
    struct Kept {};
    TempTree(Kept, const std::string& root);
    ~TempTree();
    TempTree(const TempTree&) = delete;
    TempTree& operator=(const TempTree&) = delete;

    // The root, resolved (no links), so it compares equal to canonical names.
    const std::string& root() const { return root_; }
    // root() + "/" + relative, or root() for an empty relative.
    std::string path(const std::string& relative) const;
    ustring upath(const std::string& relative) const { return fl::i18n::utf8_to_ustring(path(relative)); }
    foundation::storage::vfs::AbsoluteIRI iri(const std::string& relative = "") const;

    // Each makes the missing folders above it, and returns its full path.
    std::string folder(const std::string& relative);
    std::string file(const std::string& relative, const std::string& content = "");
    // Makes each folder, with an empty file `fileInEach` in it unless empty.
    void folders(std::initializer_list<std::string> relatives, const std::string& fileInEach = "");
    std::string symlink(const std::string& relative, const std::string& target);
    // Sets the mode bits; the destructor makes the entry removable again.
    void chmod(const std::string& relative, unsigned mode);
    void remove(const std::string& relative);

private:
    std::string root_;
    bool kept_ = false;
    std::vector<std::string> chmodded_;
};

// Whether permission bits stop this process (not so for root).
bool permissionsAreEnforced();

}  // namespace tfsp::test
