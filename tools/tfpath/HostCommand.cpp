// The library's host commands from the command line, each called with host
// arrays as the interpreter calls it:
//   tfpath dump [DIR...] [--cd DIR] [--no-current-folder] [--json]
//                                     the dump of the search path of the folders
//   tfpath canonicalize PATH [--cd DIR] [--string] [--json]
//                                     PATH made canonical against the working folder
//   tfpath policy remote|warning [VALUE|status] [--json]
//                                     sets an observer policy; prints the one before
// With --json the tool builds the same answer as JSON itself.
#include "Commands.hpp"
#include "EngineSession.hpp"
#include "EntryFormat.hpp"
#include "HostArrays.hpp"
#include "JsonText.hpp"

#include "tfsearch_path/HostCommands.hpp"
#include "thornfell/string/StringArray.hpp"

#include <iostream>

namespace tfpath {

using namespace Thornfell::PathManagement;

namespace {

// What the host's dump prints, as JSON: every entry of the search path in
// the dump's order, [{"folder", "type", "upToDate", "files": [{"file"}]}].
nlohmann::ordered_json DumpJson(const IPath& path) {
    nlohmann::ordered_json entries = nlohmann::ordered_json::array();
    path.ForEachEntry(allEntryTypesScope, [&](const PathEntryPointer& entry) {
        nlohmann::ordered_json files = nlohmann::ordered_json::array();
        for (const auto& item : *entry->GetPathItems()) files.push_back({{"file", ItemPath(*item)}});
        entries.push_back({{"folder", FolderPath(*entry)},
                           {"type", EntryTypeName(entry->GetPathEntryType())},
                           {"upToDate", !entry->IsOutOfDate()},
                           {"files", std::move(files)}});
        return false;
    });
    return entries;
}

void AddDump(CLI::App& app, const GlobalOptions& global) {
    struct Options {
        std::vector<std::string> folders;
        std::string cd;
        bool noCurrentFolder = false;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("dump", "print the host's dump of the search path of these folders");
    command->add_option("DIR", options->folders, "folders of the path, in order");
    command->add_option("--cd", options->cd, "the working folder (default: the process's)");
    command->add_flag("--no-current-folder", options->noCurrentFolder, "keep the working folder off the search path");
    command->add_flag("--json", options->json, "print JSON");
    command->callback([options, &global] {
        ApplyGlobalOptions(global);
        RequireFolders(options->folders);
        EngineSession session(options->cd, !options->noCurrentFolder);
        session.SetPathFolders(options->folders);
        if (options->json)
            std::cout << JsonText(DumpJson(*session.manager().GetSearchPath()), 2) << "\n";
        else
            RunHostCommand([] { FeatureDumpMainSearchPath(0, nullptr, 0, nullptr); });
    });
}

void AddCanonicalize(CLI::App& app, const GlobalOptions& global) {
    struct Options {
        std::string path;
        std::string cd;
        bool string = false;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("canonicalize", "print the canonical form of PATH, as the host makes it");
    command->add_option("PATH", options->path, "a path, relative to the working folder or absolute")->required();
    command->add_option("--cd", options->cd, "the working folder (default: the process's)");
    command->add_flag("--string", options->string, "pass PATH as a string scalar rather than characters");
    command->add_flag("--json", options->json, "print JSON: {\"input\", \"canonical\"}");
    command->callback([options, &global] {
        ApplyGlobalOptions(global);
        EngineSession session(options->cd);
        const auto input = options->string
                               ? Thornfell::String::createStringArray(fl::i18n::utf8_to_ustring(options->path))
                               : TextArgument(options->path);
        const qvArray_tag* inputs[] = {input.get()};
        matrix::OutputSlots outputs;
        RunHostCommand([&] { HiddenCanonicalizepath(1, outputs.data(), 1, inputs); });
        if (options->json)
            std::cout << JsonText(nlohmann::ordered_json{{"input", options->path}, {"canonical", TextOf(outputs[0])}},
                                  2)
                      << "\n";
        else
            std::cout << TextOf(outputs[0]) << "\n";
    });
}

void AddPolicy(CLI::App& app, const GlobalOptions& global) {
    struct Options {
        std::string which;
        std::string value = "status";
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("policy", "set an observer policy and print the one before it");
    command
        ->add_option("POLICY", options->which, "remote (folders on network file systems) or warning (no change handle)")
        ->required()
        ->check(CLI::IsMember({"remote", "warning"}));
    command->add_option("VALUE", options->value,
                        "remote: Reload, TimecheckDir, None; warning: always, once, never; or status (the default)");
    command->add_flag("--json", options->json, "print JSON: {\"policy\", \"previous\"}");
    command->callback([options, &global] {
        ApplyGlobalOptions(global);
        const auto input = TextArgument(options->value);
        qvArray_tag* inputs[] = {input.get()};
        matrix::OutputSlots outputs;
        const auto run = options->which == "remote" ? FeatureRemotePathPolicy : FeatureDirChangeHandleWarn;
        RunHostCommand([&] { run(1, outputs.data(), 1, inputs); });
        if (options->json)
            std::cout << JsonText(nlohmann::ordered_json{{"policy", options->which}, {"previous", TextOf(outputs[0])}},
                                  2)
                      << "\n";
        else
            std::cout << TextOf(outputs[0]) << "\n";
    });
}

}  // namespace

void AddHostCommands(CLI::App& app, const GlobalOptions& global) {
    AddDump(app, global);
    AddCanonicalize(app, global);
    AddPolicy(app, global);
}

}  // namespace tfpath
