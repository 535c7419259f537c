#pragma once
// A fresh engine for each test: the process scope of the state store is
// emptied before and after, and a new engine instance is current on the test
// thread for the test's life.
#include "foundation/usm/StateStore.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>

namespace tfsp::test {

class EngineFixture : public ::testing::Test {
protected:
    EngineFixture();
    ~EngineFixture() override;

    foundation::usm::EngineInstance& engine() { return *engine_; }

private:
    std::unique_ptr<foundation::usm::EngineInstance> engine_;
    std::optional<foundation::usm::EngineInstance::MakeCurrent> current_;
};

// Waits up to `seconds` for `condition` to hold, polling; returns whether it
// did. For threads reaching a state, or time passing; a change on disk is
// handed to the observers by SynchronizeObservers() instead.
bool Eventually(const std::function<bool()>& condition, double seconds = 5.0);

// Hands the observers of the process's observer factory every change the
// file system reported so far, as a refresh does first: afterwards an
// observer answers for every change made before the call.
void SynchronizeObservers();

}  // namespace tfsp::test
