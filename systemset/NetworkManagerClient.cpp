#include "systemset/NetworkManagerClient.h"

#include "systemset/ServiceBus.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QHostAddress>
#include <QTimer>
#include <QtEndian>

#include <algorithm>

using SettingList = QList<QVariantMap>;
using ManagedObjects = QMap<QDBusObjectPath, ConnectionSettings>;
Q_DECLARE_METATYPE(SettingList)
Q_DECLARE_METATYPE(ManagedObjects)

namespace HMI {

namespace {

const QString nm = QStringLiteral("org.freedesktop.NetworkManager");
const QString nmPath = QStringLiteral("/org/freedesktop/NetworkManager");
const QString deviceInterface = QStringLiteral("org.freedesktop.NetworkManager.Device");
const QString wiredInterface = QStringLiteral("org.freedesktop.NetworkManager.Device.Wired");
const QString wirelessInterface = QStringLiteral("org.freedesktop.NetworkManager.Device.Wireless");
const QString accessPointInterface = QStringLiteral("org.freedesktop.NetworkManager.AccessPoint");
const QString ip4Interface = QStringLiteral("org.freedesktop.NetworkManager.IP4Config");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
const QString activeInterface = QStringLiteral("org.freedesktop.NetworkManager.Connection.Active");
const QString profileInterface = QStringLiteral("org.freedesktop.NetworkManager.Settings.Connection");
const QString settingsPath = QStringLiteral("/org/freedesktop/NetworkManager/Settings");
const QString settingsInterface = QStringLiteral("org.freedesktop.NetworkManager.Settings");
const QString vpnInterface = QStringLiteral("org.freedesktop.NetworkManager.VPN.Connection");

/// A VPN plug-in's state (NMVpnConnectionState), as the screen counts.
int screenVpnState(uint state)
{
    if (state == 5)
        return 5;
    if (state >= 1 && state <= 4)
        return 1;
    return state == 6 ? 3 : 0;
}

constexpr int scanWaitMs = 15000;
constexpr int connectWaitMs = 30000;
constexpr unsigned activated = 100;
constexpr unsigned failed = 120;

QString pathText(const QVariant &value)
{
    return value.canConvert<QDBusObjectPath>() ? value.value<QDBusObjectPath>().path() : value.toString();
}

QList<QVariantMap> mapsOf(const QVariant &value)
{
    QList<QVariantMap> maps;
    if (!value.canConvert<QDBusArgument>())
        return maps;
    const QDBusArgument argument = value.value<QDBusArgument>();
    argument.beginArray();
    while (!argument.atEnd()) {
        QVariantMap map;
        argument >> map;
        maps << map;
    }
    argument.endArray();
    return maps;
}

QList<QString> pathsOf(const QDBusMessage &reply)
{
    QList<QString> paths;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return paths;
    for (const QDBusObjectPath &path : qdbus_cast<QList<QDBusObjectPath>>(reply.arguments().constFirst()))
        paths << path.path();
    return paths;
}

QVariantMap propertiesOf(const QDBusMessage &reply)
{
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return QVariantMap();
    return qdbus_cast<QVariantMap>(reply.arguments().constFirst());
}

} // namespace

struct NetworkManagerClient::Attempt
{
    SystemSet::ConnectCallback done;
    Token token;
    QString device;
    QTimer *timeout = nullptr;
};

NetworkManagerClient::NetworkManagerClient(ServiceBus &bus, std::mutex &mutex, NetworkState &state)
    : m_bus(bus)
    , m_mutex(mutex)
    , m_state(state)
{
    qDBusRegisterMetaType<ConnectionSettings>();
    qDBusRegisterMetaType<ManagedObjects>();
    qDBusRegisterMetaType<SettingList>();
    qDBusRegisterMetaType<QList<uint>>();
}

NetworkManagerClient::~NetworkManagerClient() = default;

void NetworkManagerClient::start(const Token &token)
{
    m_bus.watch(
        nm, nmPath, nm,
        [this](const QVariantMap &properties) {
            {
                const std::lock_guard<std::mutex> lock(m_mutex);
                if (properties.contains(QStringLiteral("WirelessEnabled")))
                    m_state.wirelessEnabled = properties.value(QStringLiteral("WirelessEnabled")).toBool();
                if (properties.contains(QStringLiteral("WwanEnabled")))
                    m_state.wwanEnabled = properties.value(QStringLiteral("WwanEnabled")).toBool();
            }
            if (properties.contains(QStringLiteral("PrimaryConnection")))
                readPrimary(pathText(properties.value(QStringLiteral("PrimaryConnection"))));
            if (properties.contains(QStringLiteral("ActiveConnections"))) {
                QList<QString> active;
                for (const QDBusObjectPath &p : qdbus_cast<QList<QDBusObjectPath>>(
                         properties.value(QStringLiteral("ActiveConnections"))))
                    active << p.path();
                m_activeConnections = active;
                readActive(active);
            }
        },
        token);
    startModem(token);
    readProfiles(token);
    for (const QString &change : {QStringLiteral("NewConnection"), QStringLiteral("ConnectionRemoved")})
        m_bus.listen(nm, settingsPath, settingsInterface, change,
                     [this](const QDBusMessage &) { readProfiles(nullptr); });
    m_bus.listen(nm, nmPath, nm, QStringLiteral("DeviceAdded"), [this](const QDBusMessage &message) {
        if (!message.arguments().isEmpty())
            addDevice(pathText(message.arguments().constFirst()), nullptr);
    });
    m_bus.listen(nm, nmPath, nm, QStringLiteral("DeviceRemoved"), [this](const QDBusMessage &message) {
        if (message.arguments().isEmpty())
            return;
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_state.devices.erase(pathText(message.arguments().constFirst()));
    });
    m_bus.call(nm, nmPath, nm, QStringLiteral("GetDevices"), {}, [this, token](const QDBusMessage &reply) {
        for (const QString &path : pathsOf(reply))
            addDevice(path, token);
    });
}

void NetworkManagerClient::readProfiles(const Token &token)
{
    m_bus.call(nm, settingsPath, settingsInterface, QStringLiteral("ListConnections"), {},
               [this, token](const QDBusMessage &reply) {
                   {
                       const std::lock_guard<std::mutex> lock(m_mutex);
                       m_state.anyVpnProfile = false;
                       m_state.wifiProfiles.clear();
                       for (NetworkState::Vpn &vpn : m_state.vpns)
                           vpn.profile.clear();
                   }
                   for (const QString &profile : pathsOf(reply))
                       m_bus.call(nm, profile, profileInterface, QStringLiteral("GetSettings"), {},
                                  [this, profile, token](const QDBusMessage &settings) {
                                      if (settings.type() == QDBusMessage::ReplyMessage &&
                                          !settings.arguments().isEmpty())
                                          savedProfile(profile, qdbus_cast<ConnectionSettings>(
                                                                    settings.arguments().constFirst()));
                                  });
               });
}

void NetworkManagerClient::savedProfile(const QString &profile, const ConnectionSettings &settings)
{
    const QVariantMap connection = settings.value(QStringLiteral("connection"));
    const QString type = connection.value(QStringLiteral("type")).toString();
    bool server = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (type == QLatin1String("802-11-wireless")) {
            const QByteArray ssid =
                settings.value(QStringLiteral("802-11-wireless")).value(QStringLiteral("ssid")).toByteArray();
            if (!ssid.isEmpty())
                m_state.wifiProfiles[profile] = ssid;
            return;
        }
        if (type != QLatin1String("vpn") && type != QLatin1String("wireguard"))
            return;
        m_state.anyVpnProfile = true;
        for (NetworkState::Vpn &vpn : m_state.vpns) {
            if (!vpn.id.isEmpty() && vpn.id == connection.value(QStringLiteral("id")).toString()) {
                vpn.profile = profile;
                server = true;
            }
        }
    }
    // A tunnel may have come up before its profile was read: look at the active connections again.
    if (server)
        readActive(m_activeConnections);
}

