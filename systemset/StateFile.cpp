#include "systemset/StateFile.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QRandomGenerator>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <signal.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace HMI {

namespace {

/// The start of the names of the temporary files written beside @p path: ".NAME.tmp-", then the writer's
/// process id, a dash and a random part.
std::string temporaryPrefix(const std::string &path)
{
    const std::filesystem::path p(path);
    const std::filesystem::path dir = p.has_parent_path() ? p.parent_path() : std::filesystem::path(".");
    return (dir / ("." + p.filename().string() + ".tmp-")).string();
}

} // namespace

std::int64_t StateFile::modifiedNs(const struct stat &st)
{
    return static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
}

void StateFile::removeStaleTemporaries(const std::string &path)
{
    const std::filesystem::path prefix(temporaryPrefix(path));
    const QString start = QString::fromStdString(prefix.filename().string());
    const QDir dir(QString::fromStdString(prefix.parent_path().string()));
    for (const QString &name : dir.entryList(QDir::Files | QDir::Hidden | QDir::System)) {
        if (!name.startsWith(start))
            continue;
        bool ok = false;
        const qint64 pid = name.mid(start.size()).section(QLatin1Char('-'), 0, 0).toLongLong(&ok);
        // A writer that still runs (this process or another) may be about to rename its file.
        if (!ok || pid <= 0 || pid == ::getpid() || pid > 0x7fffffff ||
            ::kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH)
            continue;
        QFile::remove(dir.filePath(name));
    }
}

std::string StateFile::replace(const std::string &path, const QByteArray &bytes)
{
    struct stat old
    {};
    const bool existed = ::stat(path.c_str(), &old) == 0;
    std::string temporary;
    int fd = -1;
    for (int attempt = 0; fd < 0 && attempt < 8; ++attempt) {
        temporary = temporaryPrefix(path) + std::to_string(::getpid()) + '-' +
                    QByteArray::number(QRandomGenerator::global()->generate(), 16).toStdString();
        fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST)
            break;
    }
    const auto reason = [](int error) { return std::error_code(error, std::generic_category()).message(); };
    if (fd < 0)
        return reason(errno);
    const auto fail = [&] {
        const int error = errno;
        if (fd >= 0)
            ::close(fd);
        ::unlink(temporary.c_str());
        return reason(error);
    };
    // A read-only file stays read-only: the mode is set on the open descriptor, which can still write.
    if (existed && ::fchmod(fd, old.st_mode & 07777) != 0)
        return fail();
    for (qint64 done = 0; done < bytes.size();) {
        const ssize_t n = ::write(fd, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return fail();
        done += n;
    }
    if (::fsync(fd) != 0)
        return fail();
    const int closed = ::close(fd);
    fd = -1;
    if (closed != 0 || ::rename(temporary.c_str(), path.c_str()) != 0)
        return fail();
    return std::string();
}

std::optional<QJsonObject> StateFile::parse(const QByteArray &text, std::string &why)
{
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError) {
        why = "not valid JSON: " + error.errorString().toStdString() + " at offset " +
              std::to_string(error.offset);
        return std::nullopt;
    }
    if (!doc.isObject()) {
        why = "not valid JSON: the document is not an object at offset 0";
        return std::nullopt;
    }
    return doc.object();
}

FileSnapshot StateFile::read(const std::string &path)
{
    FileSnapshot s;
    struct stat st
    {};
    if (::stat(path.c_str(), &st) != 0)
        return s;
    s.signature.exists = true;
    s.signature.modifiedNs = modifiedNs(st);
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) {
        s.error = file.errorString();
        return s;
    }
    s.bytes = file.readAll();
    s.readable = true;
    s.signature.size = s.bytes.size();
    s.signature.hash = QCryptographicHash::hash(s.bytes, QCryptographicHash::Sha256);
    return s;
}

FileSignature StateFile::written(const std::string &path, const QByteArray &bytes)
{
    FileSignature seen;
    struct stat st
    {};
    if (::stat(path.c_str(), &st) == 0) {
        seen.exists = true;
        seen.modifiedNs = modifiedNs(st);
        seen.size = bytes.size();
        seen.hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
    }
    return seen;
}

} // namespace HMI
