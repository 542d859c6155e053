#pragma once

#include "systemset/SystemSet.h"

#include <QJsonObject>
#include <QString>

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace HMI {

/// The simulated panel's whole state, as read from and written to its JSON state file.
struct PanelState
{
    struct Addresses
    {
        IP ip = 0;
        IP mask = 0;
        IP gateway = 0;
    };

    struct Adapter
    {
        bool present = false;
        bool enabled = false;
        bool dhcp = false;
        MAC mac{};
        Addresses stat;  ///< stored static configuration
        Addresses lease; ///< what the simulated DHCP server hands out
        std::pair<IP, IP> dns{0, 0};
    };

    struct Network
    {
        std::string ssid; ///< raw bytes, at most 32
        int strength = 0;
        bool secured = false;
        std::string password; ///< handed out in the scan record
        std::string secret;   ///< the one connectWifi accepts
        std::optional<int> result;
    };

    /// Adapters in the order LAN0, LAN1, WIFI, 4G, VPN.
    std::array<Adapter, 5> adapters;
    SystemSet::NIC defaultAdapter = SystemSet::NIC_LAN0;
    bool ping = true;
    int dhcpState = 1;
    int modemSignal = 75;
    int modemState = 2;
    int vpnServer = 0;
    int vpnState = 5;
    std::optional<std::string> wifiConnected; ///< raw SSID bytes
    int wifiStrength = 70;
    bool scanReturnsList = true;
    std::vector<Network> networks;
    bool buzzer = true;
    int brightness = 20;
    int language = 1;
    std::string serial = "HMI7-2026-000123";
    bool clockSettable = true;
    int delayDhcp = 300;
    int delayPing = 800;
    int delayScan = 1200;
    int delayReset = 1500;
    int delayConnect = 1500;

    PanelState();

    /// The adapter for a NIC value, or null for a value that names no single adapter.
    Adapter *adapter(int nic);
    const Adapter *adapter(int nic) const;

    /// Reads @p doc over the defaults. A key whose value has the wrong type or cannot be used is reported
    /// on stderr, naming @p fileName, and keeps its default. Levels and strengths out of range are clamped
    /// to 1..32 and 0..100; a language other than 0 (Chinese) is English.
    void read(const QJsonObject &doc, const QString &fileName);
    /// Reads only the language key of @p doc; false when it is missing or not usable.
    bool readLanguage(const QJsonObject &doc, const QString &fileName);
    /// What a persisted change writes to the state file: one key, of one adapter or of the panel.
    enum class PersistedKey { Enabled, Dhcp, StaticIp, StaticMask, StaticGateway, Dns, Brightness };
    /// Writes this state's value of @p key (of the adapter @p nic) into @p doc and nothing else: every other
    /// key, known or not, stays as it is. Makes the objects on the key's path where they are missing.
    /// False, and nothing written, for an adapter the panel does not have.
    bool writeKey(QJsonObject &doc, PersistedKey key, int nic) const;

    static QString adapterKey(int index);
    static int nicOfIndex(int index);
    static QString ipToText(IP ip);
    static std::optional<IP> ipFromText(const QString &text);
    static QString macToText(const MAC &mac);
    static std::optional<MAC> macFromText(const QString &text);
};

} // namespace HMI
