// tfpath watch DIR...: the folders on a path, refreshed at each interval;
// every change is printed as it happens, until Ctrl-C.
#include "ChangeFormat.hpp"
#include "Commands.hpp"
#include "EngineSession.hpp"
#include "JsonText.hpp"

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

std::string TimeOfDay() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm local{};
    ::localtime_r(&seconds, &local);
    std::ostringstream text;
    text << std::put_time(&local, "%H:%M:%S") << '.' << std::setw(3) << std::setfill('0') << millis;
    return text.str();
}

} // namespace

void AddWatchCommand(CLI::App& app, const GlobalOptions& global) {
    struct Options {
        std::vector<std::string> folders;
        std::string cd;
        int interval = 500;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("watch", "put the folders on a path and print each change until Ctrl-C");
    command->add_option("DIR", options->folders, "folders of the path, in order")->required();
    command->add_option("--cd", options->cd, "the working folder (default: the process's)");
    command->add_option("--interval", options->interval, "milliseconds between refreshes")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    command->add_flag("--json", options->json, "print one JSON object for each change");
    command->callback([options, &global] {
        ApplyGlobalOptions(global);
        const StopOnSignal stop;
        EngineSession session(options->cd.empty() ? std::nullopt : std::optional(options->cd));
        // Folders that can't be read are reported; the others are watched.
        session.SetPathFolders(options->folders);
        const bool json = options->json;
        auto connection = foundation::msg_svc::eventmgr::getEngineEventMgr()->subscribe(
            PathChangeEvent::TypeName(), [json](const foundation::msg_svc::eventmgr::BaseEvent& e) {
                const auto& event = static_cast<const PathChangeEvent&>(e);
                if (event.GetStage() != PathChangeEvent::AfterChange) return;
                if (json) {
                    nlohmann::ordered_json object{{"time", TimeOfDay()}};
                    object.update(ChangeToJson(event));
                    object.erase("stage");
                    std::cout << JsonText(object) << std::endl;
                } else {
                    std::cout << TimeOfDay() << "  " << DescribeDifferences(event) << std::endl;
                }
            });
        if (!json)
            std::cout << "watching " << session.manager().GetPathFolders()->size() << " folders every "
                      << options->interval << " ms; Ctrl-C ends\n" << std::flush;
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

} // namespace tfpath
