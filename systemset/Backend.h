#pragma once

#include "systemset/SystemSet.h"

#include <string>
#include <utility>

namespace HMI {

/// What provides the system services behind SystemSet: the simulated panel or a real Linux board.
///
/// The methods are SystemSet's own, with its promises: getters return at once, and every callback is called
/// exactly once, later, from the provider's own thread. SystemSet writes the call log before it forwards a
/// call, so a provider logs nothing itself.
class Backend
{
public:
    using SsidList = std::unique_ptr<std::vector<SystemSet::SsidInfo>>;
    using NIC = SystemSet::NIC;
    using DHCP_STATE = SystemSet::DHCP_STATE;
    using StateWifi = SystemSet::StateWifi;
    using VPNServer = SystemSet::VPNServer;
    using Language = SystemSet::Language;
    using Bright = SystemSet::Bright;
    using SsidInfo = SystemSet::SsidInfo;

    virtual ~Backend() = default;

    virtual int getAllNIC() const = 0;
    virtual bool isNicEnabled(NIC nic) const = 0;
    virtual void enableNIC(NIC nic, bool enable, bool persist) = 0;
    virtual bool isDhcpOn(NIC nic) const = 0;
    virtual void setDHCP(NIC nic, bool on, SystemSet::DhcpCallback const &callback, bool persist) = 0;
    virtual IP getIp(NIC nic) const = 0;
    virtual IP getSubnetMask(NIC nic) const = 0;
    virtual IP getGateway(NIC nic) const = 0;
    virtual IP getIpFromEE(NIC nic) const = 0;
    virtual IP getSubnetMaskFromEE(NIC nic) const = 0;
    virtual IP getGatewayFromEE(NIC nic) const = 0;
    virtual void setIp(NIC nic, IP ip, bool persist) = 0;
    virtual void setSubnetMask(NIC nic, IP mask, bool persist) = 0;
    virtual void setGateway(NIC nic, IP gateway, bool persist) = 0;
    virtual MAC getMac(NIC nic) const = 0;
    virtual std::pair<IP, IP> getDns(NIC nic) const = 0;
    virtual void setDns(NIC nic, std::pair<IP, IP> const &dns) = 0;
    virtual NIC getDefaultNIC() const = 0;
    virtual void setDefaultNIC(NIC nic, bool flag) = 0;
    virtual void pingTest(NIC nic, SystemSet::PingCallback const &callback) = 0;

    virtual int get4GSignal(NIC nic) const = 0;
    virtual int get4GState(NIC nic) const = 0;
    virtual SystemSet::VPNServer getVPNServer() const = 0;
    virtual void setVPNServer(SystemSet::VPNServer server) = 0;
    virtual int getVPNServerState(SystemSet::VPNServer server) const = 0;
    virtual void resetVPNIp(SystemSet::VPNServer server) = 0;

    virtual bool isWifiConnected() const = 0;
    virtual SSID currentWifiSsid() const = 0;
    virtual int currentWifiSignalStrength() const = 0;
    virtual void scanWifi(SystemSet::ScanCallback const &callback) = 0;
    virtual void resetWifi(SystemSet::ScanCallback const &callback) = 0;
    virtual void connectWifi(SSID const &ssid, std::string const &password,
                             SystemSet::ConnectCallback const &callback) = 0;

    virtual void beep(bool on) const = 0;
    virtual bool isBuzzerOn() const = 0;
    virtual void setBuzzerOn(bool on) = 0;
    virtual SystemSet::Bright bright() const = 0;
    virtual void setBright(SystemSet::Bright level, bool persist) = 0;
    virtual bool setSystemTime(long secsSinceEpoch) = 0;
    virtual void syncHwclock() = 0;
    virtual SystemSet::Language getLanguage() const = 0;
    virtual void setLanguage(SystemSet::Language language) = 0;
    virtual std::string getSerialNumber() = 0;
    virtual void reboot() = 0;

    /// Waits until no callback is pending or running; false when @p timeoutMs passed first.
    virtual bool waitForIdle(int timeoutMs) = 0;
    /// Number of operations whose callback has not yet returned.
    virtual int pendingCallbacks() const = 0;
    /// Whether the calling thread is the one the callbacks come from.
    virtual bool isCallbackThread() const = 0;
};

} // namespace HMI
