#include "systemset/LinuxBackend.h"

#include "systemset/NetworkManagerClient.h"
#include "systemset/PingProbe.h"
#include "systemset/ServiceBus.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QFile>
#include <QHostAddress>
#include <QJsonValue>
#include <QTimer>
#include <QtEndian>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace HMI {

namespace {

const QString timedated = QStringLiteral("org.freedesktop.timedate1");
const QString timedatedPath = QStringLiteral("/org/freedesktop/timedate1");
const QString localed = QStringLiteral("org.freedesktop.locale1");
const QString localedPath = QStringLiteral("/org/freedesktop/locale1");
const QString hostnamed = QStringLiteral("org.freedesktop.hostname1");
const QString hostnamedPath = QStringLiteral("/org/freedesktop/hostname1");
const QString logind = QStringLiteral("org.freedesktop.login1");
const QString logindPath = QStringLiteral("/org/freedesktop/login1");
const QString logindManager = QStringLiteral("org.freedesktop.login1.Manager");
/// logind's name for the session of the caller.
const QString ownSession = QStringLiteral("/org/freedesktop/login1/session/auto");
const QString logindSession = QStringLiteral("org.freedesktop.login1.Session");

const QString languageKey = QStringLiteral("language");
const QString buzzerKey = QStringLiteral("buzzer");
const QString brightnessKey = QStringLiteral("brightness");
const QString vpnServerKey = QStringLiteral("vpnServer");

constexpr int toneHz = 2000;
constexpr int toneMs = 50;
constexpr int startupWaitMs = 250;
/// The route metric that makes an adapter the default: below NetworkManager's defaults (100 and up).
constexpr int defaultRouteMetric = 10;

std::string envOr(const char *name, const std::string &fallback)
{
    const char *value = std::getenv(name);
    return value && *value ? std::string(value) : fallback;
}

QByteArray readSmallFile(const std::string &path)
{
    QFile file(QString::fromStdString(path));
    return file.open(QIODevice::ReadOnly) ? file.read(qint64(64) * 1024) : QByteArray();
}

/// The text of a settings value that may be written by hand: "zh" or "en", or the enum's number.
std::optional<SystemSet::Language> languageOf(const QJsonValue &value)
{
    if (value.isDouble())
        return value.toInt() == SystemSet::LANG_CHINESE ? SystemSet::LANG_CHINESE : SystemSet::LANG_ENGLISH;
    const QString text = value.toString().toLower();
    if (text.startsWith(QLatin1String("zh")) || text == QLatin1String("chinese"))
        return SystemSet::LANG_CHINESE;
    if (text.startsWith(QLatin1String("en")) || text == QLatin1String("english"))
        return SystemSet::LANG_ENGLISH;
    return std::nullopt;
}

} // namespace

LinuxBackend::LinuxBackend()
    : m_sysfsRoot(envOr("QSP_SYSFS_ROOT", "/"))
    , m_settings(LinuxSettings::defaultPath())
    , m_backlight(m_sysfsRoot)
    , m_beeper(envOr("QSP_BEEPER", std::string()))
{
    const QString target = qEnvironmentVariable("QSP_PING_TARGET");
    if (!target.isEmpty()) {
        bool ok = false;
        const QHostAddress address(target);
        m_pingTarget = address.toIPv4Address(&ok);
        if (!ok)
            std::fprintf(stderr, "linux backend: QSP_PING_TARGET %s is no IPv4 address\n",
                         qPrintable(target));
    }
    if (const QJsonValue stored = m_settings.value(brightnessKey); stored.isDouble())
        m_level = std::clamp(stored.toInt(), 1, 32);
    m_network.named = NetworkState::parseNames(qEnvironmentVariable("QSP_ADAPTERS"));
    const QStringList vpnIds = qEnvironmentVariable("QSP_VPN_PROFILES").split(QLatin1Char(','));
    for (int i = 0; i < 2; ++i)
        m_network.vpns[i].id = vpnIds.value(i).trimmed();
    m_thread.setObjectName(QStringLiteral("linux backend"));
    auto *bus = new ServiceBus([this] { runTasks(); });
    bus->moveToThread(&m_thread);
    m_bus = bus;
    m_thread.start();
    post([this](ServiceBus &bus, const Token &token) {
        if (bus.open())
            startWatching(bus, token);
    });
    // The screen's first frame asks for the language and the serial number: give the services a moment to
    // answer, so that it does not change its language right after it opens. A service that hangs costs no
    // more than this.
    waitForIdle(startupWaitMs);
    // The thread ends while the application still exists, before QtDBus winds down: routines added later run
    // first, and QtDBus added its own when the connection was made.
    if (QCoreApplication::instance()) {
        const std::lock_guard<std::mutex> lock(liveMutex());
        static const bool routineAdded = (qAddPostRoutine(&LinuxBackend::stopAll), true);
        Q_UNUSED(routineAdded)
        live().insert(this);
    }
}

