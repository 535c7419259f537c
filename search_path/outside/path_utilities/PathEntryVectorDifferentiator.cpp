#include "tfsearch_path/PathEntryVectorDifferentiator.hpp"

#include "foundation/core/diag/Diagnostics.hpp"

#include <algorithm>
#include <cstddef>
#include <unordered_map>

namespace Thornfell::PathManagement {

using foundation::storage::vfs::AbsoluteIRIHash;
using foundation::storage::vfs::CanonicalAbsoluteIRI;

namespace {

constexpr std::size_t kUnmatched = static_cast<std::size_t>(-1);

// The positions (in `sequence`) of a longest strictly increasing run of its
// values, in order. Of several, the one whose last value is lowest.
std::vector<std::size_t> LongestIncreasingRun(const std::vector<std::size_t>& sequence) {
    std::vector<std::size_t> tails;  // position of the smallest tail of a run of each length
    std::vector<std::size_t> predecessor(sequence.size(), kUnmatched);
    for (std::size_t position = 0; position < sequence.size(); ++position) {
        const auto at = std::lower_bound(tails.begin(), tails.end(), sequence[position],
                                         [&](std::size_t tail, std::size_t value) { return sequence[tail] < value; });
        if (at != tails.begin()) predecessor[position] = *(at - 1);
        if (at == tails.end())
            tails.push_back(position);
        else
            *at = position;
    }
    std::vector<std::size_t> run(tails.size());
    std::size_t position = tails.empty() ? kUnmatched : tails.back();
    for (std::size_t index = run.size(); index-- > 0; position = predecessor[position]) run[index] = position;
    return run;
}

std::shared_ptr<const PathEntryVector> Share(PathEntryVector&& entries) {
    return std::make_shared<const PathEntryVector>(std::move(entries));
}

}  // namespace

PathEntryVectorDifferentiator::PathEntryVectorDifferentiator() {
    const PathEntryList empty = std::make_shared<const PathEntryVector>();
    added_ = removed_ = reordered_ = refreshedBefore_ = refreshedAfter_ = empty;
}

void PathEntryVectorDifferentiator::Compare(const PathEntryVector& before, const PathEntryVector& after,
                                            ComparisonFilter filter) {
    if (filter != CompareByFolder)
        FL_DIAG_TERMINATE("Unrecognized ComparisonFilter passed to PathEntryVectorDifferentiator::Compare");

    // The lists compared are the main entries of two paths, and most changes
    // (the current folder, one folder added) leave long runs of the very same
    // objects at both ends. Those stand in both lists, in the same order
    // relative to everything else, so only the middle needs matching by
    // folder.
    std::size_t front = 0;
    while (front < before.size() && front < after.size() && before[front] == after[front]) ++front;
    std::size_t back = 0;
    while (back < before.size() - front && back < after.size() - front &&
           before[before.size() - 1 - back] == after[after.size() - 1 - back])
        ++back;
    const std::size_t beforeEnd = before.size() - back;
    const std::size_t afterEnd = after.size() - back;

    // Each folder of the middle of `before`, by its first place there.
    std::unordered_map<CanonicalAbsoluteIRI, std::size_t, AbsoluteIRIHash> beforeIndexByFolder;
    beforeIndexByFolder.reserve(beforeEnd - front);
    for (std::size_t index = front; index < beforeEnd; ++index)
        if (before[index]) beforeIndexByFolder.emplace(before[index]->GetIRI(), index);

    PathEntryVector added, removed, reordered, refreshedBefore, refreshedAfter;
    std::vector<bool> matched(beforeEnd - front, false);
    // The folders in both, in `after` order: their place in `before` and
    // their entry in `after`.
    std::vector<std::size_t> commonBeforeIndex;
    PathEntryVector commonAfter;
    for (std::size_t index = front; index < afterEnd; ++index) {
        const PathEntryPointer& entry = after[index];
        if (!entry) continue;
        const auto found = beforeIndexByFolder.find(entry->GetIRI());
        if (found == beforeIndexByFolder.end()) {
            added.push_back(entry);
            continue;
        }
        const std::size_t beforeIndex = found->second;
        if (matched[beforeIndex - front]) continue;  // a repeat of a folder already matched
        matched[beforeIndex - front] = true;
        commonBeforeIndex.push_back(beforeIndex);
        commonAfter.push_back(entry);
        if (before[beforeIndex] != entry) {
            refreshedBefore.push_back(before[beforeIndex]);
            refreshedAfter.push_back(entry);
        }
    }
    for (std::size_t index = front; index < beforeEnd; ++index) {
        const PathEntryPointer& entry = before[index];
        if (!entry || matched[index - front]) continue;
        // A repeat in `before` of a folder that was matched is no removal.
        const auto found = beforeIndexByFolder.find(entry->GetIRI());
        if (found->second != index && matched[found->second - front]) continue;
        removed.push_back(entry);
    }

    // The common folders that kept their relative order are a longest
    // increasing run of their places in `before`; all others moved.
    const std::vector<std::size_t> kept = LongestIncreasingRun(commonBeforeIndex);
    for (std::size_t position = 0, next = 0; position < commonAfter.size(); ++position) {
        if (next < kept.size() && kept[next] == position) {
            ++next;
            continue;
        }
        reordered.push_back(commonAfter[position]);
    }

    added_ = Share(std::move(added));
    removed_ = Share(std::move(removed));
    reordered_ = Share(std::move(reordered));
    refreshedBefore_ = Share(std::move(refreshedBefore));
    refreshedAfter_ = Share(std::move(refreshedAfter));
}

}  // namespace Thornfell::PathManagement
