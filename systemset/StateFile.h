#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <cstdint>
#include <optional>
#include <string>

struct stat;

namespace HMI {

/// What was last seen of a settings file. Time stamps can be coarse (two writes within one tick carry the
/// same one), so the size and a hash of the content count as well.
struct FileSignature
{
    bool exists = false;
    std::int64_t modifiedNs = 0;
    qint64 size = -1;
    QByteArray hash;

    bool operator==(const FileSignature &o) const
    {
        return exists == o.exists && modifiedNs == o.modifiedNs && size == o.size && hash == o.hash;
    }
    bool operator!=(const FileSignature &o) const { return !(*this == o); }
};

/// A settings file as it is on disk at one moment.
struct FileSnapshot
{
    FileSignature signature;
    bool readable = false; ///< it exists and its bytes were read
    QByteArray bytes;
    QString error; ///< why it could not be read
};

/// A JSON settings file shared with other programs: read whole, replaced in one step, never left half
/// written.
class StateFile
{
public:
    /// The file at @p path now.
    static FileSnapshot read(const std::string &path);
    /// The signature of @p path right after this process wrote @p bytes to it.
    static FileSignature written(const std::string &path, const QByteArray &bytes);
    /// Replaces the file at @p path with @p bytes in one step: a temporary file beside it, with the old
    /// file's permissions, flushed to disk and renamed over it. Empty on success, else the reason.
    static std::string replace(const std::string &path, const QByteArray &bytes);
    /// Removes the temporary files beside @p path whose writer is gone: it was killed while writing.
    static void removeStaleTemporaries(const std::string &path);
    /// The JSON object in @p text, or nothing and the reason in @p why.
    static std::optional<QJsonObject> parse(const QByteArray &text, std::string &why);
    /// Modification time of @p st in nanoseconds.
    static std::int64_t modifiedNs(const struct stat &st);
};

} // namespace HMI