LinuxBackend::~LinuxBackend()
{
    {
        const std::lock_guard<std::mutex> lock(liveMutex());
        live().erase(this);
    }
    stop();
}

std::mutex &LinuxBackend::liveMutex()
{
    static std::mutex mutex;
    return mutex;
}

std::set<LinuxBackend *> &LinuxBackend::live()
{
    static std::set<LinuxBackend *> backends;
    return backends;
}

void LinuxBackend::stopAll()
{
    const std::lock_guard<std::mutex> lock(liveMutex());
    for (LinuxBackend *backend : live())
        backend->stop();
}

void LinuxBackend::stop()
{
    ServiceBus *bus = m_bus.exchange(nullptr);
    if (!bus)
        return;
    if (m_thread.isRunning())
        QMetaObject::invokeMethod(
            bus,
            [this, bus] {
                m_nm.reset();
                bus->close();
                const std::lock_guard<std::mutex> lock(m_tasksMutex);
                m_tasks.clear();
            },
            Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
    // What the thread did is done: taking the lock it released last says so to the thread sanitizer as well,
    // which cannot see into Qt's own wait.
    const std::lock_guard<std::mutex> lock(m_tasksMutex);
    m_tasks.clear(); // what is still posted is dropped, uncalled
    delete bus;
}

LinuxBackend::Token LinuxBackend::pending() const
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_pending;
    }
    return Token(nullptr, [this](void *) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (--m_pending == 0)
            m_idle.notify_all();
    });
}

void LinuxBackend::post(std::function<void(ServiceBus &, const Token &)> task) const
{
    ServiceBus *bus = m_bus;
    if (!bus)
        return; // stopped with the application: nothing more is done, nor called back
    {
        const std::lock_guard<std::mutex> lock(m_tasksMutex);
        m_tasks.push_back({std::move(task), pending()});
    }
    bus->wake();
}

void LinuxBackend::runTasks() const
{
    for (;;) {
        Task task;
        {
            const std::lock_guard<std::mutex> lock(m_tasksMutex);
            if (m_tasks.empty())
                return;
            task = std::move(m_tasks.front());
            m_tasks.pop_front();
        }
        if (ServiceBus *bus = m_bus)
            task.run(*bus, task.token);
    }
}

void LinuxBackend::startWatching(ServiceBus &bus, const Token &token)
{
    m_nm = std::make_unique<NetworkManagerClient>(bus, m_mutex, m_network);
    m_nm->start(token);
    bus.watch(
        localed, localedPath, localed,
        [this](const QVariantMap &properties) {
            if (properties.contains(QStringLiteral("Locale"))) {
                const std::lock_guard<std::mutex> lock(m_mutex);
                m_locale = properties.value(QStringLiteral("Locale")).toStringList();
            }
        },
        token);
    bus.call(hostnamed, hostnamedPath, hostnamed, QStringLiteral("GetHardwareSerial"), {},
             [this, token](const QDBusMessage &reply) {
                 if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
                     return;
                 const std::lock_guard<std::mutex> lock(m_mutex);
                 m_serial = reply.arguments().constFirst().toString().trimmed().toStdString();
             });
}

