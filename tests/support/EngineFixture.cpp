#include "support/EngineFixture.hpp"

#include "foundation/storage/vfs/StorageSystem.hpp"
#include "storage/filefolderobserver/FileFolderObserver.hpp"

#include <chrono>
#include <thread>

namespace tfsp::test {

using ProcessStore = foundation::usm::Detail<foundation::usm::scope::Process>;

EngineFixture::EngineFixture() {
    ProcessStore::endAll();
    engine_ = std::make_unique<foundation::usm::EngineInstance>();
    current_.emplace(*engine_);
}

EngineFixture::~EngineFixture() {
    // The instance ends first: its objects may still reach process-wide ones.
    current_.reset();
    engine_.reset();
    ProcessStore::endAll();
}

bool Eventually(const std::function<bool()>& condition, double seconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

void SynchronizeObservers() {
    storage::filefolderobserver::GetFileFolderObserverFactory(OrvianStorageSystem::GetStorageSystemReference())
        .Synchronize();
}

}  // namespace tfsp::test
