#include "foundation/storage/vfs/AbsoluteIRI.hpp"

#include "foundation/storage/vfs/StorageException.hpp"

#include <boost/container_hash/hash.hpp>

namespace foundation::storage::vfs {

namespace {

constexpr char16_t kSeparator = u'/';

bool isRoot(const ustring& path) { return path.size() == 1; }

// Appends the components of `source` to `out`, each after a separator.
// Empty and "." components go; ".." stays, as only the storage system knows
// what it leads to once links are involved. `out` must be empty (for the
// root) or a generic path other than the root.
void appendComponents(ustring& out, ustring_view source) {
    std::size_t pos = 0;
    while (pos < source.size()) {
        std::size_t end = source.find(kSeparator, pos);
        if (end == ustring_view::npos) end = source.size();
        const ustring_view component = source.substr(pos, end - pos);
        if (!component.empty() && component != u".") {
            out += kSeparator;
            out.append(component);
        }
        pos = end + 1;
    }
}

ustring genericFromAbsolute(ustring_view path) {
    ustring out;
    out.reserve(path.size());
    appendComponents(out, path);
    if (out.empty()) out = kSeparator;
    return out;
}

const ustring& fileScheme() {
    static const ustring scheme = u"file";
    return scheme;
}

bool isFileScheme(const ustring& scheme) {
    // Schemes are case insensitive, and only ASCII.
    if (scheme.size() != 4) return false;
    for (std::size_t i = 0; i < 4; ++i) {
        char16_t c = scheme[i];
        if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + (u'a' - u'A'));
        if (c != fileScheme()[i]) return false;
    }
    return true;
}

// Where the parent's path ends in `path`; the root's parent is the root.
std::size_t parentLength(const ustring& path) {
    const std::size_t slash = path.rfind(kSeparator);
    return slash == 0 ? 1 : slash;
}

}  // namespace

namespace {

// A path's hash is these steps over its units from zero, so the hash of any
// folder above it is a step of the way (selfAndAncestors).
std::size_t hashStep(std::size_t seed, char16_t unit) noexcept {
    boost::hash_combine(seed, unit);
    return seed;
}

}  // namespace

std::size_t genericPathHash(ustring_view path) noexcept {
    std::size_t seed = 0;
    for (const char16_t unit : path) seed = hashStep(seed, unit);
    return seed;
}

boost::container::small_vector<GenericPathView, 16> selfAndAncestors(const AbsoluteIRI& iri) {
    const ustring_view path = iri.getPath();
    boost::container::small_vector<GenericPathView, 16> chain;
    std::size_t seed = hashStep(0, path[0]);
    chain.push_back({path.substr(0, 1), seed});  // the root
    for (std::size_t i = 1; i < path.size(); ++i) {
        if (path[i] == kSeparator) chain.push_back({path.substr(0, i), seed});
        seed = hashStep(seed, path[i]);
    }
    if (path.size() > 1) chain.push_back({path, seed});
    return chain;
}

std::shared_ptr<const AbsoluteIRI::Rep> AbsoluteIRI::makeRep(ustring genericPath) {
    const std::size_t hash = genericPathHash(genericPath);
    return std::make_shared<const Rep>(Rep{std::move(genericPath), hash});
}

ustring AbsoluteIRI::joinGeneric(const ustring& base, const ustring& relative) {
    ustring out;
    out.reserve(base.size() + 1 + relative.size());
    if (!isRoot(base)) out = base;
    appendComponents(out, relative);
    if (out.empty()) out = kSeparator;
    return out;
}

AbsoluteIRI::AbsoluteIRI(const CanonicalAbsoluteIRI& folder, const ustring& relative)
    : rep_(relative.empty() ? folder.rep_ : makeRep(joinGeneric(folder.getPath(), relative))) {}

ustring AbsoluteIRI::getName() const {
    const ustring& path = rep_->path;
    if (isRoot(path)) return {};
    return path.substr(path.rfind(kSeparator) + 1);
}

bool AbsoluteIRI::hasParent() const { return !isRoot(rep_->path); }

AbsoluteIRI AbsoluteIRI::getParent() const {
    if (!hasParent()) throw std::logic_error("the root folder has no parent");
    return AbsoluteIRI(makeRep(rep_->path.substr(0, parentLength(rep_->path))));
}

ustring AbsoluteIRI::toString() const { return u"file://" + rep_->path; }

const ustring& AbsoluteIRI::getScheme() const { return fileScheme(); }

bool AbsoluteIRI::isAncestorOf(const AbsoluteIRI& other) const {
    const ustring& mine = rep_->path;
    const ustring& theirs = other.rep_->path;
    if (isRoot(mine)) return !isRoot(theirs);
    return theirs.size() > mine.size() && theirs[mine.size()] == kSeparator &&
           theirs.compare(0, mine.size(), mine) == 0;
}

ustring AbsoluteIRI::makePathRelativeTo(const AbsoluteIRI& root) const {
    if (*this == root) return {};
    if (!root.isAncestorOf(*this)) throw std::invalid_argument("the IRI does not lie below the given root");
    const std::size_t skip = isRoot(root.rep_->path) ? 1 : root.rep_->path.size() + 1;
    return rep_->path.substr(skip);
}

AbsoluteIRI toAbsoluteIRI(const ustring& scheme, const ustring& path) {
    if (!isFileScheme(scheme)) throw UnsupportedIRISchemeException(scheme);
    if (path.empty() || path.front() != kSeparator)
        throw Exception(ErrorCode::InvalidLocation, path, "not an absolute path");
    // No POSIX name can hold a NUL; letting one through would silently cut
    // the name short at the system call.
    if (path.find(u'\0') != ustring::npos)
        throw Exception(ErrorCode::InvalidLocation, path, "the path holds a NUL character");
    return AbsoluteIRI(AbsoluteIRI::makeRep(genericFromAbsolute(path)));
}

AbsoluteIRI toAbsoluteIRI(const char* scheme, const ustring& path) {
    return toAbsoluteIRI(fl::i18n::utf8_to_ustring(scheme), path);
}

CanonicalAbsoluteIRI::CanonicalAbsoluteIRI(const AbsoluteIRI& iri, const ustring& relative) : AbsoluteIRI(iri) {
    // With no relative part the IRI is taken at its word: sharing its
    // representation keeps copies and comparisons cheap.
    if (!relative.empty()) rep_ = makeRep(joinGeneric(rep_->path, relative));
}

CanonicalAbsoluteIRI CanonicalAbsoluteIRI::getParent() const {
    if (!hasParent()) throw std::logic_error("the root folder has no parent");
    return CanonicalAbsoluteIRI(makeRep(rep_->path.substr(0, parentLength(rep_->path))));
}

}  // namespace foundation::storage::vfs