void LinuxBackend::reportOnce(const std::string &kind, const std::string &text) const
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_reported.insert(kind).second)
            return;
    }
    std::fprintf(stderr, "linux backend: %s\n", text.c_str());
}

bool LinuxBackend::waitForIdle(int timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_idle.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] { return m_pending == 0; });
}

int LinuxBackend::pendingCallbacks() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_pending;
}

bool LinuxBackend::isCallbackThread() const
{
    return QThread::currentThread() == &m_thread;
}

// Network adapters, through NetworkManager.

int LinuxBackend::getAllNIC() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    int mask = 0;
    for (const NIC nic : {SystemSet::NIC_LAN0, SystemSet::NIC_LAN1, SystemSet::NIC_WIFI}) {
        if (m_network.device(nic))
            mask |= nic;
    }
    if (!m_network.modem.path.isEmpty())
        mask |= SystemSet::NIC_4G;
    if (m_network.anyVpnProfile)
        mask |= SystemSet::NIC_VPN;
    return mask;
}

bool LinuxBackend::isNicEnabled(NIC nic) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (nic == SystemSet::NIC_4G)
        return !m_network.modem.path.isEmpty() && m_network.wwanEnabled;
    if (nic == SystemSet::NIC_VPN)
        return !m_network.vpns[0].active.isEmpty() || !m_network.vpns[1].active.isEmpty();
    const NetworkState::Device *d = m_network.device(nic);
    if (!d)
        return false;
    if (nic == SystemSet::NIC_WIFI)
        return m_network.wirelessEnabled;
    // Set to come up by itself, or up now (40..100: preparing to activated).
    return d->autoconnect || (d->state >= 40 && d->state <= 100);
}

void LinuxBackend::enableNIC(NIC nic, bool enable, bool persist)
{
    post([this, nic, enable, persist](ServiceBus &, const Token &token) {
        if (!m_nm)
            return;
        if (nic == SystemSet::NIC_WIFI || nic == SystemSet::NIC_4G) {
            m_nm->setRadio(nic, enable, token);
            return;
        }
        if (nic == SystemSet::NIC_VPN) {
            m_nm->switchVpn(getVPNServer(), !enable, enable, token);
            return;
        }
        m_nm->changeProfile(
            nic, QStringLiteral("connection"),
            [enable](QVariantMap &connection) { connection.insert(QStringLiteral("autoconnect"), enable); },
            persist, enable ? NetworkManagerClient::Then::Activate : NetworkManagerClient::Then::Disconnect,
            nullptr, token);
    });
}

bool LinuxBackend::isDhcpOn(NIC nic) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const NetworkState::Device *d = m_network.device(nic);
    return d && d->dhcp;
}

void LinuxBackend::setDHCP(NIC nic, bool on, SystemSet::DhcpCallback const &callback, bool persist)
{
    post([this, nic, on, callback, persist](ServiceBus &, const Token &token) {
        const auto done = [callback](bool ok) {
            if (callback)
                callback(ok ? SystemSet::DHCP_OK : SystemSet::DHCP_FAILED);
        };
        if (!m_nm) {
            done(false);
            return;
        }
        m_nm->changeProfile(
            nic, QStringLiteral("ipv4"),
            [on](QVariantMap &ipv4) {
                ipv4.insert(QStringLiteral("method"), on ? QStringLiteral("auto") : QStringLiteral("manual"));
            },
            persist, NetworkManagerClient::Then::Activate, done, token);
    });
}

