// tfpath run [FILE]: commands, one a line, against one engine instance and
// its manager, as a host drives them.
#include "Commands.hpp"
#include "PackageCommand.hpp"
#include "ScriptSession.hpp"

#include "tfsearch_path/PathManagerExceptions.hpp"

#include <unistd.h>

#include <fstream>
#include <iostream>
#include <sstream>

namespace tfpath {

using namespace Thornfell::PathManagement;

namespace {

// Each group of commands adds itself here.
SessionCommandTable SessionCommands() {
    SessionCommandTable table;
    AddPathSessionCommands(table);
    AddPackageSessionCommands(table);
    AddCacheSessionCommands(table);
    AddHostSessionCommands(table);
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
void RunLine(ScriptSession& session, const SessionCommandTable& commands, const std::string& line) {
    std::vector<std::string> words = SplitWords(line);
    if (words.empty()) return;
    const auto command = commands.find(words.front());
    if (command == commands.end()) throw SessionError("unknown command '" + words.front() + "'");
    words.erase(words.begin());
    try {
        command->second(session, words);
    } catch (const PathAlterationNotSupportedException&) {
        session.Report(resource_core::BaseMsgID("ORVIAN:mpath", "PathAlterationNotSupported"));
    } catch (const RecursivePathChangeException&) {
        session.Report(resource_core::BaseMsgID("ORVIAN:mpath", "UnableToModifyOrvianpath"));
    }
}

} // namespace

void AddRunCommand(CLI::App& app, const GlobalOptions& global) {
    auto file = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("run", "run session commands from FILE, or from standard input");
    command->add_option("FILE", *file, "the commands, one a line; # starts a comment");
    command->callback([file, &global] {
        ApplyGlobalOptions(global);
        std::ifstream script;
        if (!file->empty()) {
            script.open(*file);
            if (!script) {
                std::cerr << "tfpath: can't read " << *file << "\n";
                throw CLI::RuntimeError(1);
            }
        }
        std::istream& in = file->empty() ? std::cin : script;
        const std::string name = file->empty() ? "<stdin>" : *file;
        // A person at a terminal gets a prompt, and a mistake doesn't end the session.
        const bool interactive = file->empty() && ::isatty(STDIN_FILENO);
        const SessionCommandTable commands = SessionCommands();
        ScriptSession session(std::cout);
        std::string line;
        for (std::size_t number = 1;; ++number) {
            if (interactive) std::cout << "tfpath> " << std::flush;
            if (!std::getline(in, line)) break;
            try {
                RunLine(session, commands, line);
            } catch (const std::exception& e) {
                std::cout << std::flush;
                std::cerr << "tfpath: " << name << ":" << number << ": " << e.what() << "\n";
                if (!interactive) throw CLI::RuntimeError(1);
            }
        }
        if (interactive) std::cout << "\n";
    });
}

} // namespace tfpath
