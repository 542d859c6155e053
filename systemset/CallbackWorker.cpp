#include "CallbackWorker.h"

#include <algorithm>

namespace HMI {

CallbackWorker::CallbackWorker()
    : m_thread([this] { run(); })
{}

CallbackWorker::~CallbackWorker()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        m_tasks.clear();
    }
    m_wake.notify_all();
    m_thread.join();
}

void CallbackWorker::post(int delayMs, std::function<void()> task)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto due = Clock::now() + std::chrono::milliseconds(std::max(0, delayMs));
        // The sequence number keeps tasks that fall due together in the order they were posted.
        m_tasks.emplace(std::make_pair(due, m_sequence++), std::move(task));
    }
    m_wake.notify_all();
}

void CallbackWorker::clear()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_tasks.clear();
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
        if (first->first.first > Clock::now()) {
            m_wake.wait_until(lock, first->first.first);
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