IP LinuxBackend::getIp(NIC nic) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const NetworkState::Device *d = m_network.device(nic);
    return d && d->state == 100 ? d->ip4.address : 0;
}

IP LinuxBackend::getSubnetMask(NIC nic) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const NetworkState::Device *d = m_network.device(nic);
    return d && d->state == 100 ? d->ip4.mask : 0;
}

IP LinuxBackend::getGateway(NIC nic) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const NetworkState::Device *d = m_network.device(nic);
    return d && d->state == 100 ? d->ip4.gateway : 0;
}

IP LinuxBackend::getIpFromEE(NIC nic) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const NetworkState::Device *d = m_network.device(nic);
    return d ? d->stored.address : 0;
}

IP LinuxBackend::getSubnetMaskFromEE(NIC nic) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const NetworkState::Device *d = m_network.device(nic);
    return d ? d->stored.mask : 0;
}

IP LinuxBackend::getGatewayFromEE(NIC nic) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const NetworkState::Device *d = m_network.device(nic);
    return d ? d->stored.gateway : 0;
}

void LinuxBackend::changeStatic(NIC nic, std::function<void(NetworkState::Ip4 &)> edit, bool persist)
{
    post([this, nic, edit, persist](ServiceBus &, const Token &token) {
        if (!m_nm)
            return;
        m_nm->changeProfile(
            nic, QStringLiteral("ipv4"),
            [edit](QVariantMap &ipv4) {
                // From the profile as it is now: the change before this one may have written it.
                NetworkState::Ip4 stored = NetworkManagerClient::staticOf(ipv4);
                edit(stored);
                NetworkManagerClient::setStatic(ipv4, stored);
            },
            persist, NetworkManagerClient::Then::Reapply, nullptr, token);
    });
}

void LinuxBackend::setIp(NIC nic, IP ip, bool persist)
{
    changeStatic(
        nic, [ip](NetworkState::Ip4 &s) { s.address = ip; }, persist);
}

void LinuxBackend::setSubnetMask(NIC nic, IP mask, bool persist)
{
    changeStatic(
        nic, [mask](NetworkState::Ip4 &s) { s.mask = mask; }, persist);
}

void LinuxBackend::setGateway(NIC nic, IP gateway, bool persist)
{
    changeStatic(
        nic, [gateway](NetworkState::Ip4 &s) { s.gateway = gateway; }, persist);
}

MAC LinuxBackend::getMac(NIC nic) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const NetworkState::Device *d = m_network.device(nic);
    return d ? d->mac : MAC{};
}

std::pair<IP, IP> LinuxBackend::getDns(NIC nic) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const NetworkState::Device *d = m_network.device(nic);
    return d && d->state == 100 ? d->ip4.dns : std::pair<IP, IP>{0, 0};
}

void LinuxBackend::setDns(NIC nic, std::pair<IP, IP> const &dns)
{
    post([this, nic, dns](ServiceBus &, const Token &token) {
        if (!m_nm)
            return;
        m_nm->changeProfile(
            nic, QStringLiteral("ipv4"),
            [dns](QVariantMap &ipv4) {
                // 0.0.0.0 stands for none; the profile keeps its servers in network byte order.
                QList<uint> servers;
                for (const IP server : {dns.first, dns.second}) {
                    if (server)
                        servers << qToBigEndian(server);
                }
                ipv4.insert(QStringLiteral("dns"), QVariant::fromValue(servers));
                // With DHCP on, the servers the lease brings would come first: these are the ones chosen.
                ipv4.insert(QStringLiteral("ignore-auto-dns"),
                            ipv4.value(QStringLiteral("method")).toString() == QLatin1String("auto"));
            },
            true, NetworkManagerClient::Then::Reapply, nullptr, token);
    });
}

SystemSet::NIC LinuxBackend::getDefaultNIC() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const NIC nic : {SystemSet::NIC_LAN0, SystemSet::NIC_LAN1, SystemSet::NIC_WIFI}) {
        const QString path = m_network.pathOf(nic);
        if (!path.isEmpty() && path == m_network.primaryDevice)
            return nic;
    }
    return SystemSet::NIC_LAN0;
}

