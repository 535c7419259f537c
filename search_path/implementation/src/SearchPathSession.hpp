#pragma once
// A session over an engine instance that its owner keeps: the registry and
// the manager without the instance. The owner makes the instance current
// around every call, and around the session's construction and destruction.
#include "tfsearch_path/ISearchPathSession.hpp"

#include <memory>

namespace Thornfell::PathManagement {

std::unique_ptr<ISearchPathSession> CreateSearchPathSessionOfCurrentInstance();

}  // namespace Thornfell::PathManagement
