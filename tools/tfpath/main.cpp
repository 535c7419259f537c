// tfpath: looks at folders the way the search path sees them.
#include "Commands.hpp"
#include "ExitStatus.hpp"

#include "foundation/usm/StateStore.hpp"

#include <exception>
#include <iostream>

namespace {

// A word where a command was expected, which CLI11 leaves over and reports
// only as a missing subcommand.
std::string UnknownCommand(const CLI::App& app, const CLI::ParseError& e) {
    if (e.get_exit_code() != static_cast<int>(CLI::ExitCodes::RequiredError)) return "";
    const std::vector<std::string> left = app.remaining(true);
    return left.empty() || left.front().starts_with("-") ? "" : left.front();
}

// CLI11's own refusals have their own statuses (105, 106, 109, ...); every
// one of them is a usage error here.
int Refuse(const CLI::App& app, const CLI::ParseError& e) {
    const std::string word = UnknownCommand(app, e);
    std::cout << std::flush;
    if (!word.empty())
        std::cerr << "tfpath: unknown command '" << word << "'\n";
    else if (e.what() == std::string_view("A subcommand is required"))
        std::cerr << "tfpath: a command is required\n";
    else
        std::cerr << "tfpath: " << e.what() << "\n";
    std::cerr << "Run 'tfpath --help' for the commands, 'tfpath COMMAND --help' for their options.\n";
    return tfpath::kFailed;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"tfpath: folders, entries and name lookup as the search path sees them"};
    app.require_subcommand(1);
    // The global options may stand after the command too (tfpath cache write
    // F --root R): every subcommand made below passes them up.
    app.fallthrough();
    tfpath::GlobalOptions global;
    app.add_option("--root", global.installRoot,
                   "the installation root: folders below it are taken as frozen, and a toolbox cache's names are "
                   "relative to it")
        ->trigger_on_parse();  // set as it is read: `cache load` loads before the lookup that follows it

    app.add_option("--feature", global.features, "switch a feature on: component, gup, zpm")
        ->check(CLI::IsMember({"component", "gup", "zpm"}));
    app.add_flag("--verbose", global.verbose, "write the diagnostic log to standard error");
    app.set_version_flag("--version", tfpath::VersionText(), "print the tool's and the library's versions");
    tfpath::AddListCommand(app, global);
    tfpath::AddEntryCommand(app, global);
    tfpath::AddWhichCommand(app, global);
    tfpath::AddPathCommand(app, global);
    tfpath::AddRunCommand(app, global);
    tfpath::AddWatchCommand(app, global);
    tfpath::AddCacheCommand(app, global);
    tfpath::AddHostCommands(app, global);
    tfpath::AddVersionCommand(app);
    int status = tfpath::kSucceeded;
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& e) {
        status = app.exit(e);  // --help, --version
    } catch (const CLI::RuntimeError& e) {
        status = e.get_exit_code();  // the command has said why
    } catch (const CLI::ParseError& e) {
        status = Refuse(app, e);
    } catch (const std::exception& e) {
        std::cout << std::flush;
        std::cerr << "tfpath: " << e.what() << "\n";
        status = tfpath::kFailed;
    }
    // End the process-wide objects (the entry factory with the entries it
    // keeps, the observers' reader thread) in order, before static
    // destruction begins.
    foundation::usm::Detail<foundation::usm::scope::Process>::endAll();
    return status;
}