void NetworkManagerClient::readActive(const QList<QString> &active)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (NetworkState::Vpn &vpn : m_state.vpns) {
            if (!active.contains(vpn.active)) {
                vpn.active.clear();
                vpn.state = 0;
            }
        }
    }
    for (const QString &path : active) {
        m_bus.call(nm, path, propertiesInterface, QStringLiteral("GetAll"), {activeInterface},
                   [this, path](const QDBusMessage &reply) {
                       const QVariantMap p = propertiesOf(reply);
                       const QString profile = pathText(p.value(QStringLiteral("Connection")));
                       const bool plugin = p.value(QStringLiteral("Vpn")).toBool();
                       // A WireGuard tunnel is no VPN plug-in: its own state (2 activated, 1 activating)
                       // counts.
                       const uint state = p.value(QStringLiteral("State")).toUInt();
                       const int shown = state == 2 ? 5 : state == 1 ? 1 : 0;
                       int server = -1;
                       {
                           const std::lock_guard<std::mutex> lock(m_mutex);
                           for (int i = 0; i < 2; ++i) {
                               if (!profile.isEmpty() && m_state.vpns[i].profile == profile) {
                                   server = i;
                                   m_state.vpns[i].active = path;
                                   if (!plugin)
                                       m_state.vpns[i].state = shown;
                               }
                           }
                       }
                       if (server < 0 || !plugin)
                           return;
                       m_bus.watch(
                           nm, path, vpnInterface,
                           [this, server, path](const QVariantMap &vpn) {
                               if (!vpn.contains(QStringLiteral("VpnState")))
                                   return;
                               const std::lock_guard<std::mutex> lock(m_mutex);
                               if (m_state.vpns[server].active == path)
                                   m_state.vpns[server].state =
                                       screenVpnState(vpn.value(QStringLiteral("VpnState")).toUInt());
                           },
                           nullptr);
                       m_bus.listen(nm, path, vpnInterface, QStringLiteral("VpnStateChanged"),
                                    [this, server, path](const QDBusMessage &changed) {
                                        const std::lock_guard<std::mutex> lock(m_mutex);
                                        if (!changed.arguments().isEmpty() &&
                                            m_state.vpns[server].active == path)
                                            m_state.vpns[server].state =
                                                screenVpnState(changed.arguments().constFirst().toUInt());
                                    });
                   });
    }
}

