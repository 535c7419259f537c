#pragma once
// A session that a person drives: one engine instance and its manager, and
// what the commands of the session keep between lines (policy handles,
// mementos, whether events are shown).
//
// Commands come in groups, each in a source of its own that fills the
// table through its Add...SessionCommands function, with a line of help for
// each; the loop of `tfpath run` only looks a command's first word up in the
// table.
#include "EngineSession.hpp"
#include "resource_core/BaseMsgID.hpp"

#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tfpath {

// A failure that ends the run; the loop adds the file and the line.
class SessionError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class ScriptSession {
public:
    // Answers and events go to `out`; soft messages, warnings and notes to
    // `err`.
    ScriptSession(std::ostream& out, std::ostream& err);
    ~ScriptSession();
    ScriptSession(const ScriptSession&) = delete;
    ScriptSession& operator=(const ScriptSession&) = delete;

    Thornfell::PathManagement::IMainSearchPathManager& manager() { return engine_.manager(); }
    std::ostream& out() { return out_; }
    // `err`, once what went to `out` has been flushed, so that the two keep
    // their order where they meet (2>&1, a terminal).
    std::ostream& err();

    // A folder or file word as the host takes it: relative to the working
    // folder; as an IRI, or as a native path.
    foundation::storage::vfs::AbsoluteIRI FolderIRI(const std::string& word) const;
    std::string NativePath(const std::string& word) const;
    // "message IDENTIFIER: text" on `err`, with the text from the catalogue.
    void Report(const resource_core::BaseMsgID& message);
    void Report(const foundation::core::except::Notification& notification);
    // Hands the whole list to the manager and reports what it says.
    void SetPathFolders(const std::vector<foundation::storage::vfs::AbsoluteIRI>& folders);

    // Each stage of each path change is printed while this is on.
    void ShowEvents(bool on);
    // Handles of pushed mutability policies, the latest last.
    std::vector<std::shared_ptr<void>>& policyHandles() { return policyHandles_; }
    std::map<std::string, std::shared_ptr<Thornfell::PathManagement::PathMemento>>& mementos() { return mementos_; }

    // quit and exit: the loop reads no further line.
    void End() { ended_ = true; }
    bool Ended() const { return ended_; }

private:
    std::ostream& out_;
    std::ostream& err_;
    bool ended_ = false;
    EngineSession engine_;
    foundation::msg_svc::eventmgr::ScopedConnection events_;
    // Released before the manager: a handle must not outlive it.
    std::vector<std::shared_ptr<void>> policyHandles_;
    std::map<std::string, std::shared_ptr<Thornfell::PathManagement::PathMemento>> mementos_;
};

// A command: the session and the words after the command's name.
using SessionCommand = std::function<void(ScriptSession&, const std::vector<std::string>& words)>;
// A line of the session's help: a form of a command and what it does.
struct SessionHelpLine {
    std::string usage;    // "cd DIR"
    std::string summary;  // "change the working folder"
};
struct SessionCommandEntry {
    SessionCommand run;
    std::vector<SessionHelpLine> help;  // one line for each form
};
using SessionCommandTable = std::map<std::string, SessionCommandEntry>;

// path, cd, which, refresh, events, policy, memento.
void AddPathSessionCommands(SessionCommandTable& table);
// cache write|load FILE ROOT.
void AddCacheSessionCommands(SessionCommandTable& table);
// packages-after STAMP.
void AddHostSessionCommands(SessionCommandTable& table);

// Options among the words of a command. Each removes what it takes.
bool TakeFlag(std::vector<std::string>& words, const std::string& flag);
// The word after `option`; SessionError when there is none.
std::optional<std::string> TakeOption(std::vector<std::string>& words, const std::string& option);
// SessionError for a word left over that looks like an option.
void RefuseOptions(const std::vector<std::string>& words, const std::string& command);

}  // namespace tfpath