void LinuxBackend::setDefaultNIC(NIC nic, bool flag)
{
    post([this, nic, flag](ServiceBus &, const Token &token) {
        if (!m_nm || !flag)
            return;
        // The lowest route metric wins the default route.
        m_nm->changeProfile(
            nic, QStringLiteral("ipv4"),
            [](QVariantMap &ipv4) {
                ipv4.insert(QStringLiteral("route-metric"), qlonglong(defaultRouteMetric));
            },
            true, NetworkManagerClient::Then::Reapply, nullptr, token);
    });
}

void LinuxBackend::pingTest(NIC nic, SystemSet::PingCallback const &callback)
{
    quint32 target = m_pingTarget;
    QString interface;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (const NetworkState::Device *d = m_network.device(nic)) {
            interface = d->interface;
            if (!target)
                target = d->state == 100 ? d->ip4.gateway : 0;
        }
    }
    post([callback, target, interface](ServiceBus &bus, const Token &token) {
        PingProbe::start(
            target, interface,
            [callback, token](bool replied) {
                if (callback)
                    callback(replied);
            },
            &bus);
    });
}

int LinuxBackend::get4GSignal(NIC nic) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return nic == SystemSet::NIC_4G && !m_network.modem.path.isEmpty() ? m_network.modem.signal : 0;
}

int LinuxBackend::get4GState(NIC nic) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (nic != SystemSet::NIC_4G || m_network.modem.path.isEmpty())
        return 0;
    // ModemManager: connected 11, connecting 10, failed -1; the screen: 2, 1, 3 (unknown), else 0.
    switch (m_network.modem.state) {
    case 11:
        return 2;
    case 10:
        return 1;
    case -1:
        return 3;
    default:
        return 0;
    }
}

SystemSet::VPNServer LinuxBackend::getVPNServer() const
{
    return m_settings.value(vpnServerKey).toInt() == SystemSet::VPN_EUROPE ? SystemSet::VPN_EUROPE
                                                                           : SystemSet::VPN_ASIA;
}

void LinuxBackend::setVPNServer(VPNServer server)
{
    if (server == SystemSet::VPN_ASIA || server == SystemSet::VPN_EUROPE)
        m_settings.setValue(vpnServerKey, int(server));
}

int LinuxBackend::getVPNServerState(VPNServer server) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return server == SystemSet::VPN_ASIA || server == SystemSet::VPN_EUROPE ? m_network.vpns[server].state
                                                                            : 0;
}

void LinuxBackend::resetVPNIp(VPNServer server)
{
    post([this, server](ServiceBus &, const Token &token) {
        if (m_nm)
            m_nm->switchVpn(server, true, true, token);
    });
}

bool LinuxBackend::isWifiConnected() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const NetworkState::Device *d = m_network.device(SystemSet::NIC_WIFI);
    return d && d->state == 100 && m_network.accessPoints.count(d->activeAccessPoint) > 0;
}

SSID LinuxBackend::currentWifiSsid() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    SSID ssid{};
    const NetworkState::Device *d = m_network.device(SystemSet::NIC_WIFI);
    const auto ap = d && d->state == 100 ? m_network.accessPoints.find(d->activeAccessPoint)
                                         : m_network.accessPoints.end();
    if (ap != m_network.accessPoints.end())
        std::copy_n(ap->second.ssid.constData(), std::min(ap->second.ssid.size(), 32), ssid.begin());
    return ssid;
}

int LinuxBackend::currentWifiSignalStrength() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const NetworkState::Device *d = m_network.device(SystemSet::NIC_WIFI);
    const auto ap = d && d->state == 100 ? m_network.accessPoints.find(d->activeAccessPoint)
                                         : m_network.accessPoints.end();
    return ap != m_network.accessPoints.end() ? ap->second.strength : 0;
}