void NetworkManagerClient::setRadio(int nic, bool on, const Token &token)
{
    m_bus.call(
        nm, nmPath, propertiesInterface, QStringLiteral("Set"),
        {nm, nic == SystemSet::NIC_WIFI ? QStringLiteral("WirelessEnabled") : QStringLiteral("WwanEnabled"),
         QVariant::fromValue(QDBusVariant(on))},
        [token](const QDBusMessage &) {});
}

void NetworkManagerClient::switchVpn(int server, bool down, bool up, const Token &token)
{
    QString profile;
    QString active;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (server < 0 || server > 1)
            return;
        profile = m_state.vpns[server].profile;
        active = m_state.vpns[server].active;
    }
    const auto activate = [this, profile, up, token] {
        if (up && !profile.isEmpty())
            m_bus.call(nm, nmPath, nm, QStringLiteral("ActivateConnection"),
                       {QVariant::fromValue(QDBusObjectPath(profile)),
                        QVariant::fromValue(QDBusObjectPath(QStringLiteral("/"))),
                        QVariant::fromValue(QDBusObjectPath(QStringLiteral("/")))},
                       [token](const QDBusMessage &) {});
    };
    if (profile.isEmpty()) {
        m_bus.reportOnce(QStringLiteral("no vpn %1").arg(server),
                         QStringLiteral("no saved VPN profile for server %1 (QSP_VPN_PROFILES)").arg(server));
        return;
    }
    if (!down || active.isEmpty()) {
        activate();
        return;
    }
    m_bus.call(nm, nmPath, nm, QStringLiteral("DeactivateConnection"),
               {QVariant::fromValue(QDBusObjectPath(active))},
               [activate](const QDBusMessage &) { activate(); });
}

void NetworkManagerClient::readPrimary(const QString &active)
{
    if (active.isEmpty() || active == QLatin1String("/")) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_state.primaryDevice.clear();
        return;
    }
    m_bus.call(nm, active, propertiesInterface, QStringLiteral("Get"),
               {activeInterface, QStringLiteral("Devices")}, [this](const QDBusMessage &reply) {
                   if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
                       return;
                   const auto devices = qdbus_cast<QList<QDBusObjectPath>>(
                       qdbus_cast<QDBusVariant>(reply.arguments().constFirst()).variant());
                   const std::lock_guard<std::mutex> lock(m_mutex);
                   m_state.primaryDevice = devices.isEmpty() ? QString() : devices.constFirst().path();
               });
}

void NetworkManagerClient::startModem(const Token &token)
{
    const QString mm = QStringLiteral("org.freedesktop.ModemManager1");
    const QString modemInterface = QStringLiteral("org.freedesktop.ModemManager1.Modem");
    m_bus.call(
        mm, QStringLiteral("/org/freedesktop/ModemManager1"),
        QStringLiteral("org.freedesktop.DBus.ObjectManager"), QStringLiteral("GetManagedObjects"), {},
        [this, mm, modemInterface, token](const QDBusMessage &reply) {
            if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
                return;
            const auto objects = qdbus_cast<ManagedObjects>(reply.arguments().constFirst());
            for (auto it = objects.constBegin(); it != objects.constEnd(); ++it) {
                if (!it.value().contains(modemInterface))
                    continue;
                const QString path = it.key().path();
                {
                    const std::lock_guard<std::mutex> lock(m_mutex);
                    m_state.modem.path = path;
                }
                m_bus.watch(
                    mm, path, modemInterface,
                    [this](const QVariantMap &properties) {
                        const std::lock_guard<std::mutex> lock(m_mutex);
                        if (properties.contains(QStringLiteral("State")))
                            m_state.modem.state = properties.value(QStringLiteral("State")).toInt();
                        if (properties.contains(QStringLiteral("SignalQuality"))) {
                            // (ub): the percentage, and whether it was measured just now.
                            const QDBusArgument quality =
                                properties.value(QStringLiteral("SignalQuality")).value<QDBusArgument>();
                            uint percent = 0;
                            bool recent = false;
                            quality.beginStructure();
                            quality >> percent >> recent;
                            quality.endStructure();
                            m_state.modem.signal = int(std::min(percent, 100u));
                        }
                    },
                    token);
                return; // the first modem is the 4G adapter
            }
        },
        false);
}

void NetworkManagerClient::addDevice(const QString &path, const Token &token)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_state.devices[path];
    }
    // The device's own properties first: its type tells which of its other interfaces to follow.
    // The handlers stay for the device's life: they hold the start-up token only weakly.
    const std::weak_ptr<void> starting = token;
    m_bus.watch(
        nm, path, deviceInterface,
        [this, path, starting](const QVariantMap &properties) {
            updateDevice(path, properties, starting.lock());
        },
        token);
    m_bus.listen(nm, path, deviceInterface, QStringLiteral("StateChanged"),
                 [this, path](const QDBusMessage &message) { deviceStateChanged(path, message); });
}

