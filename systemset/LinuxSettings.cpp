#include "systemset/LinuxSettings.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>

#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>

namespace HMI {

LinuxSettings::LinuxSettings(std::string path)
    : m_path(std::move(path))
{
    if (!m_path.empty())
        StateFile::removeStaleTemporaries(m_path);
    const std::lock_guard<std::mutex> lock(m_mutex);
    refresh();
}

std::string LinuxSettings::defaultPath()
{
    if (const char *explicitPath = std::getenv("QSP_SETTINGS"))
        return explicitPath;
    QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (base.isEmpty())
        base = QDir::homePath() + QStringLiteral("/.config");
    return (base + QStringLiteral("/qquicksystemset/settings.json")).toStdString();
}

QJsonValue LinuxSettings::value(const QString &key)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    refresh();
    return m_values.value(key);
}

void LinuxSettings::refresh()
{
    if (m_path.empty())
        return;
    // Most reads find the file as it was: its time stamp and size tell, unless it was written so recently
    // that a second write could share the stamp.
    struct stat st
    {};
    const bool exists = ::stat(m_path.c_str(), &st) == 0;
    const std::int64_t stamp = exists ? StateFile::modifiedNs(st) : 0;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::int64_t nowNs = std::int64_t(now.tv_sec) * 1000000000 + now.tv_nsec;
    if (exists == m_seen.exists &&
        (!exists || (stamp == m_seen.modifiedNs && st.st_size == m_seen.size && nowNs - stamp > 2000000000)))
        return;
    const FileSnapshot file = StateFile::read(m_path);
    if (file.signature == m_seen)
        return;
    m_seen = file.signature;
    if (!file.readable)
        return;
    std::string why;
    if (const auto doc = StateFile::parse(file.bytes, why))
        m_values = *doc;
    else
        report("settings " + m_path + ": " + why + "; using the values in memory");
}

bool LinuxSettings::setValue(const QString &key, const QJsonValue &value)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_values.insert(key, value);
    if (m_path.empty())
        return true;
    const std::string name = "settings " + m_path + ": ";
    // Another program may have written the file since: merge into it as it is now.
    const FileSnapshot file = StateFile::read(m_path);
    QJsonObject doc;
    if (file.signature.exists) {
        std::string why;
        const auto parsed = file.readable ? StateFile::parse(file.bytes, why) : std::nullopt;
        if (!parsed) {
            report(name + (file.readable ? why : "cannot be read (" + file.error.toStdString() + ")") +
                   "; not overwriting it, the change is kept in memory only");
            return false;
        }
        doc = *parsed;
    } else {
        QDir().mkpath(QFileInfo(QString::fromStdString(m_path)).absolutePath());
    }
    doc.insert(key, value);
    const QByteArray bytes = QJsonDocument(doc).toJson();
    const std::string error = StateFile::replace(m_path, bytes);
    if (!error.empty()) {
        report(name + "cannot be written (" + error + "); the change is kept in memory only");
        return false;
    }
    m_values = doc;
    m_seen = StateFile::written(m_path, bytes);
    m_problem.clear();
    return true;
}

void LinuxSettings::report(const std::string &message)
{
    if (message == m_problem)
        return;
    m_problem = message;
    std::fprintf(stderr, "%s\n", message.c_str());
}

} // namespace HMI