void LinuxBackend::scanWifi(SystemSet::ScanCallback const &callback)
{
    post([this, callback](ServiceBus &, const Token &token) {
        if (m_nm)
            m_nm->scan(callback, token);
        else if (callback)
            callback(std::make_unique<std::vector<SystemSet::SsidInfo>>());
    });
}

void LinuxBackend::resetWifi(SystemSet::ScanCallback const &callback)
{
    post([this, callback](ServiceBus &, const Token &token) {
        if (m_nm)
            m_nm->reset(callback, token);
        else if (callback)
            callback(std::make_unique<std::vector<SystemSet::SsidInfo>>());
    });
}

void LinuxBackend::connectWifi(SSID const &ssid, std::string const &password,
                               SystemSet::ConnectCallback const &callback)
{
    // Network names are bytes: never turned into text on the way.
    const QByteArray name(ssid.data(), int(qstrnlen(ssid.data(), 32)));
    const QString secret = QString::fromStdString(password);
    post([this, name, secret, callback](ServiceBus &, const Token &token) {
        if (m_nm) {
            m_nm->connect(name, secret, callback, token);
        } else if (callback) {
            callback(SystemSet::WIFI_CONNECTING);
            callback(SystemSet::WIFI_OFFLINE);
        }
    });
}

// The machine's own settings.

void LinuxBackend::beep(bool on) const
{
    if (!m_beeper.present()) {
        reportOnce("beeper",
                   "no beeper (an input device with EV_SND, or QSP_BEEPER): the buzzer stays silent");
        return;
    }
    const Beeper beeper = m_beeper;
    post([this, beeper, on](ServiceBus &bus, const Token &token) {
        if (!beeper.tone(on ? toneHz : 0)) {
            reportOnce("beeper write", "the beeper " + beeper.path() + " refused the tone");
            return;
        }
        if (on)
            QTimer::singleShot(toneMs, &bus, [beeper, token] { beeper.tone(0); });
    });
}

bool LinuxBackend::isBuzzerOn() const
{
    const QJsonValue value = m_settings.value(buzzerKey);
    return value.isBool() ? value.toBool() : true;
}

void LinuxBackend::setBuzzerOn(bool on)
{
    m_settings.setValue(buzzerKey, on);
}

SystemSet::Bright LinuxBackend::bright() const
{
    if (const int level = m_backlight.level(); level > 0)
        return level;
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_level;
}

void LinuxBackend::setBright(Bright level, bool persist)
{
    const int clamped = std::clamp(level, 1, 32);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_level = clamped;
    }
    if (persist)
        m_settings.setValue(brightnessKey, clamped);
    if (!m_backlight.present()) {
        reportOnce("backlight", "no backlight under " + m_sysfsRoot + "/sys/class/backlight");
        return;
    }
    const Backlight backlight = m_backlight;
    post([backlight, clamped](ServiceBus &bus, const Token &token) {
        if (backlight.setLevel(clamped))
            return;
        // The device belongs to root: logind sets it for the user of the session on the seat.
        bus.call(logind, ownSession, logindSession, QStringLiteral("SetBrightness"),
                 {QStringLiteral("backlight"), QString::fromStdString(backlight.name()),
                  uint(Backlight::rawOf(clamped, backlight.maximum()))},
                 [token](const QDBusMessage &) {});
    });
}