void NetworkManagerClient::updateDevice(const QString &path, const QVariantMap &properties,
                                        const Token &token)
{
    QString ip4Path;
    bool newType = false;
    bool profileChanged = false;
    unsigned type = 0;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto it = m_state.devices.find(path);
        if (it == m_state.devices.end())
            return;
        NetworkState::Device &d = it->second;
        if (properties.contains(QStringLiteral("DeviceType"))) {
            newType = d.type != properties.value(QStringLiteral("DeviceType")).toUInt();
            d.type = properties.value(QStringLiteral("DeviceType")).toUInt();
        }
        type = d.type;
        if (properties.contains(QStringLiteral("Interface")))
            d.interface = properties.value(QStringLiteral("Interface")).toString();
        if (properties.contains(QStringLiteral("State")))
            d.state = properties.value(QStringLiteral("State")).toUInt();
        // NetworkManager spells it "Autoconnect"; some versions of its mock "AutoConnect".
        for (const QString &key : {QStringLiteral("Autoconnect"), QStringLiteral("AutoConnect")}) {
            if (properties.contains(key))
                d.autoconnect = properties.value(key).toBool();
        }
        if (properties.contains(QStringLiteral("HwAddress")))
            d.mac = NetworkState::macOf(properties.value(QStringLiteral("HwAddress")).toString());
        if (properties.contains(QStringLiteral("ActiveAccessPoint")))
            d.activeAccessPoint = pathText(properties.value(QStringLiteral("ActiveAccessPoint")));
        if (properties.contains(QStringLiteral("ActiveConnection"))) {
            const QString active = pathText(properties.value(QStringLiteral("ActiveConnection")));
            profileChanged = profileChanged || active != d.activeConnection;
            d.activeConnection = active;
        }
        if (properties.contains(QStringLiteral("AvailableConnections"))) {
            QStringList available;
            for (const QDBusObjectPath &p :
                 qdbus_cast<QList<QDBusObjectPath>>(properties.value(QStringLiteral("AvailableConnections"))))
                available << p.path();
            profileChanged = profileChanged || available != d.available;
            d.available = available;
        }
        if (properties.contains(QStringLiteral("Ip4Config"))) {
            ip4Path = pathText(properties.value(QStringLiteral("Ip4Config")));
            if (ip4Path != d.ip4Path) {
                d.ip4Path = ip4Path;
                d.ip4 = NetworkState::Ip4();
            } else {
                ip4Path.clear();
            }
        }
    }
    if (newType && (type == 1 || type == 2)) {
        const QString typed = type == 1 ? wiredInterface : wirelessInterface;
        const std::weak_ptr<void> starting = token;
        m_bus.watch(
            nm, path, typed,
            [this, path, starting, type](const QVariantMap &more) {
                const bool scanEnded = type == 2 && more.contains(QStringLiteral("LastScan"));
                updateDevice(path, more, starting.lock());
                if (more.contains(QStringLiteral("ActiveAccessPoint")))
                    listAccessPoints(path, [] {});
                if (scanEnded)
                    finishScans();
            },
            token);
    }
    if (newType && type == 2) {
        // The access points are known from the start, and follow the device's own news of them.
        listAccessPoints(path, [token] {});
        for (const QString &change :
             {QStringLiteral("AccessPointAdded"), QStringLiteral("AccessPointRemoved")})
            m_bus.listen(nm, path, wirelessInterface, change,
                         [this, path](const QDBusMessage &) { listAccessPoints(path, [] {}); });
    }
    if (!ip4Path.isEmpty() && ip4Path != QLatin1String("/"))
        readIp4(path, ip4Path, token);
    if (profileChanged)
        resolveProfile(path);
}

void NetworkManagerClient::resolveProfile(const QString &devicePath)
{
    QString active;
    QString available;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto it = m_state.devices.find(devicePath);
        if (it == m_state.devices.end())
            return;
        active = it->second.activeConnection;
        available = it->second.available.value(0);
    }
    // The profile in use, else the first saved one that fits.
    if (active.isEmpty() || active == QLatin1String("/")) {
        if (!available.isEmpty())
            readProfile(devicePath, available);
        return;
    }
    m_bus.call(nm, active, propertiesInterface, QStringLiteral("Get"),
               {activeInterface, QStringLiteral("Connection")},
               [this, devicePath, available](const QDBusMessage &reply) {
                   const QString profile =
                       reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()
                           ? pathText(qdbus_cast<QDBusVariant>(reply.arguments().constFirst()).variant())
                           : available;
                   if (!profile.isEmpty() && profile != QLatin1String("/"))
                       readProfile(devicePath, profile);
               });
}

