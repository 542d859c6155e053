#include "systemset/CallbackWorker.h"

#include <algorithm>
#include <limits>

namespace HMI {

// The longest delay (about 24.9 days) added to the clock's reading stays far inside the clock's range.
static_assert(std::chrono::steady_clock::duration::max() / 1000 >
                  std::chrono::milliseconds(std::numeric_limits<int>::max()),
              "a due time cannot overflow");

CallbackWorker::CallbackWorker()
    : m_thread([this] { run(); })
{}

CallbackWorker::~CallbackWorker()
{
    Tasks dropped;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        dropped.swap(m_tasks);
    }
    m_wake.notify_all();
    m_thread.join();
    // The dropped tasks' captured values die here, outside the lock, after the thread has stopped.
}

void CallbackWorker::post(int delayMs, std::function<void()> task)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopping)
            return; // a task posted from a task while the worker shuts down never runs
        const auto due = Clock::now() + std::chrono::milliseconds(std::max(0, delayMs));
        // The sequence number keeps tasks that fall due together in the order they were posted.
        m_tasks.emplace(std::make_pair(due, m_sequence++), std::move(task));
    }
    m_wake.notify_all();
}

void CallbackWorker::clear()
{
    Tasks dropped;
    std::lock_guard<std::mutex> lock(m_mutex);
    dropped.swap(m_tasks);
    if (m_running == 0)
        m_idle.notify_all();
}

bool CallbackWorker::waitForIdle(int timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_idle.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                           [this] { return m_tasks.empty() && m_running == 0; });
}

int CallbackWorker::pending() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(m_tasks.size()) + m_running;
}

bool CallbackWorker::isWorkerThread() const
{
    return std::this_thread::get_id() == m_thread.get_id();
}

void CallbackWorker::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
        if (m_tasks.empty()) {
            m_wake.wait(lock);
            continue;
        }
        const auto first = m_tasks.begin();
        // A copy: the wait reads its deadline again on waking, when the task may have been dropped.
        const Clock::time_point due = first->first.first;
        if (due > Clock::now()) {
            m_wake.wait_until(lock, due);
            continue;
        }
        std::function<void()> task = std::move(first->second);
        m_tasks.erase(first);
        ++m_running;
        lock.unlock();
        task();
        task = nullptr; // captured values die outside the lock, before the task counts as done
        lock.lock();
        --m_running;
        if (m_tasks.empty() && m_running == 0)
            m_idle.notify_all();
    }
}

} // namespace HMI
