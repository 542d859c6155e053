#pragma once

#include "systemset/Backend.h"
#include "systemset/CallbackWorker.h"
#include "systemset/PanelState.h"
#include "systemset/StateFile.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <mutex>
#include <string>

namespace HMI {

/// The simulated panel: its state, its state file and its callback thread.
class SimulatedPanel final : public Backend
{
public:
    /// Starts with the state file at @p path (empty: the defaults, nothing persisted).
    explicit SimulatedPanel(const std::string &path);

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

    // The simulator's own, reached by PanelSimulator as well.

    /// Guards everything below; callbacks are never called with it held.
    mutable std::mutex mutex;
    std::lock_guard<std::mutex> lock() const { return std::lock_guard<std::mutex>(mutex); }
    PanelState live; ///< what the getters answer
    std::string stateFile;
    bool fileUnusable = false;      ///< the file could not be used at load: never overwrite it
    FileSignature seen;             ///< the file as last read or written here
    std::int64_t seenCheckedNs = 0; ///< wall time at which the file was last found to be as seen
    std::string lastProblem;        ///< the last trouble with the file reported on stderr, reported only once

    /// Declared last, so destroyed first: its thread has stopped before the state its tasks read goes away.
    CallbackWorker worker;

    /// Drops the state and loads the state file at @p path (empty: defaults, nothing persisted). Removes the
    /// temporary files that a writer killed while writing it left beside it.
    void load(const std::string &path);
    void readDocument(const QByteArray &text, const QString &name);

    /// The state file now.
    FileSnapshot snapshot() const;
    /// Takes the language from the state file when it changed since it was last seen: another program
    /// switched it.
    void followLanguage();
    /// Writes @p key of the adapter @p nic (when it has one) into the state file as it is now on disk,
    /// keeping everything else in it. An outside change since the file was last seen is kept, and its
    /// language taken.
    void persist(PanelState::PersistedKey key, int nic);
    /// Prints @p message on stderr unless it is the last one printed since the file was last loaded or
    /// written.
    void reportOnce(const std::string &message);

    /// Applies @p apply to the live state and, when @p persistIt, writes @p key of @p nic to the state file.
    template<typename F>
    void change(bool persistIt, PanelState::PersistedKey key, int nic, F apply)
    {
        apply(live);
        if (persistIt)
            persist(key, nic);
    }

    /// The address in use: the lease in DHCP mode, the static one otherwise, none while disabled or, for
    /// Wi-Fi, while no network is connected.
    IP liveAddress(int nic, IP PanelState::Addresses::*field) const
    {
        const auto guard = lock();
        const auto *a = live.adapter(nic);
        if (!a || !a->present || !a->enabled || (nic == SystemSet::NIC_WIFI && !live.wifiConnected))
            return 0;
        return a->dhcp ? a->lease.*field : a->stat.*field;
    }

    IP storedAddress(int nic, IP PanelState::Addresses::*field) const
    {
        const auto guard = lock();
        const auto *a = live.adapter(nic);
        return a && a->present ? a->stat.*field : 0;
    }

    void setStoredAddress(int nic, IP PanelState::Addresses::*field, PanelState::PersistedKey key, IP value,
                          bool persistIt)
    {
        const auto guard = lock();
        if (live.adapter(nic))
            change(persistIt, key, nic, [&](PanelState &s) { s.adapter(nic)->stat.*field = value; });
    }
};

} // namespace HMI