void NetworkManagerClient::readProfile(const QString &devicePath, const QString &profile)
{
    m_bus.call(nm, profile, profileInterface, QStringLiteral("GetSettings"), {},
               [this, devicePath, profile](const QDBusMessage &reply) {
                   if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
                       return;
                   const auto settings = qdbus_cast<ConnectionSettings>(reply.arguments().constFirst());
                   const QVariantMap ipv4 = settings.value(QStringLiteral("ipv4"));
                   const NetworkState::Ip4 stored = staticOf(ipv4);
                   const std::lock_guard<std::mutex> lock(m_mutex);
                   const auto it = m_state.devices.find(devicePath);
                   if (it == m_state.devices.end())
                       return;
                   it->second.profile = profile;
                   it->second.dhcp =
                       ipv4.value(QStringLiteral("method"), QStringLiteral("auto")).toString() ==
                       QLatin1String("auto");
                   it->second.stored = stored;
               });
}

void NetworkManagerClient::changeProfile(int nic, const QString &section,
                                         std::function<void(QVariantMap &)> edit, bool persist, Then then,
                                         std::function<void(bool)> done, const Token &token)
{
    m_changes.push_back({nic, section, std::move(edit), persist, then, std::move(done), token});
    if (!m_changing)
        nextChange();
}

void NetworkManagerClient::nextChange()
{
    if (m_changes.empty()) {
        m_changing = false;
        return;
    }
    m_changing = true;
    const Change &change = m_changes.front();
    QString device;
    QString profile;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        device = m_state.pathOf(change.nic);
        const auto it = m_state.devices.find(device);
        profile = it == m_state.devices.end() ? QString() : it->second.profile;
    }
    if (profile.isEmpty()) {
        m_bus.reportOnce(
            QStringLiteral("no profile %1").arg(change.nic),
            QStringLiteral("adapter %1 has no NetworkManager profile to change").arg(change.nic));
        endChange(false);
        return;
    }
    m_bus.call(nm, profile, profileInterface, QStringLiteral("GetSettings"), {},
               [this, device, profile](const QDBusMessage &reply) {
                   if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
                       endChange(false);
                       return;
                   }
                   const Change &change = m_changes.front();
                   auto settings = qdbus_cast<ConnectionSettings>(reply.arguments().constFirst());
                   QVariantMap section = settings.value(change.section);
                   change.edit(section);
                   settings.insert(change.section, section);
                   const Then then = change.then;
                   m_bus.call(nm, profile, profileInterface,
                              change.persist ? QStringLiteral("Update") : QStringLiteral("UpdateUnsaved"),
                              {QVariant::fromValue(settings)},
                              [this, device, profile, then](const QDBusMessage &updated) {
                                  if (updated.type() != QDBusMessage::ReplyMessage) {
                                      endChange(false);
                                      return;
                                  }
                                  readProfile(device, profile);
                                  apply(then, device, profile);
                              });
               });
}

void NetworkManagerClient::apply(Then then, const QString &device, const QString &profile)
{
    switch (then) {
    case Then::Activate:
        m_bus.call(nm, nmPath, nm, QStringLiteral("ActivateConnection"),
                   {QVariant::fromValue(QDBusObjectPath(profile)),
                    QVariant::fromValue(QDBusObjectPath(device)),
                    QVariant::fromValue(QDBusObjectPath(QStringLiteral("/")))},
                   [this, device](const QDBusMessage &activated) {
                       if (activated.type() != QDBusMessage::ReplyMessage)
                           endChange(false);
                       else
                           waitForActivation(device);
                   });
        return;
    case Then::Disconnect:
        m_bus.call(
            nm, device, deviceInterface, QStringLiteral("Disconnect"), {},
            [this](const QDBusMessage &reply) { endChange(reply.type() == QDBusMessage::ReplyMessage); });
        return;
    case Then::Reapply:
        m_bus.call(
            nm, device, deviceInterface, QStringLiteral("Reapply"),
            {QVariant::fromValue(ConnectionSettings()), qulonglong(0), 0u},
            [this](const QDBusMessage &reply) { endChange(reply.type() == QDBusMessage::ReplyMessage); });
        return;
    }
}

NetworkState::Ip4 NetworkManagerClient::staticOf(const QVariantMap &ipv4)
{
    NetworkState::Ip4 stored;
    const QList<QVariantMap> addresses = mapsOf(ipv4.value(QStringLiteral("address-data")));
    if (!addresses.isEmpty()) {
        stored.address = NetworkState::ipOf(addresses.first().value(QStringLiteral("address")).toString());
        stored.mask = NetworkState::maskOf(addresses.first().value(QStringLiteral("prefix")).toInt());
    }
    stored.gateway = NetworkState::ipOf(ipv4.value(QStringLiteral("gateway")).toString());
    // The profile keeps its DNS servers in network byte order.
    const QList<uint> dns = qdbus_cast<QList<uint>>(ipv4.value(QStringLiteral("dns")));
    stored.dns = {dns.size() > 0 ? qFromBigEndian(dns.at(0)) : 0,
                  dns.size() > 1 ? qFromBigEndian(dns.at(1)) : 0};
    return stored;
}

void NetworkManagerClient::setStatic(QVariantMap &ipv4, const NetworkState::Ip4 &stored)
{
    int prefix = 0;
    for (IP m = stored.mask; m & 0x80000000u; m <<= 1)
        ++prefix;
    ipv4.remove(QStringLiteral("addresses"));
    ipv4.insert(QStringLiteral("address-data"),
                QVariant::fromValue(SettingList{
                    QVariantMap{{QStringLiteral("address"), QHostAddress(stored.address).toString()},
                                {QStringLiteral("prefix"), uint(prefix)}}}));
    ipv4.insert(QStringLiteral("gateway"), QHostAddress(stored.gateway).toString());
}

