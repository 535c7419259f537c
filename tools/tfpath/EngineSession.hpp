#pragma once
// The tool's host: a search path session, with warnings and messages
// written to standard error and folders taken from the command line.
#include "tfsearch_path/ISearchPathSession.hpp"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tfpath {

class EngineSession {
public:
    // Makes the instance current on this thread; with a `workingFolder` (a
    // --cd argument; empty for the process's own), the working folder moves
    // there first. Throws BadInput when it names no folder.
    explicit EngineSession(const std::string& workingFolder, bool followCurrentFolder = true);

    Thornfell::PathManagement::IMainSearchPathManager& manager() { return session_->GetManager(); }
    // Puts the folders on the path; messages go to standard error. Returns
    // how many messages there were.
    std::size_t SetPathFolders(const std::vector<std::string>& folders);

private:
    std::unique_ptr<Thornfell::PathManagement::ISearchPathSession> session_;
};

}  // namespace tfpath
