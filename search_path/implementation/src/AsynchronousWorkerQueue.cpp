#include "AsynchronousWorkerQueue.hpp"

#include "foundation/core/diag/Diagnostics.hpp"
#include "foundation/memmgr/Leaks.hpp"

#include <chrono>

namespace Thornfell::PathManagement {

AsynchronousWorkerQueue::AsynchronousWorkerQueue() {
    snapshotConnection = foundation::memmgr::leaks::registerListenerForSnapshotEvent([this] { WaitUntilIdle(); });
    // Last of all: the thread may run at once, and everything it touches is
    // ready by now.
    workers[0] = std::thread([this] { WorkerLoop(); });
}

AsynchronousWorkerQueue::~AsynchronousWorkerQueue() {
    {
        std::lock_guard lock(queueMutex);
        stopRequested = true;
    }
    wakeUp.notify_all();
    for (std::thread& worker : workers)
        if (worker.joinable()) worker.join();
    snapshotConnection.disconnect();
}

void AsynchronousWorkerQueue::WorkerLoop() {
    foundation::core::diag::setCurrentThreadName("PathManager async worker");
    for (;;) {
        std::unique_ptr<Task> task;
        {
            std::unique_lock lock(queueMutex);
            ++idleWorkers;
            wakeUp.wait(lock, [this] { return stopRequested || !tasks.empty(); });
            --idleWorkers;
            if (stopRequested && tasks.empty()) return;
            task = std::move(tasks.front());
            tasks.pop_front();
        }
        // Without the lock: freeing a large map takes a while, and paths keep
        // being dropped meanwhile.
        task->Run();
        task.reset();
    }
}

void AsynchronousWorkerQueue::WaitUntilIdle() {
    // Polls: nothing signals the end of a task, and a snapshot is rare. A
    // stopping queue counts as idle once it is empty, since its worker may
    // already have ended and will never wait again; the destructor's join is
    // then what waits for the last task.
    for (;;) {
        {
            std::lock_guard lock(queueMutex);
            if (tasks.empty() && (idleWorkers == 1 || stopRequested)) return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

}  // namespace Thornfell::PathManagement