void NetworkManagerClient::waitForActivation(const QString &device)
{
    // The device's state tells: activated, failed, or nothing within the time allowed.
    m_activating = device;
    if (!m_activationTimeout) {
        m_activationTimeout = new QTimer(&m_bus);
        m_activationTimeout->setSingleShot(true);
        QObject::connect(m_activationTimeout, &QTimer::timeout, &m_bus, [this] { endChange(false); });
    }
    m_activationTimeout->start(connectWaitMs);
}

void NetworkManagerClient::endChange(bool ok)
{
    if (m_changes.empty())
        return;
    const Change change = std::move(m_changes.front());
    m_changes.erase(m_changes.begin());
    m_activating.clear();
    if (m_activationTimeout)
        m_activationTimeout->stop();
    if (change.done)
        change.done(ok);
    nextChange();
}

void NetworkManagerClient::readIp4(const QString &devicePath, const QString &ip4Path, const Token &token)
{
    m_bus.watch(
        nm, ip4Path, ip4Interface,
        [this, devicePath, ip4Path](const QVariantMap &properties) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            const auto it = m_state.devices.find(devicePath);
            if (it == m_state.devices.end() || it->second.ip4Path != ip4Path)
                return;
            NetworkState::Ip4 &ip4 = it->second.ip4;
            if (properties.contains(QStringLiteral("AddressData"))) {
                const QList<QVariantMap> addresses = mapsOf(properties.value(QStringLiteral("AddressData")));
                ip4.address =
                    addresses.isEmpty()
                        ? 0
                        : NetworkState::ipOf(addresses.first().value(QStringLiteral("address")).toString());
                ip4.mask =
                    addresses.isEmpty()
                        ? 0
                        : NetworkState::maskOf(addresses.first().value(QStringLiteral("prefix")).toInt());
            }
            if (properties.contains(QStringLiteral("Gateway")))
                ip4.gateway = NetworkState::ipOf(properties.value(QStringLiteral("Gateway")).toString());
            if (properties.contains(QStringLiteral("NameserverData"))) {
                const QList<QVariantMap> servers = mapsOf(properties.value(QStringLiteral("NameserverData")));
                ip4.dns.first =
                    servers.size() > 0
                        ? NetworkState::ipOf(servers.at(0).value(QStringLiteral("address")).toString())
                        : 0;
                ip4.dns.second =
                    servers.size() > 1
                        ? NetworkState::ipOf(servers.at(1).value(QStringLiteral("address")).toString())
                        : 0;
            }
        },
        token);
}

void NetworkManagerClient::listAccessPoints(const QString &device, std::function<void()> then)
{
    m_bus.call(nm, device, wirelessInterface, QStringLiteral("GetAllAccessPoints"), {},
               [this, then](const QDBusMessage &reply) {
                   const QList<QString> paths = pathsOf(reply);
                   {
                       const std::lock_guard<std::mutex> lock(m_mutex);
                       for (auto it = m_state.accessPoints.begin(); it != m_state.accessPoints.end();)
                           it = paths.contains(it->first) ? std::next(it) : m_state.accessPoints.erase(it);
                   }
                   auto left = std::make_shared<int>(int(paths.size()));
                   if (paths.isEmpty())
                       then();
                   for (const QString &path : paths) {
                       m_bus.call(nm, path, propertiesInterface, QStringLiteral("GetAll"),
                                  {accessPointInterface},
                                  [this, path, left, then](const QDBusMessage &apReply) {
                                      const QVariantMap p = propertiesOf(apReply);
                                      if (!p.isEmpty()) {
                                          NetworkState::AccessPoint ap;
                                          ap.ssid = p.value(QStringLiteral("Ssid")).toByteArray();
                                          ap.strength = int(p.value(QStringLiteral("Strength")).toUInt());
                                          ap.flags = p.value(QStringLiteral("Flags")).toUInt();
                                          ap.wpaFlags = p.value(QStringLiteral("WpaFlags")).toUInt();
                                          ap.rsnFlags = p.value(QStringLiteral("RsnFlags")).toUInt();
                                          const std::lock_guard<std::mutex> lock(m_mutex);
                                          m_state.accessPoints[path] = ap;
                                      }
                                      if (--*left == 0)
                                          then();
                                  });
                   }
               });
}

