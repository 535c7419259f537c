// The session's cache commands:
//   cache write FILE ROOT   the cache of the live entries below ROOT, replacing FILE whole
//   cache load FILE ROOT    FILE's folders into the entry factory, names relative to ROOT
// FILE and ROOT are relative to the session's working folder. A loaded
// folder is served only to a session whose installation (--root) holds it:
// folders outside the installation are listed, not frozen.
#include "CacheCommand.hpp"
#include "ScriptSession.hpp"

namespace tfpath {

namespace {

void RunCache(ScriptSession& session, const std::vector<std::string>& words) {
    if (words.empty()) throw SessionError("cache: missing write or load");
    const std::string& action = words.front();
    if (action != "write" && action != "load") throw SessionError("cache: unknown action '" + action + "'");
    if (words.size() < 3) throw SessionError("cache " + action + ": missing FILE or ROOT");
    if (words.size() > 3) throw SessionError("cache " + action + ": too many words");
    const std::string file = session.NativePath(words[1]);
    const std::string root = session.NativePath(words[2]);
    try {
        if (action == "write") {
            foundation::core::except::Notification leftOut;
            WriteCacheFile(file, root, leftOut);
            session.Report(leftOut);
            session.out() << "cache written: " << words[1] << "\n";
        } else {
            LoadCacheFile(file, root);
            session.out() << "cache loaded: " << words[1] << "\n";
        }
    } catch (const std::runtime_error& e) {
        throw SessionError("cache " + action + ": " + e.what());
    }
}

}  // namespace

void AddCacheSessionCommands(SessionCommandTable& table) {
    table["cache"] = {RunCache, {{"cache write|load FILE ROOT", "the toolbox cache of the folders below ROOT"}}};
}

}  // namespace tfpath