bool LinuxBackend::setSystemTime(long secsSinceEpoch)
{
    if (secsSinceEpoch < 0)
        return false;
    const qlonglong usec = qlonglong(secsSinceEpoch) * 1000000;
    post([this, usec](ServiceBus &bus, const Token &token) {
        // timedated refuses a time while it synchronises the clock itself: ask it first, as that may have
        // changed a moment ago.
        bus.call(timedated, timedatedPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                 QStringLiteral("Get"), {timedated, QStringLiteral("NTP")},
                 [this, &bus, usec, token](const QDBusMessage &reply) {
                     const bool ntp =
                         reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty() &&
                         qdbus_cast<QDBusVariant>(reply.arguments().constFirst()).variant().toBool();
                     if (!ntp) {
                         setTime(bus, usec, false, token);
                         return;
                     }
                     bus.call(timedated, timedatedPath, timedated, QStringLiteral("SetNTP"), {false, false},
                              [this, &bus, usec, token](const QDBusMessage &ntpReply) {
                                  if (ntpReply.type() == QDBusMessage::ReplyMessage)
                                      setTime(bus, usec, true, token);
                              });
                 });
    });
    return true;
}

void LinuxBackend::setTime(ServiceBus &bus, qlonglong usec, bool ntpTurnedOff, const Token &token)
{
    bus.call(
        timedated, timedatedPath, timedated, QStringLiteral("SetTime"), {usec, false, false},
        [this, &bus, usec, ntpTurnedOff, token](const QDBusMessage &reply) {
            const bool syncOn =
                reply.errorName() == QLatin1String("org.freedesktop.timedate1.AutomaticTimeSyncEnabled");
            if (reply.type() == QDBusMessage::ReplyMessage || !syncOn || ntpTurnedOff) {
                if (reply.type() == QDBusMessage::ErrorMessage)
                    bus.reportOnce(QStringLiteral("SetTime") + reply.errorName(),
                                   QStringLiteral("timedate1.SetTime failed: %1 (%2)")
                                       .arg(reply.errorName(), reply.errorMessage()));
                return;
            }
            // The service turned time synchronisation on since it was last heard of.
            bus.call(timedated, timedatedPath, timedated, QStringLiteral("SetNTP"), {false, false},
                     [this, &bus, usec, token](const QDBusMessage &ntpReply) {
                         if (ntpReply.type() == QDBusMessage::ReplyMessage)
                             setTime(bus, usec, true, token);
                     });
        },
        false);
}

void LinuxBackend::syncHwclock()
{
    // timedated's SetTime has set the hardware clock as well.
}

SystemSet::Language LinuxBackend::getLanguage() const
{
    if (const auto stored = languageOf(m_settings.value(languageKey)))
        return *stored;
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const QString &entry : m_locale) {
        if (entry.startsWith(QLatin1String("LANG=")))
            return entry.mid(5).startsWith(QLatin1String("zh")) ? SystemSet::LANG_CHINESE
                                                                : SystemSet::LANG_ENGLISH;
    }
    return SystemSet::LANG_ENGLISH;
}

void LinuxBackend::setLanguage(Language language)
{
    m_settings.setValue(languageKey,
                        language == SystemSet::LANG_CHINESE ? QStringLiteral("zh") : QStringLiteral("en"));
}

std::string LinuxBackend::getSerialNumber()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_serial.empty())
            return m_serial;
    }
    // Without hostnamed: the device tree's serial, else the processor's.
    QByteArray serial = readSmallFile(m_sysfsRoot + "/sys/firmware/devicetree/base/serial-number");
    serial = serial.left(serial.indexOf('\0') < 0 ? serial.size() : serial.indexOf('\0')).trimmed();
    if (!serial.isEmpty())
        return serial.toStdString();
    for (const QByteArray &line : readSmallFile(m_sysfsRoot + "/proc/cpuinfo").split('\n')) {
        if (line.startsWith("Serial") && line.contains(':'))
            return line.mid(line.indexOf(':') + 1).trimmed().toStdString();
    }
    return std::string();
}

void LinuxBackend::reboot()
{
    post([](ServiceBus &bus, const Token &token) {
        bus.call(logind, logindPath, logindManager, QStringLiteral("Reboot"), {false},
                 [token](const QDBusMessage &) {});
    });
}

} // namespace HMI