void NetworkManagerClient::scan(SystemSet::ScanCallback done, const Token &token)
{
    QString device;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        device = m_state.pathOf(SystemSet::NIC_WIFI);
    }
    if (device.isEmpty()) {
        if (done)
            done(std::make_unique<std::vector<SystemSet::SsidInfo>>());
        return;
    }
    m_scans.push_back({std::move(done), token});
    if (!m_scanTimeout) {
        m_scanTimeout = new QTimer(&m_bus);
        m_scanTimeout->setSingleShot(true);
        QObject::connect(m_scanTimeout, &QTimer::timeout, &m_bus, [this] { finishScans(); });
    }
    if (!m_scanTimeout->isActive())
        m_scanTimeout->start(scanWaitMs);
    // A refused scan (one is under way, or scanning is not allowed) still ends with the list as it is.
    m_bus.call(nm, device, wirelessInterface, QStringLiteral("RequestScan"), {QVariantMap()},
               [this](const QDBusMessage &reply) {
                   if (reply.type() == QDBusMessage::ErrorMessage)
                       finishScans();
               });
}

void NetworkManagerClient::reset(SystemSet::ScanCallback done, const Token &token)
{
    m_bus.call(
        nm, settingsPath, settingsInterface, QStringLiteral("ListConnections"), {},
        [this, done, token](const QDBusMessage &reply) {
            const QList<QString> profiles = pathsOf(reply);
            auto left = std::make_shared<int>(int(profiles.size()) + 1);
            const auto then = [this, done, token, left] {
                if (--*left > 0)
                    return;
                QString device;
                {
                    const std::lock_guard<std::mutex> lock(m_mutex);
                    device = m_state.pathOf(SystemSet::NIC_WIFI);
                }
                if (device.isEmpty()) {
                    scan(done, token);
                    return;
                }
                m_bus.call(nm, device, deviceInterface, QStringLiteral("Disconnect"), {},
                           [this, done, token](const QDBusMessage &) { scan(done, token); });
            };
            for (const QString &profile : profiles) {
                m_bus.call(
                    nm, profile, profileInterface, QStringLiteral("GetSettings"), {},
                    [this, profile, then](const QDBusMessage &settings) {
                        const auto s =
                            settings.type() == QDBusMessage::ReplyMessage && !settings.arguments().isEmpty()
                                ? qdbus_cast<ConnectionSettings>(settings.arguments().constFirst())
                                : ConnectionSettings();
                        if (s.value(QStringLiteral("connection")).value(QStringLiteral("type")).toString() !=
                            QLatin1String("802-11-wireless")) {
                            then();
                            return;
                        }
                        m_bus.call(nm, profile, profileInterface, QStringLiteral("Delete"), {},
                                   [then](const QDBusMessage &) { then(); });
                    });
            }
            then();
        });
}

void NetworkManagerClient::finishScans()
{
    if (m_scans.empty())
        return;
    if (m_scanTimeout)
        m_scanTimeout->stop();
    std::vector<PendingScan> waiting;
    waiting.swap(m_scans);
    QString device;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        device = m_state.pathOf(SystemSet::NIC_WIFI);
    }
    auto callers = std::make_shared<std::vector<PendingScan>>(std::move(waiting));
    listAccessPoints(device, [this, callers] {
        std::vector<SystemSet::SsidInfo> list;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            for (const auto &entry : m_state.accessPoints) {
                const NetworkState::AccessPoint &ap = entry.second;
                if (ap.ssid.isEmpty())
                    continue;
                const QByteArray name = ap.ssid.left(32);
                const auto same =
                    std::find_if(list.begin(), list.end(), [&name](const SystemSet::SsidInfo &i) {
                        return QByteArray(i.ssid.data(), int(qstrnlen(i.ssid.data(), 32))) == name;
                    });
                if (same != list.end() && same->signal >= ap.strength)
                    continue;
                SystemSet::SsidInfo info;
                std::copy_n(ap.ssid.constData(), std::min(ap.ssid.size(), 32), info.ssid.begin());
                info.signal = static_cast<std::uint8_t>(std::clamp(ap.strength, 0, 100));
                info.encrypted = ap.secured() ? 1 : 0;
                if (same != list.end())
                    *same = info;
                else
                    list.push_back(info);
            }
        }
        for (const PendingScan &caller : *callers) {
            if (caller.done)
                caller.done(std::make_unique<std::vector<SystemSet::SsidInfo>>(list));
        }
    });
}

void NetworkManagerClient::connect(const QByteArray &ssid, const QString &password,
                                   SystemSet::ConnectCallback done, const Token &token)
{
    if (done)
        done(SystemSet::WIFI_CONNECTING);
    if (m_attempt) // a new attempt replaces the one under way, which ends unconnected
        endAttempt(SystemSet::WIFI_OFFLINE);
    QString device;
    QString accessPoint = QStringLiteral("/");
    bool secured = !password.isEmpty();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        device = m_state.pathOf(SystemSet::NIC_WIFI);
        int strongest = -1;
        for (const auto &[path, ap] : m_state.accessPoints) {
            if (ap.ssid == ssid && ap.strength > strongest) {
                strongest = ap.strength;
                accessPoint = path;
                secured = ap.secured();
            }
        }
    }
    if (device.isEmpty()) {
        if (done)
            done(SystemSet::WIFI_OFFLINE);
        return;
    }
    m_attempt = std::make_unique<Attempt>();
    m_attempt->done = std::move(done);
    m_attempt->token = token;
    m_attempt->device = device;
    m_attempt->timeout = new QTimer(&m_bus);
    m_attempt->timeout->setSingleShot(true);
    QObject::connect(m_attempt->timeout, &QTimer::timeout, &m_bus,
                     [this] { endAttempt(SystemSet::WIFI_TIMEOUT); });
    m_attempt->timeout->start(connectWaitMs);

    QString saved;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto &entry : m_state.wifiProfiles) {
            if (entry.second == ssid)
                saved = entry.first;
        }
    }
    if (saved.isEmpty())
        addAndActivate(ssid, password, secured, device, accessPoint);
    else
        reuseProfile(saved, device, accessPoint, secured ? password : QString());
}

