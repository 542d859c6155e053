#pragma once

#include <string>

namespace HMI {

/// The first backlight under /sys/class/backlight (below QSP_SYSFS_ROOT), as the screen's levels 1..32.
class Backlight
{
public:
    /// Finds the device below @p sysfsRoot ("/" on a real board).
    explicit Backlight(const std::string &sysfsRoot);

    bool present() const { return !m_name.empty(); }
    /// The device's name, e.g. "intel_backlight"; empty when there is none.
    const std::string &name() const { return m_name; }
    /// The largest raw value, at least 1.
    int maximum() const { return m_max; }

    /// The level shown now, 1..32; 0 when it cannot be read.
    int level() const;
    /// Writes @p level; false when the device refused the write (it may belong to root).
    bool setLevel(int level) const;

    /// Level 1..32 onto raw 1..max, linearly, and back, rounding to the nearest.
    static int rawOf(int level, int max);
    static int levelOf(int raw, int max);

private:
    std::string m_dir;
    std::string m_name;
    int m_max = 1;
};

} // namespace HMI
