#pragma once
// Names of files and folders.
//
// An AbsoluteIRI is copied into every file item of every folder entry, so it
// is a handle to an immutable, shared representation whose hash is computed
// once. Copies cost one atomic increment.
//
// Only the "file" scheme is supported. The path part is kept in generic form:
// it starts with "/", components are separated by a single "/", and there is
// no trailing "/" except for the root itself. "." components are dropped;
// ".." components are kept as they are (only the storage system can resolve
// them, through Folder::getCanonicalLocation).
#include "fl/ustring.hpp"

#include <boost/container/small_vector.hpp>

#include <cstddef>
#include <memory>
#include <stdexcept>

namespace foundation::storage::vfs {

class CanonicalAbsoluteIRI;

class AbsoluteIRI {
public:
    // A folder below a canonical folder: `relative` is joined to it.
    AbsoluteIRI(const CanonicalAbsoluteIRI& folder, const ustring& relative);

    // The last component; empty for the root.
    ustring getName() const;
    bool hasParent() const;
    // Throws std::logic_error for the root.
    AbsoluteIRI getParent() const;
    // "file://" followed by the path.
    ustring toString() const;
    // The path part, in generic form: what a user knows as the folder.
    const ustring& getPath() const { return rep_->path; }
    const ustring& getScheme() const;
    std::size_t hashValue() const { return rep_->hash; }

    // True when `other` lies strictly below this IRI.
    bool isAncestorOf(const AbsoluteIRI& other) const;
    // The path of this IRI relative to `root` (no leading separator); empty
    // when they are equal. Throws std::invalid_argument when `root` is not an
    // ancestor.
    ustring makePathRelativeTo(const AbsoluteIRI& root) const;

    friend bool operator==(const AbsoluteIRI& a, const AbsoluteIRI& b) {
        return a.rep_ == b.rep_ || (a.rep_->hash == b.rep_->hash && a.rep_->path == b.rep_->path);
    }
    friend bool operator!=(const AbsoluteIRI& a, const AbsoluteIRI& b) { return !(a == b); }
    friend bool operator<(const AbsoluteIRI& a, const AbsoluteIRI& b) { return a.rep_->path < b.rep_->path; }

protected:
    struct Rep {
        ustring path;
        std::size_t hash;
    };
    explicit AbsoluteIRI(std::shared_ptr<const Rep> rep) : rep_(std::move(rep)) {}
    static std::shared_ptr<const Rep> makeRep(ustring genericPath);
    static ustring joinGeneric(const ustring& base, const ustring& relative);

    std::shared_ptr<const Rep> rep_;

    friend AbsoluteIRI toAbsoluteIRI(const ustring& scheme, const ustring& path);
};

// `path` must be absolute; "\\" is not a separator on this platform.
// Throws UnsupportedIRISchemeException for a scheme other than "file" and
// Exception (code 1, invalid location) for a relative or empty path.
AbsoluteIRI toAbsoluteIRI(const ustring& scheme, const ustring& path);
AbsoluteIRI toAbsoluteIRI(const char* scheme, const ustring& path);

class CanonicalAbsoluteIRI : public AbsoluteIRI {
public:
    // With an empty `relative`, takes `iri` as canonical without asking the
    // disk. With a relative path, joins it to `iri`.
    CanonicalAbsoluteIRI(const AbsoluteIRI& iri, const ustring& relative);

    // Throws std::logic_error for the root.
    CanonicalAbsoluteIRI getParent() const;

private:
    explicit CanonicalAbsoluteIRI(std::shared_ptr<const Rep> rep) : AbsoluteIRI(std::move(rep)) {}
};

// A path in generic form with the hash an IRI of that path holds: tables of
// IRIs look it up without an IRI made for it (see AbsoluteIRIHash).
struct GenericPathView {
    ustring_view path;
    std::size_t hash;
};

// The hash of a path in generic form, as AbsoluteIRI::hashValue gives it for
// an IRI of that path: tables keyed by a path's text can then take the hash
// an IRI holds already.
std::size_t genericPathHash(ustring_view path) noexcept;

// The root, each folder on the way down, and the IRI itself, each with its
// hash, in one pass over the path: a path's hash goes on from its parent's.
// The views point into the IRI's path.
boost::container::small_vector<GenericPathView, 16> selfAndAncestors(const AbsoluteIRI& iri);

// Transparent: an unordered container of IRIs with both of these is also
// searched by a GenericPathView.
struct AbsoluteIRIHash {
    using is_transparent = void;
    std::size_t operator()(const AbsoluteIRI& iri) const noexcept { return iri.hashValue(); }
    std::size_t operator()(const GenericPathView& view) const noexcept { return view.hash; }
};

struct AbsoluteIRIEqual {
    using is_transparent = void;
    bool operator()(const AbsoluteIRI& a, const AbsoluteIRI& b) const noexcept { return a == b; }
    bool operator()(const GenericPathView& a, const AbsoluteIRI& b) const noexcept {
        return a.hash == b.hashValue() && a.path == ustring_view(b.getPath());
    }
    bool operator()(const AbsoluteIRI& a, const GenericPathView& b) const noexcept { return (*this)(b, a); }
};

}  // namespace foundation::storage::vfs
