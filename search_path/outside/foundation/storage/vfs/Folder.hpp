#pragma once
// Folders and files of the storage system, read from the real POSIX file
// system.
//
// A Folder made from a CanonicalAbsoluteIRI knows its canonical location and
// never asks the disk for it again; one made from a plain AbsoluteIRI resolves
// it (symbolic links and "..") on the first getCanonicalLocation(). That
// opens the folder, and the Folder keeps it open for its first listing (so
// the name is looked up once for both), until that listing or its last copy
// goes.
//
// listFiles() and listFolders() share one reading of the folder: the first of
// them reads the directory once (taking entry types from the directory itself
// where the file system gives them, so there is no stat per file), and copies
// of the Folder made afterwards share that listing. A Folder is therefore a
// snapshot: make a new one to read the folder again. A reading that failed is
// not kept: the next call tries again.
//
// A subfolder from listFolders() is named by this folder's IRI and its name.
// When this folder's name is canonical and the subfolder is not reached
// through a link, the subfolder is made canonical too, so it costs no
// resolution later.
#include "foundation/storage/vfs/AbsoluteIRI.hpp"
#include "foundation/storage/vfs/PathComparator.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "foundation/storage/vfs/StorageSystem.hpp"

#include <sys/types.h>
#include <time.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace foundation::storage::vfs {

class File {
public:
    explicit File(ustring name) : name_(std::move(name)) {}
    // The name within its folder; bytes that are not UTF-8 come as their
    // escapes (fl::i18n::utf8_to_ustring), and convert back to themselves.
    const ustring& getName() const { return name_; }

private:
    ustring name_;
};

class Folder {
public:
    Folder(const AbsoluteIRI& iri, StorageSystemReference storage);
    Folder(const CanonicalAbsoluteIRI& iri, StorageSystemReference storage);

    ustring getName() const { return iri_.getName(); }
    const AbsoluteIRI& getIRI() const { return iri_; }
    // Resolves links and "..". Throws Exception: 4 when the location doesn't
    // exist or isn't a folder, 2 when permission is denied, 1 when it is not a
    // valid location, 9 for other failures.
    CanonicalAbsoluteIRI getCanonicalLocation() const;
    const PathComparator& getPathComparator() const;
    // The name handed to system calls: the path in UTF-8, made once for this
    // Folder and its copies. Throws Exception (1) for a path that holds a NUL
    // character.
    const std::string& getNativePath() const;
    bool hasParent() const { return iri_.hasParent(); }
    Folder getParent() const;
    const StorageSystemReference& getStorageSystem() const { return storage_; }

    // The files and the subfolders, in the order the directory gives them.
    // The argument filters by name; an empty string lists all. A symbolic link
    // counts as what it points to; a broken link is a file. Throws Exception
    // as getCanonicalLocation does.
    std::vector<File> listFiles(const ustring& filter) const;
    // The names of all the files, as listFiles(u"") has them, but read in
    // place: views into the listing that this Folder's copies share, valid
    // while one of them lives. Throws as listFiles does.
    std::span<const ustring_view> fileNames() const;

    // The folder's identity and times as its listing began to be read, and
    // that moment; or as openForListing() opened it for the reading, which
    // may still be to come. Nothing before either.
    struct ListingStamp {
        dev_t device = 0;
        ino_t inode = 0;
        timespec modified{};
        timespec changed{};
        timespec takenAt{};
        // The mount the folder lies on, by an identifier the kernel never
        // gives to another mount while it runs; 0 where it doesn't tell.
        std::uint64_t mountId = 0;
        // Whether the name led there through a symbolic link: then the
        // folders above the one it leads to are not those above the name.
        bool throughLink = false;
    };
    std::optional<ListingStamp> getListingStamp() const;
    // Opens the folder for the reading of its listing (or keeps the
    // descriptor that resolving its name left open) and takes its stamp,
    // which the reading then uses: the stamp is known before the reading.
    // Nothing where the reading has begun or the stamp is taken already;
    // false where the folder can't be opened (the reading will then fail as
    // usual).
    bool openForListing() const;
    // Whether a reading of the listing has begun; it may not have ended.
    bool hasBegunListing() const;
    std::vector<Folder> listFolders(const ustring& filter) const;

private:
    struct Listing;
    struct State;
    const Listing& listing() const;

    AbsoluteIRI iri_;
    StorageSystemReference storage_;
    std::shared_ptr<State> state_;
};

}  // namespace foundation::storage::vfs
