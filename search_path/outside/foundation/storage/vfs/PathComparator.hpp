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
bool equalFolded(ustring_view a, ustring_view b);

class PathComparator {
public:
    explicit PathComparator(bool caseSensitive = true) : caseSensitive_(caseSensitive) {}

    // Throws Exception (code 1) for a CaseModifier it doesn't know.
    bool operator()(const ustring& a, const ustring& b, CaseModifier modifier) const;
    bool operator()(const ustring& a, const ustring& b, std::int32_t modifier) const {
        return (*this)(a, b, static_cast<CaseModifier>(modifier));
    }
    bool isCaseSensitive() const { return caseSensitive_; }

private:
    bool caseSensitive_;
};

} // namespace foundation::storage::vfs
