// embed FOLDER... -- NAME...
// Puts the folders on a search path and prints the file each name finds, or
// "not found".
#include "tfsearch_path/SearchPath.hpp"

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    const auto dashes = std::find(args.begin(), args.end(), "--");
    if (dashes == args.end()) {
        std::cerr << "usage: embed FOLDER... -- NAME...\n";
        return 2;
    }
    Thornfell::PathManagement::SearchPath path;
    for (const std::string& message : path.SetFolders(std::vector<std::filesystem::path>(args.begin(), dashes)))
        std::cerr << "embed: " << message << "\n";
    for (auto name = dashes + 1; name != args.end(); ++name) {
        const auto found = path.Find(*name);
        std::cout << *name << ": " << (found ? found->string() : "not found") << "\n";
    }
    return 0;
}
