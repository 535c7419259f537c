#include "ScriptSession.hpp"

#include "ChangeFormat.hpp"
#include "fl/i18n/MessageCatalog.hpp"
#include "host/HostServices.hpp"
#include "tfsearch_path/PathManagerEvents.hpp"
#include "thornfell/CurrentWorkingFolder.hpp"

#include <algorithm>

namespace tfpath {

using namespace Thornfell::PathManagement;

ScriptSession::ScriptSession(std::ostream& out, std::ostream& err) : out_(out), err_(err), engine_("") {
    host::setWarningHandler([this](const resource_core::BaseMsgID& message) { Report(message); });
}

ScriptSession::~ScriptSession() {
    host::setWarningHandler(nullptr);
    events_.disconnect();
    policyHandles_.clear();
    mementos_.clear();
}

std::ostream& ScriptSession::err() {
    out_ << std::flush;
    return err_;
}

foundation::storage::vfs::AbsoluteIRI ScriptSession::FolderIRI(const std::string& word) const {
    return Thornfell::current_working_folder::GetCurrentWorkingFolder().absolutize(fl::i18n::utf8_to_ustring(word));
}

std::string ScriptSession::NativePath(const std::string& word) const {
    return fl::i18n::ustring_to_utf8(FolderIRI(word).getPath());
}

void ScriptSession::Report(const resource_core::BaseMsgID& message) {
    err() << "message " << message.getIdentifier() << ": " << fl::i18n::MessageCatalog::formatUtf8(message) << "\n";
}

void ScriptSession::Report(const foundation::core::except::Notification& notification) {
    for (const auto& message : notification) Report(message);
}

void ScriptSession::SetPathFolders(const std::vector<foundation::storage::vfs::AbsoluteIRI>& folders) {
    foundation::core::except::Notification notification;
    manager().SetPathFolders(FolderRange(folders), notification);
    Report(notification);
}

void ScriptSession::ShowEvents(bool on) {
    if (!on) {
        events_.disconnect();
        return;
    }
    if (!events_.isEmpty()) return;
    events_ = foundation::msg_svc::eventmgr::getEngineEventMgr()->subscribe(
        PathChangeEvent::TypeName(), [this](const foundation::msg_svc::eventmgr::BaseEvent& event) {
            out_ << DescribeChange(static_cast<const PathChangeEvent&>(event)) << "\n";
        });
}

bool TakeFlag(std::vector<std::string>& words, const std::string& flag) { return std::erase(words, flag) > 0; }

std::optional<std::string> TakeOption(std::vector<std::string>& words, const std::string& option) {
    const auto it = std::find(words.begin(), words.end(), option);
    if (it == words.end()) return std::nullopt;
    if (it + 1 == words.end()) throw SessionError(option + " needs a value");
    std::string value = *(it + 1);
    words.erase(it, it + 2);
    return value;
}

void RefuseOptions(const std::vector<std::string>& words, const std::string& command) {
    for (const auto& word : words)
        if (word.starts_with("--")) throw SessionError(command + ": unknown option '" + word + "'");
}

}  // namespace tfpath
