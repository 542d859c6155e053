#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace HMI {

/// One line per call that changes something, kept in memory, shown to an observer and appended to a file:
/// the same lines whichever backend serves the calls.
class CallLog
{
public:
    void append(const std::string &line);
    std::vector<std::string> lines() const;
    void clear();
    /// @p observer is called on the calling thread with every line (empty: none).
    void setObserver(std::function<void(const std::string &)> observer);
    /// Every line is appended to @p path as well (empty: no file).
    void setFile(const std::string &path);

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_lines;
    std::function<void(const std::string &)> m_observer;
    std::string m_file;
};

} // namespace HMI
