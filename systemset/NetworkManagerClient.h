#pragma once

#include "systemset/NetworkState.h"
#include "systemset/SystemSet.h"

#include <QDBusMessage>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

class QTimer;

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

private:
    struct Attempt;
    void addDevice(const QString &path, const Token &token);
    void readIp4(const QString &devicePath, const QString &ip4Path, const Token &token);
    void updateDevice(const QString &path, const QVariantMap &properties, const Token &token);
    void finishScans();
    void listAccessPoints(const QString &device, std::function<void()> then);
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
};

} // namespace HMI
