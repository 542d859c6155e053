#pragma once

#include <string>

namespace HMI {

/// An input event device that can sound a tone (EV_SND, SND_TONE): QSP_BEEPER, else the first
/// /dev/input/event* that has one.
class Beeper
{
public:
    /// Finds the device; @p explicitPath (QSP_BEEPER) wins when it is not empty.
    explicit Beeper(const std::string &explicitPath);

    bool present() const { return !m_path.empty(); }
    const std::string &path() const { return m_path; }
    /// Sounds @p hz (0: silence); false when the device refused the events.
    bool tone(int hz) const;

private:
    std::string m_path;
};

} // namespace HMI
