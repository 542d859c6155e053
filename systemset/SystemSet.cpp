#include "systemset/SystemSet.h"

#include "systemset/SystemSetPrivate.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QRandomGenerator>
#include <QString>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <optional>
#include <signal.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace HMI {

namespace {

const char *envOrEmpty(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

/// A name for the log: in quotes as it is when it is printable UTF-8 without quotes or backslashes, else
/// "hex:" and its bytes, so that no name can end the quotes early or write a line of its own.
std::string ssidForLog(const std::string &bytes)
{
    const QByteArray raw = QByteArray::fromStdString(bytes);
    const QString text = QString::fromUtf8(raw);
    bool printable = text.toUtf8() == raw;
    for (const uint c : text.toUcs4()) {
        // C0 and C1 controls, DEL, the line and paragraph separators, and the log's own quoting.
        if (c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x2028 || c == 0x2029 || c == '"' || c == '\\')
            printable = false;
    }
    if (printable)
        return '"' + bytes + '"';
    return "\"hex:" + raw.toHex().toStdString() + '"';
}

std::string ssidBytes(const SSID &ssid)
{
    const auto end = std::find(ssid.begin(), ssid.begin() + 32, '\0');
    return std::string(ssid.begin(), end);
}

std::int64_t modifiedNs(const struct stat &st)
{
    return static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
}

/// The start of the names of the temporary files written beside @p path: ".NAME.tmp-", then the writer's
/// process id, a dash and a random part.
std::string temporaryPrefix(const std::string &path)
{
    const std::filesystem::path p(path);
    const std::filesystem::path dir = p.has_parent_path() ? p.parent_path() : std::filesystem::path(".");
    return (dir / ("." + p.filename().string() + ".tmp-")).string();
}

/// Removes the temporary files beside @p path whose writer is gone: it was killed while writing.
void removeStaleTemporaries(const std::string &path)
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

/// Replaces the file at @p path with @p bytes in one step: a temporary file beside it, with the old file's
/// permissions, flushed to disk and renamed over it. Empty on success, else the reason.
std::string replaceFile(const std::string &path, const QByteArray &bytes)
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

/// The state document in @p text, or why there is none.
std::optional<QJsonObject> parseState(const QByteArray &text, std::string &why)
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

} // namespace

void SystemSet::Private::load(const std::string &path)
{
    live = PanelState();
    fileUnusable = false;
    stateFile = path;
    seen = FileSignature();
    lastProblem.clear();
    if (path.empty())
        return;
    removeStaleTemporaries(path);
    const FileSnapshot now = snapshot();
    seen = now.signature;
    if (now.readable) {
        readDocument(now.bytes, QString::fromStdString(path));
    } else if (now.signature.exists) {
        std::fprintf(stderr, "panel state %s: cannot be read (%s); using the defaults\n", path.c_str(),
                     qPrintable(now.error));
        fileUnusable = true;
    }
}

void SystemSet::Private::readDocument(const QByteArray &text, const QString &name)
{
    std::string why;
    if (const auto doc = parseState(text, why)) {
        live.read(*doc, name);
    } else {
        std::fprintf(stderr, "panel state %s: %s; using the defaults\n", qPrintable(name), why.c_str());
        fileUnusable = true;
    }
}

void SystemSet::Private::append(const std::string &line)
{
    log.push_back(line);
    if (observer)
        observer(line);
    if (logFile.empty())
        return;
    if (FILE *f = std::fopen(logFile.c_str(), "a")) {
        std::fprintf(f, "%s\n", line.c_str());
        std::fclose(f);
    }
}

FileSnapshot SystemSet::Private::snapshot() const
{
    FileSnapshot s;
    struct stat st
    {};
    if (::stat(stateFile.c_str(), &st) != 0)
        return s;
    s.signature.exists = true;
    s.signature.modifiedNs = modifiedNs(st);
    QFile file(QString::fromStdString(stateFile));
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

void SystemSet::Private::followLanguage()
{
    if (stateFile.empty())
        return;
    // A file that was found as seen well after its time stamp, and still has that time stamp and size, has
    // not been written since: a later write would carry a later stamp. Only then are its bytes not read and
    // hashed again (a write in the same tick as the one seen is told by its content).
    timespec clock{};
    clock_gettime(CLOCK_REALTIME, &clock);
    const std::int64_t nowNs = std::int64_t(clock.tv_sec) * 1000000000 + clock.tv_nsec;
    struct stat st
    {};
    constexpr std::int64_t settledNs = 2000000000;
    if (seen.exists && seenCheckedNs - seen.modifiedNs > settledNs && ::stat(stateFile.c_str(), &st) == 0 &&
        modifiedNs(st) == seen.modifiedNs && qint64(st.st_size) == seen.size)
        return;
    const FileSnapshot now = snapshot();
    if (now.signature == seen) {
        seenCheckedNs = nowNs;
        return;
    }
    seen = now.signature;
    seenCheckedNs = 0;
    if (!now.readable)
        return;
    std::string why;
    if (const auto doc = parseState(now.bytes, why))
        live.readLanguage(*doc, QString::fromStdString(stateFile));
    else
        std::fprintf(stderr, "panel state %s: %s; language unchanged\n", stateFile.c_str(), why.c_str());
}

void SystemSet::Private::persist(PanelState::PersistedKey key, int nic)
{
    if (stateFile.empty())
        return;
    const std::string name = "panel state " + stateFile + ": ";
    const std::string keptInMemory = "; the change is kept in memory only";
    if (fileUnusable) {
        reportOnce(name + "not overwriting a file that could not be read" + keptInMemory);
        return;
    }
    // Another program may have written the file since: merge into it as it is now.
    const FileSnapshot now = snapshot();
    QJsonObject doc;
    if (now.signature.exists) {
        if (!now.readable) {
            reportOnce(name + "cannot be read (" + now.error.toStdString() + "); not overwriting it" +
                       keptInMemory);
            return;
        }
        std::string why;
        const auto parsed = parseState(now.bytes, why);
        if (!parsed) {
            seen = now.signature;
            reportOnce(name + why + "; not overwriting it" + keptInMemory);
            return;
        }
        doc = *parsed;
        if (now.signature != seen) { // the other program's language counts, as getLanguage would take it
            live.readLanguage(doc, QString::fromStdString(stateFile));
            seen = now.signature;
        }
    }
    if (!live.writeKey(doc, key, nic))
        return;
    const QByteArray bytes = QJsonDocument(doc).toJson();
    const std::string error = replaceFile(stateFile, bytes);
    if (!error.empty()) {
        reportOnce(name + "cannot be written (" + error + ")" + keptInMemory);
        return;
    }
    // What was written is no outside change. A write by another program right after this one has a
    // content of its own, so it is still seen even when it left the same time stamp and size.
    struct stat st
    {};
    seen = FileSignature();
    if (::stat(stateFile.c_str(), &st) == 0) {
        seen.exists = true;
        seen.modifiedNs = modifiedNs(st);
        seen.size = bytes.size();
        seen.hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
    }
    lastProblem.clear();
}

void SystemSet::Private::reportOnce(const std::string &message)
{
    if (message == lastProblem)
        return;
    lastProblem = message;
    std::fprintf(stderr, "%s\n", message.c_str());
}

SystemSet::SystemSet()
    : d(std::make_unique<Private>())
{
    d->logFile = envOrEmpty("QSP_PANEL_LOG");
    d->load(envOrEmpty("QSP_PANEL_STATE"));
}

SystemSet::~SystemSet() = default;

static std::string b(bool v)
{
    return v ? "1" : "0";
}

static std::string ip(IP v)
{
    return PanelState::ipToText(v).toStdString();
}

static std::string n(long long v)
{
    return std::to_string(v);
}

int SystemSet::getAllNIC() const
{
    const auto lock = d->lock();
    int mask = 0;
    for (int i = 0; i < 5; ++i) {
        if (d->live.adapters[static_cast<size_t>(i)].present)
            mask |= PanelState::nicOfIndex(i);
    }
    return mask;
}

bool SystemSet::isNicEnabled(NIC nic) const
{
    const auto lock = d->lock();
    const auto *a = d->live.adapter(nic);
    return a && a->present && a->enabled;
}

void SystemSet::enableNIC(NIC nic, bool enable, bool persist)
{
    const auto lock = d->lock();
    d->append("enableNIC " + n(nic) + ' ' + b(enable) + ' ' + b(persist));
    if (!d->live.adapter(nic))
        return;
    d->change(persist, PanelState::PersistedKey::Enabled, nic,
              [&](PanelState &s) { s.adapter(nic)->enabled = enable; });
}

bool SystemSet::isDhcpOn(NIC nic) const
{
    const auto lock = d->lock();
    const auto *a = d->live.adapter(nic);
    return a && a->present && a->dhcp;
}

void SystemSet::setDHCP(NIC nic, bool on, std::function<void(DHCP_STATE)> const &callback, bool persist)
{
    const auto lock = d->lock();
    d->append("setDHCP " + n(nic) + ' ' + b(on) + ' ' + b(persist));
    if (d->live.adapter(nic))
        d->change(persist, PanelState::PersistedKey::Dhcp, nic,
                  [&](PanelState &s) { s.adapter(nic)->dhcp = on; });
    if (callback) {
        const auto state = static_cast<DHCP_STATE>(d->live.dhcpState);
        d->worker.post(d->live.delayDhcp, [callback, state] { callback(state); });
    }
}

IP SystemSet::getIp(NIC nic) const
{
    return d->liveAddress(nic, &PanelState::Addresses::ip);
}

IP SystemSet::getSubnetMask(NIC nic) const
{
    return d->liveAddress(nic, &PanelState::Addresses::mask);
}

IP SystemSet::getGateway(NIC nic) const
{
    return d->liveAddress(nic, &PanelState::Addresses::gateway);
}

IP SystemSet::getIpFromEE(NIC nic) const
{
    return d->storedAddress(nic, &PanelState::Addresses::ip);
}

IP SystemSet::getSubnetMaskFromEE(NIC nic) const
{
    return d->storedAddress(nic, &PanelState::Addresses::mask);
}

IP SystemSet::getGatewayFromEE(NIC nic) const
{
    return d->storedAddress(nic, &PanelState::Addresses::gateway);
}

void SystemSet::setIp(NIC nic, IP address, bool persist)
{
    d->setStoredAddress("setIp", nic, &PanelState::Addresses::ip, PanelState::PersistedKey::StaticIp, address,
                        persist);
}

void SystemSet::setSubnetMask(NIC nic, IP mask, bool persist)
{
    d->setStoredAddress("setSubnetMask", nic, &PanelState::Addresses::mask,
                        PanelState::PersistedKey::StaticMask, mask, persist);
}

void SystemSet::setGateway(NIC nic, IP gateway, bool persist)
{
    d->setStoredAddress("setGateway", nic, &PanelState::Addresses::gateway,
                        PanelState::PersistedKey::StaticGateway, gateway, persist);
}

MAC SystemSet::getMac(NIC nic) const
{
    const auto lock = d->lock();
    const auto *a = d->live.adapter(nic);
    return a && a->present ? a->mac : MAC{};
}

std::pair<IP, IP> SystemSet::getDns(NIC nic) const
{
    const auto lock = d->lock();
    const auto *a = d->live.adapter(nic);
    return a && a->present ? a->dns : std::pair<IP, IP>{0, 0};
}

void SystemSet::setDns(NIC nic, std::pair<IP, IP> const &dns)
{
    const auto lock = d->lock();
    d->append("setDns " + n(nic) + ' ' + ip(dns.first) + ' ' + ip(dns.second));
    if (d->live.adapter(nic))
        d->change(true, PanelState::PersistedKey::Dns, nic,
                  [&](PanelState &s) { s.adapter(nic)->dns = dns; });
}

SystemSet::NIC SystemSet::getDefaultNIC() const
{
    const auto lock = d->lock();
    return d->live.defaultAdapter;
}

void SystemSet::setDefaultNIC(NIC nic, bool flag)
{
    const auto lock = d->lock();
    d->append("setDefaultNIC " + n(nic) + ' ' + b(flag));
    if (d->live.adapter(nic))
        d->live.defaultAdapter = nic;
}

void SystemSet::pingTest(NIC nic, std::function<void(bool)> const &callback)
{
    const auto lock = d->lock();
    d->append("pingTest " + n(nic));
    if (callback) {
        const bool result = d->live.ping;
        d->worker.post(d->live.delayPing, [callback, result] { callback(result); });
    }
}

int SystemSet::get4GSignal(NIC nic) const
{
    const auto lock = d->lock();
    return nic == NIC_4G && d->live.adapters[3].present ? d->live.modemSignal : 0;
}

int SystemSet::get4GState(NIC nic) const
{
    const auto lock = d->lock();
    return nic == NIC_4G && d->live.adapters[3].present ? d->live.modemState : 0;
}

SystemSet::VPNServer SystemSet::getVPNServer() const
{
    const auto lock = d->lock();
    return static_cast<VPNServer>(d->live.vpnServer);
}

void SystemSet::setVPNServer(VPNServer server)
{
    const auto lock = d->lock();
    d->append("setVPNServer " + n(server));
    if (server == VPN_ASIA || server == VPN_EUROPE)
        d->live.vpnServer = server;
}

int SystemSet::getVPNServerState(VPNServer) const
{
    const auto lock = d->lock();
    return d->live.adapters[4].enabled ? d->live.vpnState : 0;
}

void SystemSet::resetVPNIp(VPNServer server)
{
    const auto lock = d->lock();
    d->append("resetVPNIp " + n(server));
}

bool SystemSet::isWifiConnected() const
{
    const auto lock = d->lock();
    return d->live.wifiConnected.has_value();
}

SSID SystemSet::currentWifiSsid() const
{
    const auto lock = d->lock();
    SSID ssid{};
    if (d->live.wifiConnected) {
        const std::string &name = *d->live.wifiConnected;
        std::copy_n(name.begin(), std::min<size_t>(name.size(), 32), ssid.begin());
    }
    return ssid;
}

int SystemSet::currentWifiSignalStrength() const
{
    const auto lock = d->lock();
    return d->live.wifiConnected ? d->live.wifiStrength : 0;
}

namespace {

std::unique_ptr<std::vector<SystemSet::SsidInfo>> scanResult(const PanelState &s)
{
    if (!s.scanReturnsList)
        return nullptr;
    auto list = std::make_unique<std::vector<SystemSet::SsidInfo>>();
    list->reserve(s.networks.size());
    for (const auto &net : s.networks) {
        SystemSet::SsidInfo info;
        std::copy_n(net.ssid.begin(), std::min<size_t>(net.ssid.size(), 32), info.ssid.begin());
        info.password = net.password;
        info.signal = static_cast<std::uint8_t>(std::clamp(net.strength, 0, 255));
        info.encrypted = net.secured ? 1 : 0;
        list->push_back(std::move(info));
    }
    return list;
}

} // namespace

void SystemSet::scanWifi(std::function<void(std::unique_ptr<std::vector<SsidInfo>>)> const &callback)
{
    const auto lock = d->lock();
    d->append("scanWifi");
    if (!callback)
        return;
    Private *p = d.get();
    d->worker.post(d->live.delayScan, [p, callback] {
        std::unique_ptr<std::vector<SsidInfo>> list;
        {
            const auto lock = p->lock();
            list = scanResult(p->live);
        }
        callback(std::move(list));
    });
}

void SystemSet::resetWifi(std::function<void(std::unique_ptr<std::vector<SsidInfo>>)> const &callback)
{
    const auto lock = d->lock();
    d->append("resetWifi");
    d->live.wifiConnected.reset();
    if (!callback)
        return;
    Private *p = d.get();
    d->worker.post(d->live.delayReset, [p, callback] {
        std::unique_ptr<std::vector<SsidInfo>> list;
        {
            const auto lock = p->lock();
            list = scanResult(p->live);
        }
        callback(std::move(list));
    });
}

void SystemSet::connectWifi(std::array<char, 33u> const &ssid, std::string const &password,
                            std::function<void(StateWifi)> const &callback)
{
    const auto lock = d->lock();
    const std::string name = ssidBytes(ssid);
    d->append("connectWifi " + ssidForLog(name) + " pw=" + n(static_cast<long long>(password.size())));
    Private *p = d.get();
    if (callback)
        d->worker.post(0, [callback] { callback(WIFI_CONNECTING); });
    d->worker.post(d->live.delayConnect, [p, callback, name, password] {
        int outcome = WIFI_OFFLINE;
        {
            const auto lock = p->lock();
            const auto &nets = p->live.networks;
            const auto net = std::find_if(nets.begin(), nets.end(),
                                          [&](const PanelState::Network &n) { return n.ssid == name; });
            if (net == nets.end())
                outcome = WIFI_OFFLINE;
            else if (net->result)
                outcome = *net->result;
            else if (net->secured && password != net->secret)
                outcome = WIFI_WRONG_PASSWORD;
            else
                outcome = WIFI_CONNECTED;
            if (outcome == WIFI_CONNECTED) {
                p->live.wifiConnected = name;
                if (net != nets.end())
                    p->live.wifiStrength = net->strength;
            }
        }
        if (callback)
            callback(static_cast<StateWifi>(outcome));
    });
}

void SystemSet::beep(bool on) const
{
    const auto lock = d->lock();
    d->append("beep " + b(on));
}

bool SystemSet::isBuzzerOn() const
{
    const auto lock = d->lock();
    return d->live.buzzer;
}

void SystemSet::setBuzzerOn(bool on)
{
    const auto lock = d->lock();
    d->append("setBuzzerOn " + b(on));
    d->live.buzzer = on;
}

SystemSet::Bright SystemSet::bright() const
{
    const auto lock = d->lock();
    return d->live.brightness;
}

void SystemSet::setBright(Bright level, bool persist)
{
    const auto lock = d->lock();
    d->append("setBright " + n(level) + ' ' + b(persist));
    const int clamped = std::clamp(level, 1, 32);
    d->change(persist, PanelState::PersistedKey::Brightness, 0,
              [&](PanelState &s) { s.brightness = clamped; });
}

bool SystemSet::setSystemTime(long secsSinceEpoch)
{
    const auto lock = d->lock();
    d->append("setSystemTime " + n(secsSinceEpoch));
    return d->live.clockSettable;
}

void SystemSet::syncHwclock()
{
    const auto lock = d->lock();
    d->append("syncHwclock");
}

SystemSet::Language SystemSet::getLanguage() const
{
    const auto lock = d->lock();
    d->followLanguage();
    return static_cast<Language>(d->live.language);
}

void SystemSet::setLanguage(Language language)
{
    const auto lock = d->lock();
    d->append("setLanguage " + n(language));
    d->live.language = language == LANG_CHINESE ? LANG_CHINESE : LANG_ENGLISH;
}

std::string SystemSet::getSerialNumber()
{
    const auto lock = d->lock();
    return d->live.serial;
}

void SystemSet::reboot()
{
    const auto lock = d->lock();
    d->append("reboot");
    std::fprintf(stderr, "panel: reboot requested (simulated, nothing restarts)\n");
}

} // namespace HMI
