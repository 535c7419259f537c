#pragma once
// One background thread with a first-in, first-out queue of tasks. Paths give
// it the memory of their large maps, so that whoever drops a path doesn't pay
// for freeing them. Nothing else is ever queued.
#include <boost/signals2/connection.hpp>

#include <array>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

namespace Thornfell::PathManagement {

class AsynchronousWorkerQueue {
public:
    // Starts the worker thread; std::system_error if it can't be started.
    AsynchronousWorkerQueue();
    // Runs out the queue, then joins the worker: nothing queued is dropped.
    ~AsynchronousWorkerQueue();
    AsynchronousWorkerQueue(const AsynchronousWorkerQueue&) = delete;
    AsynchronousWorkerQueue& operator=(const AsynchronousWorkerQueue&) = delete;

    // Afterwards the task has either been queued or, when there was no memory
    // to queue it, been run on the calling thread. The task's result or
    // exception stays in its shared state; nobody takes its future.
    template <class R>
    void Enqueue(std::packaged_task<R()>&& task) noexcept;

    class Task {
    public:
        virtual void Run() = 0;
        virtual ~Task() = default;
    };

    template <class R>
    class TypedTask final : public Task {
    public:
        explicit TypedTask(std::packaged_task<R()>&& task) : task_(std::move(task)) {}
        void Run() override {
            if (task_.valid()) task_();
        }

    private:
        std::packaged_task<R()> task_;
    };

private:
    void WorkerLoop();
    // Listener of the leak snapshot: returns once the queue is empty and the
    // worker waits, so that a snapshot finds no map waiting to be freed.
    void WaitUntilIdle();

    std::condition_variable wakeUp;
    std::mutex queueMutex;
    std::deque<std::unique_ptr<Task>> tasks;
    bool stopRequested = false;
    std::int32_t idleWorkers = 0;
    std::array<std::thread, 1> workers;
    boost::signals2::scoped_connection snapshotConnection;
};

template <class R>
void AsynchronousWorkerQueue::Enqueue(std::packaged_task<R()>&& task) noexcept {
    std::unique_ptr<Task> typed;
    try {
        typed = std::make_unique<TypedTask<R>>(std::move(task));
        {
            std::lock_guard lock(queueMutex);
            // The deque leaves `typed` alone when it can't grow.
            tasks.push_back(std::move(typed));
        }
        wakeUp.notify_one();
    } catch (...) {
        // Out of memory: rather than lose the work (a map that would never be
        // freed), do it here and now.
        if (typed)
            typed->Run();
        else if (task.valid())
            task();
    }
}

}  // namespace Thornfell::PathManagement
