#pragma once
// Name comparison rules of a storage system.
//
// The storage system has its own rule (CaseModifier 0) and two fixed rules
// that a caller can force:
//
//   CaseModifier 1, "exact":  equal when the 16-bit code units are equal.
//   CaseModifier 2, "folded": equal when the simple Unicode case foldings of
//                             the two names are equal code unit by code unit
//                             (so "ABC" equals "abc", and "Σ" equals "σ"
//                             and "ς").
//
// The POSIX storage system's own rule is the exact one: its names are
// case sensitive.
//
// foldCase() is the folding of rule 2, exposed so that index keys can be
// made with it: any two names that either fixed rule calls equal have the
// same foldCase().
#include "fl/ustring.hpp"

#include <cstdint>

namespace foundation::storage::vfs {

enum class CaseModifier : std::int32_t {
    StorageSystemRule = 0,
    Exact = 1,
    Folded = 2,
};

// The simple case folding of each code point; unpaired surrogates pass as
// they are.
ustring foldCase(ustring_view text);
void foldCaseInPlace(ustring& text);

namespace detail {
// equalFolded of two texts of one length that differ in some unit.
bool equalFoldedDiffering(ustring_view a, ustring_view b);
}  // namespace detail

// Inline, since names are compared by the thousand in a query: most pairs
// differ in length or are spelled alike, and only the rest need folding.
inline bool equalFolded(ustring_view a, ustring_view b) {
    // Simple folding maps each code point to one of the same plane, so a text
    // keeps its length in code units: texts of two lengths never match, and
    // an extension is told from a longer one without a look at its letters.
    if (a.size() != b.size()) return false;
    return sameText(a, b) || detail::equalFoldedDiffering(a, b);
}

class PathComparator {
public:
    explicit PathComparator(bool caseSensitive = true) : caseSensitive_(caseSensitive) {}

    // Throws Exception (code 1) for a CaseModifier it doesn't know.
    bool operator()(const ustring& a, const ustring& b, CaseModifier modifier) const {
        switch (modifier) {
        case CaseModifier::StorageSystemRule: return caseSensitive_ ? sameText(a, b) : equalFolded(a, b);
        case CaseModifier::Exact: return sameText(a, b);
        case CaseModifier::Folded: return equalFolded(a, b);
        }
        throwUnknownModifier(modifier);
    }
    bool operator()(const ustring& a, const ustring& b, std::int32_t modifier) const {
        return (*this)(a, b, static_cast<CaseModifier>(modifier));
    }
    bool isCaseSensitive() const { return caseSensitive_; }

private:
    [[noreturn]] static void throwUnknownModifier(CaseModifier modifier);

    bool caseSensitive_;
};

}  // namespace foundation::storage::vfs
