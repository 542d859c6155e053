#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#define HMI_SYSTEMSET_EXPORT __attribute__((visibility("default")))

namespace HMI {

/// IPv4 address in QHostAddress's numeric order: the first dotted number is the most significant byte.
using IP = std::uint32_t;
/// Hardware address, six bytes in transmission order.
using MAC = std::array<unsigned char, 6u>;
/// Wi-Fi network name: up to 32 raw bytes and a terminating zero.
using SSID = std::array<char, 33u>;

/// The panel's system services: every setting that the settings screen reads or changes.
///
/// Reach the one instance through MeyerSingleton<HMI::SystemSet>::instance(). Getters return at once;
/// operations that take a callback return at once and call it later from a thread of their own.
class HMI_SYSTEMSET_EXPORT SystemSet
{
public:
    /// One network interface, as a single bit; getAllNIC() or-s them together.
    enum NIC : int {
        NIC_LAN0 = 1,
        NIC_LAN1 = 2,
        NIC_WIFI = 4,
        NIC_4G = 16,
        NIC_VPN = 64,
    };

    /// Outcome of setDHCP: 0 is a failure, any other value a success.
    enum DHCP_STATE : int {
        DHCP_FAILED = 0,
        DHCP_OK = 1,
    };

    /// Progress and outcome of connectWifi.
    enum StateWifi : int {
        WIFI_OFFLINE = 0,
        WIFI_CONNECTING = 1,
        WIFI_CONNECTED = 2,
        WIFI_TIMEOUT = 3,
        WIFI_WRONG_PASSWORD = 4,
    };

    /// VPN server region; the value is the row of the server combo box.
    enum VPNServer : int {
        VPN_ASIA = 0,
        VPN_EUROPE = 1,
    };

    /// Interface language of the panel.
    enum Language : int {
        LANG_CHINESE = 0,
        LANG_ENGLISH = 1,
    };

    /// Backlight level, 1..32.
    using Bright = int;

    /// One network found by a Wi-Fi scan.
    struct SsidInfo
    {
        SSID ssid{};                ///< raw name bytes, zero-terminated
        std::string password;       ///< password known for this network (UTF-8), empty when none
        std::uint8_t signal = 0;    ///< strength 0..100
        std::uint8_t encrypted = 0; ///< non-zero: the network needs a password
    };

    using DhcpCallback = std::function<void(DHCP_STATE)>;
    using PingCallback = std::function<void(bool)>;
    using ScanCallback = std::function<void(std::unique_ptr<std::vector<SsidInfo>>)>;
    using ConnectCallback = std::function<void(StateWifi)>;

    SystemSet();
    ~SystemSet();
    SystemSet(const SystemSet &) = delete;
    SystemSet &operator=(const SystemSet &) = delete;

    // Network adapters
    int getAllNIC() const;
    bool isNicEnabled(NIC nic) const;
    void enableNIC(NIC nic, bool enable, bool persist);
    bool isDhcpOn(NIC nic) const;
    void setDHCP(NIC nic, bool on, std::function<void(DHCP_STATE)> const &callback, bool persist);
    IP getIp(NIC nic) const;
    IP getSubnetMask(NIC nic) const;
    IP getGateway(NIC nic) const;
    IP getIpFromEE(NIC nic) const;
    IP getSubnetMaskFromEE(NIC nic) const;
    IP getGatewayFromEE(NIC nic) const;
    void setIp(NIC nic, IP ip, bool persist);
    void setSubnetMask(NIC nic, IP mask, bool persist);
    void setGateway(NIC nic, IP gateway, bool persist);
    MAC getMac(NIC nic) const;
    std::pair<IP, IP> getDns(NIC nic) const;
    void setDns(NIC nic, std::pair<IP, IP> const &dns);
    NIC getDefaultNIC() const;
    void setDefaultNIC(NIC nic, bool flag);
    void pingTest(NIC nic, std::function<void(bool)> const &callback);

    // Mobile modem and VPN
    int get4GSignal(NIC nic) const;
    int get4GState(NIC nic) const;
    VPNServer getVPNServer() const;
    void setVPNServer(VPNServer server);
    int getVPNServerState(VPNServer server) const;
    void resetVPNIp(VPNServer server);

    // Wi-Fi
    bool isWifiConnected() const;
    SSID currentWifiSsid() const;
    int currentWifiSignalStrength() const;
    void scanWifi(std::function<void(std::unique_ptr<std::vector<SsidInfo>>)> const &callback);
    void resetWifi(std::function<void(std::unique_ptr<std::vector<SsidInfo>>)> const &callback);
    void connectWifi(std::array<char, 33u> const &ssid, std::string const &password,
                     std::function<void(StateWifi)> const &callback);

    // Other settings
    void beep(bool on) const;
    bool isBuzzerOn() const;
    void setBuzzerOn(bool on);
    Bright bright() const;
    void setBright(Bright level, bool persist);
    bool setSystemTime(long secsSinceEpoch);
    void syncHwclock();
    Language getLanguage() const;
    void setLanguage(Language language);
    std::string getSerialNumber();
    void reboot();

private:
    friend class PanelSimulator;
    struct Private;

    std::unique_ptr<Private> d;
};

// Where the standard string is 24 bytes (the panel's 32-bit ARM target) the record is exchanged byte for
// byte with the platform library, so its layout is fixed; elsewhere only the field order is kept.
static_assert(sizeof(std::string) != 24 || sizeof(SystemSet::SsidInfo) == 64, "scan record is 64 bytes");
static_assert(offsetof(SystemSet::SsidInfo, ssid) == 0, "SSID first");
static_assert(sizeof(std::string) != 24 || offsetof(SystemSet::SsidInfo, password) == 36, "password at 36");
static_assert(sizeof(std::string) != 24 || offsetof(SystemSet::SsidInfo, signal) == 60, "signal at 60");
static_assert(sizeof(std::string) != 24 || offsetof(SystemSet::SsidInfo, encrypted) == 61, "flag at 61");
static_assert(offsetof(SystemSet::SsidInfo, ssid) < offsetof(SystemSet::SsidInfo, password) &&
                  offsetof(SystemSet::SsidInfo, password) < offsetof(SystemSet::SsidInfo, signal) &&
                  offsetof(SystemSet::SsidInfo, signal) < offsetof(SystemSet::SsidInfo, encrypted),
              "scan record keeps its field order");

} // namespace HMI