void NetworkManagerClient::addAndActivate(const QByteArray &ssid, const QString &password, bool secured,
                                          const QString &device, const QString &accessPoint)
{
    ConnectionSettings settings;
    settings[QStringLiteral("connection")] =
        QVariantMap{{QStringLiteral("type"), QStringLiteral("802-11-wireless")},
                    {QStringLiteral("id"), QString::fromUtf8(ssid)}};
    settings[QStringLiteral("802-11-wireless")] = QVariantMap{{QStringLiteral("ssid"), ssid}};
    if (secured)
        settings[QStringLiteral("802-11-wireless-security")] = QVariantMap{
            {QStringLiteral("key-mgmt"), QStringLiteral("wpa-psk")}, {QStringLiteral("psk"), password}};
    activateOrEnd(QStringLiteral("AddAndActivateConnection"),
                  {QVariant::fromValue(settings), QVariant::fromValue(QDBusObjectPath(device)),
                   QVariant::fromValue(QDBusObjectPath(accessPoint))});
}

void NetworkManagerClient::reuseProfile(const QString &profile, const QString &device,
                                        const QString &accessPoint, const QString &password)
{
    // The saved profile for that name gets the password typed now, and is activated.
    Attempt *attempt = m_attempt.get();
    m_bus.call(nm, profile, profileInterface, QStringLiteral("GetSettings"), {},
               [this, attempt, profile, device, accessPoint, password](const QDBusMessage &reply) {
                   if (m_attempt.get() != attempt)
                       return;
                   if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
                       endAttempt(SystemSet::WIFI_OFFLINE);
                       return;
                   }
                   auto settings = qdbus_cast<ConnectionSettings>(reply.arguments().constFirst());
                   if (!password.isEmpty())
                       settings[QStringLiteral("802-11-wireless-security")] =
                           QVariantMap{{QStringLiteral("key-mgmt"), QStringLiteral("wpa-psk")},
                                       {QStringLiteral("psk"), password}};
                   m_bus.call(nm, profile, profileInterface, QStringLiteral("Update"),
                              {QVariant::fromValue(settings)},
                              [this, attempt, profile, device, accessPoint](const QDBusMessage &updated) {
                                  if (m_attempt.get() != attempt)
                                      return;
                                  if (updated.type() != QDBusMessage::ReplyMessage) {
                                      endAttempt(SystemSet::WIFI_OFFLINE);
                                      return;
                                  }
                                  activateOrEnd(QStringLiteral("ActivateConnection"),
                                                {QVariant::fromValue(QDBusObjectPath(profile)),
                                                 QVariant::fromValue(QDBusObjectPath(device)),
                                                 QVariant::fromValue(QDBusObjectPath(accessPoint))});
                              });
               });
}

void NetworkManagerClient::activateOrEnd(const QString &method, const QVariantList &arguments)
{
    // The device's state tells the outcome; a refused call ends the attempt unconnected.
    Attempt *attempt = m_attempt.get();
    m_bus.call(nm, nmPath, nm, method, arguments, [this, attempt](const QDBusMessage &reply) {
        if (reply.type() == QDBusMessage::ErrorMessage && m_attempt.get() == attempt)
            endAttempt(SystemSet::WIFI_OFFLINE);
    });
}

void NetworkManagerClient::deviceStateChanged(const QString &path, const QDBusMessage &message)
{
    const QVariantList arguments = message.arguments();
    if (arguments.size() < 3)
        return;
    const unsigned state = arguments.at(0).toUInt();
    const unsigned reason = arguments.at(2).toUInt();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto it = m_state.devices.find(path);
        if (it != m_state.devices.end())
            it->second.state = state;
    }
    if (!m_activating.isEmpty() && m_activating == path && (state == activated || state == failed))
        endChange(state == activated);
    if (!m_attempt || m_attempt->device != path)
        return;
    if (state == activated) {
        listAccessPoints(path, [] {});
        endAttempt(SystemSet::WIFI_CONNECTED);
    } else if (state == failed) {
        // 7: the secrets were refused; 8: the supplicant gave up on them; 53: no such network.
        endAttempt(reason == 7 || reason == 8 ? SystemSet::WIFI_WRONG_PASSWORD : SystemSet::WIFI_OFFLINE);
    }
}

void NetworkManagerClient::endAttempt(SystemSet::StateWifi outcome)
{
    const std::unique_ptr<Attempt> attempt = std::move(m_attempt);
    if (!attempt)
        return;
    delete attempt->timeout;
    if (attempt->done)
        attempt->done(outcome);
}

} // namespace HMI
