#include "tfsearch_path/ConcatenatedPath.hpp"

#include "CompositePathSupport.hpp"

namespace Thornfell::PathManagement {

namespace {

std::unique_ptr<const detail::CompositeLayout> Concatenate(const std::shared_ptr<const IPath>& first,
                                                           const std::shared_ptr<const IPath>& second) {
    auto layout = std::make_unique<detail::CompositeLayout>();
    detail::AppendParts(*layout, first);
    detail::AppendParts(*layout, second);
    detail::JoinMainEntries(*layout);
    return layout;
}

}  // namespace

ConcatenatedPath::ConcatenatedPath(const std::shared_ptr<const IPath>& first,
                                   const std::shared_ptr<const IPath>& second)
    : CompositePath(Concatenate(first, second)) {}

}  // namespace Thornfell::PathManagement
