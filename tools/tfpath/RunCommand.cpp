// tfpath run [FILE]: commands, one a line, against one engine instance and
// its manager, as a host drives them.
#include "Commands.hpp"
#include "ExitStatus.hpp"
#include "PackageCommand.hpp"
#include "ScriptSession.hpp"

#include "fl/i18n/TextConverters.hpp"
#include "tfsearch_path/MessageIdentifiers.hpp"
#include "tfsearch_path/PathManagerExceptions.hpp"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <sstream>

namespace tfpath {

using namespace Thornfell::PathManagement;

namespace {

const SessionCommandTable& SessionCommands();

// One line for each form of a command, its words then what it does, in
// the table's order.
std::string SessionHelp() {
    std::size_t width = 0;
    for (const auto& [name, command] : SessionCommands())
        for (const auto& line : command.help) width = std::max(width, line.usage.size());
    std::string text;
    for (const auto& [name, command] : SessionCommands())
        for (const auto& line : command.help)
            text += "  " + line.usage + std::string(width + 2 - line.usage.size(), ' ') + line.summary + "\n";
    return text;
}

void NoWords(const std::vector<std::string>& words, const std::string& command) {
    if (!words.empty()) throw SessionError(command + ": unexpected '" + words.front() + "'");
}

// Each group of commands adds itself here; the session's own words come last.
const SessionCommandTable& SessionCommands() {
    static const SessionCommandTable table = [] {
        SessionCommandTable commands;
        AddPathSessionCommands(commands);
        AddPackageSessionCommands(commands);
        AddCacheSessionCommands(commands);
        AddHostSessionCommands(commands);
        commands["help"] = {[](ScriptSession& session, const std::vector<std::string>& words) {
                                NoWords(words, "help");
                                session.out() << SessionHelp();
                            },
                            {{"help", "this list"}}};
        const SessionCommand end = [](ScriptSession& session, const std::vector<std::string>& words) {
            NoWords(words, "quit");
            session.End();
        };
        commands["quit"] = {end, {{"quit, exit", "end the session, as the end of the input does"}}};
        commands["exit"] = {end, {}};
        return commands;
    }();
    return table;
}

// The words of a line up to a "#"; double quotes keep spaces in a word.
std::vector<std::string> SplitWords(const std::string& line) {
    std::vector<std::string> words;
    std::string word;
    bool quoted = false, inWord = false;
    for (const char c : line) {
        if (c == '"') {
            quoted = !quoted;
            inWord = true;
        } else if (!quoted && c == '#') {
            break;
        } else if (!quoted && std::isspace(static_cast<unsigned char>(c))) {
            if (inWord) words.push_back(std::move(word));
            word.clear();
            inWord = false;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (quoted) throw SessionError("a quote is not closed");
    if (inWord) words.push_back(std::move(word));
    return words;
}

// Runs one line. The manager's refusals are soft, as a host reports them.
void RunLine(ScriptSession& session, const std::string& line) {
    std::vector<std::string> words = SplitWords(line);
    if (words.empty()) return;
    const auto command = SessionCommands().find(words.front());
    if (command == SessionCommands().end())
        throw SessionError("unknown command '" + words.front() + "' (help lists the commands)");
    words.erase(words.begin());
    try {
        command->second.run(session, words);
    } catch (const PathAlterationNotSupportedException&) {
        session.Report(MessageIds::mpath::PathAlterationNotSupported.Message());
    } catch (const RecursivePathChangeException&) {
        session.Report(MessageIds::mpath::UnableToModifyOrvianpath.Message());
    }
}

}  // namespace

void AddRunCommand(CLI::App& app, const GlobalOptions& global) {
    auto file = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("run", "run session commands from FILE, or from standard input");
    command->add_option("FILE", *file, "the commands, one a line; # starts a comment");
    command->footer("Session commands (folder and file names are relative to the session's working folder):\n" +
                    SessionHelp() +
                    "On a terminal a failed command is reported and the session goes on; from a file or a pipe it "
                    "ends the run with status 2, naming FILE:LINE.");
    command->callback([file, &global] {
        ApplyGlobalOptions(global);
        std::ifstream script;
        if (!file->empty()) {
            RequireFile(*file);
            script.open(*file);
            if (!script) throw BadInput(*file + ": can't be opened");
        }
        std::istream& in = file->empty() ? std::cin : script;
        const std::string name = file->empty() ? "<stdin>" : *file;
        // A person at a terminal gets a prompt, and a mistake doesn't end the session.
        const bool interactive = file->empty() && ::isatty(STDIN_FILENO);
        ScriptSession session(std::cout, std::cerr);
        std::string line;
        for (std::size_t number = 1; !session.Ended(); ++number) {
            if (interactive) std::cout << "tfpath> " << std::flush;
            if (!std::getline(in, line)) {
                if (interactive) std::cout << "\n";
                break;
            }
            try {
                RunLine(session, number == 1 ? std::string(fl::i18n::without_utf8_bom(line)) : line);
            } catch (const std::exception& e) {
                session.err() << "tfpath: " << name << ":" << number << ": " << e.what() << "\n";
                if (!interactive) throw CLI::RuntimeError(kFailed);
            }
        }
    });
}

}  // namespace tfpath
