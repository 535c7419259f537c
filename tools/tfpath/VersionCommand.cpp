// tfpath version (and tfpath --version): the tool's version and that of the
// library it runs with, which a newer shared library may make differ.
#include "Commands.hpp"

#include "tfsearch_path/LibraryVersion.hpp"

#include <iostream>

namespace tfpath {

std::string VersionText() {
    // TFPATH_VERSION is the project's version, given to this source alone.
    return std::string("tfpath ") + TFPATH_VERSION + "\nlibtfsearch_path_impl " +
           Thornfell::PathManagement::LibraryVersion();
}

void AddVersionCommand(CLI::App& app) {
    app.add_subcommand("version", "print the tool's and the library's versions")->callback([] {
        std::cout << VersionText() << "\n";
    });
}

}  // namespace tfpath
