#include "foundation/storage/vfs/PathComparator.hpp"

#include "foundation/storage/vfs/StorageException.hpp"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace foundation::storage::vfs {

namespace {

// Most names are ASCII: fold those without a call into ICU.
inline char16_t foldAscii(char16_t c) {
    return (c >= u'A' && c <= u'Z') ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
}

// Reads the code point at `i` and moves `i` past it. An unpaired surrogate is
// a code point of its own, so it folds to itself.
inline UChar32 nextCodePoint(ustring_view text, std::size_t& i) {
    const char16_t lead = text[i++];
    if (U16_IS_LEAD(lead) && i < text.size() && U16_IS_TRAIL(text[i])) return U16_GET_SUPPLEMENTARY(lead, text[i++]);
    return lead;
}

inline UChar32 foldCodePoint(UChar32 c) { return u_foldCase(c, U_FOLD_CASE_DEFAULT); }

inline void appendCodePoint(ustring& out, UChar32 c) {
    if (U_IS_BMP(c)) {
        out += static_cast<char16_t>(c);
    } else {
        out += static_cast<char16_t>(U16_LEAD(c));
        out += static_cast<char16_t>(U16_TRAIL(c));
    }
}

void appendFolded(ustring& out, ustring_view text) {
    std::size_t i = 0;
    while (i < text.size()) {
        const char16_t unit = text[i];
        if (unit < 0x80) {
            out += foldAscii(unit);
            ++i;
        } else {
            appendCodePoint(out, foldCodePoint(nextCodePoint(text, i)));
        }
    }
}

}  // namespace

ustring foldCase(ustring_view text) {
    ustring out;
    out.reserve(text.size());
    appendFolded(out, text);
    return out;
}

void foldCaseInPlace(ustring& text) {
    // Names are mostly ASCII, and every item's stem is folded: the run of
    // ASCII at the start is folded four units to a word while it lasts.
    // Each 16-bit lane then holds less than 0x80, so that adding to it never
    // carries into the next: bit 7 of a lane comes on from 'A' in `fromA`
    // and past 'Z' in `pastZ`, and the lanes where only the first did gain
    // 0x20, as foldAscii has it.
    char16_t* const units = text.data();
    const std::size_t size = text.size();
    std::size_t i = 0;
    for (; i + 4 <= size; i += 4) {
        std::uint64_t word;
        std::memcpy(&word, units + i, sizeof word);
        if (word & 0xFF80FF80FF80FF80ULL) break;
        const std::uint64_t fromA = word + 0x003F003F003F003FULL;
        const std::uint64_t pastZ = word + 0x0025002500250025ULL;
        word += (fromA & ~pastZ & 0x0080008000800080ULL) >> 2;
        std::memcpy(units + i, &word, sizeof word);
    }
    for (; i < size && units[i] < 0x80; ++i) units[i] = foldAscii(units[i]);
    while (i < text.size()) {
        const char16_t unit = text[i];
        if (unit < 0x80) {
            text[i++] = foldAscii(unit);
            continue;
        }
        const std::size_t start = i;
        const UChar32 folded = foldCodePoint(nextCodePoint(text, i));
        if (static_cast<std::size_t>(U16_LENGTH(folded)) != i - start) {
            // The folding changed the length in code units: finish in a new
            // string. Simple folding practically never does this.
            ustring out(text, 0, start);
            appendCodePoint(out, folded);
            appendFolded(out, ustring_view(text).substr(i));
            text = std::move(out);
            return;
        }
        if (U_IS_BMP(folded)) {
            text[start] = static_cast<char16_t>(folded);
        } else {
            text[start] = static_cast<char16_t>(U16_LEAD(folded));
            text[start + 1] = static_cast<char16_t>(U16_TRAIL(folded));
        }
    }
}

namespace detail {

bool equalFoldedDiffering(ustring_view a, ustring_view b) {
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        const char16_t ua = a[i];
        const char16_t ub = b[j];
        if (ua == ub && !U16_IS_SURROGATE(ua)) {
            ++i;
            ++j;
            continue;
        }
        if (ua < 0x80 && ub < 0x80) {
            if (foldAscii(ua) != foldAscii(ub)) return false;
            ++i;
            ++j;
            continue;
        }
        if (foldCodePoint(nextCodePoint(a, i)) != foldCodePoint(nextCodePoint(b, j))) return false;
    }
    return i == a.size() && j == b.size();
}

}  // namespace detail

void PathComparator::throwUnknownModifier(CaseModifier modifier) {
    throw Exception(ErrorCode::InvalidLocation, ustring(),
                    "unknown case modifier " + std::to_string(static_cast<std::int32_t>(modifier)));
}

}  // namespace foundation::storage::vfs
