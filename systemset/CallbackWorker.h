#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

namespace HMI {

/// One thread of the simulated panel's own that runs callbacks after their delays, in due order.
class CallbackWorker
{
public:
    CallbackWorker();
    /// Drops what is still pending (whatever its delay), waits for a task already running and joins the
    /// thread.
    ~CallbackWorker();
    CallbackWorker(const CallbackWorker &) = delete;
    CallbackWorker &operator=(const CallbackWorker &) = delete;

    /// Runs @p task on the worker thread @p delayMs milliseconds from now.
    void post(int delayMs, std::function<void()> task);
    /// Forgets every task not yet started.
    void clear();
    /// Waits until nothing is pending or running; false when @p timeoutMs passed first.
    bool waitForIdle(int timeoutMs);
    int pending() const;
    bool isWorkerThread() const;

private:
    using Clock = std::chrono::steady_clock;
    /// Tasks by due time; the sequence number keeps tasks that fall due together in the order they were
    /// posted.
    using Tasks = std::multimap<std::pair<Clock::time_point, std::uint64_t>, std::function<void()>>;
    void run();

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_idle;
    Tasks m_tasks;
    std::uint64_t m_sequence = 0;
    int m_running = 0;
    bool m_stopping = false;
    std::thread m_thread;
};

} // namespace HMI
