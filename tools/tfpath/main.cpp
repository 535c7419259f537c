// tfpath: looks at folders the way the search path sees them.
#include "Commands.hpp"

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
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e);
    } catch (const std::exception& e) {
        std::cerr << "tfpath: " << e.what() << "\n";
        return 2;
    }
    return 0;
}
