#pragma once

#include "systemset/Backend.h"
#include "systemset/Backlight.h"
#include "systemset/Beeper.h"
#include "systemset/LinuxSettings.h"
#include "systemset/NetworkState.h"

#include <QStringList>
#include <QThread>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>

namespace HMI {

class NetworkManagerClient;
class ServiceBus;

/// The system services of an ordinary Linux board: systemd's timedated, localed, hostnamed and logind on
/// the system bus, the backlight in sysfs, the beeper as an input device, and a settings file of its own.
///
/// A thread of its own holds the bus connection: getters answer from what the services last said, and
/// every operation is handed to that thread, which also calls the callbacks.
class LinuxBackend final : public Backend
{
public:
    LinuxBackend();
    ~LinuxBackend() override;

    int getAllNIC() const override;
    bool isNicEnabled(NIC nic) const override;
    void enableNIC(NIC nic, bool enable, bool persist) override;
    bool isDhcpOn(NIC nic) const override;
    void setDHCP(NIC nic, bool on, SystemSet::DhcpCallback const &callback, bool persist) override;
    IP getIp(NIC nic) const override;
    IP getSubnetMask(NIC nic) const override;
    IP getGateway(NIC nic) const override;
    IP getIpFromEE(NIC nic) const override;
    IP getSubnetMaskFromEE(NIC nic) const override;
    IP getGatewayFromEE(NIC nic) const override;
    void setIp(NIC nic, IP ip, bool persist) override;
    void setSubnetMask(NIC nic, IP mask, bool persist) override;
    void setGateway(NIC nic, IP gateway, bool persist) override;
    MAC getMac(NIC nic) const override;
    std::pair<IP, IP> getDns(NIC nic) const override;
    void setDns(NIC nic, std::pair<IP, IP> const &dns) override;
    NIC getDefaultNIC() const override;
    void setDefaultNIC(NIC nic, bool flag) override;
    void pingTest(NIC nic, SystemSet::PingCallback const &callback) override;
    int get4GSignal(NIC nic) const override;
    int get4GState(NIC nic) const override;
    VPNServer getVPNServer() const override;
    void setVPNServer(VPNServer server) override;
    int getVPNServerState(VPNServer server) const override;
    void resetVPNIp(VPNServer server) override;
    bool isWifiConnected() const override;
    SSID currentWifiSsid() const override;
    int currentWifiSignalStrength() const override;
    void scanWifi(SystemSet::ScanCallback const &callback) override;
    void resetWifi(SystemSet::ScanCallback const &callback) override;
    void connectWifi(SSID const &ssid, std::string const &password,
                     SystemSet::ConnectCallback const &callback) override;
    void beep(bool on) const override;
    bool isBuzzerOn() const override;
    void setBuzzerOn(bool on) override;
    Bright bright() const override;
    void setBright(Bright level, bool persist) override;
    bool setSystemTime(long secsSinceEpoch) override;
    void syncHwclock() override;
    Language getLanguage() const override;
    void setLanguage(Language language) override;
    std::string getSerialNumber() override;
    void reboot() override;
    bool waitForIdle(int timeoutMs) override;
    int pendingCallbacks() const override;
    bool isCallbackThread() const override;

private:
    using Token = std::shared_ptr<void>;
    /// Counts one operation as pending until the last copy of the token is gone.
    Token pending() const;
    struct Task
    {
        std::function<void(ServiceBus &bus, const Token &token)> run;
        Token token;
    };
    /// Runs @p task on the backend's thread, counted as pending until it and what it waits for are done.
    void post(std::function<void(ServiceBus &bus, const Token &token)> task) const;
    /// On the backend's thread: runs the tasks posted so far, in order.
    void runTasks() const;
    /// Starts watching the services whose state the getters answer from.
    void startWatching(ServiceBus &bus, const Token &token);
    void setTime(ServiceBus &bus, qlonglong usec, bool ntpTurnedOff, const Token &token);
    void reportOnce(const std::string &kind, const std::string &text) const;
    /// Ends the thread and leaves the bus; later operations do nothing and call nothing back.
    void stop();
    /// Stops every backend while the application object still exists (a post routine of it).
    static void stopAll();
    static std::mutex &liveMutex();
    static std::set<LinuxBackend *> &live();
    /// Changes the static IPv4 settings of @p nic's profile with @p edit.
    void changeStatic(NIC nic, std::function<void(NetworkState::Ip4 &)> edit, bool persist);

    std::string m_sysfsRoot;
    mutable LinuxSettings m_settings;
    Backlight m_backlight;
    Beeper m_beeper;
    quint32 m_pingTarget = 0;

    /// Guards the state below, which the services' signals keep current.
    mutable std::mutex m_mutex;
    QStringList m_locale;   ///< localed's Locale
    std::string m_serial;   ///< hostnamed's hardware serial
    NetworkState m_network; ///< NetworkManager's devices and access points
    int m_level = 1;        ///< the level last set, for a board without a backlight
    mutable std::set<std::string> m_reported;

    mutable std::condition_variable m_idle;
    mutable int m_pending = 0;

    /// Tasks handed to the backend's thread, under a lock of their own rather than only through Qt's event
    /// queue, so that the hand-over is plain to see.
    mutable std::mutex m_tasksMutex;
    mutable std::deque<Task> m_tasks;

    QThread m_thread;
    std::atomic<ServiceBus *> m_bus{nullptr};   ///< lives in m_thread; null once stopped
    std::unique_ptr<NetworkManagerClient> m_nm; ///< used in m_thread only
};

} // namespace HMI
