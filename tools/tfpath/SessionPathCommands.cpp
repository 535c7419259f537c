// The session's commands of the path itself: alteration, the working folder,
// lookup, refresh, events, the mutability policy and mementos.
#include "EntryFormat.hpp"
#include "QueryOptions.hpp"
#include "ScriptSession.hpp"

#include "Commands.hpp"
#include "foundation/storage/vfs/StorageException.hpp"
#include "tfsearch_path/IPathEntryFactory.hpp"
#include "tfsearch_path/PathFunctions.hpp"
#include "thornfell/CurrentWorkingFolder.hpp"

#include <algorithm>

namespace tfpath {

using namespace Thornfell::PathManagement;
using foundation::storage::vfs::AbsoluteIRI;

namespace {

using Words = std::vector<std::string>;

std::string Word(const Words& words, std::size_t i, const std::string& what) {
    if (i >= words.size()) throw SessionError("missing " + what);
    return words[i];
}

void NoMoreWords(const Words& words, std::size_t used, const std::string& command) {
    if (words.size() > used) throw SessionError(command + ": unexpected '" + words[used] + "'");
}

// The folder as it would stand on the path; as written when it can't be
// resolved (then the manager reports it).
AbsoluteIRI Resolved(const AbsoluteIRI& folder) {
    try {
        return GetPathEntryFactory().GetCanonicalFolderIRI(folder);
    } catch (const std::exception&) {
        return folder;
    }
}

std::vector<AbsoluteIRI> FolderArguments(ScriptSession& session, const Words& words, std::size_t first,
                                         const std::string& command) {
    if (words.size() <= first) throw SessionError(command + ": missing folder");
    std::vector<AbsoluteIRI> folders;
    for (std::size_t i = first; i < words.size(); ++i) folders.push_back(session.FolderIRI(words[i]));
    return folders;
}

// The path in force without the given folders: what a host works out before
// it hands over a new whole list.
std::vector<AbsoluteIRI> PathWithout(ScriptSession& session, const std::vector<AbsoluteIRI>& folders,
                                     std::vector<AbsoluteIRI>* notOnPath = nullptr) {
    std::vector<AbsoluteIRI> resolved;
    for (const auto& folder : folders) resolved.push_back(Resolved(folder));
    std::vector<AbsoluteIRI> kept;
    std::vector<bool> found(folders.size(), false);
    for (const auto& onPath : *session.manager().GetPathFolders()) {
        const auto it = std::find(resolved.begin(), resolved.end(), onPath);
        if (it == resolved.end())
            kept.push_back(onPath);
        else
            found[static_cast<std::size_t>(it - resolved.begin())] = true;
    }
    if (notOnPath)
        for (std::size_t i = 0; i < folders.size(); ++i)
            if (!found[i]) notOnPath->push_back(folders[i]);
    return kept;
}

void PathCommand(ScriptSession& session, Words words) {
    const std::string sub = Word(words, 0, "path subcommand: set, add, remove, show or folders");
    if (sub == "set") {
        RefuseOptions(words, "path set");
        std::vector<AbsoluteIRI> folders;
        for (std::size_t i = 1; i < words.size(); ++i) folders.push_back(session.FolderIRI(words[i]));
        session.SetPathFolders(folders);
    } else if (sub == "add") {
        const bool atEnd = TakeFlag(words, "--end");
        RefuseOptions(words, "path add");
        const auto added = FolderArguments(session, words, 1, "path add");
        std::vector<AbsoluteIRI> rest = PathWithout(session, added);
        std::vector<AbsoluteIRI> folders = atEnd ? rest : added;
        const auto& second = atEnd ? added : rest;
        folders.insert(folders.end(), second.begin(), second.end());
        session.SetPathFolders(folders);
    } else if (sub == "remove") {
        RefuseOptions(words, "path remove");
        std::vector<AbsoluteIRI> notOnPath;
        const auto rest = PathWithout(session, FolderArguments(session, words, 1, "path remove"), &notOnPath);
        for (const auto& folder : notOnPath)
            session.err() << "note: " << ToUtf8(GetStringFromIRI(folder)) << " is not on the path\n";
        session.SetPathFolders(rest);
    } else if (sub == "show") {
        const bool tree = TakeFlag(words, "--tree");
        const bool json = TakeFlag(words, "--json");
        NoMoreWords(words, 1, "path show");
        PrintSearchPath(session.out(), *session.manager().GetSearchPath(), tree, json);
    } else if (sub == "folders") {
        NoMoreWords(words, 1, "path folders");
        const auto folders = session.manager().GetPathFolders();
        session.out() << "path folders, " << folders->size() << ":\n";
        std::size_t position = 0;
        for (const auto& folder : *folders)
            session.out() << "  " << ++position << "  " << ToUtf8(GetStringFromIRI(folder)) << "\n";
    } else {
        throw SessionError("path: unknown subcommand '" + sub + "'");
    }
}

void CdCommand(ScriptSession& session, const Words& words) {
    const std::string folder = Word(words, 0, "folder");
    NoMoreWords(words, 1, "cd");
    try {
        Thornfell::current_working_folder::GetCurrentWorkingFolder().set(session.FolderIRI(folder));
    } catch (const foundation::storage::vfs::Exception& e) {
        throw SessionError("cd: '" + folder + "' is not a folder that can be entered (storage error " +
                           std::to_string(e.getErrorCode()) + ")");
    }
}

void WhichCommand(ScriptSession& session, Words words) {
    NameQuery query;
    if (auto value = TakeOption(words, "--ext")) query.extensions = *value;
    if (auto value = TakeOption(words, "--scope")) {
        ParseScope(*value);
        query.scope = *value;
    }
    query.all = TakeFlag(words, "--all");
    const bool json = TakeFlag(words, "--json");
    RefuseOptions(words, "which");
    query.name = Word(words, 0, "name");
    NoMoreWords(words, 1, "which");
    const auto found = FindFiles(*session.manager().GetSearchPath(), query);
    PrintFound(session.out(), found, query.all, json);
    if (found.empty()) session.err() << "'" << query.name << "' not found\n";
}

void RefreshCommand(ScriptSession& session, Words words) {
    const bool all = TakeFlag(words, "--all");
    NoMoreWords(words, 0, "refresh");
    if (!session.manager().Refresh(all ? ForceRefresh : TrustObservers)) session.err() << "refresh: not done now\n";
}

void EventsCommand(ScriptSession& session, const Words& words) {
    const std::string state = Word(words, 0, "on or off");
    NoMoreWords(words, 1, "events");
    if (state != "on" && state != "off") throw SessionError("events: on or off, not '" + state + "'");
    session.ShowEvents(state == "on");
}

PathManagerMutabilityPolicy ParseMutability(const std::string& word) {
    if (word == "fixed") return PathEntriesFixed;
    if (word == "mutable") return PathFullyMutable;
    throw SessionError("policy: fixed or mutable, not '" + word + "'");
}

void PolicyCommand(ScriptSession& session, const Words& words) {
    const std::string first = Word(words, 0, "fixed, mutable, push or pop");
    auto& handles = session.policyHandles();
    if (first == "push") {
        const auto policy = ParseMutability(Word(words, 1, "fixed or mutable"));
        NoMoreWords(words, 2, "policy push");
        handles.push_back(session.manager().PushMutabilityPolicy(policy));
    } else if (first == "pop") {
        NoMoreWords(words, 1, "policy pop");
        if (handles.empty()) throw SessionError("policy pop: no policy was pushed");
        handles.pop_back();
    } else {
        NoMoreWords(words, 1, "policy");
        session.manager().SetMutabilityPolicy(ParseMutability(first));
    }
}

void MementoCommand(ScriptSession& session, const Words& words) {
    const std::string action = Word(words, 0, "save or restore");
    const std::string name = Word(words, 1, "memento name");
    NoMoreWords(words, 2, "memento");
    if (action == "save") {
        session.mementos()[name] = session.manager().CreateMemento();
    } else if (action == "restore") {
        const auto it = session.mementos().find(name);
        if (it == session.mementos().end()) throw SessionError("memento: no memento named '" + name + "'");
        session.manager().RestoreMemento(*it->second);
    } else {
        throw SessionError("memento: save or restore, not '" + action + "'");
    }
}

}  // namespace

void AddPathSessionCommands(SessionCommandTable& table) {
    table["path"] = {PathCommand,
                     {{"path set DIR...", "a whole new list of folders, as a host works it out"},
                      {"path add [--end] DIR...", "folders put at the front (--end: at the back)"},
                      {"path remove DIR...", "folders taken off the path"},
                      {"path show [--tree] [--json]", "the search path"},
                      {"path folders", "the path as it was written"}}};
    table["cd"] = {CdCommand, {{"cd DIR", "the working folder, which stands first on the search path"}}};
    table["which"] = {WhichCommand,
                      {{"which NAME [--ext .a,.b] [--scope T,...] [--all] [--json]", "the file NAME stands for"}}};
    table["refresh"] = {RefreshCommand, {{"refresh [--all]", "take in what changed on disk (--all: every folder)"}}};
    table["events"] = {EventsCommand, {{"events on|off", "print each stage of each path change"}}};
    table["policy"] = {PolicyCommand,
                       {{"policy fixed|mutable", "the mutability policy"},
                        {"policy push fixed|mutable | pop", "a policy for a while, and back"}}};
    table["memento"] = {MementoCommand, {{"memento save|restore NAME", "save the path, or go back to it"}}};
}

}  // namespace tfpath
