#pragma once

#include "systemset/NetworkState.h"
#include "systemset/SystemSet.h"

#include <QDBusMessage>
#include <QMap>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

class QTimer;

/// A NetworkManager profile: its sections by name, each a map of its settings.
using ConnectionSettings = QMap<QString, QVariantMap>;
Q_DECLARE_METATYPE(ConnectionSettings)

namespace HMI {

class ServiceBus;

/// NetworkManager on the system bus, for the Linux backend: keeps a NetworkState current from the
/// service's signals, scans and connects Wi-Fi. Used only on the backend's thread; the state is written
/// under the lock the backend's getters read it with.
class NetworkManagerClient
{
public:
    using Token = std::shared_ptr<void>;

    NetworkManagerClient(ServiceBus &bus, std::mutex &mutex, NetworkState &state);
    ~NetworkManagerClient();
    NetworkManagerClient(const NetworkManagerClient &) = delete;
    NetworkManagerClient &operator=(const NetworkManagerClient &) = delete;

    /// Reads the devices and follows them; @p token is held until the first answers are in.
    void start(const Token &token);
    /// Asks the Wi-Fi device to scan; @p done gets one record per network name (the strongest access point)
    /// once the scan ended (or 15 s passed), an empty list when there is no Wi-Fi device.
    void scan(SystemSet::ScanCallback done, const Token &token);
    /// Connects the Wi-Fi device to @p ssid; @p done gets CONNECTING at once and then one outcome.
    void connect(const QByteArray &ssid, const QString &password, SystemSet::ConnectCallback done,
                 const Token &token);

    /// Switches the Wi-Fi (@p nic NIC_WIFI) or the mobile (NIC_4G) radio; NetworkManager keeps the setting.
    void setRadio(int nic, bool on, const Token &token);

    /// Brings the tunnel of VPN server @p server down and up again (@p up false: only down; @p restart false
    /// and @p up true: only up).
    void switchVpn(int server, bool down, bool up, const Token &token);

    /// Deletes every saved Wi-Fi profile, disconnects the Wi-Fi device and scans (see scan()).
    void reset(SystemSet::ScanCallback done, const Token &token);

    /// What follows a change of a profile.
    enum class Then { Reapply, Activate, Disconnect };
    /// Changes @p section ("ipv4", "connection") of @p nic's profile with @p edit, saved when @p persist,
    /// then re-applies it, activates it again or disconnects the device. @p done gets whether it all went
    /// through; after an activation, whether the device came up (its state 100, not 120, within 30 s).
    void changeProfile(int nic, const QString &section, std::function<void(QVariantMap &)> edit, bool persist,
                       Then then, std::function<void(bool)> done, const Token &token);

    /// The static settings in a profile's @p ipv4 section: its first address, gateway and DNS servers.
    static NetworkState::Ip4 staticOf(const QVariantMap &ipv4);
    /// Writes @p stored into @p ipv4 as "address-data" and "gateway", dropping the older "addresses".
    static void setStatic(QVariantMap &ipv4, const NetworkState::Ip4 &stored);

private:
    struct Attempt;
    struct Change
    {
        int nic = 0;
        QString section;
        std::function<void(QVariantMap &)> edit;
        bool persist = false;
        Then then = Then::Reapply;
        std::function<void(bool)> done;
        Token token;
    };
    void resolveProfile(const QString &devicePath);
    /// Reads the saved profiles: which are VPNs, and which are the two servers'.
    void readProfiles(const Token &token);
    /// Notes what the saved @p profile is: a Wi-Fi network's, or one of the VPN servers'.
    void savedProfile(const QString &profile, const ConnectionSettings &settings);
    /// Follows NetworkManager's active connections for the VPN tunnels among them.
    void readActive(const QList<QString> &active);
    /// Finds the device of the primary connection @p active.
    void readPrimary(const QString &active);
    /// Finds the first modem ModemManager lists and follows its signal and state.
    void startModem(const Token &token);
    void readProfile(const QString &devicePath, const QString &profile);
    void nextChange();
    void apply(Then then, const QString &device, const QString &profile);
    void waitForActivation(const QString &device);
    void endChange(bool ok);
    void addDevice(const QString &path, const Token &token);
    void readIp4(const QString &devicePath, const QString &ip4Path, const Token &token);
    void updateDevice(const QString &path, const QVariantMap &properties, const Token &token);
    void finishScans();
    void listAccessPoints(const QString &device, std::function<void()> then);
    /// A new profile for @p ssid, added and activated in one call.
    void addAndActivate(const QByteArray &ssid, const QString &password, bool secured, const QString &device,
                        const QString &accessPoint);
    /// The saved @p profile, with @p password when there is one, activated.
    void reuseProfile(const QString &profile, const QString &device, const QString &accessPoint,
                      const QString &password);
    /// Calls NetworkManager's @p method for the attempt under way.
    void activateOrEnd(const QString &method, const QVariantList &arguments);
    void deviceStateChanged(const QString &path, const QDBusMessage &message);
    void endAttempt(SystemSet::StateWifi outcome);

    ServiceBus &m_bus;
    std::mutex &m_mutex;
    NetworkState &m_state;
    struct PendingScan
    {
        SystemSet::ScanCallback done;
        Token token;
    };
    std::vector<PendingScan> m_scans;
    QTimer *m_scanTimeout = nullptr;
    std::unique_ptr<Attempt> m_attempt;
    QList<QString> m_activeConnections; ///< NetworkManager's, as last heard
    std::vector<Change> m_changes;      ///< one at a time, in order: each reads what the one before wrote
    bool m_changing = false;
    /// An activation whose outcome a change waits for: the device, and whom to tell.
    QString m_activating;
    std::function<void(bool)> m_activated;
    QTimer *m_activationTimeout = nullptr;
};

} // namespace HMI
