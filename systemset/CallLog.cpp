#include "systemset/CallLog.h"

#include <cstdio>

namespace HMI {

void CallLog::append(const std::string &line)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.push_back(line);
    if (m_observer)
        m_observer(line);
    if (m_file.empty())
        return;
    if (FILE *f = std::fopen(m_file.c_str(), "a")) {
        std::fprintf(f, "%s\n", line.c_str());
        std::fclose(f);
    }
}

std::vector<std::string> CallLog::lines() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
}

void CallLog::clear()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.clear();
}

void CallLog::setObserver(std::function<void(const std::string &)> observer)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_observer = std::move(observer);
}

void CallLog::setFile(const std::string &path)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_file = path;
}

} // namespace HMI
