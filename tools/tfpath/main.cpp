// tfpath: looks at folders the way the search path sees them.
#include "Commands.hpp"

#include "foundation/usm/StateStore.hpp"

#include <exception>
#include <iostream>

int main(int argc, char** argv) {
    CLI::App app{"tfpath: folders, entries and name lookup as the search path sees them"};
    app.require_subcommand(1);
    tfpath::GlobalOptions global;
    app.add_option("--root", global.installRoot, "installation root: folders below it are taken as frozen");
    app.add_option("--feature", global.features, "switch a feature on: component, gup, zpm")
        ->check(CLI::IsMember({"component", "gup", "zpm"}));
    app.add_flag("--verbose", global.verbose, "write the diagnostic log to standard error");
    tfpath::AddListCommand(app, global);
    tfpath::AddEntryCommand(app, global);
    tfpath::AddWhichCommand(app, global);
    tfpath::AddPathCommand(app, global);
    tfpath::AddRunCommand(app, global);
    tfpath::AddWatchCommand(app, global);
    tfpath::AddCacheCommand(app, global);
    tfpath::AddHostCommands(app, global);
    int status = 0;
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        status = app.exit(e);
    } catch (const std::exception& e) {
        std::cerr << "tfpath: " << e.what() << "\n";
        status = 2;
    }
    // End the process-wide objects (the entry factory with the entries it
    // keeps, the observers' reader thread) in order, before static
    // destruction begins.
    foundation::usm::Detail<foundation::usm::scope::Process>::endAll();
    return status;
}
