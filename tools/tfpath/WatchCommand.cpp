// tfpath watch DIR...: the folders on a path, refreshed at each interval;
// what each refresh changed (files added and removed in each folder, a
// folder that vanished) is printed as it happens, until Ctrl-C.
#include "ChangeFormat.hpp"
#include "Commands.hpp"
#include "EngineSession.hpp"
#include "ExitStatus.hpp"
#include "JsonText.hpp"
#include "Plural.hpp"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <thread>

namespace tfpath {

using namespace Thornfell::PathManagement;

namespace {

volatile std::sig_atomic_t stopRequested = 0;

extern "C" void RequestStop(int) { stopRequested = 1; }

// Ctrl-C and a termination request end the watch; the former handlers come
// back with the scope.
class StopOnSignal {
public:
    StopOnSignal() {
        stopRequested = 0;
        previousInterrupt_ = std::signal(SIGINT, RequestStop);
        previousTerminate_ = std::signal(SIGTERM, RequestStop);
    }
    ~StopOnSignal() {
        std::signal(SIGINT, previousInterrupt_);
        std::signal(SIGTERM, previousTerminate_);
    }
    StopOnSignal(const StopOnSignal&) = delete;
    StopOnSignal& operator=(const StopOnSignal&) = delete;

private:
    void (*previousInterrupt_)(int);
    void (*previousTerminate_)(int);
};

// Now in ISO 8601, local time with its offset from UTC:
// "2024-05-01T14:03:07.250+02:00".
std::string Now() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm local{};
    ::localtime_r(&seconds, &local);
    char offset[8];
    std::strftime(offset, sizeof offset, "%z", &local);  // "+0200"
    std::ostringstream text;
    text << std::put_time(&local, "%Y-%m-%dT%H:%M:%S") << '.' << std::setw(3) << std::setfill('0') << millis
         << std::string_view(offset, 3) << ':' << std::string_view(offset + 3, 2);
    return text.str();
}

constexpr long kLongestInterval = 24L * 60 * 60 * 1000;

// The folders that can be watched; each of the others is reported.
std::vector<std::string> ExistingFolders(const std::vector<std::string>& folders) {
    std::vector<std::string> existing;
    for (const auto& folder : folders) {
        try {
            RequireFolder(folder);
            existing.push_back(folder);
        } catch (const BadInput& e) {
            std::cerr << "tfpath: " << e.what() << "; not watched\n";
        }
    }
    return existing;
}

}  // namespace

void AddWatchCommand(CLI::App& app, const GlobalOptions& global) {
    struct Options {
        std::vector<std::string> folders;
        std::string cd;
        long interval = 500;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command =
        app.add_subcommand("watch", "put the folders on a path and print what each refresh changed, until Ctrl-C");
    command->add_option("DIR", options->folders, "folders of the path, in order")->required();
    command->add_option("--cd", options->cd, "the working folder (default: the process's)");
    command->add_option("--interval", options->interval, "milliseconds between refreshes, 1 to 86400000")
        ->capture_default_str();
    command->add_flag("--json", options->json, "print one JSON object a line for each change");
    command->callback([options, &global] {
        ApplyGlobalOptions(global);
        if (options->interval < 1 || options->interval > kLongestInterval)
            throw BadInput("watch --interval " + std::to_string(options->interval) +
                           ": the milliseconds between refreshes, from 1 to " + std::to_string(kLongestInterval));
        const StopOnSignal stop;
        EngineSession session(options->cd);
        // Folders that don't exist, or that the path refuses, are reported;
        // the others are watched.
        session.SetPathFolders(ExistingFolders(options->folders));
        const std::size_t watched = session.manager().GetPathFolders()->size();
        if (watched == 0) throw BadInput("watch: no folder left to watch");
        const bool json = options->json;
        // The path before each change, to compare the refreshed entries with.
        std::shared_ptr<const IPath> before = session.manager().GetSearchPath();
        auto connection = foundation::msg_svc::eventmgr::getEngineEventMgr()->subscribe(
            PathChangeEvent::TypeName(), [json, &before](const foundation::msg_svc::eventmgr::BaseEvent& e) {
                const auto& event = static_cast<const PathChangeEvent&>(e);
                if (event.GetStage() != PathChangeEvent::AfterChange) return;
                const auto refreshed = CompareRefreshed(event, *before);
                before = event.GetManager().GetSearchPath();
                const std::string time = Now();
                if (json) {
                    nlohmann::ordered_json object{{"time", time}};
                    object.update(FolderChangesToJson(event, refreshed));
                    std::cout << JsonText(object) << std::endl;
                } else {
                    for (const auto& line : DescribeFolderChanges(event, refreshed))
                        std::cout << time << "  " << line << std::endl;
                }
            });
        std::cerr << "tfpath: watching " << Counted(watched, "folder") << " every " << options->interval
                  << " ms; Ctrl-C ends\n";
        const auto interval = std::chrono::milliseconds(options->interval);
        const auto step = std::min(interval, std::chrono::milliseconds(20));
        while (!stopRequested) {
            const auto next = std::chrono::steady_clock::now() + interval;
            while (!stopRequested && std::chrono::steady_clock::now() < next) std::this_thread::sleep_for(step);
            if (!stopRequested) session.manager().Refresh(TrustObservers);
        }
        connection.disconnect();
    });
}

}  // namespace tfpath
