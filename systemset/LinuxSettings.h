#pragma once

#include "systemset/StateFile.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <cstdint>
#include <mutex>
#include <string>

namespace HMI {

/// The Linux backend's own settings: a JSON file (QSP_SETTINGS, else
/// $XDG_CONFIG_HOME/qquicksystemset/settings.json) that other programs may read and write too. Every write
/// merges into the file as it is on disk and replaces it in one step; keys this backend does not own are
/// kept. Thread-safe.
class LinuxSettings
{
public:
    /// Reads the file at @p path (empty: nothing is read or written).
    explicit LinuxSettings(std::string path);

    /// The value of @p key, taking the file again first when another program changed it.
    QJsonValue value(const QString &key);
    /// Sets @p key to @p value in the file; false (reported once on stderr) when the file could not be
    /// written or is not JSON, the value then being kept in memory only.
    bool setValue(const QString &key, const QJsonValue &value);
    const std::string &path() const { return m_path; }

    /// QSP_SETTINGS, else the file under $XDG_CONFIG_HOME (or ~/.config).
    static std::string defaultPath();

private:
    void refresh();
    void report(const std::string &message);

    std::mutex m_mutex;
    std::string m_path;
    QJsonObject m_values;  ///< the file as last read, with this process's changes
    FileSignature m_seen;  ///< the file as last read or written here
    std::string m_problem; ///< the last problem reported, not repeated
};

} // namespace HMI
